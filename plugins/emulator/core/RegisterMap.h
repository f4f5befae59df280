// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ChunkWriter.h"
#include "EventSource.h"
#include "RegisterBank.h"
#include "Trigger.h"

#include <cstdint>
#include <span>

namespace CamEmu {

/// The addresses of the camera's registers. CamEmu.xml describes them to applications; the two go together.
namespace Reg {
inline constexpr std::uint32_t kVendorName = 0x0000; // texts of textLength bytes, padded with NUL
inline constexpr std::uint32_t kModelName = 0x0040;
inline constexpr std::uint32_t kManufacturerInfo = 0x0080;
inline constexpr std::uint32_t kDeviceVersion = 0x00C0;
inline constexpr std::uint32_t kFirmwareVersion = 0x0100;
inline constexpr std::uint32_t kSerialNumber = 0x0140;
inline constexpr std::uint32_t kDeviceId = 0x0180;
inline constexpr std::uint32_t kUserId = 0x01C0;
inline constexpr std::uint32_t kDeviceReset = 0x0200;   // commands: 1 executes
inline constexpr std::uint32_t kLinkLimitMode = 0x0204; // unsigned 32 bit from here on, but where told
inline constexpr std::uint32_t kLinkLimit = 0x0208;     // unsigned 64 bit, bytes per second
inline constexpr std::uint32_t kSensorWidth = 0x0300;
inline constexpr std::uint32_t kSensorHeight = 0x0304;
inline constexpr std::uint32_t kWidth = 0x0308;
inline constexpr std::uint32_t kHeight = 0x030C;
inline constexpr std::uint32_t kOffsetX = 0x0310;
inline constexpr std::uint32_t kOffsetY = 0x0314;
inline constexpr std::uint32_t kPixelFormat = 0x0318;
inline constexpr std::uint32_t kTestImage = 0x031C;
inline constexpr std::uint32_t kPayloadSize = 0x0320; // unsigned 64 bit
inline constexpr std::uint32_t kFormatLocked = 0x0328;
inline constexpr std::uint32_t kImageFileMode = 0x0330;
inline constexpr std::uint32_t kAcquisitionMode = 0x0400;
inline constexpr std::uint32_t kAcquisitionFrameCount = 0x0404;
inline constexpr std::uint32_t kAcquisitionStart = 0x0408;
inline constexpr std::uint32_t kAcquisitionStop = 0x040C;
inline constexpr std::uint32_t kFrameRateEnable = 0x0414;
inline constexpr std::uint32_t kFrameRate = 0x0418; // double, Hz
inline constexpr std::uint32_t kResultingFrameRate = 0x0420;
inline constexpr std::uint32_t kExposureTime = 0x0428;      // double, µs
inline constexpr std::uint32_t kGain = 0x0430;              // double, dB
inline constexpr std::uint32_t kForceFailedBuffer = 0x0500; // command
inline constexpr std::uint32_t kForceFailedBufferCount = 0x0504;
inline constexpr std::uint32_t kForceFailedStart = 0x0508; // command
inline constexpr std::uint32_t kForceFailedStartCount = 0x050C;
inline constexpr std::uint32_t kForceFailedRetrieval = 0x0510; // command
inline constexpr std::uint32_t kForceFailedRetrievalDelay = 0x0514;
inline constexpr std::uint32_t kForceStall = 0x0518;
inline constexpr std::uint32_t kRemovalDelay = 0x0520;
inline constexpr std::uint32_t kRemovalDuration = 0x0524; // signed, ms
inline constexpr std::uint32_t kRemovalResets = 0x0528;
inline constexpr std::uint32_t kTriggerSelector = 0x0600;
inline constexpr std::uint32_t kTriggerMode = 0x0610; // of the first trigger, as the next three
inline constexpr std::uint32_t kTriggerSource = 0x0614;
inline constexpr std::uint32_t kTriggerActivation = 0x0618;
inline constexpr std::uint32_t kTriggerSoftware = 0x061C; // command; reads as 0 once it is done
inline constexpr std::uint32_t kTriggerStride = 0x10;     // from one trigger to the next
inline constexpr std::uint32_t kBurstFrameCount = 0x0640;
inline constexpr std::uint32_t kMissedTriggers = 0x0648; // unsigned 64 bit
inline constexpr std::uint32_t kLineSelector = 0x0650;
inline constexpr std::uint32_t kLineLevel = 0x0660; // of the first line, as the next
inline constexpr std::uint32_t kLinePulse = 0x0664; // command
inline constexpr std::uint32_t kLineStride = 8;     // from one line to the next
inline constexpr std::uint32_t kStatusSelector = 0x0680;
inline constexpr std::uint32_t kStatus = 0x0690; // one for each value of EAcquisitionStatus, 4 bytes apart
inline constexpr std::uint32_t kChunkModeActive = 0x0700;
inline constexpr std::uint32_t kChunkSelector = 0x0704;
inline constexpr std::uint32_t kMaxWidth = 0x0708; // of the region that the frozen buffers hold
inline constexpr std::uint32_t kMaxHeight = 0x070C;
inline constexpr std::uint32_t kRegionLocked = 0x0710;
inline constexpr std::uint32_t kChunkEnable = 0x0720; // one for each EChunk, 4 bytes apart
inline constexpr std::uint32_t kEventSelector = 0x0780;
inline constexpr std::uint32_t kSimulateEventsCount = 0x0784;
inline constexpr std::uint32_t kSimulateEvents = 0x0788;    // command
inline constexpr std::uint32_t kEventNotification = 0x0790; // one for each EEvent, 4 bytes apart
inline constexpr std::uint32_t kImageFilename = 0x1000;     // text of fileNameLength bytes
inline constexpr std::uint32_t kTextLength = 64;
inline constexpr std::uint32_t kFileNameLength = 4096; // as long as a path can be
} // namespace Reg

/// Values of the register AcquisitionMode.
enum class EAcquisitionMode : std::uint32_t { Continuous, MultiFrame, SingleFrame, Count_ };

/// Values of the register AcquisitionStatusSelector.
enum class EAcquisitionStatus : std::uint32_t {
    AcquisitionActive,
    AcquisitionTriggerWait,
    FrameTriggerWait,
    FrameActive,
    Count_
};

/// Limits of the registers, as in CamEmu.xml.
inline constexpr std::uint32_t kMaxFrameCount = 65535;
inline constexpr double kMinFrameRateHz = 0.01;
inline constexpr double kMaxFrameRateHz = 100000;
inline constexpr double kMinExposureUs = 10;
inline constexpr double kMaxExposureUs = 1000000;
inline constexpr double kMaxGainDb = 24;
inline constexpr std::uint64_t kMinLinkBytesPerSecond = 1000;
inline constexpr std::uint64_t kMaxLinkBytesPerSecond = 10'000'000'000;
inline constexpr std::uint64_t kDefaultLinkBytesPerSecond = 125'000'000;
inline constexpr std::uint32_t kMaxBurstFrames = 65535;
inline constexpr std::uint32_t kMaxSimulatedEvents = 65535;
inline constexpr std::uint32_t kMaxForcedFailures = 65535;
inline constexpr std::uint32_t kMaxFaultDelay = 1000000;
inline constexpr std::int32_t kMaxRemovalMs = 3600000;

/// All registers, in the order of their addresses.
std::span<const CRegister> Registers();

} // namespace CamEmu
