// SPDX-License-Identifier: Apache-2.0
#include "ServedCamera.h"

#include <bit>
#include <future>

namespace Serving {

namespace {

constexpr auto kOk = Status::Success;

struct FirstFrame final : CamEmu::IFrameSink {
    void OnFrame(const CamEmu::CFrame& frame) noexcept override { timestampNs.set_value(frame.timestampNs); }

    std::promise<std::int64_t> timestampNs;
};

class RegisterTest : public ServedCameraTest {
protected:
    RegisterTest() { TakeControl(); }
};

TEST_F(RegisterTest, BootstrapTellsWhatTheCameraCan) {
    const std::pair<std::uint32_t, std::uint32_t> constants[] = {{Register::kVersion, 0x00020000},
                                                                 {Register::kDeviceMode, 0x80000001},
                                                                 {Register::kIpSupported, 7},
                                                                 {Register::kInterfaces, 1},
                                                                 {Register::kLinkSpeed, 1000},
                                                                 {Register::kMessageChannels, 1},
                                                                 {Register::kStreamChannels, 1},
                                                                 {Register::kActionSignals, 2},
                                                                 {Register::kActiveLinks, 1},
                                                                 {Register::kTickFrequencyHigh, 0},
                                                                 {Register::kTickFrequencyLow, 1'000'000'000},
                                                                 {Register::kGvspCapability, 0xC0000000},
                                                                 {Register::kMessageCapability, 0x80000000},
                                                                 {Register::kGvcpCapability, 0xF964006F},
                                                                 {Register::kDiscoveryDelay, 1000},
                                                                 {Register::kHeartbeatTimeout, 3000},
                                                                 {Register::kLinkCapability, 1},
                                                                 {Register::kLinkConfiguration, 0},
                                                                 {Register::kStreamChannel + Register::kScc, 9},
                                                                 {Register::kManifest, 0},
                                                                 {Register::kSwitchoverKey, 0}, // only written
                                                                 {0x9FFC, 0}};
    for (const auto& [address, value] : constants) {
        EXPECT_EQ(Read(address), value) << std::hex << address;
    }
    EXPECT_EQ(std::uint64_t{Read(Register::kMacHigh)} << 32 | Read(Register::kMacLow), device.MacAddress());
    EXPECT_EQ(ReadText(Register::kManufacturer, 32), "Harlix");
    EXPECT_EQ(ReadText(Register::kModel, 32), "Emulation");
    EXPECT_EQ(ReadText(Register::kSerialNumber, 16), "0815-0007");
}

TEST_F(RegisterTest, MandatoryRegistersAreThere) {
    for (const GigEVision::BootstrapRegister& mandatory : GigEVision::BootstrapRegisters()) {
        const std::uint32_t count = mandatory.bytes;
        EXPECT_EQ(ReadMemory(mandatory.address, count).size(), count) << mandatory.name;
    }
}

struct WriteCase {
    std::uint32_t address, value;
    Status status;
    std::uint32_t readBack;
};
class BootstrapWriteTest : public RegisterTest, public ::testing::WithParamInterface<WriteCase> {};

TEST_P(BootstrapWriteTest, TakesWhatItCan) {
    EXPECT_EQ(Write(GetParam().address, GetParam().value), GetParam().status);
    EXPECT_EQ(Read(GetParam().address), GetParam().readBack);
}
constexpr std::uint32_t kChannel = Register::kStreamChannel;
constexpr auto kInvalid = Status::InvalidParameter, kProtected = Status::WriteProtect, kDenied = Status::AccessDenied;
INSTANTIATE_TEST_SUITE_P(
    All, BootstrapWriteTest,
    ::testing::Values(
        WriteCase{Register::kVersion, 1, kProtected, 0x00020000}, WriteCase{0x0018, 1, kProtected, 0},
        WriteCase{0x06CC, 1, kProtected, 0}, // of a second interface
        WriteCase{Register::kDiscoveryDelay, 1, kProtected, 1000}, WriteCase{Register::kIpInUse, 8, kInvalid, 6},
        WriteCase{Register::kIpInUse, 1, kOk, 5}, WriteCase{Register::kPersistentIp, 0x0A000009, kOk, 0x0A000009},
        WriteCase{Register::kSwitchoverKey, 5, kOk, 0}, WriteCase{Register::kActionDeviceKey, 5, kOk, 0},
        WriteCase{Register::kActionGroupMask + 0x10, 5, kOk, 5},
        WriteCase{Register::kActionGroupKey + 0x20, 5, kProtected, 0},
        WriteCase{Register::kGvcpConfiguration, 0x00040007, kOk, 0x00040007},
        WriteCase{Register::kGvcpConfiguration, 0x00080000, kInvalid, 0},
        WriteCase{Register::kGvspConfiguration, 0x40000000, kOk, 0x40000000},
        WriteCase{Register::kGvspConfiguration, 1, kInvalid, 0}, WriteCase{Register::kMcsp, 5, kProtected, 0},
        WriteCase{Register::kMcda, 0x0A000001, kOk, 0x0A000001}, WriteCase{Register::kMcda, 0x0A000003, kDenied, 0},
        WriteCase{Register::kMctt, 500, kOk, 500}, WriteCase{kChannel + Register::kScda, 0x0A000003, kDenied, 0},
        WriteCase{kChannel + Register::kScda, 0xEF000001, kOk, 0xEF000001},
        WriteCase{kChannel + Register::kScps, 100, kOk, 576}, WriteCase{kChannel + Register::kScps, 1503, kOk, 1500},
        WriteCase{kChannel + Register::kScps, 0xE000FFFF, kOk, 0x40000000 | 9000},
        WriteCase{kChannel + Register::kScpd, 77, kOk, 77}, WriteCase{kChannel + Register::kSccfg, 9, kOk, 9},
        WriteCase{kChannel + Register::kSccfg, 2, kInvalid, 1}, WriteCase{kChannel + Register::kScsp, 1, kProtected, 0},
        WriteCase{kChannel + 0x40, 60000, kProtected, 0})); // of a second channel

TEST_F(RegisterTest, TheUserNameIsOneInBothPlaces) {
    EXPECT_EQ(WriteMemory(Register::kUserName, {'L', 'e', 'f', 't', 0, 0, 0, 0}), kOk);
    EXPECT_EQ(device.UserName(), "Left");
    EXPECT_EQ(ReadText(Address::kCamera + Reg::kUserId, 64), "Left");
    const std::string longName = "Camera on the right hand";
    ByteList bytes(longName.begin(), longName.end());
    bytes.resize(64);
    EXPECT_EQ(WriteMemory(Address::kCamera + Reg::kUserId, bytes), kOk);
    EXPECT_EQ(ReadText(Register::kUserName, 16), longName.substr(0, 16));
    EXPECT_EQ(Write(Register::kUserName, 0x50000000), kOk) << "by a register's four bytes, too";
    EXPECT_EQ(device.UserName(), "P");
}

TEST_F(RegisterTest, NumbersOfTheCameraAreTurnedAndTextsAreNot) {
    EXPECT_EQ(Read(Address::kCamera + Reg::kWidth), 1024u);
    EXPECT_EQ(ReadMemory(Address::kCamera + Reg::kWidth, 8), Words({1024, 1024})) << "width and height";
    EXPECT_EQ(Write(Address::kCamera + Reg::kWidth, 640), kOk);
    EXPECT_EQ(ReadMemory(Address::kCamera + Reg::kWidth, 4), Words({640}));
    EXPECT_EQ(ReadText(Address::kCamera + Reg::kModelName, 64), "Emulation");
    ByteList gain(8);
    GigEVision::PutBigEndian(gain.data(), std::bit_cast<std::uint64_t>(1.5));
    EXPECT_EQ(WriteMemory(Address::kCamera + Reg::kGain, gain), kOk);
    EXPECT_EQ(Read(Address::kCamera + Reg::kGain), 0x3FF80000u) << "the half with the highest byte";
    EXPECT_EQ(Write(Address::kCamera + Reg::kGain, 0x40000000), kOk) << "2.0";
    double now2 = 0;
    camera.Read(Reg::kGain, &now2, sizeof now2);
    EXPECT_EQ(now2, 2.0);
}

TEST_F(RegisterTest, AWriteOverSeveralRegistersEndsAtTheFirstThatFails) {
    const AnswerOrNone answer =
        Ask(Command::WriteMem, Concat(Words({Address::kCamera + Reg::kWidth}), Words({640, 480, 8, 3})));
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, kInvalid) << "an odd offset";
    EXPECT_EQ(answer->Word(), 12u);
    EXPECT_EQ(Read(Address::kCamera + Reg::kOffsetX), 8u);
}

struct AccessCase {
    std::uint32_t address;
    Status reads, writes;
};
class AccessTest : public RegisterTest, public ::testing::WithParamInterface<AccessCase> {};

TEST_P(AccessTest, AnswersByStatus) {
    EXPECT_EQ(StatusOf(Command::ReadReg, Words({GetParam().address})), GetParam().reads);
    EXPECT_EQ(Write(GetParam().address, 0xFFFFFFFF), GetParam().writes);
}
constexpr auto kUnknown = Status::InvalidAddress;
INSTANTIATE_TEST_SUITE_P(All, AccessTest,
                         ::testing::Values(AccessCase{Address::kCamera + Reg::kSensorWidth, kOk, kProtected},
                                           AccessCase{Address::kCamera + Reg::kAcquisitionStart, kDenied, kInvalid},
                                           AccessCase{Address::kCamera + Reg::kPixelFormat, kOk, kInvalid},
                                           AccessCase{Address::kCamera + 0x0900, kUnknown, kUnknown},
                                           AccessCase{Address::kCamera + Reg::kImageFileMode, kUnknown, kUnknown},
                                           AccessCase{Address::kCamera + Reg::kImageFilename, kUnknown, kUnknown},
                                           AccessCase{Address::kFaultSelector, kOk, kInvalid},
                                           AccessCase{Address::kFaultSelector + 0x10, kUnknown, kUnknown},
                                           AccessCase{Address::kFaultReset, kDenied, kInvalid},
                                           AccessCase{Address::kRemoval, kDenied, kInvalid},
                                           AccessCase{Address::kFault + Address::kFaultCount, kOk, kProtected},
                                           AccessCase{Address::kZippedDescription, kOk, kProtected},
                                           AccessCase{Address::kZippedDescription + 12, kUnknown, kUnknown},
                                           AccessCase{0xFFFFFFFC, kUnknown, kUnknown}));

TEST_F(RegisterTest, DescriptionLiesWhereItsUrlsSay) {
    EXPECT_EQ(ReadText(Register::kFirstUrl, 512), "Local:Camera.zip;400000;A");
    EXPECT_EQ(ReadText(Register::kSecondUrl, 512), "Local:Camera.xml;500000;6");
    EXPECT_EQ(ReadText(Address::kZippedDescription, 12), "PK zipped!") << "its last word is filled up";
    EXPECT_EQ(ReadText(Address::kTextDescription, 8), "<Xml/>");
    EXPECT_TRUE(ReadMemory(Address::kTextDescription, 12).empty()) << "nothing is read across its end";
}

TEST_F(RegisterTest, ADescriptionThatDoesNotFitIsRefused) {
    const CServedDescription large{std::string((1 << 20) + 1, 'x'), "", "Large"};
    EXPECT_THROW(CDevice(camera, stream, faults, ticks, host, large, Settings()), std::invalid_argument);
}

TEST_F(RegisterTest, TimestampIsLatchedAndReset) {
    const auto latched = [&] {
        return std::uint64_t{Read(Register::kTimestampHigh)} << 32 | Read(Register::kTimestampLow);
    };
    EXPECT_EQ(Write(Register::kTimestampControl, 2), kOk);
    const std::uint64_t first = latched();
    EXPECT_GT(first, 0u);
    EXPECT_LE(first, ticks.Now());
    EXPECT_EQ(Write(Register::kTimestampControl, 3), kOk);
    EXPECT_GE(latched(), first) << "latched before it is reset";
    EXPECT_EQ(Read(Register::kTimestampControl), 0u);
    EXPECT_EQ(Write(Register::kTimestampControl, 2), kOk);
    EXPECT_LT(latched(), first);
    FirstFrame frame;
    std::vector<std::uint8_t> memory(64 * 64);
    camera.Stream().Queue({memory});
    camera.Stream().Start(CamEmu::CImageFormat{64, 64, 0, 0, CamEmu::FindPixelFormat(0x01080001)}, frame);
    camera.Stream().StartAcquisition(1);
    EXPECT_LT(frame.timestampNs.get_future().get(), static_cast<std::int64_t>(first)) << "that of images too";
    camera.Stream().Stop();
}

class FaultRegisterTest : public RegisterTest {
protected:
    static std::uint32_t Of(EFault fault, std::uint32_t offset) {
        return Address::kFault + static_cast<std::uint32_t>(fault) * Address::kFaultStride + offset;
    }
    Status WriteRate(EFault fault, double rate) {
        ByteList bytes(8);
        GigEVision::PutBigEndian(bytes.data(), std::bit_cast<std::uint64_t>(rate));
        return WriteMemory(Of(fault, Address::kFaultRate), bytes);
    }
};

TEST_F(FaultRegisterTest, SetWhatIsMadeWrong) {
    EXPECT_EQ(WriteRate(EFault::PacketLoss, 0.25), kOk);
    EXPECT_EQ(Write(Of(EFault::PacketLoss, Address::kFaultParameter), 3), kOk);
    EXPECT_EQ(Write(Of(EFault::PacketLoss, Address::kFaultLeft), 9), kOk);
    EXPECT_EQ(Write(Of(EFault::PacketLoss, Address::kFaultBlock), 17), kOk);
    const CFaultSetting setting = faults.Get(EFault::PacketLoss);
    EXPECT_EQ(setting.rate, 0.25);
    EXPECT_EQ(setting.parameter, 3u);
    EXPECT_EQ(setting.left, 9u);
    ASSERT_EQ(setting.places.size(), 1u);
    EXPECT_EQ(setting.places[0].block, 17u);
    EXPECT_EQ(Read(Of(EFault::PacketLoss, Address::kFaultPacket)), CFaultPlace::kAnyPacket);
    EXPECT_EQ(Read(Of(EFault::PacketLoss, Address::kFaultRate)), 0x3FD00000u);
    EXPECT_EQ(Write(Address::kFaultSelector, static_cast<std::uint32_t>(kFaults) - 1), kOk);
    EXPECT_EQ(Write(Address::kFaultSeed, 99), kOk);
    EXPECT_EQ(Write(Address::kFaultReset, 1), kOk);
    EXPECT_EQ(faults.Get(EFault::PacketLoss).rate, 0);
    EXPECT_EQ(Read(Address::kFaultSeed), 99u);
}

TEST_F(FaultRegisterTest, RefuseWhatTheFaultDoesNotHave) {
    EXPECT_EQ(WriteRate(EFault::PacketLoss, 1.5), kInvalid);
    EXPECT_EQ(WriteRate(EFault::PacketLoss, -0.5), kInvalid);
    EXPECT_EQ(WriteRate(EFault::PacketLoss, std::bit_cast<double>(0x7FF8000000000000ull)), kInvalid);
    EXPECT_EQ(Write(Of(EFault::Reorder, Address::kFaultParameter), 0), kInvalid);
    EXPECT_EQ(Write(Of(EFault::Reorder, Address::kFaultParameter), 1001), kInvalid);
    EXPECT_EQ(Write(Of(EFault::AckLoss, Address::kFaultBlock), 1), kInvalid) << "acknowledges are in no block";
    EXPECT_EQ(Write(Address::kFaultSelector, static_cast<std::uint32_t>(kFaults)), kInvalid);
}

TEST_F(FaultRegisterTest, AListOfPlacesStaysUntilAnotherPlaceIsWritten) {
    CFaultSetting setting;
    setting.places = {{5, 1}, {6, 2}};
    faults.Set(EFault::PacketLoss, setting);
    EXPECT_EQ(WriteRate(EFault::PacketLoss, 1), kOk);
    EXPECT_EQ(Read(Of(EFault::PacketLoss, Address::kFaultBlock)), 5u);
    EXPECT_EQ(faults.Get(EFault::PacketLoss).places.size(), 2u);
    EXPECT_EQ(Write(Of(EFault::PacketLoss, Address::kFaultBlock), 0), kOk);
    EXPECT_EQ(faults.Get(EFault::PacketLoss).places.size(), 1u) << "packet 1 of any block";
}

} // namespace

} // namespace Serving
