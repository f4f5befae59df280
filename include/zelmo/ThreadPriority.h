// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/Types.h>

namespace GenApi {
struct INodeMap;
}

/// @file
/// Real-time priorities of threads: round robin (SCHED_RR) from 1 upwards, 0 is normal scheduling.
/// A thread is named by its `pthread_t`. Nothing is kept here: the limits of the process are read on every call.
/// Threads: any.
namespace Zelmo {

/// The priorities that this process may give: up to the soft limit RLIMIT_RTPRIO, or the system's maximum for a
/// privileged process.
ZELMO_API void GetRTThreadPriorityCapabilities(int& priorityMin, int& priorityMax);

/// @return 0, or the system's error number: EINVAL outside the capabilities, EPERM where the system refuses.
ZELMO_API int SetRTThreadPriority(unsigned long threadId, int priority);

/// @return the priority, 0 for normal scheduling or a thread that cannot be looked at.
ZELMO_API int GetRTThreadPriority(unsigned long threadId);

/// A thread's priority in a node map is four integers, @p baseName with "_Min", "_Max", "_Value" and "_Override".
/// Writes what the process may do to the first two, and the middle of it to the third.
/// @throws GenICam::GenericException what access to the nodes throws, a missing one included.
ZELMO_API void SetupRTThreadPriorityCapabilities(GenApi::INodeMap* nodeMap, String_t baseName);

/// Gives the thread the priority in "_Value". Where that raises and "_Override" is 0, the nodes are brought in line
/// with the thread's real priority instead. A priority that the system refuses is no failure.
/// @throws what access to the nodes throws; with "_Override" 0 only that of bringing them in line.
ZELMO_API void SetNodemapRTThreadPriority(GenApi::INodeMap* nodeMap, String_t baseName, unsigned long threadId);

/// Without effect on this platform.
ZELMO_API void SetThreadName(unsigned long threadId, const char* name);
ZELMO_API void SetCurrentThreadName(const char* name);

} // namespace Zelmo
