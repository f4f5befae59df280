// SPDX-License-Identifier: Apache-2.0
#include "LossReport.h"
#include "LinkReport.h"

#include <gmock/gmock.h>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

/// Of a grab of ten seconds.
std::vector<std::string> Explain(tool::GrabCounts counts, double busySeconds, std::optional<std::uint64_t> underruns,
                                 const tool::StreamCounts& stream = {}) {
    counts.frames = 9;
    counts.seconds = 10;
    tool::LossClues clues;
    clues.busySeconds = busySeconds;
    clues.stream = stream;
    clues.stream.underruns = underruns;
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

struct PacketFate {
    std::uint64_t missing, requests, refused, droppedByHost;
    const char* cause;
};

TEST(LossReportTest, SaysWherePacketsWereLost) {
    for (const PacketFate& fate :
         {PacketFate{12, 5, 0, 30, "this host dropped 30 packets, as the receive buffer"},
          PacketFate{1000, 5, 0, 1, "at least 999 packets got lost on the network, and 5 requests"},
          PacketFate{1000, 5, 0, 1, "GevSCPD; besides, this host dropped 1 packet, as"},
          PacketFate{0, 5, 0, 1, "incomplete; of the first one: torn"}, // it came again
          PacketFate{12, 0, 0, 0, "12 packets got lost on the network and were not asked for again: EnableResend"},
          PacketFate{1, 5, 2, 0, "1 packet got lost on the network, and the camera answered with 2 errors"},
          PacketFate{12, 5, 0, 0, "and 5 requests did not bring them back: look at cables"},
          PacketFate{0, 5, 0, 0, "incomplete; of the first one: torn"}}) {
        tool::StreamCounts stream;
        stream.packets = 1000;
        stream.missing = fate.missing;
        stream.requests = fate.requests;
        stream.refused = fate.refused;
        stream.droppedByHost = fate.droppedByHost;
        tool::GrabCounts counts;
        counts.failed = 2;
        EXPECT_THAT(Explain(counts, 0, 0, stream), ElementsAre(HasSubstr(fate.cause)));
        counts.failed = 0;
        counts.lost = 2;
        EXPECT_THAT(
            Explain(counts, 0, 0, stream),
            ElementsAre(AllOf(HasSubstr("not one packet of them came"),
                              HasSubstr(fate.droppedByHost > 0 ? "besides, this host dropped" : "dropped none"))));
    }
}

TEST(LossReportTest, TellsThePauseThatSpreadsCamerasOfOneLink) {
    tool::HostInterface gigabit;
    gigabit.name = "eth1";
    gigabit.speedMbit = 1000;
    const auto explain = [&](double bytesPerSecond, bool hasLostPackets, const char* secondInterface) {
        const tool::LinkUse use{"A", "eth1", bytesPerSecond, 9000, 1'000'000'000, hasLostPackets};
        tool::LinkUse other = use;
        other.camera = "B";
        other.interface = secondInterface;
        return tool::ExplainLinks({use, other}, {gigabit});
    };
    const auto spread = ElementsAre(HasSubstr("of its 125 MB/s are images. A pause between packets spreads them: "
                                              "GevSCPD of A 79200, of B 79200"));
    EXPECT_THAT(explain(60e6, false, "eth1"), spread);
    EXPECT_THAT(explain(10e6, true, "eth1"), spread);
    EXPECT_THAT(explain(10e6, false, "eth1"), ElementsAre());
    EXPECT_THAT(explain(60e6, true, "eth2"), ElementsAre()); // a link each
}

} // namespace
