// SPDX-License-Identifier: Apache-2.0
#include "LossCounter.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct Case {
    const char* name;
    std::vector<std::uint64_t> ids;
    std::uint64_t lost;
};

std::ostream& operator<<(std::ostream& stream, const Case& one) {
    return stream << one.name;
}

class LossCounterIdTest : public testing::TestWithParam<Case> {};

TEST_P(LossCounterIdTest, CountsWhatIsMissingBetweenImages) {
    tool::LossCounter counter;
    std::uint64_t lost = 0;
    for (const std::uint64_t id : GetParam().ids) {
        lost += counter.Add(id);
    }
    EXPECT_EQ(lost, GetParam().lost);
}

constexpr auto kNone = ~std::uint64_t{0};

INSTANTIATE_TEST_SUITE_P(Ids, LossCounterIdTest,
                         testing::Values(Case{"NoGap", {1, 2, 3}, 0}, Case{"FirstIdIsTakenAsItIs", {17, 18}, 0},
                                         Case{"Gaps", {0, 3, 4, 6}, 3}, Case{"CameraWithoutIds", {kNone, kNone}, 0},
                                         Case{"OneImageWithoutId", {1, kNone, 3}, 1},
                                         Case{"SixteenBitsWrapToOne", {65534, 65535, 1, 2}, 0},
                                         Case{"LossesOverTheWrap", {65534, 2}, 2},
                                         Case{"CameraBeganAnew", {50, 1, 2}, 0},
                                         Case{"LargeIds", {1ull << 40, (1ull << 40) + 5}, 4}),
                         [](const auto& one) { return one.param.name; });

TEST(LossCounterTest, ImagesThatWereSkippedAreNotLost) {
    tool::LossCounter counter;
    EXPECT_EQ(counter.Add(7, 5), 0u) << "nobody knows where the ids begin";
    EXPECT_EQ(counter.Add(10, 2), 0u);
    EXPECT_EQ(counter.Add(20, 4), 5u);
    EXPECT_EQ(counter.Add(21, 3), 0u) << "skipped ones without an id";
}

} // namespace
