// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AcquisitionClock.h"
#include "ChunkWriter.h"
#include "EventSource.h"
#include "ImageReplay.h"
#include "PatternGenerator.h"
#include "Trigger.h"
#include "common/Mutex.h"

#include <boost/circular_buffer.hpp>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <span>
#include <thread>

namespace CamEmu {

/// Memory that a frame can be drawn into. The owner of the stream keeps it alive until it comes back in a frame.
struct CFrameBuffer {
    std::span<std::uint8_t> memory;
    void* context = nullptr; ///< the owner's
};

enum class EFrameStatus {
    Complete,
    TooSmall, ///< the buffer does not hold the payload; nothing was drawn
    Forced,   ///< failed because ForceFrameFailures told so; nothing was drawn
    Cancelled ///< taken back from the queue; nothing was drawn, and only the buffer is set
};

/// What a frame that failed says of itself; code 0 and no text for all others.
struct CFrameError {
    std::uint32_t code;
    const char* text;
};
CFrameError FrameError(EFrameStatus status);

/// A buffer on its way home.
struct CFrame {
    CFrameBuffer buffer;
    EFrameStatus status = EFrameStatus::Cancelled;
    std::uint64_t blockId = 0;
    std::int64_t timestampNs = 0; ///< begin of the exposure, CLOCK_MONOTONIC since the time origin
    CImageFormat format;          ///< of the stream, as it was started
    bool hasChunks = false;       ///< then they tell the region of this frame, too
    CImageFormat region;          ///< of this frame
    std::uint32_t chunks = 0;     ///< of CChunkSettings::enabled; 0 without chunks
    std::size_t payloadSize = 0;  ///< bytes that were filled; 0 unless complete
};

/// Takes the frames of a stream.
class IFrameSink {
public:
    /// Called on the stream thread, or, for a cancelled buffer, on the thread that cancels; without any lock of the
    /// camera, so that it may queue the next buffer. One call at a time per buffer.
    virtual void OnFrame(const CFrame& frame) noexcept = 0;

protected:
    ~IFrameSink() = default;
};

/// What may change from frame to frame.
struct CFrameSettings {
    double exposureUs = kDefaultExposureUs;
    double gainDb = 0;
    bool rateLimited = true;
    double rateHz = 30;                   ///< wanted while rateLimited; a longer exposure lowers it
    bool frameTriggered = false;          ///< then rateHz is no limit
    std::uint64_t linkBytesPerSecond = 0; ///< lowers the rate further; 0: no limit
    ETestImage testImage = ETestImage::Off;
    CChunkSettings chunks;
    CImageFormat region; ///< with chunks: what is read out, within the size for which the stream was started

    bool IsPaced() const { return rateLimited || linkBytesPerSecond != 0; }
    /// The lowest of all limits, for images of that size.
    double ResultingRateHz(std::size_t payloadSize) const;
};

/// Frames since the stream was started: begun = delivered + failed + lost, but for the one that is being drawn.
struct CStreamCounters {
    std::uint64_t begun = 0, delivered = 0, failed = 0;
    std::uint64_t lost = 0;      ///< for want of a buffer, or because the host was too slow for the frame rate
    std::uint64_t underruns = 0; ///< of the lost ones: for want of a buffer
};

/// What the camera is doing at a moment.
struct CAcquisitionStatus {
    bool isAcquisitionActive; ///< The acquisition was started, and has not ended.
    bool waitsForTrigger;     ///< That, and no frame or burst that was triggered is under way.
    bool isFrameActive;       ///< A frame is exposed, drawn or handed over.
    bool waitsForFrameTrigger;
    std::uint64_t missedTriggers; ///< Since the acquisition was started.
};

/// The way of the images out of the camera: takes empty buffers, draws a frame into each and hands it to the sink.
/// Frames are made while the stream is started and the camera acquires. With a limit of the rate or of the link on, a
/// frame begins whenever it is due, and is lost when no buffer is queued then; without, as soon as there is a buffer.
/// While triggers are on, frames wait for them. One with a trigger of its own is exposed from the trigger on, for the
/// period of the limits, and needs its buffer at the end of it.
/// Owns:    the stream thread, from Start to Stop.
/// Borrows: the sink from Start to Stop, queued memory until it went to the sink.
/// Threads: any; Start and Stop one at a time.
/// Locks:   m_lock, around that of the events; never held while drawing or calling the sink.
class CFrameStream {
public:
    /// @p events, which may be null, learns what happens.
    explicit CFrameStream(std::uint32_t cameraNumber, CEventSource* events = nullptr)
        : m_events(events), m_generator(cameraNumber) {}
    ~CFrameStream() { Stop(); }
    CFrameStream(const CFrameStream&) = delete;
    CFrameStream& operator=(const CFrameStream&) = delete;

    /// The number of the first frame is 0. Images of an acquisition that began in another format are read again.
    /// @throws std::bad_alloc, std::system_error, and what CImageReplay::Load throws; then nothing is started.
    void Start(const CImageFormat& format, IFrameSink& sink);
    /// Ends the thread; a frame that is being drawn is finished first. Queued buffers stay queued.
    void Stop() noexcept;

    void Apply(const CFrameSettings& settings); ///< From the next frame on.
    /// Makes that many frames, or frames without end for 0. Lost ones count too. With @p images, which must have the
    /// format of a stream that is started, frame n shows image n where the scene would be seen.
    void StartAcquisition(std::uint64_t frames, CImageReplayPtr images = nullptr);
    void StopAcquisition();
    bool IsAcquiring() const;
    CAcquisitionStatus Status() const;
    void Stall(bool isStalled); ///< While stalled no frame begins, though all else goes on.

