// SPDX-License-Identifier: Apache-2.0
#include "ServedCamera.h"

namespace Serving {

namespace {

constexpr auto kOk = Status::Success;

class CommandTest : public ServedCameraTest {};

TEST_F(CommandTest, WhatIsNoCommandIsDroppedAndCounted) {
    const ByteList good = Datagram(0x0080, Words({0}), 7);
    const auto with = [&](std::size_t at, std::uint8_t byte) {
        ByteList bad = good;
        bad[at] = byte;
        return bad;
    };
    ByteList tooLong = Concat(Datagram(0x0080, ByteList(540), 7), {0, 0, 0, 0});
    tooLong[4] = 544 >> 8;
    tooLong[5] = 544 & 0xFF;
    const ByteList bad[] = {
        {}, ByteList(7, 0x42), with(0, 0x41), with(5, 5), with(7, 0), ByteList(good.begin(), good.end() - 1), tooLong};
    for (const ByteList& datagram : bad) {
        EXPECT_FALSE(Send(datagram)) << ::testing::PrintToString(datagram);
    }
    EXPECT_FALSE(Send(good, kHost, /*isBroadcast*/ true)) << "is not for all";
    EXPECT_FALSE(Send(good, {kHost.address, 0}));
    EXPECT_EQ(device.Counts().dropped, std::size(bad) + 2);
    EXPECT_EQ(device.Counts().commands, 0u);
    EXPECT_TRUE(Send(Concat(good, {1, 2, 3}))) << "what is behind the command does not matter";
}

struct PayloadCase {
    Command command;
    ByteList payload;
    Status status; // LocalProblem: no answer
};
class PayloadTest : public CommandTest, public ::testing::WithParamInterface<PayloadCase> {};

TEST_P(PayloadTest, IsJudgedBeforeAnythingIsDone) {
    TakeControl();
    EXPECT_EQ(StatusOf(GetParam().command, GetParam().payload), GetParam().status);
    EXPECT_EQ(Ask(GetParam().command, GetParam().payload, kHost, /*flags*/ 0).has_value(),
              GetParam().command == Command::Discovery && GetParam().payload.empty())
        << "no acknowledge is wanted";
}
constexpr auto kBadHeader = Status::InvalidHeader, kBadAlignment = Status::BadAlignment, kNone = Status::LocalProblem;
INSTANTIATE_TEST_SUITE_P(
    All, PayloadTest,
    ::testing::Values(PayloadCase{Command::Discovery, {}, kOk}, PayloadCase{Command::Discovery, Words({0}), kNone},
                      PayloadCase{Command::ReadReg, {}, kBadHeader}, PayloadCase{Command::ReadReg, {0, 0}, kBadHeader},
                      PayloadCase{Command::ReadReg, Words({2}), kBadAlignment},
                      PayloadCase{Command::ReadReg, Words({0xA000}), Status::InvalidAddress},
                      PayloadCase{Command::WriteReg, Words({0x938}), kBadHeader},
                      PayloadCase{Command::WriteReg, Words({0x939, 1000}), kBadAlignment},
                      PayloadCase{Command::ReadMem, Words({0}), kBadHeader},
                      PayloadCase{Command::ReadMem, Words({0, 0}), Status::InvalidParameter},
                      PayloadCase{Command::ReadMem, Words({0, 540}), Status::InvalidParameter},
                      PayloadCase{Command::ReadMem, Words({0, 6}), kBadAlignment},
                      PayloadCase{Command::ReadMem, Words({2, 4}), kBadAlignment},
                      PayloadCase{Command::ReadMem, Words({0x9FFC, 8}), Status::InvalidAddress},
                      PayloadCase{Command::ReadMem, Words({0, 536}), kOk},
                      PayloadCase{Command::WriteMem, Words({0xE8}), kBadHeader},
                      PayloadCase{Command::WriteMem, {0, 0, 0, 0xE8, 'a', 'b'}, kBadAlignment},
                      PayloadCase{Command::WriteMem, {0, 0, 0, 0xEA, 'a', 'b', 'c', 'd'}, kBadAlignment},
                      PayloadCase{Command::ForceIp, ByteList(52), kNone},
                      PayloadCase{Command::PacketResend, ByteList(11), kNone},
                      PayloadCase{Command::Action, ByteList(11), kNone},
                      PayloadCase{Command::EventData, {}, Status::NotImplemented}));

TEST_F(CommandTest, SeveralRegistersAreReadInOrderUpToTheFirstFailure) {
    const AnswerOrNone all = Ask(Command::ReadReg, Words({Register::kVersion, Register::kDeviceMode}));
    ASSERT_TRUE(all);
    EXPECT_EQ(all->payload, Words({0x00020000, 0x80000001}));
    EXPECT_EQ(all->code, 0x0081);
    const AnswerOrNone some = Ask(Command::ReadReg, Words({Register::kVersion, 0xA000, Register::kDeviceMode}));
    ASSERT_TRUE(some);
    EXPECT_EQ(some->status, Status::InvalidAddress);
    EXPECT_EQ(some->payload, Words({0x00020000}));
}

TEST_F(CommandTest, SeveralRegistersAreWrittenInOrderUpToTheFirstFailure) {
    const std::uint32_t timeout = Register::kHeartbeatTimeout;
    const AnswerOrNone all = Ask(Command::WriteReg, Words({Register::kCcp, 2, timeout, 700, timeout, 800}));
    ASSERT_TRUE(all);
    EXPECT_EQ(all->status, kOk);
    EXPECT_EQ(all->Word(), 3u);
    EXPECT_EQ(Read(timeout), 800u);
    const AnswerOrNone some = Ask(Command::WriteReg, Words({timeout, 900, timeout, 1, timeout, 1000}));
    ASSERT_TRUE(some);
    EXPECT_EQ(some->status, Status::InvalidParameter);
    EXPECT_EQ(some->Word(), 1u);
    EXPECT_EQ(Read(timeout), 900u);
    EXPECT_EQ(device.Counts().refused, 1u);
}

TEST_F(CommandTest, ACommandThatComesAgainIsAnsweredButNotExecutedAgain) {
    TakeControl();
    OpenStream();
    const ByteList open = Datagram(0x0082, Words({Register::kStreamChannel, 60000}), 77);
    const AnswerOrNone first = Send(open);
    ASSERT_TRUE(first);
    const int openings = stream.openings;
    Read(Register::kCcp);
    now += 1000 * kMs;
    const AnswerOrNone again = Send(open);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->payload, first->payload);
    EXPECT_EQ(again->id, 77);
    EXPECT_EQ(stream.openings, openings);
    EXPECT_EQ(device.Counts().repeated, 1u);
    EXPECT_EQ(Send(open, kOther)->status, Status::AccessDenied) << "is another one's";
    now += 1 * kMs;
    Send(open);
    EXPECT_EQ(stream.openings, openings + 1) << "too late to be the same";
    Send(Datagram(0x0082, Words({Register::kStreamChannel, 60000}), 78));
    EXPECT_EQ(stream.openings, openings + 2) << "another id";
}

TEST_F(CommandTest, ThePrimarysAcknowledgeIsNotForgottenForThoseOfOthers) {
    TakeControl();
    const ByteList open = Datagram(0x0082, Words({Register::kStreamChannel, 60000}), 77);
    Send(open);
    for (std::uint16_t port = 1; port < 200; ++port) {
        EXPECT_EQ(Write(Register::kHeartbeatTimeout, 1000, {kOther.address, port}), Status::AccessDenied);
    }
    Send(open);
    EXPECT_EQ(stream.openings, 1);
}

TEST_F(CommandTest, DiscoveryAnswersWithTheFirstRegisters) {
    const AnswerOrNone answer = Ask(Command::Discovery, {});
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->id, id);
    const auto info = GigEVision::DecodeDiscoveryAck(answer->payload);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->address, 0x0A000002u);
    EXPECT_EQ(info->serialNumber, "0815-0007");
    EXPECT_EQ(info->mac[0], 0x02) << "locally administered";
    EXPECT_EQ(host.answers.back().delayNs, 0) << "asked alone";
    EXPECT_TRUE(host.broadcasts.empty());
}

