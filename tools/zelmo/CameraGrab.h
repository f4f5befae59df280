#pragma once

#include "Assignments.h"
#include "Camera.h"
#include "Errors.h"
#include "FrameWriter.h"
#include "Json.h"
#include "LossCounter.h"
#include "Options.h"
#include "Signals.h"
#include "StreamSession.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>

namespace tool {

class Output;

/// What became of the images of one camera.
struct GrabCounts {
    std::uint64_t frames = 0; ///< Delivered whole.
    std::uint64_t failed = 0; ///< Delivered damaged or incomplete.
    std::uint64_t lost = 0;   ///< Never delivered: gaps in the block ids.
    std::uint64_t bytes = 0;  ///< Of the frames.
    double seconds = 0;       ///< From the start of the camera on.

    double GetFramesPerSecond() const { return seconds > 0 ? static_cast<double>(frames) / seconds : 0; }
    double GetMegabytesPerSecond() const { return seconds > 0 ? static_cast<double>(bytes) / 1e6 / seconds : 0; }
};

/// Grabs from one camera on a thread of its own, until the number of images, the time, a stop request or a failure ends
/// it. Owns the camera, its stream session and its thread. Borrows output and signals. Threads: started and joined by
/// one thread; the counts may be looked at by any.
class CameraGrab {
public:
    /// Opens the camera. Nothing is written until WriteTo.
    CameraGrab(const Zelmo::CDeviceInfo& info, const GrabOptions& options, Output& output, StopSignals& signals);
    ~CameraGrab();

    /// Sets features of the camera, in the order given.
    /// @throws ToolError for the first one that is refused; the others stay as they are.
    void Configure(const std::vector<Assignment>& settings);

    /// @throws ToolError for a pixel format that cannot be written as PNG.
    void CheckFormat();

    void WriteTo(std::unique_ptr<FrameWriter> writer) { m_writer = std::move(writer); }
    void Start();
    void Join();

    const std::string& GetName() const noexcept { return m_camera.GetName(); }
    bool IsRunning() const noexcept { return m_running; }
    GrabCounts GetCounts() const;
    const FrameWriter* GetWriter() const noexcept { return m_writer.get(); }
    const std::optional<ToolError>& GetError() const noexcept { return m_error; } ///< After Join.

private:
    using Clock = std::chrono::steady_clock;

    void Run() noexcept;
    void GrabUntilDone();
    void TakeResults();
    void TakeFrame(const Zelmo::GrabResult& result);
    void CountFailed(std::uint64_t number, const std::string& why, Json& event);
    bool IsDone() const;
    int GetWaitMs() const;
    void WaitForEvent();

    const GrabOptions& m_options;
    Output& m_output;
    StopSignals& m_signals;
    Camera m_camera;
    StreamSession m_session;
    std::unique_ptr<FrameWriter> m_writer;

    LossCounter m_lossCounter;
    std::atomic<std::uint64_t> m_frames{0};
    std::atomic<std::uint64_t> m_failed{0};
    std::atomic<std::uint64_t> m_lost{0};
    std::atomic<std::uint64_t> m_bytes{0};
    std::atomic<Clock::rep> m_started{0}; // 0 before
    std::atomic<Clock::rep> m_ended{0};   // 0 before
    Clock::time_point m_lastFrame;
    std::atomic<bool> m_running{false};
    std::optional<ToolError> m_error;
    std::thread m_thread; // last: it touches all of the above
};

} // namespace tool
