// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what the library exports: everything else stays inside.
#if defined(__GNUC__)
#define ZELMO_API __attribute__((visibility("default")))
#else
#define ZELMO_API
#endif
