// SPDX-License-Identifier: Apache-2.0
#include "Blocks.h"

#include <serving/Faults.h>
#include <serving/stream/PacketPlan.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <tuple>

using namespace Serving;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

TEST(ParseFaultTest, ReadsEachPart) {
    const auto parts = [](const char* text) {
        const CFaultOrder order = ParseFault(text);
        std::string places;
        for (const CFaultPlace& place : order.setting.places) {
            places += "@" + std::to_string(place.block) +
                      (place.packet == CFaultPlace::kAnyPacket ? "" : ":" + std::to_string(place.packet));
        }
        return std::tuple(order.fault, order.setting.rate, order.setting.parameter, places, order.setting.left);
    };
    EXPECT_EQ(parts("packet-loss=0.01,3"), std::tuple(EFault::PacketLoss, 0.01, 3u, "", 0u));
    EXPECT_EQ(parts("trailer-loss@17@20"), std::tuple(EFault::TrailerLoss, 1.0, 0u, "@17@20", 0u));
    EXPECT_EQ(parts("silence,2000x1"), std::tuple(EFault::Silence, 1.0, 2000u, "", 1u));
    EXPECT_EQ(parts("packet-status=1e-2,0x4004@3:0x5@4:6x70"),
              std::tuple(EFault::PacketStatus, 0.01, 0x4004u, "@3:5@4:6", 70u));
    EXPECT_EQ(parts("delay"), std::tuple(EFault::Delay, 1.0, 1000u, "", 0u));
    for (std::size_t i = 0; i < kFaults; ++i) {
        EXPECT_EQ(ParseFault(OptionName(static_cast<EFault>(i))).fault, static_cast<EFault>(i));
    }
}

struct CBadFault {
    const char *text, *part, *permitted;
};
class BadFaultTest : public ::testing::TestWithParam<CBadFault> {};
INSTANTIATE_TEST_SUITE_P(Texts, BadFaultTest,
                         ::testing::Values(CBadFault{"", "name is \"\"", "packet-loss, leader-loss"},
                                           CBadFault{"paket-loss", "name is \"paket-loss\"", "heartbeat-frozen"},
                                           CBadFault{"packet-loss=1.5", "rate is \"1.5\"", "0 to 1"},
                                           CBadFault{"packet-loss=nan,3", "rate is \"nan\"", "0 to 1"},
                                           CBadFault{"packet-loss=", "rate is \"\"", "0 to 1"},
                                           CBadFault{"reorder=1,1001", "parameter is \"1001\"", "1 to 1000"},
                                           CBadFault{"reorder,-1", "parameter is \"-1\"", "1 to 1000"},
                                           CBadFault{"duplicate=1,2", "parameter is \"2\"", "none"},
                                           CBadFault{"packet-loss@0", "block is \"0\"", "1 to"},
                                           CBadFault{"packet-loss@1:", "packet is \"\"", "0 to 4294967294"},
                                           CBadFault{"ack-loss@1:2", "packet is \"2\"", "not of the stream"},
                                           CBadFault{"silence@0", "number is \"0\"", "1 to"},
                                           CBadFault{"packet-lossx0", "number of times is \"0\"", "1 to"},
                                           CBadFault{"packet-loss=0.5;1", "the rest behind its parts is \";1\"",
                                                     "NAME"}));

TEST_P(BadFaultTest, IsRefusedWithThePartAndWhatIsPermitted) {
    try {
        ParseFault(GetParam().text);
        ADD_FAILURE() << "accepted";
    } catch (const std::invalid_argument& e) {
        EXPECT_THAT(e.what(), HasSubstr(GetParam().part));
        EXPECT_THAT(e.what(), HasSubstr(GetParam().permitted));
    }
}

std::vector<std::uint32_t> Struck(CServingFaults& faults, EFault fault, std::uint64_t block) {
    std::vector<std::uint32_t> struck;
    for (std::uint32_t packet = 0; packet < 10000; ++packet) {
        if (faults.Strikes(fault, block, packet)) {
            struck.push_back(packet);
        }
    }
    return struck;
}

TEST(ServingFaultsTest, StrikeByTheSeedAndThePlaceAtAboutTheirRate) {
    CServingFaults faults(7), same(7);
    for (CServingFaults* const each : {&faults, &same}) {
        each->Set(EFault::PacketLoss, {.rate = 0.05});
        each->Set(EFault::Duplicate, {.rate = 0.05});
    }
    const auto struck = Struck(faults, EFault::PacketLoss, 3);
    EXPECT_NEAR(static_cast<double>(struck.size()), 500, 120);
    EXPECT_NE(Struck(same, EFault::PacketLoss, 4), struck);
    EXPECT_NE(Struck(same, EFault::Duplicate, 3), struck);
    EXPECT_EQ(Struck(same, EFault::PacketLoss, 3), struck) << "whatever was asked for before";
    EXPECT_EQ(faults.Count(EFault::PacketLoss), struck.size());
    same.Seed(8);
    EXPECT_NE(Struck(same, EFault::PacketLoss, 3), struck);
    faults.Reset();
    EXPECT_FALSE(faults.IsOn(EFault::PacketLoss));
    EXPECT_EQ(faults.Count(EFault::PacketLoss), 0u);
}

TEST(ServingFaultsTest, StrikeAtTheirPlacesAndAsOftenAsTold) {
    CServingFaults faults;
    faults.Set(EFault::PacketLoss, {.rate = 1, .parameter = 99999, .left = 3, .places = {{2, 5}, {4, 6}, {0, 9}}});
    EXPECT_EQ(faults.Parameter(EFault::PacketLoss), 65535u);
    EXPECT_THAT(Struck(faults, EFault::PacketLoss, 2), ElementsAre(5u, 9u));
    EXPECT_THAT(Struck(faults, EFault::PacketLoss, 4), ElementsAre(6u));
    EXPECT_FALSE(faults.IsOn(EFault::PacketLoss)) << "three times";
    EXPECT_THAT(Struck(faults, EFault::PacketLoss, 2), ElementsAre());
}

