// SPDX-License-Identifier: Apache-2.0
#include "SessionRetrieval.h"

#include "Output.h"

#include <zelmo/CameraSettings.h>

#include <algorithm>

namespace tool {

using namespace std::chrono;

SessionRetrieval::SessionRetrieval(CameraGrab& camera, const GrabOptions& options, const StopSignals& signals,
                                   Output& output)
    : m_camera(camera), m_session(camera.GetSession()), m_images(camera.GetImages()), m_options(options),
      m_signals(signals), m_output(output) {}

void SessionRetrieval::Grab() noexcept {
    try {
        GrabUntilOver();
    } catch (...) {
        m_camera.Fail(FromCurrentException("Grabbing from camera " + m_camera.GetName()));
    }
    m_images.End();
    m_camera.StopTrigger();
    m_session.StopGrabbing();
    m_camera.Conclude(m_images.GetHeldSeconds());
}

void SessionRetrieval::StopIfOver() {
    if (m_signals.StopRequested() || m_camera.IsExhausted()) {
        m_session.StopGrabbing();
    }
}

void SessionRetrieval::GrabUntilOver() {
    m_camera.SetUp();
    if (m_options.reconnect.isWanted) {
        Zelmo::StringList_t failures; // what cannot be saved cannot be put back either
        m_settings = Zelmo::SaveSettings(m_session, &failures);
    }
    GrabUntilLost();
    while (m_options.reconnect.isWanted && m_camera.GetCamera().IsRemoved() && !IsOver()) {
        if (!Reconnect()) {
            return;
        }
        GrabUntilLost();
    }
}

/// Until the grab is over, or the camera is: then that is the cause of whatever fails.
void SessionRetrieval::GrabUntilLost() {
    try {
        StartSession();
        // There has to be room first: an image that is taken later is a newer one, with strategies that skip.
        for (m_images.WaitForRoom(); !IsOver() && TakeNext(); m_images.WaitForRoom()) {
        }
    } catch (const std::exception&) {
        if (!m_options.reconnect.isWanted || !m_camera.GetCamera().IsRemoved()) {
            throw;
        }
    }
    m_camera.StopTrigger();
    m_session.StopGrabbing();
}

/// @return false when the user does not want to wait any more: there is no camera then.
bool SessionRetrieval::Reconnect() {
    const std::string name = m_camera.GetName();
    m_output.Note("Camera " + name + " was removed after " + std::to_string(m_images.GetTaken()) +
                  " images; waiting for it to come back");
    try {
        const Zelmo::WaitObjectEx cancel(m_signals.GetFd());
        const Zelmo::CReopenReport report = m_camera.GetCamera().Reopen(m_settings, GetReconnectLimit(), cancel);
        for (const Zelmo::String_t& failure : report.notRestored) {
            m_output.Note("Camera " + name + ": not restored: " + failure.c_str());
        }
        m_output.Note("Camera " + name + " came back after " + std::to_string(report.duration.count()) + " ms");
    } catch (const GenICam::GenericException& error) {
        if (m_signals.StopRequested()) {
            return false;
        }
        throw ToolError(ExitCode::Removed, "removed",
                        "Camera " + name + " was removed before the grab was over: " + error.GetDescription());
    }
    m_isLost = false;
    return true;
}

/// No longer than the grab itself is to last.
milliseconds SessionRetrieval::GetReconnectLimit() const {
    std::optional<double> seconds = m_options.reconnect.limitSeconds;
    if (m_options.durationSeconds) {
        const double left = std::max(m_camera.GetSecondsLeft(), 0.0);
        seconds = std::min(seconds.value_or(left), left);
    }
    return seconds ? ceil<milliseconds>(duration<double>(*seconds)) : Zelmo::kNoTimeLimit;
}

void SessionRetrieval::StartSession() {
    m_camera.StartSession([this] {
        if (m_options.count) {
            m_session.StartGrabbing(*m_options.count - m_images.GetTaken(), m_options.strategy);
        } else {
            m_session.StartGrabbing(m_options.strategy);
        }
    });
}

bool SessionRetrieval::IsOver() const {
    return m_camera.IsOver() || m_signals.StopRequested();
}

bool SessionRetrieval::TakeNext() {
    if (!m_camera.Trigger(m_options.timeoutMs)) {
        throw m_camera.NotReady();
    }
    Zelmo::CGrabResultPtr result;
    if (WaitForResult(result)) {
        m_images.Take(*result.GetPtr());
    }
    return m_session.IsGrabbing() && !m_isLost;
}

/// In short steps, since nobody else ends the wait for a camera that is to come back. When nothing has come for a step
/// that began behind the removal, nothing is on its way any more.
bool SessionRetrieval::WaitForResultOrLoss(Zelmo::CGrabResultPtr& result, unsigned timeoutMs) {
    constexpr unsigned stepMs = 50;
    for (; timeoutMs > stepMs; timeoutMs -= stepMs) {
        const bool isRemoved = m_camera.GetCamera().IsRemoved();
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

bool SessionRetrieval::WaitForResult(Zelmo::CGrabResultPtr& result) {
    const double leftMs = std::max(m_camera.GetSecondsLeft() * 1000 + 1, 0.0);
    if (leftMs < m_options.timeoutMs) {
        return m_session.RetrieveResult(static_cast<unsigned>(leftMs), result, Zelmo::TimeoutHandling_Return);
    }
    try {
        return m_options.reconnect.isWanted
                   ? WaitForResultOrLoss(result, m_options.timeoutMs)
                   : m_session.RetrieveResult(m_options.timeoutMs, result, Zelmo::TimeoutHandling_ThrowException);
    } catch (const GenICam::TimeoutException&) {
        throw m_camera.TimedOut();
    }
}

} // namespace tool
