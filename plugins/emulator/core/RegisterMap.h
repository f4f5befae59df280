#pragma once

#include "RegisterBank.h"

#include <cstdint>
#include <span>

namespace CamEmu {

/// The addresses of the camera's registers. CamEmu.xml describes them to applications; the two go together.
namespace Reg {
inline constexpr std::uint32_t vendorName = 0x0000; // texts of textLength bytes, padded with NUL
inline constexpr std::uint32_t modelName = 0x0040;
inline constexpr std::uint32_t manufacturerInfo = 0x0080;
inline constexpr std::uint32_t deviceVersion = 0x00C0;
inline constexpr std::uint32_t firmwareVersion = 0x0100;
inline constexpr std::uint32_t serialNumber = 0x0140;
inline constexpr std::uint32_t deviceId = 0x0180;
inline constexpr std::uint32_t userId = 0x01C0;
inline constexpr std::uint32_t deviceReset = 0x0200;   // commands: 1 executes
inline constexpr std::uint32_t linkLimitMode = 0x0204; // unsigned 32 bit from here on, but where told
inline constexpr std::uint32_t linkLimit = 0x0208;     // unsigned 64 bit, bytes per second
inline constexpr std::uint32_t sensorWidth = 0x0300;
inline constexpr std::uint32_t sensorHeight = 0x0304;
inline constexpr std::uint32_t width = 0x0308;
inline constexpr std::uint32_t height = 0x030C;
inline constexpr std::uint32_t offsetX = 0x0310;
inline constexpr std::uint32_t offsetY = 0x0314;
inline constexpr std::uint32_t pixelFormat = 0x0318;
inline constexpr std::uint32_t testImage = 0x031C;
inline constexpr std::uint32_t payloadSize = 0x0320; // unsigned 64 bit
inline constexpr std::uint32_t formatLocked = 0x0328;
inline constexpr std::uint32_t imageFileMode = 0x0330;
inline constexpr std::uint32_t acquisitionMode = 0x0400;
inline constexpr std::uint32_t acquisitionFrameCount = 0x0404;
inline constexpr std::uint32_t acquisitionStart = 0x0408;
inline constexpr std::uint32_t acquisitionStop = 0x040C;
inline constexpr std::uint32_t acquisitionActive = 0x0410;
inline constexpr std::uint32_t frameRateEnable = 0x0414;
inline constexpr std::uint32_t frameRate = 0x0418; // double, Hz
inline constexpr std::uint32_t resultingFrameRate = 0x0420;
inline constexpr std::uint32_t exposureTime = 0x0428;      // double, µs
inline constexpr std::uint32_t gain = 0x0430;              // double, dB
inline constexpr std::uint32_t forceFailedBuffer = 0x0500; // command
inline constexpr std::uint32_t forceFailedBufferCount = 0x0504;
inline constexpr std::uint32_t imageFilename = 0x1000; // text of fileNameLength bytes
inline constexpr std::uint32_t textLength = 64;
inline constexpr std::uint32_t fileNameLength = 4096; // as long as a path can be
} // namespace Reg

/// Values of the register AcquisitionMode.
enum class EAcquisitionMode : std::uint32_t { Continuous, MultiFrame, SingleFrame };

/// Limits of the registers, as in CamEmu.xml.
inline constexpr std::uint32_t maxFrameCount = 65535;
inline constexpr double minFrameRateHz = 0.01;
inline constexpr double maxFrameRateHz = 100000;
inline constexpr double minExposureUs = 10;
inline constexpr double maxExposureUs = 1000000;
inline constexpr double maxGainDb = 24;
inline constexpr std::uint64_t minLinkBytesPerSecond = 1000;
inline constexpr std::uint64_t maxLinkBytesPerSecond = 10'000'000'000;
inline constexpr std::uint64_t defaultLinkBytesPerSecond = 125'000'000;
inline constexpr std::uint32_t maxForcedFailures = 65535;

/// All registers, in the order of their addresses.
std::span<const CRegister> Registers();

} // namespace CamEmu
