// SPDX-License-Identifier: Apache-2.0
#include "ChunkImage.h"

#include "Camera.h"
#include "ChunkReport.h"
#include "Errors.h"
#include "Signals.h"

#include <algorithm>
#include <optional>

namespace tool {
namespace {

/// One image is being grabbed as long as this lives.
class Session {
public:
    explicit Session(Zelmo::CInstantCamera& camera) : m_camera(camera) { m_camera.StartGrabbing(1); }
    ~Session() { m_camera.StopGrabbing(); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

private:
    Zelmo::CInstantCamera& m_camera;
};

ToolError TimedOut(const Camera& camera, unsigned timeoutMs) {
    return {ExitCode::Timeout, "timeout",
            "No image with chunk data from camera " + camera.GetName() + " within " + std::to_string(timeoutMs) +
                " ms; --image-timeout sets the limit. Does it wait for a trigger, or is its frame rate lower?"};
}

ToolError Removed(const Camera& camera) {
    return {ExitCode::Removed, "removed", "Camera " + camera.GetName() + " was removed before its image came"};
}

/// In short steps, as nobody else ends the wait for a signal or a removal.
Zelmo::CGrabResultPtr WaitForImage(Camera& camera, unsigned timeoutMs) {
    constexpr unsigned stepMs = 50;
    const StopSignals signals;
    Zelmo::CGrabResultPtr result;
    for (unsigned left = timeoutMs; left > 0; left -= std::min(left, stepMs)) {
        if (camera.GetObject().RetrieveResult(std::min(left, stepMs), result, Zelmo::TimeoutHandling_Return)) {
            return result;
        }
        if (signals.StopRequested()) {
            throw ToolError(signals.GetExitCode(), "interrupted",
                            "Waiting for an image of camera " + camera.GetName() + " was interrupted");
        }
        if (camera.IsRemoved()) {
            throw Removed(camera);
        }
    }
    throw TimedOut(camera, timeoutMs);
}

Zelmo::CGrabResultPtr GrabImage(Camera& camera, unsigned timeoutMs) {
    try {
        const Session session(camera.GetObject());
        return WaitForImage(camera, timeoutMs);
    } catch (const GenICam::GenericException& error) {
        throw camera.IsRemoved()
            ? Removed(camera)
            : FromLibrary(error, "Grabbing an image with chunk data from camera " + camera.GetName());
    }
}

} // namespace

Zelmo::CGrabResultPtr GrabChunkImage(Camera& camera, unsigned timeoutMs) {
    if (!camera.GetDevice().AccessMode().test(Zelmo::Stream)) {
        throw ToolError(ExitCode::Access, "in_use",
                        "The node map 'chunk' takes an image, and camera " + camera.GetName() +
                            " gives it to the program that has control of it only");
    }
    std::optional<ChunkReport> switchedOn;
    if (!SendsChunks(camera)) {
        switchedOn.emplace(camera, std::vector<std::string>{"all"});
    }
    Zelmo::CGrabResultPtr result = GrabImage(camera, timeoutMs);
    const std::string fault = result->GrabSucceeded() ? camera.GetChunkFault() : result->GetErrorDescription().c_str();
    if (!fault.empty()) {
        throw ToolError(ExitCode::Failed, "incomplete",
                        "The image of camera " + camera.GetName() + " with its chunk data failed: " + fault);
    }
    return result;
}

} // namespace tool
