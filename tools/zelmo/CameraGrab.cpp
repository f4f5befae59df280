// SPDX-License-Identifier: Apache-2.0
#include "CameraGrab.h"

#include "Feature.h"

#include <zelmo/StreamGrabber.h>

#include <GenApi/GenApi.h>

#include <algorithm>
#include <limits>

namespace tool {
namespace {

/// One buffer is being written out and the camera needs one to fill, or it would wait instead of replacing an image.
unsigned GetQueueSize(const GrabOptions& options) {
    constexpr unsigned usual = 5;
    return options.queueSize.value_or(std::clamp(options.buffers, 3u, usual + 2) - 2);
}

/// A number of the camera's; 0 where it does not tell.
std::uint64_t ReadCount(Zelmo::CInstantCamera& session, const char* feature) {
    const GenApi::CIntegerPtr node(session.GetNodeMap().GetNode(feature));
    return GenApi::IsReadable(node) ? static_cast<std::uint64_t>(node->GetValue()) : 0;
}

/// "stream:EnableResend" is a parameter of the stream grabber; without a node map in front, a feature is the camera's.
std::pair<std::string, std::string> SplitNodeMap(const std::string& feature) {
    for (const std::string nodeMap : {"stream", "tl"}) {
        if (feature.rfind(nodeMap + ":", 0) == 0) {
            return {nodeMap, feature.substr(nodeMap.size() + 1)};
        }
    }
    return {"device", feature};
}

Zelmo::AccessModeSet GetAccess(const GrabOptions& options) {
    Zelmo::AccessModeSet access = GetWantedAccess();
    if (!options.metadata.events.empty()) {
        access.set(Zelmo::Event);
    }
    return access;
}

} // namespace

CameraGrab::CameraGrab(const Zelmo::CDeviceInfo& info, const GrabOptions& options, StopSignals& signals,
                       ImageCamera* object)
    : m_options(options), m_signals(signals), m_camera(info, {}, GetAccess(options), object),
      m_images(GetName(), options, signals) {
    m_session.MaxNumBuffer.SetValue(options.buffers);
    m_session.MaxNumQueuedBuffer.SetValue(options.buffers);
    m_session.OutputQueueSize.SetValue(GetQueueSize(options));
}

void CameraGrab::Configure(const std::vector<SetupStep>& setup) {
    try {
        for (const SetupStep& step : setup) {
            const auto [nodeMap, name] = SplitNodeMap(step.feature);
            Feature feature = Feature::Find(m_camera.GetNodeMap(nodeMap), name, GetName());
            if (step.value) {
                feature.SetText(*step.value);
            } else {
                feature.Execute(std::chrono::milliseconds(m_options.timeoutMs));
            }
        }
    } catch (const ToolError&) {
        if (m_camera.IsRemoved()) {
            throw Removed(); // that is why
        }
        throw;
    }
}

void CameraGrab::SetUp() {
    if (m_options.trigger.isSoftware) {
        m_trigger.emplace(m_session, GetName(), m_options.trigger);
    }
}

void CameraGrab::StartSession(const std::function<void()>& start) {
    const Zelmo::IStreamGrabber* grabber = m_camera.GetDevice().GetStreamGrabber(0);
    if (grabber != nullptr && grabber->IsOpen()) {
        throw ToolError(ExitCode::Access, "in_use", "The stream of camera " + GetName() + " is in use already");
    }
    try {
        start();
    } catch (const GenICam::GenericException& error) {
        throw FromLibrary(error, "Starting to grab from camera " + GetName() + " with " +
                                     std::to_string(m_options.buffers) + " buffers");
    }
    m_images.Begin();
    if (m_trigger) {
        m_trigger->Start();
    }
}

bool CameraGrab::Trigger(unsigned timeoutMs) {
    return !m_trigger || m_trigger->TriggerNext(timeoutMs);
}

void CameraGrab::StopTrigger() noexcept {
    if (m_trigger) {
        m_trigger->Stop();
    }
}

bool CameraGrab::IsOver(Clock::time_point now) const {
    return m_images.AreComplete() || m_images.HasFailed() || GetSecondsLeft(now) <= 0;
}

double CameraGrab::GetSecondsLeft(Clock::time_point now) const {
    return m_options.durationSeconds ? *m_options.durationSeconds - m_images.GetSeconds(now)
                                     : std::numeric_limits<double>::infinity();
}

void CameraGrab::Retire() noexcept {
    m_images.End();
    StopTrigger();
    try {
        const GenApi::CCommandPtr stop(m_session.GetNodeMap().GetNode("AcquisitionStop"));
        if (GenApi::IsWritable(stop)) {
            stop->Execute();
        }
    } catch (const std::exception&) { // it may be gone; who retrieves passes over what it sends
    }
}

void CameraGrab::Conclude(double heldSeconds) noexcept {
    m_trigger.reset();
    m_images.Drain();
    m_clues.busySeconds = heldSeconds;
    CollectClues();
    if (m_images.GetFailure()) { // an image ended it; the rest may be a consequence
        m_error = m_images.GetFailure();
    }
    if (m_camera.IsRemoved() && !IsOverWithoutCamera()) { // whatever failed first, this is the cause
        m_error = Removed();
    }
    if (m_error && m_error->GetCode() == "host") {
        m_signals.RequestStop(); // the others would fail alike
    }
}

/// Whether its removal ends nothing: all images are there, or somebody has told why they are not.
bool CameraGrab::IsOverWithoutCamera() const {
    if (m_error) {
        return m_options.reconnect.isWanted; // that it did not come back, for one
    }
    return m_images.AreComplete() || (m_options.reconnect.isWanted && m_signals.StopRequested());
}

bool CameraGrab::IsLost() const {
    return m_camera.IsRemoved() && m_session.NumReadyBuffers.GetValue() == 0;
}

void CameraGrab::CollectClues() noexcept {
    m_clues.firstFailure = m_images.GetFirstDamage();
    if (!m_session.IsZelmoDeviceAttached()) {
        return; // it did not come back
    }
    try {
        m_clues.stream = ReadStream();
        if (m_clues.stream.HavePackets() && !m_camera.IsRemoved()) {
            m_clues.packetBytes = ReadCount(m_session, "GevSCPSPacketSize");
            m_clues.ticksPerSecond = ReadCount(m_session, "GevTimestampTickFrequency");
        }
    } catch (const std::exception&) { // a clue less
    }
}

StreamCounts CameraGrab::ReadStream() {
    Zelmo::IStreamGrabber* const grabber = m_camera.GetDevice().GetStreamGrabber(0);
    return ReadStreamCounts(grabber != nullptr ? grabber->GetNodeMap() : nullptr);
}

bool CameraGrab::HasNoPacket() noexcept {
    try {
        return ReadStream().packets == 0u;
    } catch (const std::exception&) {
        return false;
    }
}

ToolError CameraGrab::Removed() const {
    return {ExitCode::Removed, "removed", "Camera " + GetName() + " was removed before the grab was over"};
}

ToolError CameraGrab::TimedOut() {
    if (m_images.GetTaken() == 0 && HasNoPacket()) {
        return {ExitCode::Timeout, "timeout",
                "No image from camera " + GetName() + " within " + std::to_string(m_options.timeoutMs) +
                    " ms: not one packet of its stream has arrived. Suspects are a firewall of this host, packets "
                    "larger than a switch on the way takes (GevSCPSPacketSize), and a trigger that the camera waits "
                    "for; 'zelmo doctor' looks at the host"};
    }
    return {ExitCode::Timeout, "timeout",
            "No image from camera " + GetName() + " within " + std::to_string(m_options.timeoutMs) + " ms after " +
                std::to_string(m_images.GetTaken()) +
                " images; --timeout sets the limit. Does it wait for a trigger, is its frame rate lower, or has its "
                "AcquisitionMode ended it?"};
}

ToolError CameraGrab::NotReady() const {
    return {ExitCode::Timeout, "timeout",
            "Camera " + GetName() + " did not get ready for a trigger within " + std::to_string(m_options.timeoutMs) +
                " ms; --timeout sets the limit"};
}

} // namespace tool
