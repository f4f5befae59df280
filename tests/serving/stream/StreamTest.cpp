// SPDX-License-Identifier: Apache-2.0
#include "serving/Receiver.h"

#include <core/FrameRecord.h>
#include <core/RegisterMap.h>
#include <serving/stream/StreamChannel.h>

#include <gtest/gtest.h>

#include <chrono>
#include <set>
#include <system_error>
#include <thread>
#include <vector>

using namespace Serving;
using namespace GigEVision;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

class StreamTest : public ::testing::Test {
protected:
    void SetUp() override {
        Write(CamEmu::Reg::kWidth, std::uint32_t{256});
        Write(CamEmu::Reg::kHeight, std::uint32_t{64});
        Write(CamEmu::Reg::kTestImage, CamEmu::ETestImage::FrameCounter);
        m_settings.destination = m_receiver.Address();
        m_settings.statusCodes11 = true;
    }
    template <typename T>
    void Write(std::uint32_t address, T value) {
        ASSERT_EQ(m_camera.Write(address, &value, sizeof value), CamEmu::EAccessResult::Ok) << address;
    }
    void Take() { m_camera.Stream().StartAcquisition(1); }
    template <typename Condition>
    static bool Eventually(Condition condition) {
        for (const auto end = Clock::now() + 60s; Clock::now() < end; std::this_thread::yield()) {
            if (condition()) {
                return true;
            }
        }
        return false;
    }
    // Asks for all that has not come, as often as it takes.
    bool Receive(std::uint64_t block, CReceiver::Packets& packets) {
        for (const auto end = Clock::now() + 60s; Clock::now() < end;) {
            if (m_receiver.Collect(block, packets, 20ms)) {
                return true;
            }
            std::uint32_t first = 0;
            for (const auto& [id, datagram] : packets) {
                if (id > first) {
                    Ask(block, first, id - 1);
                }
                first = id + 1;
            }
            Ask(block, first, m_settings.extendedIds ? ResendRequest::kToEndExtended : ResendRequest::kToEnd);
        }
        return false;
    }
    void Ask(std::uint64_t block, std::uint32_t first, std::uint32_t last) {
        m_channel.Resend({.isExtended = m_settings.extendedIds, .blockId = block, .first = first, .last = last},
                         m_receiver.Address());
    }
    void ReceiveImage(std::uint64_t block) {
        CReceiver::Packets packets;
        ASSERT_TRUE(Receive(block, packets)) << block;
        const auto image = CReceiver::ImageOf(packets);
        EXPECT_EQ(CamEmu::CheckFrame(image, m_record), CamEmu::EFrameCheck::Intact);
        EXPECT_EQ(image.size(), 256u * 64);
    }

    CamEmu::CFrameRecord m_record; // of the last image
    CReceiver m_receiver;
    CamEmu::CCamera m_camera{3};
    CServingFaults m_faults{11};
    CRateBudgets m_budgets;
    CStreamSettings m_settings;
    CStreamChannel m_channel{m_camera, m_faults, m_budgets, OwnAddress(1)};
};

TEST_F(StreamTest, FiftyImagesArriveWholeFromTheStreamsPort) {
    const std::uint16_t port = m_channel.Open(m_settings);
    m_channel.StartFrames();
    for (std::uint64_t block = 1; block <= 50; ++block) {
        Take();
        ReceiveImage(block);
        EXPECT_EQ(m_channel.BlockIdOf(m_record.blockId), block);
    }
    EXPECT_EQ(m_receiver.m_sources, (std::set<CEndpoint>{{OwnAddress(1), port}}));
    m_channel.Close();
    const CStreamCounts counts = m_channel.Counts();
    EXPECT_EQ(counts.blocks, 50u);
    EXPECT_EQ(counts.packets, 50u * 14);
    EXPECT_EQ(counts.bytes, 50u * (256 * 64 + 14 * 8 + 36 + 8));
    EXPECT_EQ(counts.sendErrors + counts.oversized + counts.lostBlocks + counts.unsentBlocks, 0u);
}

class LossyStreamTest : public StreamTest, public ::testing::WithParamInterface<bool> {};
INSTANTIATE_TEST_SUITE_P(Ids, LossyStreamTest, ::testing::Bool());

