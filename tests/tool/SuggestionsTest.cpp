#include "Suggestions.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<std::string> known{"Width",        "WidthMax",     "Height",
                                     "ExposureTime", "ExposureAuto", "AcquisitionFrameRate"};

TEST(SuggestionsTest, FindsTypingErrorsBestFirst) {
    EXPECT_THAT(tool::NearMatches("Widht", known), ElementsAre("Width"));
    EXPECT_THAT(tool::NearMatches("width", known), ElementsAre("Width", "WidthMax"));
    EXPECT_THAT(tool::NearMatches("ExposureTim", known), ElementsAre("ExposureTime"));
}

TEST(SuggestionsTest, FindsPartsOfNames) {
    EXPECT_THAT(tool::NearMatches("exposure", known), ElementsAre("ExposureTime", "ExposureAuto"));
    EXPECT_THAT(tool::NearMatches("FrameRate", known), ElementsAre("AcquisitionFrameRate"));
}

TEST(SuggestionsTest, StaysSilentWhenNothingIsNear) {
    EXPECT_THAT(tool::NearMatches("Temperature", known), IsEmpty());
    EXPECT_THAT(tool::NearMatches("", known), IsEmpty());
    EXPECT_EQ(tool::DidYouMean("Temperature", known), "");
}

TEST(SuggestionsTest, OffersAtMostThree) {
    const std::vector<std::string> many{"Line1", "Line2", "Line3", "Line4"};
    EXPECT_EQ(tool::DidYouMean("Line", many), " (did you mean 'Line1', 'Line2' or 'Line3'?)");
}

} // namespace
