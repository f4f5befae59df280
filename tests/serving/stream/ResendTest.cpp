// SPDX-License-Identifier: Apache-2.0
#include "Blocks.h"

#include <serving/stream/ResendPlanner.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

using namespace Serving;
using namespace GigEVision;

namespace {

constexpr CEndpoint kHost{0x7F000001, 4000};
constexpr std::uint32_t kEnd = ResendRequest::kToEnd, kEndExtended = ResendRequest::kToEndExtended;

/// Blocks 10, 11 and 13, of 7 packets each, of which 13 is being sent; 14 and 15 wait.
class Resends {
public:
    explicit Resends(bool isExtended, std::uint64_t added = 0) : m_isExtended(isExtended) {
        for (const std::uint64_t id : {10, 11, 13}) {
            m_blocks.push_back(MakeBlock(id + added, {.packetSize = 576, .extendedIds = isExtended}));
            m_blocks.back()->passedIds = id == 13 ? 3 : 7;
            m_history.Add(*m_blocks.back());
        }
        m_rules = {kHost, isExtended, true, true, 13 + added, 15 + added};
    }
    void Ask(std::uint64_t block, std::uint32_t first, std::uint32_t last) {
        m_planner.Ask({.isExtended = m_isExtended, .blockId = block, .first = first, .last = last}, m_rules);
    }
    /// Errors as "8012@9.3", with "!" for a flag; packets as "10.2".
    std::string Answers() {
        std::string text;
        while (const CResendAnswer* const answer = m_planner.Front()) {
            EXPECT_EQ(answer->destination, kHost);
            char line[64];
            if (answer->isError) {
                const PacketHeader& error = answer->error;
                EXPECT_EQ(error.isExtended, m_isExtended);
                std::snprintf(line, sizeof line, "%04x%s@%llu.%u ", static_cast<unsigned>(error.status),
                              error.flags == PacketFlag::kResendRangeError ? "!" : "",
                              static_cast<unsigned long long>(error.blockId), error.packetId);
            } else {
                CBlock& block = *m_history.Find(answer->serial);
                EXPECT_EQ(answer->isMarked, m_rules.statusCodes11);
                std::snprintf(line, sizeof line, "%llu.%u ", static_cast<unsigned long long>(block.Ids().number),
                              answer->packetId);
                block.TakeQueued(answer->packetId);
            }
            text += line;
            m_planner.Pop();
        }
        return text;
    }

