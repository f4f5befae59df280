// SPDX-License-Identifier: Apache-2.0
#include "LossReport.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// Of a grab of ten seconds.
std::vector<std::string> Explain(tool::GrabCounts counts, double busySeconds, std::optional<std::uint64_t> underruns) {
    counts.frames = 9;
    counts.seconds = 10;
    tool::LossClues clues;
    clues.busySeconds = busySeconds;
    clues.underruns = underruns;
    clues.firstFailure = "torn";
    tool::GrabOptions options;
    options.strategy = Zelmo::GrabStrategy_LatestImageOnly;
    return tool::ExplainLosses("S1", counts, clues, options);
}

TEST(LossReportTest, NamesTheLikelyCauseOfEachWayToMissImages) {
    tool::GrabCounts lost;
    lost.lost = 4;
    EXPECT_THAT(Explain({}, 9.5, 3), ElementsAre());
    EXPECT_THAT(Explain(lost, 9.5, 4), ElementsAre(HasSubstr("S1: 4 images were lost: no buffer was free when they "
                                                             "came, as writing held the grab up for 95 %")));
    EXPECT_THAT(Explain(lost, 0.1, 4), ElementsAre(HasSubstr("no buffer was free when they came. More --buffers")));
    EXPECT_THAT(Explain(lost, 9.5, 0), ElementsAre(HasSubstr("not for want of a buffer")));
    EXPECT_THAT(Explain(lost, 0.1, {}), ElementsAre(HasSubstr("does not tell why")));
    EXPECT_THAT(Explain(lost, 9.5, {}), ElementsAre(HasSubstr("probably because writing")));
    tool::GrabCounts others;
    others.skipped = 7;
    others.failed = 1;
    EXPECT_THAT(Explain(others, 0.1, 0),
                ElementsAre(HasSubstr("7 images were skipped: --strategy latest-image-only"),
                            HasSubstr("1 image was damaged or incomplete; of the first one: torn")));
}

} // namespace
