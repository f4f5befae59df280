#include "CameraGrab.h"

#include "Feature.h"
#include "Output.h"

#include <GenApi/GenApi.h>

#include <algorithm>
#include <poll.h>

namespace tool {
namespace {

using namespace std::chrono;

Json MakeFrameJson(const std::string& camera, std::uint64_t number, const Zelmo::GrabResult& result) {
    Json json = {{"device", camera}, {"number", number}};
    if (result.blockId != ~std::uint64_t{0}) {
        json["block_id"] = JsonInteger(std::uint64_t{result.blockId});
    }
    json["timestamp_ticks"] = JsonInteger(std::uint64_t{result.timeStamp});
    json["width"] = result.sizeX;
    json["height"] = result.sizeY;
    return json;
}

} // namespace

CameraGrab::CameraGrab(const Zelmo::CDeviceInfo& info, const GrabOptions& options, Output& output, StopSignals& signals)
    : m_options(options), m_output(output), m_signals(signals), m_camera(info), m_session(m_camera, options.buffers) {}

CameraGrab::~CameraGrab() {
    Join();
}

void CameraGrab::Configure(const std::vector<Assignment>& settings) {
    for (const Assignment& one : settings) {
        Feature::Find(m_camera.GetNodeMap("device"), one.feature, GetName()).SetText(one.value);
    }
}

void CameraGrab::CheckFormat() {
    GenApi::INodeMap& nodeMap = m_camera.GetNodeMap("device");
    auto* format = dynamic_cast<GenApi::IEnumeration*>(nodeMap.GetNode("PixelFormat"));
    if (format == nullptr || !GenApi::IsReadable(format->GetAccessMode())) {
        return; // the frames will tell
    }
    if (FindPixelLayout(static_cast<Zelmo::EPixelType>(format->GetIntValue())) == nullptr) {
        const std::string name = format->ToString().c_str();
        throw FeatureError(
            "PixelFormat", "format_refused",
            "PixelFormat: " + name + " of camera " + GetName() +
                " cannot be written as PNG; --raw writes buffers as they are, and 'zelmo set PixelFormat=...' "
                "chooses another format");
    }
}

void CameraGrab::Start() {
    m_running = true;
    m_thread = std::thread([this] { Run(); });
}

void CameraGrab::Join() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void CameraGrab::Run() noexcept {
    try {
        m_session.Start();
        GrabUntilDone();
    } catch (const ToolError& error) {
        m_error = error;
    } catch (const std::exception& error) {
        m_error = HostError("Grabbing from camera " + GetName() + " failed: " + error.what());
    }
    m_ended = Clock::now().time_since_epoch().count();
    m_session.Stop();
    if (m_camera.IsRemoved()) { // whatever failed first, this is the cause
        m_error = ToolError(ExitCode::Removed, "removed", "Camera " + GetName() + " was removed while it was grabbing");
    }
    if (m_error && m_error->GetCode() == "host") {
        m_signals.RequestStop(); // the others would fail alike
    }
    m_running = false;
}

void CameraGrab::GrabUntilDone() {
    m_lastFrame = Clock::now();
    m_started = m_lastFrame.time_since_epoch().count();
    while (!IsDone()) {
        WaitForEvent();
        TakeResults();
    }
}

bool CameraGrab::IsDone() const {
    const bool counted = m_options.count && m_frames + m_failed >= *m_options.count;
    return counted || m_signals.StopRequested() || m_camera.IsRemoved() ||
           (m_options.durationSeconds && GetCounts().seconds >= *m_options.durationSeconds);
}

int CameraGrab::GetWaitMs() const {
    const auto sinceFrame = duration_cast<milliseconds>(Clock::now() - m_lastFrame).count();
    double waitMs = static_cast<double>(m_options.timeoutMs) - static_cast<double>(sinceFrame);
    if (m_options.durationSeconds) {
        waitMs = std::min(waitMs, (*m_options.durationSeconds - GetCounts().seconds) * 1000 + 1);
    }
    return static_cast<int>(std::max(waitMs, 0.0));
}

void CameraGrab::WaitForEvent() {
    pollfd events[] = {
        {m_signals.GetFd(), POLLIN, 0}, {m_camera.GetRemovalFd(), POLLIN, 0}, {m_session.GetFd(), POLLIN, 0}};
    if (poll(events, std::size(events), GetWaitMs()) != 0) {
        return;
    }
    if (Clock::now() - m_lastFrame >= milliseconds(m_options.timeoutMs)) {
        throw ToolError(
            ExitCode::Timeout, "timeout",
            "No image from camera " + GetName() + " within " + std::to_string(m_options.timeoutMs) + " ms after " +
                std::to_string(m_frames.load()) +
                " images; --timeout sets the limit. Does it wait for a trigger, or is its frame rate lower?");
    }
}

void CameraGrab::TakeResults() {
    Zelmo::GrabResult result;
    while (!IsDone() && m_session.Retrieve(result)) {
        if (result.status != Zelmo::GrabStatus_Canceled) {
            TakeFrame(result);
        }
        m_session.Requeue(result);
        m_lastFrame = Clock::now(); // behind the writing, which the camera is not to blame for
        result = {};
    }
}

void CameraGrab::TakeFrame(const Zelmo::GrabResult& result) {
    m_lost += m_lossCounter.Add(result.blockId);
    const std::uint64_t number = m_frames + m_failed + 1;
    Json event = m_output.IsJson() ? MakeFrameJson(GetName(), number, result) : Json();
    if (result.status != Zelmo::GrabStatus_Grabbed) {
        CountFailed(number, result.errorDescription.c_str(), event);
        return;
    }
    try {
        if (m_writer) {
            event["file"] = m_writer->Write(result, number);
        }
    } catch (const ToolError& error) {
        if (error.GetCode() != "incomplete") {
            throw;
        }
        CountFailed(number, error.what(), event);
        return;
    }
    m_bytes += result.payloadSize >= 0 ? static_cast<std::uint64_t>(result.payloadSize) : result.bufferSize;
    ++m_frames;
    event["status"] = "grabbed";
    m_output.Event("frame", event);
}

void CameraGrab::CountFailed(std::uint64_t number, const std::string& why, Json& event) {
    ++m_failed;
    event["status"] = "failed";
    event["error"] = why;
    m_output.Event("frame", event);
    m_output.Note("Image " + std::to_string(number) + " of camera " + GetName() + " failed: " + why);
}

GrabCounts CameraGrab::GetCounts() const {
    GrabCounts counts;
    counts.frames = m_frames;
    counts.failed = m_failed;
    counts.lost = m_lost;
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
