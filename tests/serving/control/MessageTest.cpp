// SPDX-License-Identifier: Apache-2.0
#include "ServedCamera.h"

namespace Serving {

namespace {

constexpr auto kOk = Status::Success;
constexpr CEndpoint kReceiver{0x0A000001, 60001};

class MessageTest : public ServedCameraTest {
protected:
    MessageTest() { TakeControl(); }

    void OpenMessages(std::uint32_t timeoutMs = 0, std::uint32_t retries = 0) {
        for (const auto& [address, value] :
             {std::pair{Register::kMcda, kReceiver.address}, std::pair{Register::kMctt, timeoutMs},
              std::pair{Register::kMcrc, retries}, std::pair{Register::kMcp, std::uint32_t{kReceiver.port}},
              std::pair{Register::kGvcpConfiguration, 1u},                      // no heartbeat
              std::pair{Address::kCamera + Reg::kEventNotification + 4, 1u}}) { // of FrameStart
            ASSERT_EQ(Write(address, value), kOk) << address;
        }
        EXPECT_EQ(Read(Register::kMcsp), 41000u);
    }
    void Raise(std::uint64_t frame) { camera.Events().Raise({CamEmu::EEvent::FrameStart, frame, 5'000'000'000}); }
    GigEVision::EventItem Item(std::size_t message) {
        const auto command = GigEVision::DecodeCommand(host.messages[message].bytes);
        const auto item = GigEVision::EventItems(command->payload, command->Has(0x10), false).Next();
        EXPECT_EQ(command->command, 0x00C0);
        return item.value_or(GigEVision::EventItem{});
    }
    void Acknowledge(const ByteList& message, const CEndpoint& from = kReceiver) {
        const ByteList acknowledge = {0, 0, 0, 0xC1, 0, 0, message[6], message[7]};
        device.OnMessageDatagram(acknowledge, {from, false, now});
    }
};

TEST_F(MessageTest, AnEventIsSentInTheFormOfTheBlockIds) {
    OpenMessages();
    Raise(16);
    EXPECT_EQ(host.wakes, 1);
    EXPECT_LE(device.NextDueNs(), now);
    Pass(0);
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0].to, kReceiver);
    EXPECT_EQ(host.messages[0].bytes.size(), 24u);
    EXPECT_EQ(host.messages[0].bytes[1], 0) << "standard form, and no acknowledge is wanted";
    EXPECT_EQ(Item(0).eventId, 0x9002);
    EXPECT_EQ(Item(0).blockId, 17u);
    EXPECT_EQ(Item(0).channel, 0);
    EXPECT_EQ(Item(0).timestamp, 5'000'000'000u);
    EXPECT_EQ(Item(0).size, 0);
    EXPECT_EQ(Write(Register::kGvspConfiguration, 0x40000000), kOk);
    Raise(0x100000000);
    Pass(0);
    EXPECT_EQ(host.messages[1].bytes.size(), 32u);
    EXPECT_EQ(host.messages[1].bytes[1], 0x10);
    EXPECT_EQ(Item(1).blockId, 0x100000001u);
    EXPECT_NE(host.messages[0].bytes[7], host.messages[1].bytes[7]) << "each has its own id";
}

TEST_F(MessageTest, WhatIsNotAcknowledgedIsSentAgainBeforeTheNextOne) {
    OpenMessages(500, 2);
    Raise(1);
    Raise(2);
    Pass(0);
    stream.firstId = 10; // another acquisition has begun
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0].bytes[1], 0x01);
    EXPECT_EQ(device.NextDueNs(), now + 500 * kMs);
    Pass(499);
    EXPECT_EQ(host.messages.size(), 1u);
    Pass(1);
    ASSERT_EQ(host.messages.size(), 2u);
    EXPECT_EQ(host.messages[1].bytes, host.messages[0].bytes);
    Acknowledge(host.messages[0].bytes, kOther);
    Pass(0);
    EXPECT_EQ(host.messages.size(), 2u) << "not by whom it was sent to";
    Acknowledge(host.messages[0].bytes);
    Pass(0);
    ASSERT_EQ(host.messages.size(), 3u);
    EXPECT_EQ(Item(2).blockId, 3u);
    for (int tries = 0; tries < 10; ++tries) {
        Pass(500);
    }
    EXPECT_EQ(host.messages.size(), 5u) << "two more times, then it is given up";
    EXPECT_EQ(device.Counts().eventsResent, 3u);
    EXPECT_EQ(device.Counts().events, 2u);
}

TEST_F(MessageTest, TheOldestEventsAreDroppedWhenNobodyAcknowledges) {
    OpenMessages(500, 1000);
    Raise(0);
    Pass(0);
    for (std::uint64_t frame = 1; frame <= 300; ++frame) {
        Raise(frame);
    }
    EXPECT_EQ(device.Counts().eventsDropped, 300u - 64u);
    Acknowledge(host.messages[0].bytes);
    Pass(0);
    EXPECT_EQ(Item(1).blockId, 238u) << "the oldest of those that are left";
    EXPECT_EQ(Write(Register::kMcp, 0), kOk);
    EXPECT_EQ(device.Counts().eventsDropped, 300u - 64u);
}

TEST_F(MessageTest, ACutCableKeepsMessagesAndAcknowledgesBack) {
    OpenMessages(500, 2);
    Raise(1);
    Pass(0);
    Make(EFault::Silence, 2000, 1);
    Read(Register::kCcp);
    Acknowledge(host.messages[0].bytes);
    Pass(1999);
    EXPECT_EQ(host.messages.size(), 1u);
    Pass(1);
    EXPECT_EQ(host.messages.size(), 2u) << "its acknowledge was not heard";
}

TEST_F(MessageTest, AClosedChannelSendsNothing) {
    OpenMessages();
    Raise(1);
    EXPECT_EQ(Write(Register::kMcp, 0), kOk);
    Raise(2);
    Pass(0);
    EXPECT_TRUE(host.messages.empty());
    EXPECT_EQ(host.closedMessages, 1);
    OpenMessages();
    Pass(0);
    EXPECT_TRUE(host.messages.empty()) << "what was before is over";
}

TEST_F(MessageTest, EventsThatACommandSimulatesComeAfterItsAcknowledge) {
    OpenMessages();
    EXPECT_EQ(Write(Address::kCamera + Reg::kEventSelector, 1), kOk);
    EXPECT_EQ(Write(Address::kCamera + Reg::kSimulateEventsCount, 3), kOk);
    EXPECT_EQ(Execute(Reg::kSimulateEvents), kOk);
    EXPECT_TRUE(host.messages.empty());
    Pass(0);
    EXPECT_EQ(host.messages.size(), 3u);
}

} // namespace

} // namespace Serving