TEST(ServingFaultsTest, OfCommandsEachOneIsANewChance) {
    CServingFaults faults;
    faults.Set(EFault::AckLoss, {.rate = 0.5});
    int struck = 0;
    for (int command = 0; command < 1000; ++command) {
        struck += faults.StrikesNext(EFault::AckLoss) ? 1 : 0;
    }
    EXPECT_NEAR(struck, 500, 150);
}

TEST(ServingFaultsTest, OfCommandsOneCanBeMeantCountedFromWhenItWasSaid) {
    CServingFaults faults;
    for (int round = 0; round < 2; ++round) {
        faults.Set(EFault::Silence, ParseFault("silence@3@5x2").setting);
        std::string struck;
        for (int command = 1; command <= 7; ++command) {
            struck += faults.StrikesNext(EFault::Silence) ? std::to_string(command) : "";
        }
        EXPECT_EQ(struck, "35");
    }
}

struct CPlanCase {
    std::vector<const char*> faults;
    const char* sent; // ids, of two blocks of 7 packets
};
class PacketPlanTest : public ::testing::TestWithParam<CPlanCase> {};
INSTANTIATE_TEST_SUITE_P(
    Faults, PacketPlanTest,
    ::testing::Values(CPlanCase{{}, "0 1 2 3 4 5 6 | 0 1 2 3 4 5 6 | "},
                      CPlanCase{{"packet-loss@1:2"}, "0 1 3 4 5 6 | 0 1 2 3 4 5 6 | "},
                      CPlanCase{{"packet-loss=1,4@1:5"}, "0 1 2 3 4 | 2 3 4 5 6 | "},
                      CPlanCase{{"leader-loss@2", "trailer-loss@1"}, "0 1 2 3 4 5 | 1 2 3 4 5 6 | "},
                      CPlanCase{{"reorder@1:2", "reorder@2:6"}, "0 1 3 2 4 5 6 | 0 1 2 3 4 5 6 | "},
                      CPlanCase{{"reorder=1,3@1:1", "duplicate@1:4"}, "0 2 3 4 4 1 5 6 | 0 1 2 3 4 5 6 | "},
                      CPlanCase{{"reorder=1,100@1:5"}, "0 1 2 3 4 6 5 | 0 1 2 3 4 5 6 | "},
                      CPlanCase{{"reorder"}, "1 0 3 2 5 4 6 | 1 0 3 2 5 4 6 | "},
                      CPlanCase{{"delay=1,5@1:3"}, "0 1 2 ~5 3 4 5 6 | 0 1 2 3 4 5 6 | "},
                      CPlanCase{{"source-port@2:4"}, "0 1 2 3 4 5 6 | 0 1 2 3 *4 5 6 | "},
                      CPlanCase{{"truncate=1,7@1:1", "wrong-packet-id=1,8@1:2", "wrong-block-id=1,9@1:3",
                                 "packet-status=1,16388@1:4"},
                                "0 1-7 2+8 3b9 4s16388 5 6 | 0 1 2 3 4 5 6 | "}));

TEST_P(PacketPlanTest, SendsWhatTheFaultsLeave) {
    CServingFaults faults;
    for (const char* const text : GetParam().faults) {
        const CFaultOrder order = ParseFault(text);
        CFaultSetting setting = faults.Get(order.fault);
        const bool isMore = setting.rate > 0;
        setting.places.insert(setting.places.end(), order.setting.places.begin(), order.setting.places.end());
        setting.rate = order.setting.rate;
        setting.parameter = isMore ? setting.parameter : order.setting.parameter;
        faults.Set(order.fault, setting);
    }
    CPacketPlan plan(faults);
    std::string sent;
    for (std::uint64_t id = 1; id <= 2; ++id) {
        plan.Begin(*MakeBlock(id));
        while (const auto packet = plan.Next()) {
            sent += packet->pauseNs > 0 ? "~" + std::to_string(packet->pauseNs / 1000) + " " : "";
            sent += (packet->isFromOtherPort ? "*" : "") + std::to_string(packet->packetId);
            const CPacketMarks& marks = packet->marks;
            sent += marks.cutBytes != 0 ? "-" + std::to_string(marks.cutBytes) : "";
            sent += marks.packetIdAdded != 0 ? "+" + std::to_string(marks.packetIdAdded) : "";
            sent += marks.blockIdAdded != 0 ? "b" + std::to_string(marks.blockIdAdded) : "";
            sent += marks.status ? "s" + std::to_string(static_cast<int>(*marks.status)) : "";
            sent += " ";
        }
        EXPECT_EQ(plan.PassedIds(), 7u);
        sent += "| ";
    }
    EXPECT_EQ(sent, GetParam().sent);
}

TEST(PacketBurstTest, ResettingTheFaultsEndsABurst) {
    CServingFaults faults;
    faults.Set(EFault::PacketLoss, {.rate = 1, .parameter = 65535});
    CPacketPlan plan(faults);
    plan.Begin(*MakeBlock(1));
    EXPECT_FALSE(plan.Next());
    EXPECT_EQ(faults.Count(EFault::PacketLoss), 1u);
    faults.Reset();
    plan.Begin(*MakeBlock(2));
    EXPECT_EQ(plan.Next()->packetId, 0u);
}

} // namespace