    /// Time stamps of frames and chunks, not of events, count from @p monotonicNs, at first from 0; those of frames
    /// that began before are 0.
    void SetTimeOrigin(std::int64_t monotonicNs) { m_timeOriginNs = monotonicNs; }

    void ApplyTriggers(const CTriggerSettings& settings);
    void FireSoftwareTrigger(ETrigger trigger);
    void SetLine(std::size_t line, bool level);
    void PulseLine(std::size_t line); ///< To the other level and back.
    void FireAction(std::size_t action);

    CImageReplayPtr Images() const; ///< Those of the last acquisition; kept after it, as the next may show them again.
    void DropImages() noexcept;     ///< The memory is free as soon as no frame is drawn from it.
    /// The next frames that have a buffer come back as Forced, @p frames of them; replaces what is left of a call
    /// before.
    void ForceFrameFailures(std::uint32_t frames);

    void Reserve(std::size_t buffers); ///< Queueing up to that many buffers does not allocate.
    void Queue(const CFrameBuffer& buffer);
    void DropQueued() noexcept; ///< Forgets all queued buffers. Only while stopped.
    /// Hands all queued buffers to @p sink as cancelled and waits for the one that is being drawn. Not to be called
    /// from the sink. @throws std::bad_alloc; then all are still queued.
    void CancelQueued(IFrameSink& sink);

    CStreamCounters Counters() const;

private:
    void LoadImagesAgain(const CImageFormat& format);
    void Run() noexcept;
    bool WaitForFrame() PLUGIN_REQUIRES(m_lock);
    bool WaitForBuffer() PLUGIN_REQUIRES(m_lock);
    bool WaitUntilDue() PLUGIN_REQUIRES(m_lock);
    bool WaitForReadout() PLUGIN_REQUIRES(m_lock);
    bool IsHeld() const PLUGIN_REQUIRES(m_lock) { return m_stalled || !m_triggers.MayFrameBegin(); }
    /// What triggers change.
    struct CTriggerState {
        bool isHeld, isExposing;
        std::uint64_t missedFrames;
    };
    CTriggerState TriggerState() const PLUGIN_REQUIRES(m_lock) {
        return {IsHeld(), m_triggers.IsExposing(), m_triggers.MissedFrames()};
    }
    void GoOn(const CTriggerState& before) PLUGIN_REQUIRES(m_lock);
    void RaiseTriggerEvents(const CTriggerState& before) PLUGIN_REQUIRES(m_lock);
    void RaiseFrameEvents(const CFrame& frame, bool wasTriggered) PLUGIN_REQUIRES(m_lock);
    void EndAcquisition() PLUGIN_REQUIRES(m_lock);
    void CountFrames(std::uint64_t frames) PLUGIN_REQUIRES(m_lock);
    bool TakeBuffer(CFrame& frame) PLUGIN_REQUIRES(m_lock);
    CChunkValues ChunkValues(const CFrame& frame) const PLUGIN_REQUIRES(m_lock);
    void Draw(CFrame& frame, const CFrameSettings& settings, const CChunkValues& values, const CImageReplay* images);
    void DrawImage(const CFrame& frame, const CImageFormat& format, const CFrameSettings& settings,
                   const CImageReplay* images);
    std::size_t SentBytes() const PLUGIN_REQUIRES(m_lock);
    const CImageFormat& Region() const PLUGIN_REQUIRES(m_lock);

    CEventSource* const m_events;
    std::atomic<std::int64_t> m_timeOriginNs = 0;
    mutable PluginKit::CMutex m_lock;
    std::condition_variable m_changed;
    CFrameSettings m_settings PLUGIN_GUARDED_BY(m_lock);
    CImageReplayPtr m_images PLUGIN_GUARDED_BY(m_lock); // while acquiring and streaming, of m_format
    CImageFormat m_format PLUGIN_GUARDED_BY(m_lock);
    bool m_stopping PLUGIN_GUARDED_BY(m_lock) = false;
    bool m_acquiring PLUGIN_GUARDED_BY(m_lock) = false;
    bool m_stalled PLUGIN_GUARDED_BY(m_lock) = false;
    CTriggers m_triggers PLUGIN_GUARDED_BY(m_lock);           // armed while m_acquiring
    bool m_drawing PLUGIN_GUARDED_BY(m_lock) = false;         // a frame is drawn or handed over
    std::uint64_t m_finished PLUGIN_GUARDED_BY(m_lock) = 0;   // frames handed over, ever
    std::uint64_t m_framesLeft PLUGIN_GUARDED_BY(m_lock) = 0; // of the acquisition; 0 with m_acquiring: no end
    std::uint32_t m_failuresLeft PLUGIN_GUARDED_BY(m_lock) = 0;
    CAcquisitionClock m_clock PLUGIN_GUARDED_BY(m_lock);
    CStreamCounters m_counters PLUGIN_GUARDED_BY(m_lock);
    boost::circular_buffer<CFrameBuffer> m_queue PLUGIN_GUARDED_BY(m_lock);
    IFrameSink* m_sink PLUGIN_GUARDED_BY(m_lock) = nullptr; // set while the thread runs
    CPatternGenerator m_generator;                          // the thread's while it runs, as the next
    CImageFormat m_drawnFormat;                             // of the generator
    std::thread m_thread;
};

} // namespace CamEmu
