// SPDX-License-Identifier: Apache-2.0
#include "LatencyHistogram.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(LatencyHistogramTest, PercentilesAreExactToOnePartInSixtyFourAndTheMaximumIsExact) {
    tool::LatencyHistogram latencies;
    EXPECT_EQ(latencies.GetPercentileNs(0.99), 0u);
    constexpr std::int64_t count = 100'000;
    for (std::int64_t i = 1; i <= count; ++i) {
        latencies.Add(i * 1000);
    }
    for (const double share : {0.00001, 0.001, 0.5, 0.99, 1.0}) {
        const double exact = share * count * 1000;
        EXPECT_GE(static_cast<double>(latencies.GetPercentileNs(share)), exact);
        EXPECT_LE(static_cast<double>(latencies.GetPercentileNs(share)), exact * (1 + 1.0 / 64));
    }
    EXPECT_EQ(latencies.GetMaxNs(), 100'000'000u);
}

TEST(LatencyHistogramTest, HoldsEveryTimeAndAddsUp) {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    tool::LatencyHistogram one;
    tool::LatencyHistogram other;
    for (const std::int64_t ns : {-5l, 0l, 63l, 64l, 127l, 128l}) { // around the borders of buckets
        one.Add(ns);
    }
    other.Add(largest);
    one.Add(other);
    EXPECT_EQ(one.GetCount(), 7u);
    EXPECT_EQ(one.GetPercentileNs(2.0 / 7), 0u);
    EXPECT_EQ(one.GetPercentileNs(4.0 / 7), 64u);
    EXPECT_EQ(one.GetPercentileNs(5.0 / 7), 127u);
    EXPECT_EQ(one.GetPercentileNs(6.0 / 7), 129u); // the bucket of 128 and 129
    EXPECT_EQ(one.GetPercentileNs(1), static_cast<std::uint64_t>(largest));
}

} // namespace