    CResendRules m_rules;
    CBlockHistory m_history;
    CResendPlanner m_planner{m_history};

private:
    bool m_isExtended;
    std::vector<std::unique_ptr<CBlock>> m_blocks;
};

struct CResendCase {
    std::uint64_t block;
    std::uint32_t first, last;
    const char *answers, *withoutCodes;
};
class ResendRuleTest : public ::testing::TestWithParam<CResendCase> {};
INSTANTIATE_TEST_SUITE_P(Requests, ResendRuleTest,
                         ::testing::Values(CResendCase{10, 2, 4, "10.2 10.3 10.4 ", "10.2 10.3 10.4 "},
                                           CResendCase{11, 5, kEnd, "11.5 11.6 ", "11.5 11.6 "},
                                           CResendCase{11, 6, 500, "11.6 ", "11.6 "}, CResendCase{11, 4, 3, "", ""},
                                           CResendCase{11, 7, kEnd, "", ""},
                                           CResendCase{13, 1, kEnd, "8010@13.3 13.1 13.2 ", "13.1 13.2 "},
                                           CResendCase{13, 4, 5, "8010@13.4 ", ""},
                                           CResendCase{14, 1, 2, "8010@14.1 ", ""}, CResendCase{16, 0, kEnd, "", ""},
                                           CResendCase{0, 0, kEnd, "", ""}, CResendCase{40000, 0, 9, "", ""},
                                           CResendCase{9, 3, kEnd, "8011@9.3 ", "800c@9.3 "},
                                           CResendCase{12, 3, 9, "8012@12.3 ", "800c@12.3 "}));

TEST_P(ResendRuleTest, IsAnsweredOutOfWhatThereIs) {
    const CResendCase& given = GetParam();
    Resends resends(false);
    resends.Ask(given.block, given.first, given.last);
    EXPECT_EQ(resends.Answers(), given.answers);
    resends.m_rules.statusCodes11 = false;
    resends.m_rules.statusCodes20 = false;
    resends.Ask(given.block, given.first, given.last);
    EXPECT_EQ(resends.Answers(), given.withoutCodes);
}

TEST(ResendTest, ExtendedIdsHaveTheirOwnEndAndTellOfAWrongRange) {
    Resends resends(true, std::uint64_t{1} << 40);
    const std::uint64_t block = (std::uint64_t{1} << 40) + 11;
    resends.Ask(block, 5, kEndExtended);
    EXPECT_EQ(resends.Answers(), std::to_string(block) + ".5 " + std::to_string(block) + ".6 ");
    resends.Ask(block, 4, 3);
    EXPECT_EQ(resends.Answers(), "800c!@" + std::to_string(block) + ".4 ");
    resends.Ask(block + 20, 0, 1);
    EXPECT_EQ(resends.Answers(), "");
}

TEST(ResendTest, IdsOf16BitsAreThoseAroundTheNewest) {
    Resends resends(false, 65535 * 3 - 10); // 65535, 1, 3 on the wire
    resends.Ask(65535, 0, 0);
    resends.Ask(1, 1, 1);
    resends.Ask(65000, 0, 0);
    resends.Ask(4, 2, 2);
    resends.Ask(20, 2, 2);
    EXPECT_EQ(resends.Answers(), "8011@65000.0 8010@4.2 196605.0 196606.1 ");
}

TEST(ResendTest, APacketIsQueuedOnceUntilItIsSent) {
    Resends resends(false);
    resends.Ask(10, 1, 3);
    resends.Ask(10, 2, 4);
    EXPECT_EQ(resends.Answers(), "10.1 10.2 10.3 10.4 ");
    resends.Ask(10, 2, 2);
    EXPECT_EQ(resends.Answers(), "10.2 ");
}

TEST(ResendTest, AFullQueueSaysSoAndErrorsAreBounded) {
    CBlockHistory history;
    CBlock block(kFrameBytes * 1000);
    CamEmu::CFrame frame = FrameOf(block);
    frame.payloadSize = kFrameBytes * 1000;
    block.Prepare(frame, {.number = 1, .sent = 1}, {.packetSize = 576});
    block.passedIds = block.TrailerId() + 1;
    history.Add(block);
    CResendPlanner planner(history);
    CResendRules rules{.destination = kHost, .statusCodes20 = true, .newestSent = 1, .newestKnown = 1};
    planner.Ask({.blockId = 1, .first = 0, .last = kEnd}, rules);
    rules.statusCodes20 = false;
    planner.Ask({.blockId = 1, .first = 10, .last = 4097}, rules);
    EXPECT_EQ(planner.Front()->error.status, Status::PacketTemporarilyUnavailable);
    EXPECT_EQ(planner.Front()->error.packetId, 4096u);
    planner.Pop();
    EXPECT_EQ(planner.Front()->error.status, Status::PacketUnavailable);
    planner.Pop();
    std::size_t packets = 0;
    for (; planner.Front(); planner.Pop()) {
        packets += planner.Front()->isError ? 0 : 1;
    }
    EXPECT_EQ(packets, CResendPlanner::kMaxPackets);
    for (std::size_t i = 0; i < 2 * CResendPlanner::kMaxErrors; ++i) {
        planner.Refuse({.blockId = 1}, rules, Status::Busy);
    }
    std::size_t errors = 0;
    for (; planner.Front(); planner.Pop()) {
        ++errors;
    }
    EXPECT_EQ(errors, CResendPlanner::kMaxErrors);
}

} // namespace
