// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Attributes of clang's thread-safety analysis (-Wthread-safety); nothing under other compilers.
#if defined(__clang__)
#define GENICAM_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define GENICAM_THREAD_ATTRIBUTE(x)
#endif

#define GENICAM_CAPABILITY(name) GENICAM_THREAD_ATTRIBUTE(capability(name))
#define GENICAM_SCOPED_CAPABILITY GENICAM_THREAD_ATTRIBUTE(scoped_lockable)
#define GENICAM_GUARDED_BY(lock) GENICAM_THREAD_ATTRIBUTE(guarded_by(lock))
#define GENICAM_PT_GUARDED_BY(lock) GENICAM_THREAD_ATTRIBUTE(pt_guarded_by(lock))
#define GENICAM_REQUIRES(...) GENICAM_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define GENICAM_ACQUIRE(...) GENICAM_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define GENICAM_TRY_ACQUIRE(...) GENICAM_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define GENICAM_RELEASE(...) GENICAM_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define GENICAM_ASSERT_CAPABILITY(lock) GENICAM_THREAD_ATTRIBUTE(assert_capability(lock))
#define GENICAM_RETURN_CAPABILITY(lock) GENICAM_THREAD_ATTRIBUTE(lock_returned(lock))
#define GENICAM_NO_THREAD_SAFETY_ANALYSIS GENICAM_THREAD_ATTRIBUTE(no_thread_safety_analysis)
