// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what the GenICam modules export: everything else stays inside.
#if defined(__GNUC__)
#define GENICAM_API __attribute__((visibility("default")))
#else
#define GENICAM_API
#endif
