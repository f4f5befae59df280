// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace Fakes {

/// What the quickest of some attempts took, which has to be less than @p bound: no single one decides, as a busy
/// machine may have no time for it. Ends with the first one that is quick enough.
template <class Attempt>
std::chrono::nanoseconds ExpectWithin(std::chrono::milliseconds bound, Attempt attempt, int most = 20) {
    auto best = std::chrono::nanoseconds::max();
    for (int i = 0; i < most && best >= bound; ++i) {
        const auto begin = std::chrono::steady_clock::now();
        attempt();
        best = std::min<std::chrono::nanoseconds>(best, std::chrono::steady_clock::now() - begin);
    }
    EXPECT_LT(best, bound);
    return best;
}

} // namespace Fakes
