// SPDX-License-Identifier: Apache-2.0
#include "Suggestions.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<std::string> kNown{"Width",        "WidthMax",     "Height",
                                     "ExposureTime", "ExposureAuto", "AcquisitionFrameRate"};

TEST(SuggestionsTest, FindsTypingErrorsBestFirstPartsOfNamesAndElseNothing) {
    EXPECT_THAT(tool::NearMatches("Widht", kNown), ElementsAre("Width"));
    EXPECT_THAT(tool::NearMatches("width", kNown), ElementsAre("Width", "WidthMax"));
    EXPECT_THAT(tool::NearMatches("exposure", kNown), ElementsAre("ExposureTime", "ExposureAuto"));
    EXPECT_THAT(tool::NearMatches("FrameRate", kNown), ElementsAre("AcquisitionFrameRate"));
    EXPECT_THAT(tool::NearMatches("", kNown), IsEmpty());
    EXPECT_EQ(tool::DidYouMean("Temperature", kNown), "");
}

TEST(SuggestionsTest, OffersAtMostThree) {
    const std::vector<std::string> many{"Line1", "Line2", "Line3", "Line4"};
    EXPECT_EQ(tool::DidYouMean("Line", many), " (did you mean 'Line1', 'Line2' or 'Line3'?)");
}

} // namespace
