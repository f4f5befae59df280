// SPDX-License-Identifier: Apache-2.0
#include "ServedCamera.h"

namespace Serving {

namespace {

constexpr auto kOk = Status::Success;

class ControlFaultTest : public ServedCameraTest {
protected:
    ControlFaultTest() { TakeControl(); }

    const ByteList m_read = Datagram(0x0080, Words({0}), 55);
};

TEST_F(ControlFaultTest, AcknowledgesAreLostDelayedDoubledOrOfAnotherCommand) {
    Make(EFault::AckLoss, 0, 1);
    EXPECT_EQ(Write(Register::kHeartbeatTimeout, 1000), Status::LocalProblem);
    EXPECT_EQ(Read(Register::kHeartbeatTimeout), 1000u) << "it was executed";
    Make(EFault::AckDelay, 300, 1);
    EXPECT_TRUE(Send(m_read));
    EXPECT_EQ(host.answers.back().delayNs, 300 * kMs);
    Make(EFault::AckWrongId, 5, 1);
    EXPECT_EQ(Send(m_read)->id, 60);
    Make(EFault::AckDuplicate, 0, 1);
    const std::size_t before = host.answers.size();
    Send(m_read);
    EXPECT_EQ(host.answers.size(), before + 2);
    EXPECT_EQ(Send(m_read)->id, 55) << "each once";
    for (const EFault fault : {EFault::AckLoss, EFault::AckDelay, EFault::AckWrongId, EFault::AckDuplicate}) {
        EXPECT_EQ(faults.Count(fault), 1u);
    }
}

TEST_F(ControlFaultTest, ALostAcknowledgeIsRepeatedOutOfTheMemory) {
    const ByteList open = Datagram(0x0082, Words({Register::kStreamChannel, 60000}), 77);
    Make(EFault::AckLoss, 0, 1);
    EXPECT_FALSE(Send(open));
    EXPECT_TRUE(Send(open));
    EXPECT_EQ(stream.openings, 1);
}

TEST_F(ControlFaultTest, CommandsAreRefused) {
    Make(EFault::CommandStatus, 0x8007, 2);
    const ByteList write = Datagram(0x0082, Words({Register::kHeartbeatTimeout, 1000}), 9);
    EXPECT_EQ(Send(write)->status, Status::Busy);
    EXPECT_EQ(Send(write)->status, Status::Busy) << "tried again, not repeated";
    EXPECT_EQ(Send(write)->status, kOk);
    Make(EFault::CommandStatus, 0x4004);
    const AnswerOrNone remark = Send(m_read);
    EXPECT_EQ(static_cast<int>(remark->status), 0x4004);
    EXPECT_EQ(remark->Word(), 0x00020000u) << "a success with a remark";
    Make(EFault::CommandStatus, 0x8FFF);
    EXPECT_EQ(Write(Address::kFaultReset, 1), kOk) << "it can be switched off";
    EXPECT_EQ(Send(m_read)->status, kOk);
}

TEST_F(ControlFaultTest, APendingCommandIsPromisedThenExecuted) {
    ASSERT_EQ(Write(Register::kGvcpConfiguration, 2), kOk);
    Make(EFault::Pending, 5000, 1);
    const ByteList write = Datagram(0x0082, Words({Register::kHeartbeatTimeout, 1000}), 9);
    const AnswerOrNone pending = Send(write);
    ASSERT_TRUE(pending);
    EXPECT_EQ(pending->code, 0x0089);
    EXPECT_EQ(pending->id, 9);
    EXPECT_EQ(pending->Word(), 5100u);
    Pass(4000);
    EXPECT_EQ(Send(write)->Word(), 1100u) << "the same one again";
    EXPECT_EQ(device.Primary(), kHost) << "whom it keeps waiting";
    EXPECT_EQ(device.NextDueNs(), now + 1000 * kMs);
    now += 1000 * kMs;
    EXPECT_EQ(Send(write)->Word(), 100u) << "due, but not looked at yet";
    now += 500 * kMs;
    EXPECT_EQ(Send(write)->Word(), 100u);
    const std::size_t before = host.answers.size();
    Pass(0);
    ASSERT_EQ(host.answers.size(), before + 1);
    EXPECT_EQ(Decode(host.answers.back().bytes)->code, 0x0083);
    EXPECT_EQ(Send(write)->code, 0x0083) << "now it is done";
    EXPECT_EQ(Read(Register::kHeartbeatTimeout), 1000u);
    Pass(1000);
    EXPECT_EQ(device.Primary().port, 0) << "the heartbeat goes on";
}

TEST_F(ControlFaultTest, AnEndlessOneIsPromisedAgainUntilItsHostGivesUp) {
    ASSERT_EQ(Write(Register::kGvcpConfiguration, 2), kOk);
    Make(EFault::Pending, 0, 1);
    const ByteList write = Datagram(0x0082, Words({Register::kHeartbeatTimeout, 1000}), 9);
    ASSERT_TRUE(Send(write));
    const std::size_t before = host.answers.size();
    for (int second = 0; second < 60; ++second) {
        ASSERT_LE(device.NextDueNs(), now + 1000 * kMs);
        Pass(1000);
    }
    EXPECT_EQ(host.answers.size(), before + 60);
    EXPECT_EQ(Decode(host.answers.back().bytes)->code, 0x0089);
    EXPECT_EQ(Read(Register::kHeartbeatTimeout), 3000u) << "never executed";
    Pass(2999);
    EXPECT_EQ(host.answers.size(), before + 61) << "the host went on to another command";
    Pass(1);
    EXPECT_EQ(device.Primary().port, 0);
}

TEST_F(ControlFaultTest, WhereItIsNotEnabledACommandIsJustSlow) {
    Make(EFault::Pending, 1000, 1);
    EXPECT_FALSE(Send(m_read));
    Pass(999);
    EXPECT_EQ(host.answers.size(), 1u); // that of control
    Pass(1);
    EXPECT_EQ(host.answers.size(), 2u);
}

TEST_F(ControlFaultTest, AHeartbeatIsStuckEitherWay) {
    Make(EFault::HeartbeatFrozen, 0);
    Read(Register::kCcp);
    Pass(100'000);
    EXPECT_EQ(device.Primary(), kHost) << "never expires";
    EXPECT_EQ(faults.Count(EFault::HeartbeatFrozen), 1u);
    Make(EFault::HeartbeatFrozen, 1);
    Read(Register::kCcp);
    Pass(2000);
    Read(Register::kCcp);
    Pass(1000);
    EXPECT_EQ(device.Primary().port, 0) << "nothing restarts it";
    EXPECT_EQ(faults.Count(EFault::HeartbeatFrozen), 3u);
}

TEST_F(ControlFaultTest, ACutCableIsSilenceBothWays) {
    OpenStream();
    Make(EFault::Silence, 2000, 1);
    EXPECT_FALSE(Send(m_read));
    EXPECT_TRUE(stream.isMuted);
    EXPECT_EQ(device.NextDueNs(), now + 2000 * kMs);
    now += 1999 * kMs;
    EXPECT_FALSE(Send(m_read));
    now += 1 * kMs;
    EXPECT_TRUE(Send(m_read));
    EXPECT_FALSE(stream.isMuted);
    EXPECT_TRUE(stream.isOpen) << "nobody lost anything";
    Make(EFault::Silence, 10000, 1);
    EXPECT_FALSE(Send(m_read));
    Pass(3000);
    EXPECT_FALSE(stream.isOpen) << "the heartbeat goes on";
    EXPECT_TRUE(stream.isMuted);
}

class RemovalTest : public ControlFaultTest {
protected:
    void Remove(std::int32_t durationMs, std::uint32_t delayImages = 0) {
        ASSERT_EQ(Write(Address::kCamera + Reg::kRemovalDuration, static_cast<std::uint32_t>(durationMs)), kOk);
        ASSERT_EQ(Write(Address::kCamera + Reg::kRemovalDelay, delayImages), kOk);
        ASSERT_EQ(Write(Address::kRemoval, 1), kOk) << "it is acknowledged";
    }
};

TEST_F(RemovalTest, ARemovedCameraComesBackWithoutItsPrimary) {
    OpenStream();
    ASSERT_EQ(Write(Address::kCamera + Reg::kWidth, 640), kOk);
    Remove(1000);
    EXPECT_FALSE(Send(m_read));
    EXPECT_TRUE(stream.isMuted);
    Pass(1000);
    EXPECT_EQ(device.Primary().port, 0);
    EXPECT_FALSE(stream.isMuted || stream.isOpen);
    EXPECT_EQ(Read(Address::kCamera + Reg::kWidth), 640u);
}

TEST_F(RemovalTest, ItsSettingsMayBeLost) {
    ASSERT_EQ(Write(Address::kCamera + Reg::kWidth, 640), kOk);
    ASSERT_EQ(Write(Address::kCamera + Reg::kRemovalResets, 1), kOk);
    ASSERT_EQ(Execute(Reg::kAcquisitionStart), kOk);
    Remove(0);
    EXPECT_EQ(Read(Address::kCamera + Reg::kWidth), 1024u) << "and it may be back at once";
}

TEST_F(RemovalTest, ACameraThatIsRemovedForGoodDoesNotComeBack) {
    Remove(-1);
    Pass(1'000'000'000);
    EXPECT_FALSE(Send(m_read));
    EXPECT_EQ(device.NextDueNs(), INT64_MAX);
}

TEST_F(RemovalTest, SomeImagesMayComeBefore) {
    stream.counts.blocks = 5;
    Remove(1000, 3);
    EXPECT_TRUE(Send(m_read));
    stream.counts.blocks = 8;
    Pass(10);
    EXPECT_FALSE(Send(m_read));
}

} // namespace

} // namespace Serving
