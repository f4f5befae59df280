// SPDX-License-Identifier: Apache-2.0
#include "CameraGrab.h"

#include "Feature.h"
#include "Output.h"

#include <zelmo/CameraSettings.h>

#include <zelmo/StreamGrabber.h>

#include <GenApi/GenApi.h>

#include <algorithm>
#include <pthread.h>

namespace tool {
namespace {

using namespace std::chrono;

/// One buffer is being written out and the camera needs one to fill, or it would wait instead of replacing an image.
unsigned GetQueueSize(const GrabOptions& options) {
    constexpr unsigned usual = 5;
    return options.queueSize.value_or(std::clamp(options.buffers, 3u, usual + 2) - 2);
}

Zelmo::AccessModeSet GetAccess(const GrabOptions& options) {
    Zelmo::AccessModeSet access = GetWantedAccess();
    if (!options.metadata.events.empty()) {
        access.set(Zelmo::Event);
    }
    return access;
}

} // namespace

CameraGrab::CameraGrab(const Zelmo::CDeviceInfo& info, const GrabOptions& options, StopSignals& signals)
    : m_options(options), m_signals(signals), m_camera(info, {}, GetAccess(options)),
      m_endObject(Zelmo::WaitObjectEx::Create()) {
    m_session.MaxNumBuffer.SetValue(options.buffers);
    m_session.MaxNumQueuedBuffer.SetValue(options.buffers);
    m_session.OutputQueueSize.SetValue(GetQueueSize(options));
}

CameraGrab::~CameraGrab() {
    Join();
}

void CameraGrab::Configure(const std::vector<SetupStep>& setup) {
    try {
        for (const SetupStep& step : setup) {
            Feature feature = Feature::Find(m_camera.GetNodeMap("device"), step.feature, GetName());
            if (step.value) {
                feature.SetText(*step.value);
            } else {
                feature.Execute(milliseconds(m_options.timeoutMs));
            }
        }
    } catch (const ToolError&) {
        if (m_camera.IsRemoved()) {
            throw Removed(); // that is why
        }
        throw;
    }
}

void CameraGrab::Start() {
    m_running = true;
    m_thread = std::thread([this] { Run(); });
    pthread_setname_np(m_thread.native_handle(), "zelmo-camera");
}

void CameraGrab::Join() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void CameraGrab::SendTo(std::unique_ptr<FrameSink> sink, WorkerPool* pool) {
    m_sink = std::move(sink);
    m_work.emplace(pool);
}

void CameraGrab::Run() noexcept {
    std::optional<ToolError> error;
    try {
        Grab();
    } catch (const ToolError& failure) {
        error = failure;
    } catch (const GenICam::GenericException& failure) {
        error = FromLibrary(failure, "Grabbing from camera " + GetName());
    } catch (const std::exception& failure) {
        error = HostError("Grabbing from camera " + GetName() + " failed: " + failure.what());
    }
    m_ended = Clock::now().time_since_epoch().count();
    m_session.StopGrabbing();
    m_trigger.reset();
    if (m_work->Drain()) { // what was still being written counts, and so does its time
        m_ended = Clock::now().time_since_epoch().count();
    }
    CollectClues();
    if (!m_error) { // else an image ended it
        m_error = error;
    }
    if (m_camera.IsRemoved() && !IsOverWithoutCamera()) { // whatever failed first, this is the cause
        m_error = Removed();
    }
    if (m_error && m_error->GetCode() == "host") {
        m_signals.RequestStop(); // the others would fail alike
    }
    m_running = false;
    m_endObject.Signal();
}

void CameraGrab::Grab() {
    if (m_options.trigger.isSoftware) {
        m_trigger.emplace(m_session, GetName(), m_options.trigger);
    }
    if (m_options.reconnect.isWanted) {
        Zelmo::StringList_t failures; // what cannot be saved cannot be put back either
        m_settings = Zelmo::SaveSettings(m_session, &failures);
    }
    for (GrabUntilLost(); m_options.reconnect.isWanted && m_camera.IsRemoved() && !IsDone(); GrabUntilLost()) {
        if (!Reconnect()) {
            return;
        }
    }
}

/// Whether its removal ends nothing: all images are there, or somebody has told why they are not.
bool CameraGrab::IsOverWithoutCamera() const {
    if (m_error) {
        return m_options.reconnect.isWanted; // that it did not come back, for one
    }
    const bool isComplete = m_options.count && m_taken >= *m_options.count;
    return isComplete || (m_options.reconnect.isWanted && m_signals.StopRequested());
}

/// Until the grab is over, or the camera is: then that is the cause of whatever fails.
void CameraGrab::GrabUntilLost() {
    try {
        StartSession();
        if (m_trigger) {
            m_trigger->Start();
        }
        // There has to be room first: an image that is taken later is a newer one, with strategies that skip.
        for (m_work->WaitForRoom(); !IsDone() && TakeNext(); m_work->WaitForRoom()) {
        }
    } catch (const std::exception&) {
        if (!m_options.reconnect.isWanted || !m_camera.IsRemoved()) {
            throw;
        }
    }
    if (m_trigger) {
        m_trigger->Stop();
    }
    m_session.StopGrabbing();
}

/// @return false when the user does not want to wait any more: there is no camera then.
bool CameraGrab::Reconnect() {
    m_output->Note("Camera " + GetName() + " was removed after " + std::to_string(m_taken) +
                   " images; waiting for it to come back");
    try {
        const Zelmo::WaitObjectEx cancel(m_signals.GetFd());
        const Zelmo::CReopenReport report = m_camera.Reopen(m_settings, GetReconnectLimit(), cancel);
        for (const Zelmo::String_t& failure : report.notRestored) {
            m_output->Note("Camera " + GetName() + ": not restored: " + failure.c_str());
        }
        m_output->Note("Camera " + GetName() + " came back after " + std::to_string(report.duration.count()) + " ms");
    } catch (const GenICam::GenericException& error) {
        if (m_signals.StopRequested()) {
            return false;
        }
        throw ToolError(ExitCode::Removed, "removed",
                        "Camera " + GetName() + " was removed before the grab was over: " + error.GetDescription());
    }
    m_lossCounter = LossCounter(); // its count begins anew
    m_isLost = false;
    return true;
}

/// No longer than the grab itself is to last.
milliseconds CameraGrab::GetReconnectLimit() const {
    std::optional<double> seconds = m_options.reconnect.limitSeconds;
    if (m_options.durationSeconds) {
        const double left = std::max(*m_options.durationSeconds - GetCounts().seconds, 0.0);
        seconds = std::min(seconds.value_or(left), left);
    }
    return seconds ? ceil<milliseconds>(duration<double>(*seconds)) : Zelmo::kNoTimeLimit;
}

void CameraGrab::StartSession() {
    const Zelmo::IStreamGrabber* grabber = m_camera.GetDevice().GetStreamGrabber(0);
    if (grabber != nullptr && grabber->IsOpen()) {
        throw ToolError(ExitCode::Access, "in_use", "The stream of camera " + GetName() + " is in use already");
    }
    try {
        if (m_options.count) {
            m_session.StartGrabbing(*m_options.count - m_taken, m_options.strategy);
        } else {
            m_session.StartGrabbing(m_options.strategy);
        }
    } catch (const GenICam::GenericException& error) {
        throw FromLibrary(error, "Starting to grab from camera " + GetName() + " with " +
                                     std::to_string(m_options.buffers) + " buffers");
    }
    if (m_started == 0) {
        m_started = Clock::now().time_since_epoch().count();
    }
}

bool CameraGrab::IsDone() const {
    const bool counted = m_options.count && m_taken >= *m_options.count;
    return counted || m_hasFailed || m_signals.StopRequested() ||
           (m_options.durationSeconds && GetCounts().seconds >= *m_options.durationSeconds);
}

bool CameraGrab::TakeNext() {
    if (m_trigger && !m_trigger->TriggerNext(m_options.timeoutMs)) {
        throw ToolError(ExitCode::Timeout, "timeout",
                        "Camera " + GetName() + " did not get ready for a trigger within " +
                            std::to_string(m_options.timeoutMs) + " ms; --timeout sets the limit");
    }
    Zelmo::CGrabResultPtr result;
    if (WaitForResult(result)) {
        TakeResult(*result.GetPtr());
    }
    return m_session.IsGrabbing() && !m_isLost;
}

bool CameraGrab::IsLost() const {
    return m_camera.IsRemoved() && m_session.NumReadyBuffers.GetValue() == 0;
}

/// In short steps, since nobody else ends the wait for a camera that is to come back. When nothing has come for a step
/// that began behind the removal, nothing is on its way any more.
bool CameraGrab::WaitForResultOrLoss(Zelmo::CGrabResultPtr& result, unsigned timeoutMs) {
    constexpr unsigned stepMs = 50;
    for (; timeoutMs > stepMs; timeoutMs -= stepMs) {
        const bool isRemoved = m_camera.IsRemoved();
        if (m_session.RetrieveResult(stepMs, result, Zelmo::TimeoutHandling_Return)) {
            return true;
        }
        m_isLost = isRemoved;
        if (m_isLost || !m_session.IsGrabbing()) {
            return false;
        }
    }
    return m_session.RetrieveResult(timeoutMs, result, Zelmo::TimeoutHandling_ThrowException);
}

bool CameraGrab::WaitForResult(Zelmo::CGrabResultPtr& result) {
    const double leftMs = m_options.durationSeconds
                              ? std::max((*m_options.durationSeconds - GetCounts().seconds) * 1000 + 1, 0.0)
                              : m_options.timeoutMs;
    if (leftMs < m_options.timeoutMs) {
        return m_session.RetrieveResult(static_cast<unsigned>(leftMs), result, Zelmo::TimeoutHandling_Return);
    }
    try {
        return m_options.reconnect.isWanted
                   ? WaitForResultOrLoss(result, m_options.timeoutMs)
                   : m_session.RetrieveResult(m_options.timeoutMs, result, Zelmo::TimeoutHandling_ThrowException);
    } catch (const GenICam::TimeoutException&) {
        throw TimedOut();
    }
}

ToolError CameraGrab::Removed() const {
    return {ExitCode::Removed, "removed", "Camera " + GetName() + " was removed before the grab was over"};
}

ToolError CameraGrab::TimedOut() const {
    return {ExitCode::Timeout, "timeout",
            "No image from camera " + GetName() + " within " + std::to_string(m_options.timeoutMs) + " ms after " +
                std::to_string(m_taken) +
                " images; --timeout sets the limit. Does it wait for a trigger, is its frame rate lower, or has its "
                "AcquisitionMode ended it?"};
}

void CameraGrab::TakeResult(const Zelmo::CGrabResultData& result) {
    if (result.GetID() == 0) {
        return; // a buffer that was called back
    }
    ++m_taken;
    CountMissing(result);
    const std::exception_ptr failure =
        result.GrabSucceeded()
            ? nullptr
            : std::make_exception_ptr(FeatureError("", "incomplete", result.GetErrorDescription().c_str()));
    const std::shared_ptr<FrameTask> task = m_sink->Take(result, m_taken);
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
void CameraGrab::Settle(FrameTask* task, std::uint64_t bytes, const std::exception_ptr& error) noexcept {
    std::optional<std::string> failure;
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
        failure = reason.what();
        if (m_failed++ == 0) {
            m_clues.firstFailure = *failure;
        }
    } catch (const std::exception& reason) {
        return Fail(HostError("Writing an image of camera " + GetName() + " failed: " + reason.what()));
    }
    if (task != nullptr) {
        task->Tell(failure ? &*failure : nullptr);
    }
}

/// What was found last is dropped: it may be a consequence of the first.
void CameraGrab::Fail(const ToolError& error) {
    if (!m_error) {
        m_error = error;
    }
    m_hasFailed = true;
    if (error.GetCode() == "host") {
        m_signals.RequestStop(); // at once, and for all: the others would fail alike
    }
}

void CameraGrab::CountMissing(const Zelmo::CGrabResultData& result) {
    const auto skipped = static_cast<std::uint64_t>(result.GetNumberOfSkippedImages());
    const std::uint64_t lost = m_lossCounter.Add(result.GetBlockID(), skipped);
    // Between two requests for an upcoming image the camera has no buffer: that is meant.
    const bool meant = m_options.strategy == Zelmo::GrabStrategy_UpcomingImage;
    m_skipped += meant ? skipped + lost : skipped;
    m_lost += meant ? 0 : lost;
}

void CameraGrab::CollectClues() noexcept {
    m_clues.busySeconds = m_work->GetHeldSeconds();
    if (!m_session.IsZelmoDeviceAttached()) {
        return; // it did not come back
    }
    try {
        Zelmo::IStreamGrabber* grabber = m_camera.GetDevice().GetStreamGrabber(0);
        GenApi::INodeMap* nodeMap = grabber != nullptr ? grabber->GetNodeMap() : nullptr;
        const GenApi::CIntegerPtr underruns(nodeMap != nullptr ? nodeMap->GetNode("Statistic_Buffer_Underrun_Count")
                                                               : nullptr);
        if (GenApi::IsReadable(underruns)) {
            m_clues.underruns = static_cast<std::uint64_t>(underruns->GetValue());
        }
    } catch (const std::exception&) { // a clue less
    }
}

GrabCounts CameraGrab::GetCounts() const {
    GrabCounts counts;
    counts.frames = m_frames;
    counts.failed = m_failed;
    counts.lost = m_lost;
    counts.skipped = m_skipped;
    counts.bytes = m_bytes;
    const Clock::rep started = m_started;
    const Clock::rep ended = m_ended;
    if (started != 0) {
        const Clock::rep until = ended != 0 ? ended : Clock::now().time_since_epoch().count();
        counts.seconds = duration<double>(Clock::duration(until - started)).count();
    }
    return counts;
}

} // namespace tool
