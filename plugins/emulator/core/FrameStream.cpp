// SPDX-License-Identifier: Apache-2.0
#include "FrameStream.h"

#include "RegisterMap.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <pthread.h>
#include <stdexcept>
#include <utility>
#include <vector>

namespace CamEmu {

namespace {

// A host that stood still for less than that gets its frames late; beyond, they are lost.
constexpr std::int64_t kMaxLagNs = 1'000'000'000;

std::chrono::steady_clock::time_point TimePoint(std::int64_t monotonicNs) {
    return std::chrono::steady_clock::time_point(std::chrono::nanoseconds(monotonicNs));
}

} // namespace

double CFrameSettings::ResultingRateHz(std::size_t payloadSize) const {
    double rate = kMaxFrameRateHz;
    if (rateLimited) {
        rate = std::min(frameTriggered ? rate : rateHz, 1e6 / exposureUs);
    }
    if (linkBytesPerSecond != 0) {
        rate = std::min(rate, static_cast<double>(linkBytesPerSecond) / static_cast<double>(payloadSize));
    }
    return rate;
}

CFrameError FrameError(EFrameStatus status) {
    switch (status) {
    case EFrameStatus::TooSmall:
        return {1, "The buffer is too small for the image."};
    case EFrameStatus::Forced:
        return {2, "The image failed because ForceFailedBuffer was executed."};
    default:
        return {0, ""};
    }
}

void CFrameStream::Start(const CImageFormat& format, IFrameSink& sink) {
    LoadImagesAgain(format);
    const PluginKit::CLockGuard lock(m_lock);
    m_generator.Configure(format);
    m_drawnFormat = format;
    m_format = format;
    m_counters = {};
    m_stopping = false;
    m_clock.Stop();
    m_sink = &sink;
    m_thread = std::thread([this] { Run(); });
    pthread_setname_np(m_thread.native_handle(), "camemu-stream");
}

// The images of an acquisition that was started before the format was changed.
void CFrameStream::LoadImagesAgain(const CImageFormat& format) {
    const CImageReplayPtr before = Images();
    if (!before || before->Format() == format || !IsAcquiring()) {
        return;
    }
    const CImageReplayPtr images = CImageReplay::Load(before->Path(), format, nullptr);
    const PluginKit::CLockGuard lock(m_lock);
    if (m_images == before) {
        m_images = images;
    }
}

void CFrameStream::Stop() noexcept {
    if (!m_thread.joinable()) {
        return;
    }
    {
        const PluginKit::CLockGuard lock(m_lock);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_thread.join();
    const PluginKit::CLockGuard lock(m_lock);
    m_sink = nullptr;
}

void CFrameStream::Apply(const CFrameSettings& settings) {
    const PluginKit::CLockGuard lock(m_lock);
    m_settings = settings;
    m_changed.notify_all();
}

void CFrameStream::StartAcquisition(std::uint64_t frames, CImageReplayPtr images) {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_sink && images && images->Format() != Region()) {
        throw std::logic_error("Images in another format than that of the stream cannot be shown.");
    }
    m_images.swap(images); // the old ones are freed without the lock
    m_acquiring = true;
    m_framesLeft = frames;
    m_triggers.Arm();
    m_clock.Stop();
    m_changed.notify_all();
}

void CFrameStream::StopAcquisition() {
    const PluginKit::CLockGuard lock(m_lock);
    EndAcquisition();
    m_changed.notify_all();
}

bool CFrameStream::IsAcquiring() const {
    const PluginKit::CLockGuard lock(m_lock);
    return m_acquiring;
}

CAcquisitionStatus CFrameStream::Status() const {
    const PluginKit::CLockGuard lock(m_lock);
    return {m_acquiring, m_acquiring && !m_triggers.IsServing(), m_drawing || m_triggers.IsExposing(),
            m_triggers.IsReadyFor(ETrigger::FrameStart), m_triggers.Missed()};
}

void CFrameStream::Stall(bool isStalled) {
    const PluginKit::CLockGuard lock(m_lock);
    const CTriggerState before = TriggerState();
    m_stalled = isStalled;
    GoOn(before);
}

void CFrameStream::ApplyTriggers(const CTriggerSettings& settings) {
    const PluginKit::CLockGuard lock(m_lock);
    const CTriggerState before = TriggerState();
    m_triggers.Apply(settings);
    GoOn(before);
}

void CFrameStream::FireSoftwareTrigger(ETrigger trigger) {
    const PluginKit::CLockGuard lock(m_lock);
    const CTriggerState before = TriggerState();
    m_triggers.FireSoftware(trigger, MonotonicNs());
    GoOn(before);
}

void CFrameStream::SetLine(std::size_t line, bool level) {
    const PluginKit::CLockGuard lock(m_lock);
    const CTriggerState before = TriggerState();
    m_triggers.SetLine(line, level, MonotonicNs());
    GoOn(before);
}

void CFrameStream::PulseLine(std::size_t line) {
    const PluginKit::CLockGuard lock(m_lock);
    const CTriggerState before = TriggerState();
    const bool level = m_triggers.Level(line);
    m_triggers.SetLine(line, !level, MonotonicNs());
    m_triggers.SetLine(line, level, MonotonicNs());
    GoOn(before);
}

void CFrameStream::FireAction(std::size_t action) {
    const PluginKit::CLockGuard lock(m_lock);
    const CTriggerState before = TriggerState();
    m_triggers.FireAction(action, MonotonicNs());
    GoOn(before);
}

// No frame was due while frames were held.
void CFrameStream::GoOn(const CTriggerState& before) {
    if (before.isHeld && !IsHeld()) {
        m_clock.Resume(MonotonicNs());
    }
    if (m_events) {
        RaiseTriggerEvents(before);
    }
    m_changed.notify_all();
}

// The frame of a trigger begins with it, and is counted when it has been exposed.
void CFrameStream::RaiseTriggerEvents(const CTriggerState& before) {
    const std::uint64_t frame = m_sink ? m_counters.begun : 0;
    if (m_triggers.IsExposing() && !before.isExposing) {
        m_events->Raise({EEvent::FrameStart, frame, m_triggers.ExposedSinceNs()});
    }
    for (std::uint64_t missed = before.missedFrames; missed < m_triggers.MissedFrames(); ++missed) {
        m_events->Raise({EEvent::FrameStartOvertrigger, frame, MonotonicNs()});
    }
}

// Where nothing limits the rate, an exposure takes no time.
void CFrameStream::RaiseFrameEvents(const CFrame& frame, bool wasTriggered) {
    if (!wasTriggered) {
        m_events->Raise({EEvent::FrameStart, frame.blockId, frame.timestampNs});
    }
    const std::int64_t exposureNs = m_settings.rateLimited ? std::llround(m_settings.exposureUs * 1000) : 0;
    m_events->Raise({EEvent::ExposureEnd, frame.blockId, frame.timestampNs + exposureNs});
}

CImageReplayPtr CFrameStream::Images() const {
    const PluginKit::CLockGuard lock(m_lock);
    return m_images;
}

void CFrameStream::DropImages() noexcept {
    CImageReplayPtr dropped; // freed without the lock
    const PluginKit::CLockGuard lock(m_lock);
    m_images.swap(dropped);
}

void CFrameStream::ForceFrameFailures(std::uint32_t frames) {
    const PluginKit::CLockGuard lock(m_lock);
    m_failuresLeft = frames;
}

void CFrameStream::Reserve(std::size_t buffers) {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_queue.capacity() < buffers) {
        m_queue.set_capacity(buffers);
    }
}