TEST_P(LossyStreamTest, WhatIsLostIsSentAgainUntilItHasCome) {
    m_settings.extendedIds = GetParam();
    m_settings.packetSize = 600;
    for (const char* const fault : {"packet-loss=0.05,2", "leader-loss=0.2", "trailer-loss=0.2", "resend-loss=0.2",
                                    "request-loss=0.2", "duplicate=0.1", "reorder=0.1,3"}) {
        const CFaultOrder order = ParseFault(fault);
        m_faults.Set(order.fault, order.setting);
    }
    m_channel.Open(m_settings);
    m_channel.StartFrames();
    for (std::uint64_t block = 1; block <= 50; ++block) {
        Take();
        ReceiveImage(block);
    }
    m_channel.Close();
    const std::uint64_t packets = 50 * ((256 * 64 + 563) / (GetParam() ? 552 : 564) + 2);
    EXPECT_GE(m_channel.Counts().packets, packets - 2 * m_faults.Count(EFault::PacketLoss) -
                                              m_faults.Count(EFault::LeaderLoss) - m_faults.Count(EFault::TrailerLoss) +
                                              m_faults.Count(EFault::Duplicate));
    EXPECT_GT(m_channel.Counts().resentPackets, 0u);
    EXPECT_GE(m_channel.Counts().resentPackets, m_receiver.m_resent);
    EXPECT_GT(m_receiver.m_resent, 0u);
    EXPECT_GT(m_faults.Count(EFault::ResendLoss), 0u);
    EXPECT_GT(m_faults.Count(EFault::RequestLoss), 0u);
}

TEST_F(StreamTest, IdsGoOnWhenFramesStartAgainAndBeginAnewWithTheChannel) {
    m_channel.Open(m_settings);
    m_channel.StartFrames();
    Take();
    ReceiveImage(1);
    m_channel.StopFrames();
    Write(CamEmu::Reg::kPixelFormat, CamEmu::PixelFormats()[0].code); // not frozen any more
    m_channel.StartFrames();
    Take();
    ReceiveImage(2);
    EXPECT_EQ(m_record.blockId, 0u);
    EXPECT_EQ(m_channel.BlockIdOf(0), 2u);
    ReceiveImage(1); // is still there
    m_channel.Open(m_settings);
    Take();
    ReceiveImage(1);
    CFaultSetting once{.rate = 1, .left = 1};
    m_faults.Set(EFault::BlockIdRestart, once);
    Take();
    ReceiveImage(1);
    m_faults.Set(EFault::BlockIdZero, once);
    Take();
    CReceiver::Packets packets;
    EXPECT_TRUE(Receive(0, packets));
    Take();
    ReceiveImage(3);
}

TEST_F(StreamTest, WithoutAChannelTheCameraRunsAndItsFramesAreCounted) {
    m_channel.StartFrames();
    m_camera.Stream().StartAcquisition(200);
    Write(CamEmu::Reg::kFrameRateEnable, std::uint32_t{0});
    EXPECT_TRUE(Eventually([&] { return m_channel.Counts().unsentBlocks == 200; }));
    m_channel.Open(m_settings);
    EXPECT_EQ(m_channel.BlockIdOf(200), 1u);
    EXPECT_EQ(m_channel.BlockIdOf(3), 0u);
    Take();
    ReceiveImage(1);
    EXPECT_EQ(m_channel.Counts().lostBlocks, 0u);
}

TEST_F(StreamTest, ATestPacketComesWhileNothingIsStreamed) {
    m_channel.SendTestPacket(1000, true);
    m_channel.Open(m_settings);
    m_channel.SendTestPacket(1400, true);
    const auto datagram = m_receiver.Next(60s);
    ASSERT_TRUE(datagram);
    ASSERT_EQ(datagram->bytes.size(), 1400u - 28);
    EXPECT_EQ(DecodePacket(datagram->bytes)->header.blockId, 0u);
    m_channel.StartFrames();
    m_channel.SendTestPacket(1400, true);
    Take();
    CReceiver::Packets packets;
    EXPECT_TRUE(Receive(1, packets));
    EXPECT_EQ(m_receiver.m_sources.size(), 1u);
    m_channel.StopFrames();
    EXPECT_TRUE(Eventually([&] { return m_channel.Counts().blocks == 1; }));
    m_channel.SendTestPacket(80000, true); // more than a path takes
    EXPECT_TRUE(Eventually([&] { return m_channel.Counts().oversized == 1; }));
}

