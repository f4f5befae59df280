// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Errors.h"
#include "FrameSink.h"
#include "GrabCounts.h"
#include "LossCounter.h"
#include "Options.h"
#include "OrderedWork.h"
#include "Signals.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace tool {

/// What becomes of the images of one camera: where they go, what is missing, and what failed first.
/// Owns the sink. Borrows options, signals and the pool.
/// Threads: one that retrieves; HasFailed, GetTaken and GetCounts any.
class CameraImages {
public:
    using Clock = std::chrono::steady_clock;

    CameraImages(std::string camera, const GrabOptions& options, StopSignals& signals);

    /// Once, before the first image. With a pool, its threads do what the sink leaves to be done.
    void SendTo(std::unique_ptr<FrameSink> sink, WorkerPool* pool);

    void Begin() noexcept;                           ///< The camera has started, or started again.
    void WaitForRoom() { m_work->WaitForRoom(); }    ///< Until the next image would be worked on at once.
    void Take(const Zelmo::CGrabResultData& result); ///< Counts it and hands it to the sink.
    void End() noexcept;                             ///< The camera has done its part; no image is taken any more.
    void Drain() { m_work->Drain(); }                ///< Until all is done with what was taken.
    double GetHeldSeconds() const { return m_work->GetHeldSeconds(); } ///< Of WaitForRoom and Take.

    std::uint64_t GetTaken() const noexcept { return m_taken; } ///< Whole and failed ones.
    bool AreComplete() const noexcept { return m_options.count && m_taken >= *m_options.count; }
    GrabCounts GetCounts() const;
    double GetSeconds(Clock::time_point now) const noexcept; ///< From the first start to the end, or to now.

    bool HasFailed() const noexcept { return m_hasFailed; }                           ///< No more is wanted.
    const std::optional<ToolError>& GetFailure() const noexcept { return m_failure; } ///< After Drain.
    const std::string& GetFirstDamage() const noexcept { return m_firstDamage; }      ///< After Drain.

private:
    void CountMissing(const Zelmo::CGrabResultData& result);
    void Settle(FrameTask* task, std::uint64_t bytes, const std::exception_ptr& error) noexcept;
    void Fail(const ToolError& error);

    const std::string m_camera;
    const GrabOptions& m_options;
    StopSignals& m_signals;
    std::unique_ptr<FrameSink> m_sink;
    std::optional<OrderedWork> m_work;

    LossCounter m_lossCounter;
    std::atomic<std::uint64_t> m_taken{0};
    std::atomic<std::uint64_t> m_frames{0};
    std::atomic<std::uint64_t> m_failed{0};
    std::atomic<std::uint64_t> m_lost{0};
    std::atomic<std::uint64_t> m_skipped{0};
    std::atomic<std::uint64_t> m_bytes{0};
    std::atomic<Clock::rep> m_started{0}; // 0 before
    std::atomic<Clock::rep> m_ended{0};   // 0 before
    std::atomic<bool> m_hasFailed{false};
    std::optional<ToolError> m_failure; // written where images are told of, as the next one
    std::string m_firstDamage;
};

} // namespace tool
