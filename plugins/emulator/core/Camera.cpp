// SPDX-License-Identifier: Apache-2.0
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
using RegisterValue = std::array<std::uint8_t, Reg::kFileNameLength>;

} // namespace

template <typename T>
T CCamera::Get(std::uint32_t address) const {
    return FromBytes<T>(m_bank.Bytes(address));
}

template <typename T>
void CCamera::Set(std::uint32_t address, T value) {
    std::memcpy(m_bank.Bytes(address), &value, sizeof value);
}

CCamera::CCamera(std::uint32_t number) : m_number(number), m_bank(Registers()), m_stream(number, &m_events) {
    SetText(Reg::kVendorName, "Harlix");
    SetText(Reg::kModelName, "Emulation");
    SetText(Reg::kManufacturerInfo, "Simulated camera, no hardware");
    SetText(Reg::kDeviceVersion, "1.0");
    SetText(Reg::kFirmwareVersion, "camemu 1.0");
    SetText(Reg::kSerialNumber, SerialNumber(number));
    SetText(Reg::kDeviceId, SerialNumber(number));
    Set(Reg::kSensorWidth, kSensorWidth);
    Set(Reg::kSensorHeight, kSensorHeight);
    SetDefaults();
}

// What a reset brings back; identity and user-defined name stay, as in a camera's permanent memory.
void CCamera::SetDefaults() {
    const CFrameSettings settings;
    Set(Reg::kWidth, std::uint32_t{1024});
    Set(Reg::kHeight, std::uint32_t{1024});
    Set(Reg::kOffsetX, std::uint32_t{0});
    Set(Reg::kOffsetY, std::uint32_t{0});
    Set(Reg::kPixelFormat, PixelFormats().front().code);
    Set(Reg::kTestImage, settings.testImage);
    Set(Reg::kAcquisitionMode, EAcquisitionMode::Continuous);
    Set(Reg::kAcquisitionFrameCount, std::uint32_t{1});
    Set(Reg::kFrameRateEnable, std::uint32_t{settings.rateLimited});
    Set(Reg::kFrameRate, settings.rateHz);
    Set(Reg::kExposureTime, settings.exposureUs);
    Set(Reg::kGain, settings.gainDb);
    Set(Reg::kLinkLimitMode, std::uint32_t{0});
    Set(Reg::kLinkLimit, kDefaultLinkBytesPerSecond);
    Set(Reg::kForceFailedBufferCount, std::uint32_t{1});
    Set(Reg::kForceFailedStartCount, std::uint32_t{1});
    Set(Reg::kBurstFrameCount, std::uint32_t{1});
    Set(Reg::kSimulateEventsCount, std::uint32_t{1});
    for (const std::uint32_t address :
         {Reg::kForceFailedRetrievalDelay, Reg::kForceStall, Reg::kRemovalDelay, Reg::kRemovalDuration,
          Reg::kRemovalResets, Reg::kTriggerSelector, Reg::kLineSelector, Reg::kStatusSelector, Reg::kChunkModeActive,
          Reg::kChunkSelector, Reg::kEventSelector}) {
        Set(address, std::uint32_t{0});
    }
    std::fill(m_bank.Bytes(Reg::kTriggerMode), m_bank.Bytes(Reg::kBurstFrameCount), std::uint8_t{0});
    for (std::uint32_t line = 0; line < kLines; ++line) {
        Set(Reg::kLineLevel + line * Reg::kLineStride, std::uint32_t{0});
    }
    Set(Reg::kImageFileMode, std::uint32_t{0});
    for (std::uint32_t chunk = 0; chunk < kChunks; ++chunk) {
        Set(Reg::kChunkEnable + 4 * chunk, std::uint32_t{0});
    }
    std::fill_n(m_bank.Bytes(Reg::kImageFilename), Reg::kFileNameLength, std::uint8_t{0});
    UpdateComputed();
    m_stream.StopAcquisition();
    m_stream.DropImages();
    m_stream.ForceFrameFailures(0);
    m_stream.Stall(false);
    m_faults.Clear();
    for (std::uint32_t event = 0; event < kEvents; ++event) {
        Set(Reg::kEventNotification + 4 * event, std::uint32_t{0});
    }
    ApplyNotifications();
    m_stream.Apply(settings);
    m_stream.ApplyTriggers(TriggerSettings());
    for (std::size_t line = 0; line < kLines; ++line) {
        m_stream.SetLine(line, false);
    }
}

EAccessResult CCamera::Read(std::uint64_t address, void* bytes, std::size_t length) {
    const PluginKit::CLockGuard lock(m_lock);
    const EAccessResult result = m_bank.MayRead(address, length);
    if (result != EAccessResult::Ok) {
        return result;
    }
    LookAtStream();
    std::memcpy(bytes, m_bank.Bytes(address), length);
    return EAccessResult::Ok;
}