TEST_F(CommandTest, DiscoveryByBroadcastIsAnsweredSomeTimeLater) {
    std::int64_t least = INT64_MAX, most = 0;
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(Send(Datagram(0x0002, {}, 0xFFFF, 0x11), kHost, /*isBroadcast*/ true));
        least = std::min(least, host.answers.back().delayNs);
        most = std::max(most, host.answers.back().delayNs);
    }
    EXPECT_LT(least, 200 * kMs);
    EXPECT_GT(most, 800 * kMs);
    EXPECT_LE(most, 1000 * kMs);
    EXPECT_TRUE(host.broadcasts.empty()) << "the host is of the same subnet";
}

TEST_F(CommandTest, AHostOfAnotherSubnetIsAnsweredByBroadcastTooIfItMay) {
    ASSERT_TRUE(Ask(Command::Discovery, {}, kForeign));
    EXPECT_TRUE(host.broadcasts.empty());
    ASSERT_TRUE(Ask(Command::Discovery, {}, kForeign, 0x11));
    ASSERT_EQ(host.broadcasts.size(), 1u);
    EXPECT_EQ(host.broadcasts[0].to.port, kForeign.port);
    EXPECT_EQ(host.broadcasts[0].bytes, host.answers.back().bytes);
}

class ForceIpTest : public CommandTest {
protected:
    AnswerOrNone Force(std::uint64_t mac, std::uint32_t address) {
        GigEVision::ForceIp force{{}, address, 0xFFFF0000, 0};
        for (std::size_t i = 0; i < 6; ++i) {
            force.mac[i] = static_cast<std::uint8_t>(mac >> (8 * (5 - i)));
        }
        std::array<std::uint8_t, 56> buffer;
        const GigEVision::Bytes payload = GigEVision::EncodeForceIp(force, buffer);
        return Send(Datagram(0x0004, {payload.begin(), payload.end()}, ++id), kHost, /*isBroadcast*/ true);
    }
};