void CFrameStream::Queue(const CFrameBuffer& buffer) {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_queue.full()) {
        m_queue.set_capacity(m_queue.capacity() * 2 + 8);
    }
    m_queue.push_back(buffer);
    if (!m_settings.IsPaced() && m_queue.size() == 1) { // else nobody waits for it
        m_changed.notify_all();
    }
}

void CFrameStream::DropQueued() noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    m_queue.clear();
}

void CFrameStream::CancelQueued(IFrameSink& sink) {
    const PluginKit::CLockGuard lock(m_lock);
    const std::vector<CFrameBuffer> cancelled(m_queue.begin(), m_queue.end());
    m_queue.clear();
    const std::uint64_t finished = m_finished;
    {
        const PluginKit::CLockGap gap(m_lock);
        for (const CFrameBuffer& buffer : cancelled) {
            CFrame frame;
            frame.buffer = buffer;
            sink.OnFrame(frame);
        }
    }
    // the one that was being drawn, not those that were begun since: there may be no end of them
    while (m_drawing && m_finished == finished) {
        m_lock.WaitFor(m_changed);
    }
}

CStreamCounters CFrameStream::Counters() const {
    const PluginKit::CLockGuard lock(m_lock);
    return m_counters;
}

void CFrameStream::Run() noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    while (WaitForFrame()) {
        CFrame frame;
        if (!TakeBuffer(frame)) {
            continue;
        }
        m_drawing = true;
        const CFrameSettings settings = m_settings;
        const CChunkValues values = ChunkValues(frame);
        const CImageReplayPtr images = m_images;
        {
            const PluginKit::CLockGap gap(m_lock);
            if (frame.status != EFrameStatus::Forced) {
                Draw(frame, settings, values, images.get());
            }
        }
        // before it is handed over: whoever has the last image finds all of them counted
        ++(frame.status == EFrameStatus::Complete ? m_counters.delivered : m_counters.failed);
        IFrameSink& sink = *m_sink;
        {
            const PluginKit::CLockGap gap(m_lock);
            sink.OnFrame(frame);
        }
        m_drawing = false;
        ++m_finished;
        m_changed.notify_all();
    }
}

