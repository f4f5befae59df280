// SPDX-License-Identifier: Apache-2.0
#include "CameraImages.h"

namespace tool {

CameraImages::CameraImages(std::string camera, const GrabOptions& options, StopSignals& signals)
    : m_camera(std::move(camera)), m_options(options), m_signals(signals) {}

void CameraImages::SendTo(std::unique_ptr<FrameSink> sink, WorkerPool* pool) {
    m_sink = std::move(sink);
    m_work.emplace(pool);
}

void CameraImages::Begin() noexcept {
    m_lossCounter = LossCounter(); // the camera's count begins anew
    Clock::rep before = 0;
    m_started.compare_exchange_strong(before, Clock::now().time_since_epoch().count());
}

void CameraImages::End() noexcept {
    Clock::rep before = 0;
    m_ended.compare_exchange_strong(before, Clock::now().time_since_epoch().count());
}

void CameraImages::Take(const Zelmo::CGrabResultData& result) {
    if (result.GetID() == 0) {
        return; // a buffer that was called back
    }
    const std::uint64_t number = ++m_taken;
    CountMissing(result);
    const std::exception_ptr failure =
        result.GrabSucceeded()
            ? nullptr
            : std::make_exception_ptr(FeatureError("", "incomplete", result.GetErrorDescription().c_str()));
    const std::shared_ptr<FrameTask> task = m_sink->Take(result, number);
    const std::uint64_t bytes = GetFilledBytes(result);
    if (!task) {
        return Settle(nullptr, bytes, failure);
    }
    OrderedWork::Work work; // none for what came damaged: it only waits for its turn to be told
    if (!failure) {
        work = [task] { task->Work(); };
    }
    m_work->Add(std::move(work), [this, task, bytes, failure](const std::exception_ptr& error) {
        Settle(task.get(), bytes, failure ? failure : error);
    });
}

/// Image by image, though on changing threads.
void CameraImages::Settle(FrameTask* task, std::uint64_t bytes, const std::exception_ptr& error) noexcept {
    std::optional<std::string> damage;
    try {
        if (error) {
            std::rethrow_exception(error);
        }
        m_bytes += bytes;
        ++m_frames;
    } catch (const ToolError& reason) {
        if (reason.GetCode() != "incomplete") {
            return Fail(reason);
        }
        damage = reason.what();
        if (m_failed++ == 0) {
            m_firstDamage = *damage;
        }
    } catch (const std::exception& reason) {
        return Fail(HostError("Writing an image of camera " + m_camera + " failed: " + reason.what()));
    }
    if (task != nullptr) {
        task->Tell(damage ? &*damage : nullptr);
    }
    if (m_ended != 0) { // what was still being written counts, and so does its time
        m_ended = Clock::now().time_since_epoch().count();
    }
}

/// What was found last is dropped: it may be a consequence of the first.
void CameraImages::Fail(const ToolError& error) {
    if (!m_failure) {
        m_failure = error;
    }
    m_hasFailed = true;
    if (error.GetCode() == "host") {
        m_signals.RequestStop(); // at once, and for all: the others would fail alike
    }
}

void CameraImages::CountMissing(const Zelmo::CGrabResultData& result) {
    const auto skipped = static_cast<std::uint64_t>(result.GetNumberOfSkippedImages());
    const std::uint64_t lost = m_lossCounter.Add(result.GetBlockID(), skipped);
    // Between two requests for an upcoming image the camera has no buffer: that is meant.
    const bool meant = m_options.strategy == Zelmo::GrabStrategy_UpcomingImage;
    m_skipped += meant ? skipped + lost : skipped;
    m_lost += meant ? 0 : lost;
}

GrabCounts CameraImages::GetCounts() const {
    GrabCounts counts;
    counts.frames = m_frames;
    counts.failed = m_failed;
    counts.lost = m_lost;
    counts.skipped = m_skipped;
    counts.bytes = m_bytes;
    counts.seconds = GetSeconds(Clock::now());
    return counts;
}

double CameraImages::GetSeconds(Clock::time_point now) const noexcept {
    const Clock::rep started = m_started;
    const Clock::rep ended = m_ended;
    const Clock::rep until = ended != 0 ? ended : now.time_since_epoch().count();
    return started != 0 ? std::chrono::duration<double>(Clock::duration(until - started)).count() : 0;
}

} // namespace tool