TEST_F(ForceIpTest, ItsOwnMacGivesTheCameraAnotherAddress) {
    EXPECT_FALSE(Force(device.MacAddress() + 1, 0x0A000063));
    EXPECT_TRUE(host.addresses.empty());
    EXPECT_TRUE(Force(device.MacAddress(), 0x0A000063));
    EXPECT_EQ(Read(Register::kCurrentIp), 0x0A000063u);
    EXPECT_EQ(Read(Register::kCurrentMask), 0xFFFF0000u);
    EXPECT_EQ(device.Addressing().address, 0x0A000063u);
    host.hasAddress = false;
    EXPECT_FALSE(Force(device.MacAddress(), 0x0A000064));
    EXPECT_EQ(Read(Register::kCurrentIp), 0x0A000063u);
    EXPECT_FALSE(Force(device.MacAddress(), 0)) << "nobody knows where it will be";
    EXPECT_EQ(Read(Register::kCurrentIp), 0x0A000002u);
    EXPECT_EQ(host.addresses, (std::vector<std::uint32_t>{0x0A000063, 0}));
}

TEST_F(ForceIpTest, IsNotHeardWhileSomebodyHasControl) {
    TakeControl();
    EXPECT_FALSE(Force(device.MacAddress(), 0x0A000063));
    EXPECT_TRUE(host.addresses.empty());
}

TEST_F(ForceIpTest, AnAddressThatIsToBeKeptIsTheOneThatIsConfigured) {
    TakeControl();
    EXPECT_EQ(Write(Register::kPersistentIp, 0x0A000050), kOk);
    EXPECT_EQ(Write(Register::kPersistentMask, 0xFFFFFF00), kOk);
    EXPECT_EQ(Write(Register::kIpInUse, 1), kOk);
    EXPECT_EQ(Read(Register::kIpInUse), 5u) << "link-local addresses cannot be switched off";
    EXPECT_EQ(Write(Register::kCcp, 0), kOk);
    EXPECT_FALSE(Force(device.MacAddress(), 0));
    EXPECT_EQ(host.addresses, (std::vector<std::uint32_t>{0x0A000050}));
}

class ActionTest : public CommandTest {
protected:
    ActionTest() {
        TakeControl();
        for (const auto& [address, value] :
             {std::pair{Register::kActionDeviceKey, 1u}, std::pair{Register::kActionGroupKey + 0x10, 2u},
              std::pair{Register::kActionGroupMask + 0x10, 6u}, std::pair{Address::kCamera + Reg::kTriggerMode, 1u},
              std::pair{Address::kCamera + Reg::kTriggerSource, 4u},
              std::pair{Address::kCamera + Reg::kAcquisitionStart, 1u}}) {
            EXPECT_EQ(Write(address, value), kOk) << address;
        }
    }
    bool IsExposing() { return camera.Stream().Status().isFrameActive; }
};

TEST_F(ActionTest, MeansTheCamerasThatHaveItsKeys) {
    for (const auto& [deviceKey, group, mask] : {std::array{9u, 2u, 6u}, {1u, 9u, 6u}, {1u, 2u, 9u}}) {
        EXPECT_FALSE(Ask(Command::Action, Words({deviceKey, group, mask}), kOther));
    }
    EXPECT_FALSE(IsExposing());
    EXPECT_TRUE(Send(Datagram(0x0100, Words({1, 2, 4}), 9), kOther, /*isBroadcast*/ true));
    EXPECT_TRUE(IsExposing());
    EXPECT_EQ(device.Counts().actions, 1u);
}

TEST_F(ActionTest, IsNotExecutedAtATimeThatNobodyShares) {
    EXPECT_EQ(Ask(Command::Action, Words({1, 2, 4, 0, 99}), kOther, 0x81)->status, Status::Error);
    EXPECT_EQ(Write(Register::kGvcpConfiguration, 0x00040000), kOk);
    EXPECT_EQ(Ask(Command::Action, Words({1, 2, 4, 0, 99}), kOther, 0x81)->status, Status::NoReferenceTime);
    EXPECT_FALSE(IsExposing());
}

TEST_F(ActionTest, MeansNothingWhileNobodyHasControl) {
    EXPECT_EQ(Write(Register::kCcp, 0), kOk);
    EXPECT_FALSE(Ask(Command::Action, Words({1, 2, 4}), kOther));
}

} // namespace

} // namespace Serving
