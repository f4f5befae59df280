// SPDX-License-Identifier: Apache-2.0
#include "RegisterMap.h"

#include "PatternGenerator.h"

namespace CamEmu {

namespace {

constexpr auto kWriteOnly = ERegisterAccess::WriteOnly;
constexpr auto kReadWrite = ERegisterAccess::ReadWrite;
constexpr auto kWhileStreaming = ERegisterLock::WhileStreaming;

constexpr CRegisterRange kSwitch{0, 1}, kCommand{1, 1};

// Enumerations begin with 0.
template <class Value>
constexpr CRegisterRange Below(Value count) {
    return {0, static_cast<std::uint32_t>(count) - 1};
}

// The registers of a trigger stand together, those of the next one behind them.
constexpr std::uint32_t Of(ETrigger trigger, std::uint32_t address) {
    return address + static_cast<std::uint32_t>(trigger) * Reg::kTriggerStride;
}

constexpr CRegister Mode(ETrigger trigger) {
    return {Of(trigger, Reg::kTriggerMode), 4, "TriggerMode", kReadWrite, kSwitch};
}
constexpr CRegister Source(ETrigger trigger) {
    return {Of(trigger, Reg::kTriggerSource), 4, "TriggerSource", kReadWrite, Below(ETriggerSource::Count_)};
}
constexpr CRegister Activation(ETrigger trigger) {
    return {Of(trigger, Reg::kTriggerActivation), 4, "TriggerActivation", kReadWrite,
            Below(ETriggerActivation::Count_)};
}
constexpr CRegister Software(ETrigger trigger) {
    return {Of(trigger, Reg::kTriggerSoftware), 4, "TriggerSoftware", kReadWrite, kCommand};
}

constexpr CRegister Status(EAcquisitionStatus status) {
    return {Reg::kStatus + static_cast<std::uint32_t>(status) * 4, 4, "AcquisitionStatus"};
}

constexpr CRegister Enable(EChunk chunk) {
    return {Reg::kChunkEnable + static_cast<std::uint32_t>(chunk) * 4,
            4,
            "ChunkEnable",
            kReadWrite,
            kSwitch,
            kWhileStreaming};
}

constexpr CRegister Notification(EEvent event) {
    return {Reg::kEventNotification + static_cast<std::uint32_t>(event) * 4, 4, "EventNotification", kReadWrite,
            kSwitch};
}

constexpr CRegister kRegisters[] = {
    {Reg::kVendorName, Reg::kTextLength, "DeviceVendorName"},
    {Reg::kModelName, Reg::kTextLength, "DeviceModelName"},
    {Reg::kManufacturerInfo, Reg::kTextLength, "DeviceManufacturerInfo"},
    {Reg::kDeviceVersion, Reg::kTextLength, "DeviceVersion"},
    {Reg::kFirmwareVersion, Reg::kTextLength, "DeviceFirmwareVersion"},
    {Reg::kSerialNumber, Reg::kTextLength, "DeviceSerialNumber"},
    {Reg::kDeviceId, Reg::kTextLength, "DeviceID"},
    {Reg::kUserId, Reg::kTextLength, "DeviceUserID", kReadWrite},
    {Reg::kDeviceReset, 4, "DeviceReset", kWriteOnly, kCommand, kWhileStreaming},
    {Reg::kLinkLimitMode, 4, "DeviceLinkThroughputLimitMode", kReadWrite, kSwitch},
    {Reg::kLinkLimit, 8, "DeviceLinkThroughputLimit", kReadWrite},
    {Reg::kSensorWidth, 4, "SensorWidth"},
    {Reg::kSensorHeight, 4, "SensorHeight"},
    {Reg::kWidth, 4, "Width", kReadWrite, {}, ERegisterLock::Region},
    {Reg::kHeight, 4, "Height", kReadWrite, {}, ERegisterLock::Region},
    {Reg::kOffsetX, 4, "OffsetX", kReadWrite, {}, ERegisterLock::Region},
    {Reg::kOffsetY, 4, "OffsetY", kReadWrite, {}, ERegisterLock::Region},
    {Reg::kPixelFormat, 4, "PixelFormat", kReadWrite, {}, kWhileStreaming},
    {Reg::kTestImage, 4, "TestImageSelector", kReadWrite, Below(ETestImage::Count_)},
    {Reg::kPayloadSize, 8, "PayloadSize"},
    {Reg::kFormatLocked, 4, "TLParamsLocked"},
    {Reg::kImageFileMode, 4, "ImageFileMode", kReadWrite, kSwitch},
    {Reg::kAcquisitionMode, 4, "AcquisitionMode", kReadWrite, Below(EAcquisitionMode::Count_), kWhileStreaming},
    {Reg::kAcquisitionFrameCount, 4, "AcquisitionFrameCount", kReadWrite, {1, kMaxFrameCount}, kWhileStreaming},
    {Reg::kAcquisitionStart, 4, "AcquisitionStart", kWriteOnly, kCommand},
    {Reg::kAcquisitionStop, 4, "AcquisitionStop", kWriteOnly, kCommand},
    {Reg::kFrameRateEnable, 4, "AcquisitionFrameRateEnable", kReadWrite, kSwitch},
    {Reg::kFrameRate, 8, "AcquisitionFrameRate", kReadWrite},
    {Reg::kResultingFrameRate, 8, "ResultingFrameRate"},
    {Reg::kExposureTime, 8, "ExposureTime", kReadWrite},
    {Reg::kGain, 8, "Gain", kReadWrite},
    {Reg::kForceFailedBuffer, 4, "ForceFailedBuffer", kWriteOnly, kCommand},
    {Reg::kForceFailedBufferCount, 4, "ForceFailedBufferCount", kReadWrite, {1, kMaxForcedFailures}},
    {Reg::kForceFailedStart, 4, "ForceFailedStart", kWriteOnly, kCommand},
    {Reg::kForceFailedStartCount, 4, "ForceFailedStartCount", kReadWrite, {1, kMaxForcedFailures}},
    {Reg::kForceFailedRetrieval, 4, "ForceFailedRetrieval", kWriteOnly, kCommand},
    {Reg::kForceFailedRetrievalDelay, 4, "ForceFailedRetrievalDelay", kReadWrite, {0, kMaxFaultDelay}},
    {Reg::kForceStall, 4, "ForceStall", kReadWrite, kSwitch},
    {Reg::kRemovalDelay, 4, "SimulateRemovalDelay", kReadWrite, {0, kMaxFaultDelay}},
    {Reg::kRemovalDuration, 4, "SimulateRemovalDuration", kReadWrite},
    {Reg::kRemovalResets, 4, "SimulateRemovalSettings", kReadWrite, kSwitch},
    {Reg::kTriggerSelector, 4, "TriggerSelector", kReadWrite, Below(ETrigger::Count_)},
    Mode(ETrigger::FrameStart),
    Source(ETrigger::FrameStart),
    Activation(ETrigger::FrameStart),
    Software(ETrigger::FrameStart),
    Mode(ETrigger::FrameBurstStart),
    Source(ETrigger::FrameBurstStart),
    Activation(ETrigger::FrameBurstStart),
    Software(ETrigger::FrameBurstStart),
    Mode(ETrigger::AcquisitionStart),
    Source(ETrigger::AcquisitionStart),
    Activation(ETrigger::AcquisitionStart),
    Software(ETrigger::AcquisitionStart),
    {Reg::kBurstFrameCount, 4, "AcquisitionBurstFrameCount", kReadWrite, {1, kMaxBurstFrames}},
    {Reg::kMissedTriggers, 8, "TriggerMissedCount"},
    {Reg::kLineSelector, 4, "LineSelector", kReadWrite, Below(kLines)},
    {Reg::kLineLevel, 4, "SimulateLineLevel", kReadWrite, kSwitch},
    {Reg::kLinePulse, 4, "SimulateLinePulse", kWriteOnly, kCommand},
    {Reg::kLineLevel + Reg::kLineStride, 4, "SimulateLineLevel", kReadWrite, kSwitch},
    {Reg::kLinePulse + Reg::kLineStride, 4, "SimulateLinePulse", kWriteOnly, kCommand},
    {Reg::kStatusSelector, 4, "AcquisitionStatusSelector", kReadWrite, Below(EAcquisitionStatus::Count_)},
    Status(EAcquisitionStatus::AcquisitionActive),
    Status(EAcquisitionStatus::AcquisitionTriggerWait),
    Status(EAcquisitionStatus::FrameTriggerWait),
    Status(EAcquisitionStatus::FrameActive),
    {Reg::kChunkModeActive, 4, "ChunkModeActive", kReadWrite, kSwitch, kWhileStreaming},
    {Reg::kChunkSelector, 4, "ChunkSelector", kReadWrite, Below(EChunk::Count_)},
    {Reg::kMaxWidth, 4, "RegionMaxWidth"},
    {Reg::kMaxHeight, 4, "RegionMaxHeight"},
    {Reg::kRegionLocked, 4, "RegionLocked"},
    Enable(EChunk::Timestamp),
    Enable(EChunk::Framecounter),
    Enable(EChunk::ExposureTime),
    Enable(EChunk::Gain),
    Enable(EChunk::OffsetX),
    Enable(EChunk::OffsetY),
    Enable(EChunk::Width),
    Enable(EChunk::Height),
    Enable(EChunk::PixelFormat),
    Enable(EChunk::Stride),
    Enable(EChunk::LineStatusAll),
    Enable(EChunk::PayloadCrc16),
    {Reg::kEventSelector, 4, "EventSelector", kReadWrite, Below(EEvent::Count_)},
    {Reg::kSimulateEventsCount, 4, "SimulateEventsCount", kReadWrite, {1, kMaxSimulatedEvents}},
    {Reg::kSimulateEvents, 4, "SimulateEvents", kWriteOnly, kCommand},
    Notification(EEvent::ExposureEnd),
    Notification(EEvent::FrameStart),
    Notification(EEvent::FrameStartOvertrigger),
    Notification(EEvent::CriticalTemperature),
    Notification(EEvent::EventOverrun),
    {Reg::kImageFilename, Reg::kFileNameLength, "ImageFilename", kReadWrite},
};

} // namespace

std::span<const CRegister> Registers() {
    return kRegisters;
}

} // namespace CamEmu
