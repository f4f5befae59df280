// SPDX-License-Identifier: Apache-2.0
#include "ServedCamera.h"

namespace Serving {

namespace {

struct RightsCase {
    std::uint32_t privilege; // of the host
    Status reads, writes;    // of another one
    Status takes, takesWithKey;
};

class RightsTest : public ServedCameraTest, public ::testing::WithParamInterface<RightsCase> {};

constexpr auto kOk = Status::Success, kDenied = Status::AccessDenied;
constexpr std::uint32_t kKey = 0x1234;

TEST_P(RightsTest, OthersMayWhatThePrivilegeLeavesThem) {
    const RightsCase& expected = GetParam();
    if (expected.privilege != 0) {
        TakeControl();
        ASSERT_EQ(Write(Register::kSwitchoverKey, kKey), kOk);
        TakeControl(expected.privilege);
    }
    EXPECT_EQ(StatusOf(Command::ReadReg, Words({Register::kCcp}), kOther), expected.reads);
    EXPECT_EQ(StatusOf(Command::ReadMem, Words({Register::kFirstUrl, 512}), kOther), expected.reads);
    EXPECT_EQ(Write(Register::kHeartbeatTimeout, 1000, kOther), expected.writes);
    EXPECT_EQ(StatusOf(Command::WriteMem, Words({Register::kUserName, 0, 0}), kOther), expected.writes);
    EXPECT_EQ(StatusOf(Command::Discovery, {}, kOther), kOk);
    EXPECT_EQ(StatusOf(static_cast<Command>(0x1234), {}, kOther), Status::NotImplemented);
    if (expected.privilege != 0) {
        EXPECT_EQ(Write(Register::kCcp, 0, kOther), kDenied);
        EXPECT_EQ(Read(Register::kCcp), expected.privilege);
        EXPECT_EQ(Read(Register::kPrimaryIp), kHost.address);
        EXPECT_EQ(Read(Register::kPrimaryPort), kHost.port);
        EXPECT_EQ(Write(Register::kHeartbeatTimeout, 1000), kOk);
        EXPECT_EQ(Write(Register::kCcp, 2), kOk) << "again, by the same one";
        TakeControl(expected.privilege);
    }
    EXPECT_EQ(Write(Register::kCcp, 2, kOther), expected.takes);
    const bool changed = expected.takes == kOk || expected.takesWithKey == kOk;
    EXPECT_EQ(Write(Register::kCcp, kKey << 16 | 2, kOther), expected.takesWithKey);
    EXPECT_EQ(device.Primary(), changed ? kOther : kHost);
}

INSTANTIATE_TEST_SUITE_P(All, RightsTest,
                         ::testing::Values(RightsCase{0, kOk, kDenied, kOk, kOk},
                                           RightsCase{2, kOk, kDenied, kDenied, kDenied},
                                           RightsCase{6, kOk, kDenied, kDenied, kOk},
                                           RightsCase{1, kDenied, kDenied, kDenied, kDenied},
                                           RightsCase{3, kDenied, kDenied, kDenied, kDenied}));

class ControlTest : public ServedCameraTest {
protected:
    void StartAll() {
        TakeControl();
        OpenStream();
        ASSERT_EQ(Write(Register::kMcda, kHost.address), kOk);
        ASSERT_EQ(Write(Register::kMcp, 60001), kOk);
        ASSERT_EQ(Write(Register::kGvcpConfiguration, 0x6), kOk);
        ASSERT_EQ(Write(Register::kStreamChannel + Register::kScps, 2000), kOk);
        ASSERT_EQ(Execute(Reg::kAcquisitionStart), kOk);
        ASSERT_TRUE(stream.takesFrames && camera.Stream().IsAcquiring());
    }
    void ExpectAllClosed() {
        EXPECT_FALSE(stream.isOpen || stream.takesFrames || camera.Stream().IsAcquiring());
        EXPECT_EQ(host.closedMessages, 1);
        EXPECT_EQ(Read(Register::kStreamChannel + Register::kScp, kOther), 0u);
        EXPECT_EQ(Read(Register::kMcp, kOther), 0u);
        EXPECT_EQ(Read(Register::kGvcpConfiguration, kOther), 0u);
        EXPECT_EQ(Read(Register::kStreamChannel + Register::kScps, kOther), 2000u) << "a setting of the camera";
    }
};

TEST_F(ControlTest, PrivilegesThatThereAreNotAreRefused) {
    for (const std::uint32_t privilege : {4u, 8u, 0x8002u}) {
        EXPECT_EQ(Write(Register::kCcp, privilege), Status::InvalidParameter) << privilege;
    }
    EXPECT_EQ(Write(Register::kCcp, 0), kOk) << "nobody has it, and so it stays";
    TakeControl(5);
    EXPECT_EQ(Read(Register::kCcp), 1u) << "what is exclusive cannot be taken over";
}

TEST_F(ControlTest, GivingItUpClosesAll) {
    StartAll();
    EXPECT_EQ(Write(Register::kCcp, 0), kOk);
    ExpectAllClosed();
    EXPECT_EQ(device.Primary().port, 0);
    EXPECT_EQ(Write(Register::kHeartbeatTimeout, 1000), kDenied);
}

TEST_F(ControlTest, ASilentPrimaryLosesItWhenTheHeartbeatEnds) {
    StartAll();
    EXPECT_EQ(device.NextDueNs(), now + 3000 * kMs);
    Pass(2999);
    EXPECT_EQ(Read(Register::kCcp), 2u);
    Pass(2999);
    EXPECT_EQ(device.Primary(), kHost) << "the command before was a sign of life";
    Pass(1);
    ExpectAllClosed();
    EXPECT_EQ(device.Counts().heartbeatsExpired, 1u);
    EXPECT_EQ(Write(Register::kCcp, 2, kOther), kOk);
}

TEST_F(ControlTest, OnlyValidCommandsOfThePrimarysSocketAreSignsOfLife) {
    const CEndpoint sameHost{kHost.address, 1234};
    TakeControl();
    OpenStream();
    const auto isAliveAfter = [&](auto act) {
        Read(Register::kVersion);
        Pass(2000);
        act();
        Pass(2000);
        const bool isAlive = device.Primary() == kHost;
        Write(Register::kCcp, 2);
        OpenStream();
        return isAlive;
    };
    EXPECT_TRUE(isAliveAfter([&] { Ask(Command::Discovery, {}); }));
    EXPECT_TRUE(isAliveAfter([&] { Ask(Command::PacketResend, Words({1, 1, 1}), kHost, 0); }));
    EXPECT_TRUE(isAliveAfter([&] { Ask(Command::WriteReg, Words({0, 0}), kHost, 0); }));
    EXPECT_FALSE(isAliveAfter([&] { Ask(Command::PacketResend, Words({1, 1, 1}), sameHost, 0); }));
    EXPECT_FALSE(isAliveAfter([&] { Ask(Command::ReadReg, {}); }));
    EXPECT_FALSE(isAliveAfter([&] { Read(Register::kCcp, sameHost); }));
}

TEST_F(ControlTest, HeartbeatIsSetAndSwitchedOff) {
    TakeControl();
    EXPECT_EQ(Write(Register::kHeartbeatTimeout, 499), Status::InvalidParameter);
    EXPECT_EQ(Write(Register::kHeartbeatTimeout, 500), kOk);
    EXPECT_EQ(device.NextDueNs(), now + 500 * kMs);
    EXPECT_EQ(Write(Register::kGvcpConfiguration, 1), kOk);
    Pass(1'000'000);
    EXPECT_EQ(device.Primary(), kHost);
    EXPECT_EQ(Write(Register::kGvcpConfiguration, 0), kOk);
    Pass(499);
    EXPECT_EQ(device.Primary(), kHost);
    Pass(1);
    EXPECT_EQ(device.Primary().port, 0);
    EXPECT_EQ(Read(Register::kHeartbeatTimeout), 500u);
}

TEST_F(ControlTest, WhoTakesOverIsToldToTheFormerPrimary) {
    StartAll();
    ASSERT_EQ(Write(Register::kSwitchoverKey, kKey), kOk);
    TakeControl(6);
    ASSERT_EQ(Write(Register::kCcp, kKey << 16 | 6, kOther), kOk);
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0].to, (CEndpoint{kHost.address, 60001}));
    EXPECT_EQ(host.messages[0].bytes[11], 0x07);
    ExpectAllClosed();
    EXPECT_EQ(Write(Register::kHeartbeatTimeout, 1000), kDenied);
    EXPECT_EQ(Write(Register::kStreamChannel + Register::kScp, 60000, kOther), kOk);
    EXPECT_EQ(stream.settings.destination.address, 0u) << "nothing goes to the former primary";
}

TEST_F(ControlTest, AKeyDoesNotOutliveTheControlThatSetIt) {
    TakeControl();
    ASSERT_EQ(Write(Register::kSwitchoverKey, kKey), kOk);
    ASSERT_EQ(Write(Register::kCcp, 0), kOk);
    TakeControl(6);
    EXPECT_EQ(Write(Register::kCcp, kKey << 16 | 2, kOther), kDenied);
}

} // namespace

} // namespace Serving