// Returns with the lock held when a frame is to begin now, or false when the stream is to stop.
bool CFrameStream::WaitForFrame() {
    while (!m_stopping) {
        if (!m_acquiring || IsHeld()) {
            m_lock.WaitFor(m_changed);
        } else if (m_triggers.IsExposing() ? WaitForReadout()
                                           : (m_settings.IsPaced() ? WaitUntilDue() : WaitForBuffer())) {
            return true;
        }
    }
    return false;
}

// These waits look once and wait at most once: what they waited for may have changed meanwhile.
bool CFrameStream::WaitForBuffer() {
    m_clock.Stop();
    if (!m_queue.empty()) {
        return true;
    }
    m_lock.WaitFor(m_changed);
    return false;
}

bool CFrameStream::WaitUntilDue() {
    const double rateHz = m_settings.ResultingRateHz(SentBytes());
    if (m_clock.IsRunning()) {
        m_clock.SetRate(rateHz);
    } else {
        m_clock.Start(MonotonicNs(), rateHz);
    }
    const std::int64_t dueNs = m_clock.DueNs();
    const std::int64_t nowNs = MonotonicNs();
    if (dueNs > nowNs) {
        m_lock.WaitUntil(m_changed, TimePoint(dueNs));
        return false;
    }
    std::uint64_t missed = m_clock.SkipBehind(nowNs, kMaxLagNs);
    if (m_framesLeft != 0) {
        missed = std::min(missed, m_framesLeft - 1);
    }
    missed = std::min(missed, m_triggers.FramesToTrigger() - 1);
    m_counters.lost += missed;
    CountFrames(missed);
    return true;
}

// The frame that was triggered; without a limit its exposure takes no time.
bool CFrameStream::WaitForReadout() {
    if (!m_settings.IsPaced()) {
        return WaitForBuffer();
    }
    m_clock.Stop();
    const double exposureNs = 1e9 / m_settings.ResultingRateHz(SentBytes());
    const std::int64_t dueNs = m_triggers.ExposedSinceNs() + std::llround(exposureNs);
    if (dueNs > MonotonicNs()) {
        m_lock.WaitUntil(m_changed, TimePoint(dueNs));
        return false;
    }
    return true;
}