TEST_F(StreamTest, FaultsOfTheSocketTakeEffect) {
    m_faults.Set(EFault::SourcePort, {.rate = 1, .places = {{1, 3}}});
    m_channel.Open(m_settings);
    m_channel.StartFrames();
    Take();
    ReceiveImage(1);
    EXPECT_EQ(m_receiver.m_sources.size(), 2u);
    m_channel.Mute(true);
    Take();
    EXPECT_TRUE(Eventually([&] { return m_channel.Counts().blocks == 2; }));
    Ask(2, 0, 3); // is not heard
    m_channel.Mute(false);
    Take();
    ReceiveImage(3);
    m_channel.Close(); // packets are counted when they have been sent
    EXPECT_EQ(m_channel.Counts().packets, 3u * 14);
}

TEST_F(StreamTest, ResendsCanBeRefusedAndGoToTheRequester) {
    m_settings.resendToRequester = true;
    m_faults.Set(EFault::ResendRefused, {.rate = 1, .parameter = 0x8007, .left = 1});
    m_channel.Open(m_settings);
    m_channel.StartFrames();
    Take();
    ReceiveImage(1);
    CReceiver other;
    for (const Status expected : {Status::Busy, Status::PacketResend}) {
        m_channel.Resend({.blockId = 1, .first = 2, .last = 2}, other.Address());
        const auto answer = other.Next(60s);
        ASSERT_TRUE(answer);
        const auto packet = DecodePacket(answer->bytes);
        EXPECT_EQ(packet->header.status, expected);
        EXPECT_EQ(packet->header.packetId, 2u);
        EXPECT_EQ(packet->content.empty(), expected == Status::Busy);
    }
}

TEST_F(StreamTest, AFailedStartLeavesTheFormatOpen) {
    Write(CamEmu::Reg::kForceFailedStart, std::uint32_t{1});
    m_channel.Open(m_settings);
    EXPECT_THROW(m_channel.StartFrames(), std::system_error);
    EXPECT_FALSE(m_channel.TakesFrames());
    Write(CamEmu::Reg::kPixelFormat, CamEmu::PixelFormats()[0].code);
    m_channel.SetAddress(0x08080808);
    EXPECT_THROW(m_channel.Open(m_settings), std::system_error);
    EXPECT_FALSE(m_channel.IsOpen());
    m_channel.SetAddress(OwnAddress(1));
    m_channel.Open(m_settings);
    m_channel.StartFrames();
    Take();
    ReceiveImage(1);
}

TEST_F(StreamTest, ClosingEndsWhateverIsWaitedFor) {
    CRateBudgets slow(10); // bytes per second
    CStreamChannel channel(m_camera, m_faults, slow, OwnAddress(1));
    channel.Open(m_settings);
    channel.StartFrames();
    m_camera.Stream().StartAcquisition(3);
    EXPECT_TRUE(Eventually([&] { return m_camera.Stream().Counters().delivered == 3; }));
    const auto before = Clock::now();
    channel.Close();
    EXPECT_LT(Clock::now() - before, 20s);
    EXPECT_FALSE(channel.TakesFrames());
    EXPECT_FALSE(m_camera.Stream().IsAcquiring());
}

TEST_F(StreamTest, OpeningAndClosingAtAnyMomentLosesNoBlockOfMemory) {
    Write(CamEmu::Reg::kFrameRateEnable, std::uint32_t{0});
    CRateBudgets unlimited(0);
    CStreamChannel channel(m_camera, m_faults, unlimited, OwnAddress(1));
    for (std::uint32_t round = 0; round < 30; ++round) {
        Write(CamEmu::Reg::kHeight, 8 + round % 3);
        channel.Open(m_settings);
        channel.StartFrames();
        m_camera.Stream().StartAcquisition(0);
        const std::uint64_t before = channel.Counts().blocks;
        EXPECT_TRUE(Eventually([&] { return channel.Counts().blocks > before + 100; }));
        channel.Resend({.blockId = 50, .first = 0, .last = ResendRequest::kToEnd}, m_receiver.Address());
        if (round % 2 == 0) {
            channel.StopFrames();
            channel.StartFrames();
            m_camera.Stream().StartAcquisition(0);
            channel.Open(m_settings);
            EXPECT_TRUE(Eventually([&] { return channel.Counts().blocks > before + 300; }));
        }
        channel.Close();
    }
}

} // namespace
