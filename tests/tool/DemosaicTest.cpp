// SPDX-License-Identifier: Apache-2.0
#include "Demosaic.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Samples = std::vector<std::uint16_t>;

Samples Line(const Samples& samples, std::size_t width, std::size_t height, std::size_t y) {
    Samples rgb(3 * width);
    tool::Demosaic(samples.data(), width, height, 0, 0).MakeLine(y, rgb.data());
    return rgb;
}

// R  G  R        10 20 30
// G  B  G        40 50 60
// R  G  R        70 80 90
const Samples kTile{10, 20, 30, 40, 50, 60, 70, 80, 90};

TEST(DemosaicTest, TakesTheMeanOfTheNearestOfEachColour) {
    const Samples middle = Line(kTile, 3, 3, 1);
    EXPECT_EQ(Samples(middle.begin(), middle.begin() + 3),
              (Samples{(10 + 70) / 2, 40, 50})); // green, red above and below
    EXPECT_EQ(Samples(middle.begin() + 3, middle.begin() + 6),
              (Samples{(10 + 30 + 70 + 90) / 4, (20 + 40 + 60 + 80) / 4, 50})); // blue
}

TEST(DemosaicTest, MirrorsAtTheEdge) {
    const Samples top = Line(kTile, 3, 3, 0);
    EXPECT_EQ(Samples(top.begin(), top.begin() + 3), (Samples{10, (20 + 20 + 40 + 40) / 4, 50}));
    EXPECT_EQ(Samples(top.begin() + 3, top.begin() + 6), (Samples{(10 + 30) / 2, 20, 50}));
}

TEST(DemosaicTest, StaysInsideAnImageOfOneColumnOrLine) {
    const Samples samples{1, 2, 3, 4};
    EXPECT_EQ(Line(samples, 4, 1, 0).size(), 12u); // the sanitizers watch over the reads
    for (std::size_t y = 0; y < 4; ++y) {
        EXPECT_EQ(Line(samples, 1, 4, y)[y % 2 == 0 ? 0 : 1], samples[y]);
    }
    EXPECT_EQ(Line({9}, 1, 1, 0), (Samples{9, 9, 9}));
}

} // namespace
