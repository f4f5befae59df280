#include <core/Camera.h>
#include <core/RegisterMap.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
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
    EXPECT_EQ(m_camera.Read(0x0250, bytes, 4), EAccessResult::NoSuchRegister);            // a gap
    EXPECT_EQ(m_camera.Read(Reg::formatLocked, bytes, 8), EAccessResult::NoSuchRegister); // runs into a gap
    EXPECT_EQ(m_camera.Read(Reg::gain, bytes, 9), EAccessResult::NoSuchRegister);         // over the end
    EXPECT_EQ(m_camera.Read(~0ull, bytes, 2), EAccessResult::NoSuchRegister);             // wraps around
    EXPECT_EQ(m_camera.Read(Reg::acquisitionStart, bytes, 4), EAccessResult::NotReadable);
    EXPECT_EQ(m_camera.Write(Reg::vendorName, bytes, 4), EAccessResult::NotWritable);
    EXPECT_EQ(m_camera.Write(Reg::payloadSize, bytes, 8), EAccessResult::NotWritable);
    EXPECT_EQ(m_camera.Write(Reg::width, bytes, 8), EAccessResult::NoSuchRegister); // two registers in one
    EXPECT_EQ(m_camera.Write(Reg::width, bytes, 0), EAccessResult::NoSuchRegister);
    EXPECT_EQ(m_camera.Read(Reg::vendorName, bytes, 0x200), EAccessResult::Ok); // all texts at once
    EXPECT_STREQ(reinterpret_cast<char*>(bytes + Reg::serialNumber), "0815-0003");
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
constexpr auto ok = EAccessResult::Ok, invalid = EAccessResult::InvalidValue;
INSTANTIATE_TEST_SUITE_P(
    All, NumberRegisterTest,
    ::testing::Values(NumberCase{Reg::width, 32, ok}, NumberCase{Reg::width, 28, invalid},
                      NumberCase{Reg::width, 34, invalid}, NumberCase{Reg::width, 2048, ok},
                      NumberCase{Reg::width, 2052, invalid}, NumberCase{Reg::height, 1, ok},
                      NumberCase{Reg::height, 0, invalid}, NumberCase{Reg::height, 2049, invalid},
                      NumberCase{Reg::offsetX, 1024, ok}, NumberCase{Reg::offsetX, 1026, invalid},
                      NumberCase{Reg::offsetX, 3, invalid}, NumberCase{Reg::offsetY, 0xFFFFFFFE, invalid},
                      NumberCase{Reg::pixelFormat, 0x010C0047, ok}, NumberCase{Reg::pixelFormat, 0x01080002, invalid},
                      NumberCase{Reg::testImage, 11, ok}, NumberCase{Reg::testImage, 12, invalid},
                      NumberCase{Reg::acquisitionMode, 3, invalid}, NumberCase{Reg::acquisitionFrameCount, 0, invalid},
                      NumberCase{Reg::acquisitionFrameCount, 65536, invalid},
                      NumberCase{Reg::imageFileMode, 2, invalid}, NumberCase{Reg::forceFailedBufferCount, 0, invalid},
                      NumberCase{Reg::forceFailedBufferCount, 65536, invalid}));

TEST_F(CameraRegisterTest, LargeNumbersOutsideTheirLimitsAreRefused) {
    for (const std::uint32_t address : {Reg::frameRate, Reg::exposureTime, Reg::gain})
        for (const double bad : {-1.0, 1e9, std::nan(""), HUGE_VAL})
            EXPECT_EQ(Write(address, bad), EAccessResult::InvalidValue) << address << " " << bad;
    for (const std::uint64_t bad : {999ul, 10'000'000'001ul})
        EXPECT_EQ(Write(Reg::linkLimit, bad), EAccessResult::InvalidValue) << bad;
    EXPECT_EQ(Write(Reg::gain, 24.0), EAccessResult::Ok);
    EXPECT_EQ(Write(Reg::exposureTime, 1e6), EAccessResult::Ok);
}

TEST_F(CameraRegisterTest, WindowStaysOnTheSensor) {
    EXPECT_EQ(Write<std::uint32_t>(Reg::offsetX, 1000), EAccessResult::Ok);
    EXPECT_EQ(Write<std::uint32_t>(Reg::width, 1052), EAccessResult::InvalidValue);
    EXPECT_EQ(Write<std::uint32_t>(Reg::width, 1048), EAccessResult::Ok);
    EXPECT_EQ(Write<std::uint32_t>(Reg::offsetX, 1002), EAccessResult::InvalidValue);
}

TEST_F(CameraRegisterTest, FormatIsLockedWhileStreamingAndExposureIsNot) {
    m_camera.LockFormat();
    EXPECT_EQ(Read<std::uint32_t>(Reg::formatLocked), 1u);
    for (const std::uint32_t address : {Reg::width, Reg::height, Reg::offsetX, Reg::offsetY, Reg::pixelFormat,
                                        Reg::acquisitionMode, Reg::deviceReset})
        EXPECT_EQ(Write<std::uint32_t>(address, 1), EAccessResult::Locked) << address;
    EXPECT_EQ(Write(Reg::exposureTime, 500.0), EAccessResult::Ok);
    EXPECT_EQ(Write(Reg::testImage, ETestImage::White), EAccessResult::Ok);
    m_camera.UnlockFormat();
    EXPECT_EQ(Write<std::uint32_t>(Reg::width, 64), EAccessResult::Ok);
}

TEST_F(CameraRegisterTest, TextThatFillsItsRegisterHasNoEnd) {
    const std::vector<char> full(Reg::textLength, 'x');
    ASSERT_EQ(m_camera.Write(Reg::userId, full.data(), full.size()), EAccessResult::Ok);
    EXPECT_EQ(m_camera.Text(Reg::userId), std::string(full.begin(), full.end()));
    EXPECT_EQ(m_camera.Write(Reg::userId + 1, full.data(), full.size()), EAccessResult::NoSuchRegister);
}

} // namespace
