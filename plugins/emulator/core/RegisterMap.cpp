// SPDX-License-Identifier: Apache-2.0
#include "RegisterMap.h"

namespace CamEmu {

namespace {

constexpr auto kWriteOnly = ERegisterAccess::WriteOnly;
constexpr auto kReadWrite = ERegisterAccess::ReadWrite;
constexpr auto kWhileStreaming = ERegisterLock::WhileStreaming;

constexpr CRegister kRegisters[] = {
    {Reg::kVendorName, Reg::kTextLength, "DeviceVendorName"},
    {Reg::kModelName, Reg::kTextLength, "DeviceModelName"},
    {Reg::kManufacturerInfo, Reg::kTextLength, "DeviceManufacturerInfo"},
    {Reg::kDeviceVersion, Reg::kTextLength, "DeviceVersion"},
    {Reg::kFirmwareVersion, Reg::kTextLength, "DeviceFirmwareVersion"},
    {Reg::kSerialNumber, Reg::kTextLength, "DeviceSerialNumber"},
    {Reg::kDeviceId, Reg::kTextLength, "DeviceID"},
    {Reg::kUserId, Reg::kTextLength, "DeviceUserID", kReadWrite},
    {Reg::kDeviceReset, 4, "DeviceReset", kWriteOnly, kWhileStreaming},
    {Reg::kLinkLimitMode, 4, "DeviceLinkThroughputLimitMode", kReadWrite},
    {Reg::kLinkLimit, 8, "DeviceLinkThroughputLimit", kReadWrite},
    {Reg::kSensorWidth, 4, "SensorWidth"},
    {Reg::kSensorHeight, 4, "SensorHeight"},
    {Reg::kWidth, 4, "Width", kReadWrite, kWhileStreaming},
    {Reg::kHeight, 4, "Height", kReadWrite, kWhileStreaming},
    {Reg::kOffsetX, 4, "OffsetX", kReadWrite, kWhileStreaming},
    {Reg::kOffsetY, 4, "OffsetY", kReadWrite, kWhileStreaming},
    {Reg::kPixelFormat, 4, "PixelFormat", kReadWrite, kWhileStreaming},
    {Reg::kTestImage, 4, "TestImageSelector", kReadWrite},
    {Reg::kPayloadSize, 8, "PayloadSize"},
    {Reg::kFormatLocked, 4, "TLParamsLocked"},
    {Reg::kImageFileMode, 4, "ImageFileMode", kReadWrite},
    {Reg::kAcquisitionMode, 4, "AcquisitionMode", kReadWrite, kWhileStreaming},
    {Reg::kAcquisitionFrameCount, 4, "AcquisitionFrameCount", kReadWrite, kWhileStreaming},
    {Reg::kAcquisitionStart, 4, "AcquisitionStart", kWriteOnly},
    {Reg::kAcquisitionStop, 4, "AcquisitionStop", kWriteOnly},
    {Reg::kAcquisitionActive, 4, "AcquisitionStatus"},
    {Reg::kFrameRateEnable, 4, "AcquisitionFrameRateEnable", kReadWrite},
    {Reg::kFrameRate, 8, "AcquisitionFrameRate", kReadWrite},
    {Reg::kResultingFrameRate, 8, "ResultingFrameRate"},
    {Reg::kExposureTime, 8, "ExposureTime", kReadWrite},
    {Reg::kGain, 8, "Gain", kReadWrite},
    {Reg::kForceFailedBuffer, 4, "ForceFailedBuffer", kWriteOnly},
    {Reg::kForceFailedBufferCount, 4, "ForceFailedBufferCount", kReadWrite},
    {Reg::kImageFilename, Reg::kFileNameLength, "ImageFilename", kReadWrite},
};

} // namespace

std::span<const CRegister> Registers() {
    return kRegisters;
}

} // namespace CamEmu
