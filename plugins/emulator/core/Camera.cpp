#include "Camera.h"

#include "RegisterMap.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace CamEmu {

namespace {

template <typename T>
T FromBytes(const void* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

// False for NaN.
bool IsWithin(double value, double min, double max) {
    return value >= min && value <= max;
}

std::string SerialNumber(std::uint32_t number) {
    char text[32];
    std::snprintf(text, sizeof text, "0815-%04u", number);
    return text;
}

// The largest register; a write is put together with what the register holds in a buffer of that size.
using RegisterValue = std::array<std::uint8_t, Reg::fileNameLength>;

} // namespace

template <typename T>
T CCamera::Get(std::uint32_t address) const {
    return FromBytes<T>(m_bank.Bytes(address));
}

template <typename T>
void CCamera::Set(std::uint32_t address, T value) {
    std::memcpy(m_bank.Bytes(address), &value, sizeof value);
}

CCamera::CCamera(std::uint32_t number) : m_number(number), m_bank(Registers()), m_stream(number) {
    SetText(Reg::vendorName, "Harlix");
    SetText(Reg::modelName, "Emulation");
    SetText(Reg::manufacturerInfo, "Simulated camera, no hardware");
    SetText(Reg::deviceVersion, "1.0");
    SetText(Reg::firmwareVersion, "camemu 1.0");
    SetText(Reg::serialNumber, SerialNumber(number));
    SetText(Reg::deviceId, SerialNumber(number));
    Set(Reg::sensorWidth, sensorWidth);
    Set(Reg::sensorHeight, sensorHeight);
    SetDefaults();
}

// What a reset brings back; identity and user-defined name stay, as in a camera's permanent memory.
void CCamera::SetDefaults() {
    const CFrameSettings settings;
    Set(Reg::width, std::uint32_t{1024});
    Set(Reg::height, std::uint32_t{1024});
    Set(Reg::offsetX, std::uint32_t{0});
    Set(Reg::offsetY, std::uint32_t{0});
    Set(Reg::pixelFormat, PixelFormats().front().code);
    Set(Reg::testImage, settings.testImage);
    Set(Reg::acquisitionMode, EAcquisitionMode::Continuous);
    Set(Reg::acquisitionFrameCount, std::uint32_t{1});
    Set(Reg::frameRateEnable, std::uint32_t{settings.rateLimited});
    Set(Reg::frameRate, settings.rateHz);
    Set(Reg::exposureTime, settings.exposureUs);
    Set(Reg::gain, settings.gainDb);
    Set(Reg::linkLimitMode, std::uint32_t{0});
    Set(Reg::linkLimit, defaultLinkBytesPerSecond);
    Set(Reg::forceFailedBufferCount, std::uint32_t{1});
    Set(Reg::imageFileMode, std::uint32_t{0});
    std::fill_n(m_bank.Bytes(Reg::imageFilename), Reg::fileNameLength, std::uint8_t{0});
    UpdateComputed();
    m_stream.StopAcquisition();
    m_stream.DropImages();
    m_stream.ForceFrameFailures(0);
    m_stream.Apply(settings);
}

EAccessResult CCamera::Read(std::uint64_t address, void* bytes, std::size_t length) {
    const std::lock_guard lock(m_lock);
    const EAccessResult result = m_bank.MayRead(address, length);
    if (result != EAccessResult::Ok)
        return result;
    Set(Reg::acquisitionActive, std::uint32_t{m_stream.IsAcquiring()}); // changes by itself
    std::memcpy(bytes, m_bank.Bytes(address), length);
    return EAccessResult::Ok;
}

EAccessResult CCamera::Write(std::uint64_t address, const void* bytes, std::size_t length) {
    std::unique_lock lock(m_lock);
    const EAccessResult result = m_bank.MayWrite(address, length, m_formatLocked);
    if (result != EAccessResult::Ok)
        return result;
    const CRegister& written = *m_bank.Find(address);
    RegisterValue value;
    std::memcpy(value.data(), m_bank.Bytes(written.address), written.length);
    std::memcpy(value.data() + (address - written.address), bytes, length);
    if (!IsValid(written, value.data()))
        return EAccessResult::InvalidValue;
    std::memcpy(m_bank.Bytes(written.address), value.data(), written.length);
    TakeEffect(written, lock);
    return EAccessResult::Ok;
}

std::string CCamera::Text(std::uint32_t address) {
    const std::lock_guard lock(m_lock);
    return TextAt(address);
}

std::size_t CCamera::PayloadSize() {
    const std::lock_guard lock(m_lock);
    return Format().PayloadSize();
}

CImageFormat CCamera::LockFormat() {
    const std::lock_guard lock(m_lock);
    m_formatLocked = true;
    UpdateComputed();
    return Format();
}

void CCamera::UnlockFormat() {
    const std::lock_guard lock(m_lock);
    m_formatLocked = false;
    UpdateComputed();
}

std::string CCamera::TextAt(std::uint32_t address) const {
    const auto* const text = reinterpret_cast<const char*>(m_bank.Bytes(address));
    return {text, strnlen(text, m_bank.Find(address)->length)};
}

void CCamera::SetText(std::uint32_t address, const std::string& text) {
    std::memcpy(m_bank.Bytes(address), text.data(), std::min<std::size_t>(text.size(), Reg::textLength));
}

bool CCamera::IsValid(const CRegister& written, const void* value) const {
    switch (written.address) {
    case Reg::width:
    case Reg::height:
    case Reg::offsetX:
    case Reg::offsetY:
        return IsValidGeometry(written, FromBytes<std::uint32_t>(value));
    case Reg::pixelFormat:
        return FindPixelFormat(FromBytes<std::uint32_t>(value)) != nullptr;
    case Reg::testImage:
        return FromBytes<ETestImage>(value) < ETestImage::Count_;
    case Reg::acquisitionMode:
        return FromBytes<EAcquisitionMode>(value) <= EAcquisitionMode::SingleFrame;
    case Reg::acquisitionFrameCount:
        return IsWithin(FromBytes<std::uint32_t>(value), 1, maxFrameCount);
    case Reg::linkLimit:
        return FromBytes<std::uint64_t>(value) >= minLinkBytesPerSecond &&
               FromBytes<std::uint64_t>(value) <= maxLinkBytesPerSecond;
    case Reg::forceFailedBufferCount:
        return IsWithin(FromBytes<std::uint32_t>(value), 1, maxForcedFailures);
    case Reg::linkLimitMode:
    case Reg::imageFileMode:
    case Reg::frameRateEnable:
        return FromBytes<std::uint32_t>(value) <= 1;
    case Reg::frameRate:
        return IsWithin(FromBytes<double>(value), minFrameRateHz, maxFrameRateHz);
    case Reg::exposureTime:
        return IsWithin(FromBytes<double>(value), minExposureUs, maxExposureUs);
    case Reg::gain:
        return IsWithin(FromBytes<double>(value), 0, maxGainDb);
    case Reg::userId:
    case Reg::imageFilename:
        return true;
    default: // commands
        return FromBytes<std::uint32_t>(value) == 1;
    }
}

bool CCamera::IsValidGeometry(const CRegister& written, std::uint32_t value) const {
    switch (written.address) {
    case Reg::width:
        return value >= minWidth && value % widthStep == 0 && value <= sensorWidth - Get<std::uint32_t>(Reg::offsetX);
    case Reg::height:
        return value >= minHeight && value <= sensorHeight - Get<std::uint32_t>(Reg::offsetY);
    case Reg::offsetX:
        return value % offsetStep == 0 && value <= sensorWidth - Get<std::uint32_t>(Reg::width);
    default:
        return value % offsetStep == 0 && value <= sensorHeight - Get<std::uint32_t>(Reg::height);
    }
}

void CCamera::TakeEffect(const CRegister& written, std::unique_lock<std::mutex>& lock) {
    switch (written.address) {
    case Reg::deviceReset:
        return SetDefaults();
    case Reg::acquisitionStart:
        return StartAcquisition(lock);
    case Reg::acquisitionStop:
        return m_stream.StopAcquisition();
    case Reg::forceFailedBuffer:
        return m_stream.ForceFrameFailures(Get<std::uint32_t>(Reg::forceFailedBufferCount));
    case Reg::userId: // what is told where it is used
    case Reg::forceFailedBufferCount:
    case Reg::imageFileMode:
    case Reg::imageFilename:
        return;
    default:
        UpdateComputed();
        m_stream.Apply(Settings());
    }
}

// Files are read without the lock, which whoever lists cameras needs as well. The settings may be changed meanwhile.
void CCamera::StartAcquisition(std::unique_lock<std::mutex>& lock) {
    CImageReplayPtr images;
    while (Get<std::uint32_t>(Reg::imageFileMode) != 0) {
        const std::string path = TextAt(Reg::imageFilename);
        const CImageFormat format = Format();
        if (images && images->Path() == path && images->Format() == format)
            return m_stream.StartAcquisition(FramesOfAcquisition(), images);
        lock.unlock();
        images = CImageReplay::Load(path, format, m_stream.Images());
        lock.lock();
    }
    m_stream.StartAcquisition(FramesOfAcquisition());
}

void CCamera::UpdateComputed() {
    Set(Reg::payloadSize, std::uint64_t{Format().PayloadSize()});
    Set(Reg::formatLocked, std::uint32_t{m_formatLocked});
    Set(Reg::resultingFrameRate, Settings().ResultingRateHz(Format().PayloadSize()));
}

CImageFormat CCamera::Format() const {
    return {Get<std::uint32_t>(Reg::width), Get<std::uint32_t>(Reg::height), Get<std::uint32_t>(Reg::offsetX),
            Get<std::uint32_t>(Reg::offsetY), FindPixelFormat(Get<std::uint32_t>(Reg::pixelFormat))};
}

CFrameSettings CCamera::Settings() const {
    CFrameSettings settings;
    settings.exposureUs = Get<double>(Reg::exposureTime);
    settings.gainDb = Get<double>(Reg::gain);
    settings.rateLimited = Get<std::uint32_t>(Reg::frameRateEnable) != 0;
    settings.rateHz = Get<double>(Reg::frameRate);
    if (Get<std::uint32_t>(Reg::linkLimitMode) != 0)
        settings.linkBytesPerSecond = Get<std::uint64_t>(Reg::linkLimit);
    settings.testImage = Get<ETestImage>(Reg::testImage);
    return settings;
}

std::uint64_t CCamera::FramesOfAcquisition() const {
    switch (Get<EAcquisitionMode>(Reg::acquisitionMode)) {
    case EAcquisitionMode::SingleFrame:
        return 1;
    case EAcquisitionMode::MultiFrame:
        return Get<std::uint32_t>(Reg::acquisitionFrameCount);
    default:
        return 0;
    }
}

} // namespace CamEmu