// What changes by itself.
void CCamera::LookAtStream() {
    const auto set = [this](EAcquisitionStatus status, bool value) PLUGIN_UNCHECKED_LOCKS {
        Set(Reg::kStatus + 4 * static_cast<std::uint32_t>(status), std::uint32_t{value});
    };
    const CAcquisitionStatus status = m_stream.Status();
    set(EAcquisitionStatus::AcquisitionActive, status.isAcquisitionActive);
    set(EAcquisitionStatus::AcquisitionTriggerWait, status.waitsForTrigger);
    set(EAcquisitionStatus::FrameTriggerWait, status.waitsForFrameTrigger);
    set(EAcquisitionStatus::FrameActive, status.isFrameActive);
    Set(Reg::kMissedTriggers, status.missedTriggers);
}

EAccessResult CCamera::Write(std::uint64_t address, const void* bytes, std::size_t length) {
    const PluginKit::CLockGuard lock(m_lock);
    const EAccessResult result = m_bank.MayWrite(address, length, Locks());
    if (result != EAccessResult::Ok) {
        return result;
    }
    const CRegister& written = *m_bank.Find(address);
    RegisterValue value;
    std::memcpy(value.data(), m_bank.Bytes(written.address), written.length);
    std::memcpy(value.data() + (address - written.address), bytes, length);
    if (!IsValid(written, value.data())) {
        return EAccessResult::InvalidValue;
    }
    std::memcpy(m_bank.Bytes(written.address), value.data(), written.length);
    TakeEffect(written);
    return EAccessResult::Ok;
}

std::string CCamera::Text(std::uint32_t address) {
    const PluginKit::CLockGuard lock(m_lock);
    return TextAt(address);
}

std::size_t CCamera::PayloadSize() {
    const PluginKit::CLockGuard lock(m_lock);
    return CamEmu::PayloadSize(Format(), ChunkSettings());
}

CRemovalSettings CCamera::RemovalSettings() {
    const PluginKit::CLockGuard lock(m_lock);
    return {Get<std::uint32_t>(Reg::kRemovalDelay), Get<std::int32_t>(Reg::kRemovalDuration),
            Get<std::uint32_t>(Reg::kRemovalResets) != 0};
}

void CCamera::Reset() {
    const PluginKit::CLockGuard lock(m_lock);
    SetDefaults();
}

CLockedFormat CCamera::LockFormat() {
    const PluginKit::CLockGuard lock(m_lock);
    m_formatLocked = true;
    m_lockedFormat = Format();
    UpdateComputed();
    return {m_lockedFormat, CamEmu::PayloadSize(m_lockedFormat, ChunkSettings())};
}

void CCamera::UnlockFormat() {
    const PluginKit::CLockGuard lock(m_lock);
    m_formatLocked = false;
    UpdateComputed();
}

std::string CCamera::TextAt(std::uint32_t address) const {
    const auto* const text = reinterpret_cast<const char*>(m_bank.Bytes(address));
    return {text, strnlen(text, m_bank.Find(address)->length)};
}

void CCamera::SetText(std::uint32_t address, const std::string& text) {
    std::memcpy(m_bank.Bytes(address), text.data(), std::min<std::size_t>(text.size(), Reg::kTextLength));
}

bool CCamera::IsValid(const CRegister& written, const void* value) const {
    switch (written.address) {
    case Reg::kWidth:
    case Reg::kHeight:
    case Reg::kOffsetX:
    case Reg::kOffsetY:
        return IsValidGeometry(written, FromBytes<std::uint32_t>(value));
    case Reg::kPixelFormat:
        return FindPixelFormat(FromBytes<std::uint32_t>(value)) != nullptr;
    case Reg::kLinkLimit:
        return FromBytes<std::uint64_t>(value) >= kMinLinkBytesPerSecond &&
               FromBytes<std::uint64_t>(value) <= kMaxLinkBytesPerSecond;
    case Reg::kRemovalDuration:
        return IsWithin(FromBytes<std::int32_t>(value), CRemovalSettings::kForGood, kMaxRemovalMs);
    case Reg::kFrameRate:
        return IsWithin(FromBytes<double>(value), kMinFrameRateHz, kMaxFrameRateHz);
    case Reg::kExposureTime:
        return IsWithin(FromBytes<double>(value), kMinExposureUs, kMaxExposureUs);
    case Reg::kGain:
        return IsWithin(FromBytes<double>(value), 0, kMaxGainDb);
    case Reg::kUserId:
    case Reg::kImageFilename:
        return true;
    default:
        return IsWithin(FromBytes<std::uint32_t>(value), written.range.min, written.range.max);
    }
}