void CFrameStream::CountFrames(std::uint64_t frames) {
    m_counters.begun += frames;
    m_triggers.CountFrames(frames);
    if (m_framesLeft == 0) {
        return;
    }
    m_framesLeft -= frames;
    if (m_framesLeft == 0) {
        EndAcquisition();
    }
}

void CFrameStream::EndAcquisition() {
    m_acquiring = false;
    m_triggers.Disarm();
}

// Begins the next frame. Without a buffer it is lost, and the answer is false.
bool CFrameStream::TakeBuffer(CFrame& frame) {
    frame.blockId = m_counters.begun;
    frame.timestampNs = m_triggers.IsExposing() ? m_triggers.ExposedSinceNs() : MonotonicNs();
    frame.format = m_format;
    frame.hasChunks = m_settings.chunks.isActive;
    frame.region = Region();
    frame.chunks = frame.hasChunks ? m_settings.chunks.enabled : 0;
    if (m_clock.IsRunning()) {
        frame.timestampNs = m_clock.DueNs();
        m_clock.Advance();
    }
    const bool wasTriggered = m_triggers.IsExposing();
    CountFrames(1);
    if (m_events) {
        RaiseFrameEvents(frame, wasTriggered);
    }
    frame.timestampNs = std::max<std::int64_t>(0, frame.timestampNs - m_timeOriginNs);
    if (m_queue.empty()) {
        ++m_counters.lost;
        ++m_counters.underruns;
        return false;
    }
    frame.buffer = m_queue.front();
    m_queue.pop_front();
    if (m_failuresLeft > 0) {
        --m_failuresLeft;
        frame.status = EFrameStatus::Forced;
    }
    return true;
}

// What the sensor does as the frame begins; of no interest without chunks.
CChunkValues CFrameStream::ChunkValues(const CFrame& frame) const {
    CChunkValues values;
    if (frame.hasChunks) {
        values.timestampNs = static_cast<std::uint64_t>(frame.timestampNs);
        values.frame = frame.blockId;
        values.exposureUs = m_settings.exposureUs;
        values.gainDb = m_settings.gainDb;
        for (std::size_t line = 0; line < kLines; ++line) {
            values.lines |= std::uint32_t{m_triggers.Level(line)} << line;
        }
    }
    return values;
}

const CImageFormat& CFrameStream::Region() const {
    return m_settings.chunks.isActive ? m_settings.region : m_format;
}

std::size_t CFrameStream::SentBytes() const {
    return PayloadSize(Region(), m_settings.chunks);
}

void CFrameStream::Draw(CFrame& frame, const CFrameSettings& settings, const CChunkValues& values,
                        const CImageReplay* images) {
    const CImageFormat& format = frame.region;
    const std::size_t payload = PayloadSize(format, settings.chunks);
    if (frame.buffer.memory.size() < payload) {
        frame.status = EFrameStatus::TooSmall;
        return;
    }
    DrawImage(frame, format, settings, images);
    if (frame.hasChunks) {
        WriteChunks(format, settings.chunks, values, frame.buffer.memory.first(payload));
    }
    frame.payloadSize = payload;
    frame.status = EFrameStatus::Complete;
}

void CFrameStream::DrawImage(const CFrame& frame, const CImageFormat& format, const CFrameSettings& settings,
                             const CImageReplay* images) {
    if (format != m_drawnFormat) {
        m_generator.Configure(format); // no larger than the one before streaming, so that no memory is needed
        m_drawnFormat = format;
    }
    const std::span<std::uint8_t> image = frame.buffer.memory.first(format.PayloadSize());
    if (images && settings.testImage == ETestImage::Off && (!frame.hasChunks || images->Format() == format)) {
        std::memcpy(image.data(), images->Image(frame.blockId).data(), image.size());
    } else {
        m_generator.Render(settings.testImage, frame.blockId, SensorResponse(settings.exposureUs, settings.gainDb),
                           image);
    }
}

} // namespace CamEmu
