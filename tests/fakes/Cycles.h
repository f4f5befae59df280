// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdlib>

namespace Fakes {

/// How often to do what is done @p full times when all is asked for. ZELMO_TEST_CYCLES is how many of a hundred
/// thousand are wanted; a hundredth unless it is set. At least once.
inline int CyclesOf(int full) {
    const char* const wanted = std::getenv("ZELMO_TEST_CYCLES");
    return static_cast<int>(std::ceil(full * ((wanted != nullptr ? std::atof(wanted) : 1000) / 100000)));
}

} // namespace Fakes
