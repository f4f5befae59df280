#include "RegisterMap.h"

namespace CamEmu {

namespace {

constexpr auto writeOnly = ERegisterAccess::WriteOnly;
constexpr auto readWrite = ERegisterAccess::ReadWrite;
constexpr auto whileStreaming = ERegisterLock::WhileStreaming;

constexpr CRegister registers[] = {
    {Reg::vendorName, Reg::textLength, "DeviceVendorName"},
    {Reg::modelName, Reg::textLength, "DeviceModelName"},
    {Reg::manufacturerInfo, Reg::textLength, "DeviceManufacturerInfo"},
    {Reg::deviceVersion, Reg::textLength, "DeviceVersion"},
    {Reg::firmwareVersion, Reg::textLength, "DeviceFirmwareVersion"},
    {Reg::serialNumber, Reg::textLength, "DeviceSerialNumber"},
    {Reg::deviceId, Reg::textLength, "DeviceID"},
    {Reg::userId, Reg::textLength, "DeviceUserID", readWrite},
    {Reg::deviceReset, 4, "DeviceReset", writeOnly, whileStreaming},
    {Reg::linkLimitMode, 4, "DeviceLinkThroughputLimitMode", readWrite},
    {Reg::linkLimit, 8, "DeviceLinkThroughputLimit", readWrite},
    {Reg::sensorWidth, 4, "SensorWidth"},
    {Reg::sensorHeight, 4, "SensorHeight"},
    {Reg::width, 4, "Width", readWrite, whileStreaming},
    {Reg::height, 4, "Height", readWrite, whileStreaming},
    {Reg::offsetX, 4, "OffsetX", readWrite, whileStreaming},
    {Reg::offsetY, 4, "OffsetY", readWrite, whileStreaming},
    {Reg::pixelFormat, 4, "PixelFormat", readWrite, whileStreaming},
    {Reg::testImage, 4, "TestImageSelector", readWrite},
    {Reg::payloadSize, 8, "PayloadSize"},
    {Reg::formatLocked, 4, "TLParamsLocked"},
    {Reg::imageFileMode, 4, "ImageFileMode", readWrite},
    {Reg::acquisitionMode, 4, "AcquisitionMode", readWrite, whileStreaming},
    {Reg::acquisitionFrameCount, 4, "AcquisitionFrameCount", readWrite, whileStreaming},
    {Reg::acquisitionStart, 4, "AcquisitionStart", writeOnly},
    {Reg::acquisitionStop, 4, "AcquisitionStop", writeOnly},
    {Reg::acquisitionActive, 4, "AcquisitionStatus"},
    {Reg::frameRateEnable, 4, "AcquisitionFrameRateEnable", readWrite},
    {Reg::frameRate, 8, "AcquisitionFrameRate", readWrite},
    {Reg::resultingFrameRate, 8, "ResultingFrameRate"},
    {Reg::exposureTime, 8, "ExposureTime", readWrite},
    {Reg::gain, 8, "Gain", readWrite},
    {Reg::forceFailedBuffer, 4, "ForceFailedBuffer", writeOnly},
    {Reg::forceFailedBufferCount, 4, "ForceFailedBufferCount", readWrite},
    {Reg::imageFilename, Reg::fileNameLength, "ImageFilename", readWrite},
};

} // namespace

std::span<const CRegister> Registers() {
    return registers;
}

} // namespace CamEmu
