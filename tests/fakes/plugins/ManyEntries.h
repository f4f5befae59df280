// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Fakes {

/// How many entries the plug-in lists that lists far too many.
#ifdef ZELMO_SANITIZED
constexpr int kManyEntries = 100000; // the same code runs, ten times as slow
#else
constexpr int kManyEntries = 1000000;
#endif

} // namespace Fakes