bool CCamera::IsValidGeometry(const CRegister& written, std::uint32_t value) const {
    switch (written.address) {
    case Reg::kWidth:
        return value >= kMinWidth && value % kWidthStep == 0 &&
               value <= kSensorWidth - Get<std::uint32_t>(Reg::kOffsetX) && value <= Get<std::uint32_t>(Reg::kMaxWidth);
    case Reg::kHeight:
        return value >= kMinHeight && value <= kSensorHeight - Get<std::uint32_t>(Reg::kOffsetY) &&
               value <= Get<std::uint32_t>(Reg::kMaxHeight);
    case Reg::kOffsetX:
        return value % kOffsetStep == 0 && value <= kSensorWidth - Get<std::uint32_t>(Reg::kWidth);
    default:
        return value % kOffsetStep == 0 && value <= kSensorHeight - Get<std::uint32_t>(Reg::kHeight);
    }
}

void CCamera::TakeEffect(const CRegister& written) {
    if (TakeFaultEffect(written) || TakeTriggerEffect(written) || TakeEventEffect(written)) {
        return;
    }
    switch (written.address) {
    case Reg::kDeviceReset:
        return SetDefaults();
    case Reg::kAcquisitionStart:
        return StartAcquisition();
    case Reg::kAcquisitionStop:
        return m_stream.StopAcquisition();
    case Reg::kUserId: // what is told where it is used
    case Reg::kImageFilename:
        return;
    default:
        UpdateComputed();
        m_stream.Apply(Settings());
    }
}

// Answers whether the register is one of faults. Their parameters are read when a command uses them.
bool CCamera::TakeFaultEffect(const CRegister& written) {
    switch (written.address) {
    case Reg::kForceFailedBuffer:
        m_stream.ForceFrameFailures(Get<std::uint32_t>(Reg::kForceFailedBufferCount));
        return true;
    case Reg::kForceFailedStart:
        m_faults.FailStarts(Get<std::uint32_t>(Reg::kForceFailedStartCount));
        return true;
    case Reg::kForceFailedRetrieval:
        m_faults.FailRetrievalAfter(Get<std::uint32_t>(Reg::kForceFailedRetrievalDelay));
        return true;
    case Reg::kForceStall:
        m_stream.Stall(Get<std::uint32_t>(Reg::kForceStall) != 0);
        return true;
    default:
        return written.address >= Reg::kForceFailedBuffer && written.address < Reg::kTriggerSelector;
    }
}

// Answers whether the register is one of triggers, lines or the status, which stand between faults and chunks.
bool CCamera::TakeTriggerEffect(const CRegister& written) {
    if (written.address < Reg::kTriggerSelector || written.address >= Reg::kChunkModeActive) {
        return false;
    }
    if (written.address >= Reg::kTriggerMode && written.address < Reg::kBurstFrameCount) {
        const std::uint32_t offset = written.address - Reg::kTriggerMode;
        if (offset % Reg::kTriggerStride == Reg::kTriggerSoftware - Reg::kTriggerMode) {
            m_stream.FireSoftwareTrigger(static_cast<ETrigger>(offset / Reg::kTriggerStride));
            Set(written.address, std::uint32_t{0}); // taken in, or passed over
            return true;
        }
    } else if (written.address >= Reg::kLineLevel && written.address < Reg::kStatusSelector) {
        const std::uint32_t offset = written.address - Reg::kLineLevel;
        const std::size_t line = offset / Reg::kLineStride;
        if (offset % Reg::kLineStride == 0) {
            m_stream.SetLine(line, Get<std::uint32_t>(written.address) != 0);
        } else {
            m_stream.PulseLine(line);
        }
        return true;
    }
    UpdateComputed();
    m_stream.Apply(Settings());
    m_stream.ApplyTriggers(TriggerSettings());
    return true;
}

// Answers whether the register is one of events, which stand between chunks and file name.
bool CCamera::TakeEventEffect(const CRegister& written) {
    if (written.address < Reg::kEventSelector || written.address >= Reg::kImageFilename) {
        return false;
    }
    if (written.address == Reg::kSimulateEvents) {
        SimulateEvents();
    } else {
        ApplyNotifications();
    }
    return true;
}

void CCamera::SimulateEvents() {
    const auto kind = Get<EEvent>(Reg::kEventSelector);
    const auto count = Get<std::uint32_t>(Reg::kSimulateEventsCount);
    const std::int64_t nowNs = MonotonicNs();
    for (std::uint32_t number = 0; number < count; ++number) {
        m_events.Raise({kind, number, nowNs});
    }
}

