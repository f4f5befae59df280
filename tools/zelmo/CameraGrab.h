// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Camera.h"
#include "Errors.h"
#include "FrameSink.h"
#include "LossCounter.h"
#include "Options.h"
#include "OrderedWork.h"
#include "Signals.h"
#include "SoftwareTrigger.h"

#include <zelmo/InstantCamera.h>
#include <zelmo/WaitObject.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace tool {

class Output;

/// What became of the images of one camera.
struct GrabCounts {
    std::uint64_t frames = 0;  ///< Delivered whole.
    std::uint64_t failed = 0;  ///< Delivered damaged or incomplete.
    std::uint64_t lost = 0;    ///< Never delivered: gaps in the block ids that nothing else explains.
    std::uint64_t skipped = 0; ///< Passed over, as the strategy asks for.
    std::uint64_t bytes = 0;   ///< Of the frames.
    double seconds = 0;        ///< From the start of the camera on.

    double GetFramesPerSecond() const { return seconds > 0 ? static_cast<double>(frames) / seconds : 0; }
    double GetMegabytesPerSecond() const { return seconds > 0 ? static_cast<double>(bytes) / 1e6 / seconds : 0; }
};

/// What hints at why images are missing.
struct LossClues {
    double busySeconds = 0;                 ///< In which the camera's thread waited for images to be written.
    std::optional<std::uint64_t> underruns; ///< Images for which no buffer was free; none: the stream does not tell.
    std::string firstFailure;               ///< Of a damaged image, in words.
};

/// Grabs from one camera on a thread of its own, until the number of images, the time, a stop or a failure ends it.
/// Owns the camera, its grab session, its sink and its thread. Borrows options, signals and the pool.
/// Threads: started and joined by one thread; Stop, IsExhausted and the counts any.
class CameraGrab {
public:
    CameraGrab(const Zelmo::CDeviceInfo& info, const GrabOptions& options, StopSignals& signals); ///< Opens the camera.
    ~CameraGrab();

    /// Sets features and executes commands of the camera, in the order given.
    /// @throws ToolError for the first step that is refused; the others are left out.
    void Configure(const std::vector<SetupStep>& setup);

    /// Before Start; there must be a sink. With a pool, its threads do what the sink leaves to be done.
    void SendTo(std::unique_ptr<FrameSink> sink, WorkerPool* pool = nullptr);
    void Start();
    /// Ends the session that runs. The thread is inside RetrieveResult, so whoever starts it watches over the reasons
    /// to stop, again and again while IsRunning: a session that only just starts is not stopped yet.
    void Stop() { m_session.StopGrabbing(); }
    void Join();

    Camera& GetCamera() noexcept { return m_camera; }
    const std::string& GetName() const noexcept { return m_camera.GetName(); }
    bool IsRunning() const noexcept { return m_running; }
    /// No more comes, or is wanted.
    bool IsExhausted() const { return m_hasFailed || (!m_options.reconnect.isWanted && IsLost()); }
    void TellTo(Output& output) noexcept { m_output = &output; }  ///< Before Start.
    int GetEndFd() const noexcept { return m_endObject.GetFd(); } ///< Readable when it has ended; for poll().
    GrabCounts GetCounts() const;
    const std::optional<ToolError>& GetError() const noexcept { return m_error; } ///< After Join.
    const LossClues& GetLossClues() const noexcept { return m_clues; }            ///< After Join.

private:
    using Clock = std::chrono::steady_clock;

    void Run() noexcept;
    void Grab();
    void GrabUntilLost();
    bool Reconnect();
    std::chrono::milliseconds GetReconnectLimit() const;
    bool IsOverWithoutCamera() const;
    void StartSession();
    bool TakeNext();
    bool WaitForResult(Zelmo::CGrabResultPtr& result);
    bool WaitForResultOrLoss(Zelmo::CGrabResultPtr& result, unsigned timeoutMs);
    bool IsLost() const; // gone, and all taken that it has sent
    void TakeResult(const Zelmo::CGrabResultData& result);
    void CountMissing(const Zelmo::CGrabResultData& result);
    void Settle(FrameTask* task, std::uint64_t bytes, const std::exception_ptr& error) noexcept;
    void Fail(const ToolError& error);
    void CollectClues() noexcept;
    bool IsDone() const;
    ToolError Removed() const;
    ToolError TimedOut() const;

    const GrabOptions& m_options;
    StopSignals& m_signals;
    Camera m_camera;
    Zelmo::CInstantCamera& m_session = m_camera.GetObject();
    std::optional<SoftwareTrigger> m_trigger;
    Output* m_output = nullptr; // for what is told while it runs
    bool m_isLost = false;      // with reconnect: gone, and all taken that it has sent
    Zelmo::String_t m_settings; // before the start, for a camera that comes back
    std::unique_ptr<FrameSink> m_sink;
    std::optional<OrderedWork> m_work;

    LossCounter m_lossCounter;
    LossClues m_clues;         // written as m_error is
    std::uint64_t m_taken = 0; // failed ones among them
    std::atomic<std::uint64_t> m_frames{0};
    std::atomic<std::uint64_t> m_failed{0};
    std::atomic<std::uint64_t> m_lost{0};
    std::atomic<std::uint64_t> m_skipped{0};
    std::atomic<std::uint64_t> m_bytes{0};
    std::atomic<Clock::rep> m_started{0}; // 0 before
    std::atomic<Clock::rep> m_ended{0};   // 0 before
    std::atomic<bool> m_running{false};
    std::atomic<bool> m_hasFailed{false}; // while an image was worked on
    Zelmo::WaitObjectEx m_endObject;
    std::optional<ToolError> m_error; // written where images are told of, then by Run
    std::thread m_thread;             // last: it touches all of the above
};

} // namespace tool
