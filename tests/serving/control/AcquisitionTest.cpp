// SPDX-License-Identifier: Apache-2.0
#include "ServedCamera.h"

#include <chrono>
#include <thread>

namespace Serving {

namespace {

constexpr auto kOk = Status::Success, kDenied = Status::AccessDenied;
constexpr std::uint32_t kChannel = Register::kStreamChannel;

struct NoFrames final : CamEmu::IFrameSink {
    void OnFrame(const CamEmu::CFrame&) noexcept override {}
};

class AcquisitionTest : public ServedCameraTest {
protected:
    AcquisitionTest() { TakeControl(); }
};

TEST_F(AcquisitionTest, StreamAndCameraStartAndStopTogether) {
    OpenStream();
    EXPECT_EQ(Read(kChannel + Register::kScsp), 40000u);
    EXPECT_EQ(stream.settings.destination, (CEndpoint{kHost.address, 60000}));
    EXPECT_EQ(Execute(Reg::kAcquisitionStart), kOk);
    EXPECT_TRUE(stream.takesFrames && camera.Stream().IsAcquiring());
    EXPECT_EQ(Execute(Reg::kDeviceReset), kDenied);
    EXPECT_EQ(Write(Address::kCamera + Reg::kPixelFormat, 0x010C0047), kDenied);
    EXPECT_EQ(Execute(Reg::kAcquisitionStop), kOk);
    EXPECT_FALSE(stream.takesFrames || camera.Stream().IsAcquiring());
    EXPECT_TRUE(stream.isOpen);
    EXPECT_EQ(Execute(Reg::kDeviceReset), kOk);
}

TEST_F(AcquisitionTest, AStartThatFailsLeavesNothingStarted) {
    stream.failsStart = true;
    EXPECT_EQ(Execute(Reg::kAcquisitionStart), Status::Error);
    EXPECT_FALSE(camera.Stream().IsAcquiring());
    stream.failsStart = false;
    EXPECT_EQ(Write(Address::kCamera + Reg::kAcquisitionStart, 0), Status::InvalidParameter);
    EXPECT_FALSE(stream.takesFrames);
    const std::string missing = "/nowhere/at/all";
    const std::uint32_t on = 1;
    camera.Write(Reg::kImageFilename, missing.data(), missing.size());
    camera.Write(Reg::kImageFileMode, &on, sizeof on);
    EXPECT_EQ(Execute(Reg::kAcquisitionStart), Status::Error) << "there are no images";
    EXPECT_FALSE(stream.takesFrames);
}

TEST_F(AcquisitionTest, WhatEndedByItselfIsStoppedAtTheNextOccasion) {
    NoFrames sink;
    EXPECT_EQ(Write(Address::kCamera + Reg::kAcquisitionMode, 2), kOk);
    EXPECT_EQ(Execute(Reg::kAcquisitionStart), kOk);
    camera.Stream().Start(CamEmu::CImageFormat{64, 64, 0, 0, CamEmu::FindPixelFormat(0x01080001)}, sink);
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (stream.takesFrames && std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
        Pass(0);
    }
    EXPECT_FALSE(stream.takesFrames);
    camera.Stream().Stop();
    EXPECT_EQ(Execute(Reg::kAcquisitionStart), kOk);
    EXPECT_TRUE(stream.takesFrames) << "once more";
}

TEST_F(AcquisitionTest, AChannelThatIsOpenedAnewGoesOnWithTheAcquisition) {
    EXPECT_EQ(Execute(Reg::kAcquisitionStart), kOk) << "its images go nowhere";
    OpenStream();
    EXPECT_TRUE(stream.takesFrames);
    OpenStream();
    EXPECT_EQ(stream.openings, 2);
    EXPECT_TRUE(stream.takesFrames);
    EXPECT_EQ(Write(kChannel, 0), kOk);
    EXPECT_TRUE(stream.takesFrames && !stream.isOpen);
    EXPECT_EQ(Read(kChannel + Register::kScsp), 0u);
}

TEST_F(AcquisitionTest, AChannelThatCannotBeOpenedIsClosed) {
    stream.failsOpen = true;
    EXPECT_EQ(Write(kChannel, 60000), Status::Error);
    EXPECT_EQ(Read(kChannel), 0u);
    EXPECT_FALSE(stream.isOpen);
}

TEST_F(AcquisitionTest, WhileItStreamsTheFormOfItsPacketsStays) {
    OpenStream();
    EXPECT_EQ(Execute(Reg::kAcquisitionStart), kOk);
    EXPECT_EQ(Write(kChannel + Register::kScps, 1400), kDenied);
    EXPECT_EQ(Write(kChannel + Register::kScps, 1500), kOk) << "it is 1500";
    EXPECT_EQ(Write(Register::kGvspConfiguration, 0x40000000), kDenied);
    EXPECT_EQ(Write(Address::kChunkForm, 1), kDenied);
    EXPECT_EQ(Write(kChannel + Register::kScpd, 1000), kOk);
    EXPECT_EQ(stream.settings.packetDelayNs, 1000u);
    EXPECT_EQ(Write(kChannel + Register::kSccfg, 9), kOk);
    EXPECT_EQ(Write(Register::kGvcpConfiguration, 0x00040004), kOk);
    EXPECT_TRUE(stream.settings.resendToRequester && stream.settings.extendedChunks);
    EXPECT_TRUE(stream.settings.statusCodes11 && stream.settings.statusCodes20);
    EXPECT_EQ(Execute(Reg::kAcquisitionStop), kOk);
    EXPECT_EQ(Write(Register::kGvspConfiguration, 0x40000000), kOk);
    EXPECT_TRUE(stream.settings.extendedIds);
    EXPECT_EQ(Write(Address::kChunkForm, 2), Status::InvalidParameter);
    EXPECT_EQ(Write(Address::kChunkForm, 1), kOk);
    EXPECT_EQ(stream.settings.chunkForm, EChunkForm::ChunkData);
}

TEST_F(AcquisitionTest, ATestPacketIsFiredIntoAnOpenChannelThatIsIdle) {
    const std::uint32_t fire = 0x80000000;
    EXPECT_EQ(Write(kChannel + Register::kScps, fire | 4000), kOk);
    EXPECT_TRUE(stream.testPackets.empty()) << "the channel is closed";
    OpenStream();
    EXPECT_EQ(Write(kChannel + Register::kScps, fire | 8000), kOk);
    EXPECT_EQ(stream.testPackets, (std::vector<std::uint32_t>{8000}));
    EXPECT_EQ(Read(kChannel + Register::kScps), 8000u);
    EXPECT_EQ(Execute(Reg::kAcquisitionStart), kOk);
    EXPECT_EQ(Write(kChannel + Register::kScps, fire | 8000), kOk);
    EXPECT_EQ(stream.testPackets.size(), 1u);
}

TEST_F(AcquisitionTest, PacketsAreAskedForByThePrimarysAddressAndForTheOpenChannel) {
    const CEndpoint fromStream{kHost.address, 60000};
    const ByteList request = Words({0x00000042, 3, 0x00FFFFFF});
    EXPECT_FALSE(Ask(Command::PacketResend, request, fromStream, 0));
    OpenStream();
    EXPECT_FALSE(Ask(Command::PacketResend, request, kOther, 0));
    EXPECT_FALSE(Ask(Command::PacketResend, Words({0x00010042, 3, 4}), fromStream, 0)) << "of a second channel";
    EXPECT_TRUE(stream.resends.empty());
    EXPECT_EQ(device.Counts().dropped, 3u);
    EXPECT_FALSE(Ask(Command::PacketResend, request, fromStream, 1)) << "is never acknowledged";
    ASSERT_EQ(stream.resends.size(), 1u);
    EXPECT_EQ(stream.resends[0].blockId, 0x42u);
    EXPECT_TRUE(stream.resends[0].IsToEnd());
}

TEST_F(AcquisitionTest, WhereRedirectingIsAllowedAStreamGoesToOthers) {
    CDeviceSettings settings = Settings();
    settings.allowRedirect = true;
    CDevice other(camera, stream, faults, ticks, host, {"", "", "Camera"}, settings);
    other.OnDatagram(Datagram(0x0082, Words({Register::kCcp, 2, kChannel + Register::kScda, kOther.address}), 1),
                     {kHost, false, now});
    EXPECT_EQ(Decode(host.answers.back().bytes)->status, kOk);
}

} // namespace

} // namespace Serving