void CCamera::ApplyNotifications() {
    std::uint32_t wanted = 0;
    for (std::uint32_t event = 0; event < kEvents; ++event) {
        wanted |= Get<std::uint32_t>(Reg::kEventNotification + 4 * event) << event;
    }
    m_events.SetNotifications(wanted);
}

// Files are read without the lock, which whoever lists cameras needs as well. The settings may be changed meanwhile.
void CCamera::StartAcquisition() {
    CImageReplayPtr images;
    while (Get<std::uint32_t>(Reg::kImageFileMode) != 0) {
        const std::string path = TextAt(Reg::kImageFilename);
        const CImageFormat format = Format();
        if (images && images->Path() == path && images->Format() == format) {
            return m_stream.StartAcquisition(FramesOfAcquisition(), images);
        }
        const PluginKit::CLockGap gap(m_lock);
        images = CImageReplay::Load(path, format, m_stream.Images());
    }
    m_stream.StartAcquisition(FramesOfAcquisition());
}

void CCamera::UpdateComputed() {
    const std::size_t payloadSize = CamEmu::PayloadSize(Format(), ChunkSettings());
    Set(Reg::kPayloadSize, std::uint64_t{payloadSize});
    Set(Reg::kFormatLocked, std::uint32_t{m_formatLocked});
    Set(Reg::kRegionLocked, std::uint32_t{Locks().region});
    Set(Reg::kMaxWidth, m_formatLocked ? m_lockedFormat.width : kSensorWidth);
    Set(Reg::kMaxHeight, m_formatLocked ? m_lockedFormat.height : kSensorHeight);
    Set(Reg::kResultingFrameRate, Settings().ResultingRateHz(payloadSize));
}

CImageFormat CCamera::Format() const {
    return {Get<std::uint32_t>(Reg::kWidth), Get<std::uint32_t>(Reg::kHeight), Get<std::uint32_t>(Reg::kOffsetX),
            Get<std::uint32_t>(Reg::kOffsetY), FindPixelFormat(Get<std::uint32_t>(Reg::kPixelFormat))};
}

CChunkSettings CCamera::ChunkSettings() const {
    CChunkSettings settings;
    settings.isActive = Get<std::uint32_t>(Reg::kChunkModeActive) != 0;
    for (std::uint32_t chunk = 0; chunk < kChunks; ++chunk) {
        settings.enabled |= Get<std::uint32_t>(Reg::kChunkEnable + 4 * chunk) << chunk;
    }
    return settings;
}

// Images from files are as large as they were read.
CLocks CCamera::Locks() const {
    const bool mayMove = Get<std::uint32_t>(Reg::kChunkModeActive) != 0 && Get<std::uint32_t>(Reg::kImageFileMode) == 0;
    return {m_formatLocked, m_formatLocked && !mayMove};
}

CFrameSettings CCamera::Settings() const {
    CFrameSettings settings;
    settings.exposureUs = Get<double>(Reg::kExposureTime);
    settings.gainDb = Get<double>(Reg::kGain);
    settings.rateLimited = Get<std::uint32_t>(Reg::kFrameRateEnable) != 0;
    settings.rateHz = Get<double>(Reg::kFrameRate);
    settings.frameTriggered = TriggerSettings().IsOn(ETrigger::FrameStart);
    if (Get<std::uint32_t>(Reg::kLinkLimitMode) != 0) {
        settings.linkBytesPerSecond = Get<std::uint64_t>(Reg::kLinkLimit);
    }
    settings.testImage = Get<ETestImage>(Reg::kTestImage);
    settings.chunks = ChunkSettings();
    settings.region = Format();
    return settings;
}

CTriggerSettings CCamera::TriggerSettings() const {
    CTriggerSettings settings;
    std::uint32_t offset = 0;
    for (CTriggerSetting& trigger : settings.triggers) {
        trigger.isOn = Get<std::uint32_t>(Reg::kTriggerMode + offset) != 0;
        trigger.source = Get<ETriggerSource>(Reg::kTriggerSource + offset);
        trigger.activation = Get<ETriggerActivation>(Reg::kTriggerActivation + offset);
        offset += Reg::kTriggerStride;
    }
    settings.burstFrames = Get<std::uint32_t>(Reg::kBurstFrameCount);
    return settings;
}

std::uint64_t CCamera::FramesOfAcquisition() const {
    switch (Get<EAcquisitionMode>(Reg::kAcquisitionMode)) {
    case EAcquisitionMode::SingleFrame:
        return 1;
    case EAcquisitionMode::MultiFrame:
        return Get<std::uint32_t>(Reg::kAcquisitionFrameCount);
    default:
        return 0;
    }
}

} // namespace CamEmu
