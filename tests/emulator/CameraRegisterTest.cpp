// SPDX-License-Identifier: Apache-2.0
#include <core/Camera.h>
#include <core/RegisterMap.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace CamEmu;

namespace {

class CameraRegisterTest : public ::testing::Test {
protected:
    template <typename T>
    EAccessResult Write(std::uint32_t address, T value) {
        return m_camera.Write(address, &value, sizeof value);
    }
    template <typename T>
    T Read(std::uint32_t address) {
        T value{};
        EXPECT_EQ(m_camera.Read(address, &value, sizeof value), EAccessResult::Ok);
        return value;
    }

    CCamera m_camera{3};
};

TEST_F(CameraRegisterTest, AccessOutsideTheRegistersOrAgainstTheirRightsIsRefused) {
    std::uint8_t bytes[0x400] = {};
    EXPECT_EQ(m_camera.Read(0x0250, bytes, 4), EAccessResult::NoSuchRegister);             // a gap
    EXPECT_EQ(m_camera.Read(Reg::kFormatLocked, bytes, 8), EAccessResult::NoSuchRegister); // runs into a gap
    EXPECT_EQ(m_camera.Read(Reg::kGain, bytes, 9), EAccessResult::NoSuchRegister);         // over the end
    EXPECT_EQ(m_camera.Read(~0ull, bytes, 2), EAccessResult::NoSuchRegister);              // wraps around
    EXPECT_EQ(m_camera.Read(Reg::kAcquisitionStart, bytes, 4), EAccessResult::NotReadable);
    EXPECT_EQ(m_camera.Write(Reg::kVendorName, bytes, 4), EAccessResult::NotWritable);
    EXPECT_EQ(m_camera.Write(Reg::kPayloadSize, bytes, 8), EAccessResult::NotWritable);
    EXPECT_EQ(m_camera.Write(Reg::kWidth, bytes, 8), EAccessResult::NoSuchRegister); // two registers in one
    EXPECT_EQ(m_camera.Write(Reg::kWidth, bytes, 0), EAccessResult::NoSuchRegister);
    EXPECT_EQ(m_camera.Read(Reg::kVendorName, bytes, 0x200), EAccessResult::Ok); // all texts at once
    EXPECT_STREQ(reinterpret_cast<char*>(bytes + Reg::kSerialNumber), "0815-0003");
}

struct NumberCase {
    std::uint32_t address;
    std::uint32_t value;
    EAccessResult result;
};
class NumberRegisterTest : public CameraRegisterTest, public ::testing::WithParamInterface<NumberCase> {};

TEST_P(NumberRegisterTest, TakesGoodValuesAndKeepsTheOldOneOtherwise) {
    const auto before = Read<std::uint32_t>(GetParam().address);
    EXPECT_EQ(Write(GetParam().address, GetParam().value), GetParam().result);
    EXPECT_EQ(Read<std::uint32_t>(GetParam().address),
              GetParam().result == EAccessResult::Ok ? GetParam().value : before);
}
constexpr auto kOk = EAccessResult::Ok, kInvalid = EAccessResult::InvalidValue;
INSTANTIATE_TEST_SUITE_P(
    All, NumberRegisterTest,
    ::testing::Values(
        NumberCase{Reg::kWidth, 32, kOk}, NumberCase{Reg::kWidth, 28, kInvalid}, NumberCase{Reg::kWidth, 34, kInvalid},
        NumberCase{Reg::kWidth, 2048, kOk}, NumberCase{Reg::kWidth, 2052, kInvalid}, NumberCase{Reg::kHeight, 1, kOk},
        NumberCase{Reg::kHeight, 0, kInvalid}, NumberCase{Reg::kHeight, 2049, kInvalid},
        NumberCase{Reg::kOffsetX, 1024, kOk}, NumberCase{Reg::kOffsetX, 1026, kInvalid},
        NumberCase{Reg::kOffsetX, 3, kInvalid}, NumberCase{Reg::kOffsetY, 0xFFFFFFFE, kInvalid},
        NumberCase{Reg::kPixelFormat, 0x010C0047, kOk}, NumberCase{Reg::kPixelFormat, 0x01080002, kInvalid},
        NumberCase{Reg::kTestImage, 11, kOk}, NumberCase{Reg::kTestImage, 12, kInvalid},
        NumberCase{Reg::kAcquisitionMode, 3, kInvalid}, NumberCase{Reg::kAcquisitionFrameCount, 0, kInvalid},
        NumberCase{Reg::kAcquisitionFrameCount, 65536, kInvalid}, NumberCase{Reg::kImageFileMode, 2, kInvalid},
        NumberCase{Reg::kForceFailedBufferCount, 0, kInvalid},
        NumberCase{Reg::kForceFailedBufferCount, 65536, kInvalid}, NumberCase{Reg::kTriggerSelector, 2, kOk},
        NumberCase{Reg::kTriggerSelector, 3, kInvalid}, NumberCase{Reg::kTriggerMode + 2 * Reg::kTriggerStride, 1, kOk},
        NumberCase{Reg::kTriggerSource, 4, kOk}, // Action2, which no description of the plug-in has
        NumberCase{Reg::kTriggerSource + Reg::kTriggerStride, 5, kInvalid},
        NumberCase{Reg::kTriggerSoftware, 2, kInvalid}, NumberCase{Reg::kBurstFrameCount, 0, kInvalid},
        NumberCase{Reg::kLineSelector, 2, kInvalid}, NumberCase{Reg::kLineLevel + Reg::kLineStride, 1, kOk},
        NumberCase{Reg::kRemovalDuration, 0xFFFFFFFF, kOk}, // -1: for good
        NumberCase{Reg::kRemovalDuration, 0xFFFFFFFE, kInvalid}, NumberCase{Reg::kRemovalDelay, 1000001, kInvalid}));

TEST_F(CameraRegisterTest, LargeNumbersOutsideTheirLimitsAreRefused) {
    for (const std::uint32_t address : {Reg::kFrameRate, Reg::kExposureTime, Reg::kGain}) {
        for (const double bad : {-1.0, 1e9, std::nan(""), HUGE_VAL}) {
            EXPECT_EQ(Write(address, bad), EAccessResult::InvalidValue) << address << " " << bad;
        }
    }
    for (const std::uint64_t bad : {999ul, 10'000'000'001ul}) {
        EXPECT_EQ(Write(Reg::kLinkLimit, bad), EAccessResult::InvalidValue) << bad;
    }
    EXPECT_EQ(Write(Reg::kGain, 24.0), EAccessResult::Ok);
    EXPECT_EQ(Write(Reg::kExposureTime, 1e6), EAccessResult::Ok);
}

TEST_F(CameraRegisterTest, WindowStaysOnTheSensor) {
    EXPECT_EQ(Write<std::uint32_t>(Reg::kOffsetX, 1000), EAccessResult::Ok);
    EXPECT_EQ(Write<std::uint32_t>(Reg::kWidth, 1052), EAccessResult::InvalidValue);
    EXPECT_EQ(Write<std::uint32_t>(Reg::kWidth, 1048), EAccessResult::Ok);
    EXPECT_EQ(Write<std::uint32_t>(Reg::kOffsetX, 1002), EAccessResult::InvalidValue);
}

TEST_F(CameraRegisterTest, TextThatFillsItsRegisterHasNoEnd) {
    const std::vector<char> full(Reg::kTextLength, 'x');
    ASSERT_EQ(m_camera.Write(Reg::kUserId, full.data(), full.size()), EAccessResult::Ok);
    EXPECT_EQ(m_camera.Text(Reg::kUserId), std::string(full.begin(), full.end()));
    EXPECT_EQ(m_camera.Write(Reg::kUserId + 1, full.data(), full.size()), EAccessResult::NoSuchRegister);
}

} // namespace
