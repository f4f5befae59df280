// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Camera.h"
#include "CameraImages.h"
#include "Errors.h"
#include "Options.h"
#include "Signals.h"
#include "SoftwareTrigger.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tool {

/// One camera of a grab: opened, set up, started, its images taken, put back and closed. Whoever retrieves its images
/// drives it.
/// Owns the camera and what becomes of its images. Borrows options and signals.
/// Threads: one before the grab and behind it, the one that retrieves meanwhile; IsExhausted and the counts any.
class CameraGrab {
public:
    using Clock = CameraImages::Clock;

    /// Opens the camera. @param object the camera object to use, which outlives this; null: one of its own.
    CameraGrab(const Zelmo::CDeviceInfo& info, const GrabOptions& options, StopSignals& signals,
               ImageCamera* object = nullptr);

    /// Sets features and executes commands of the camera, in the order given.
    /// @throws ToolError for the first step that is refused; the others are left out.
    void Configure(const std::vector<SetupStep>& setup);
    /// Before the grab; there must be a sink. With a pool, its threads do what the sink leaves to be done.
    void SendTo(std::unique_ptr<FrameSink> sink, WorkerPool* pool = nullptr) { m_images.SendTo(std::move(sink), pool); }

    Camera& GetCamera() noexcept { return m_camera; }
    const std::string& GetName() const noexcept { return m_camera.GetName(); }
    GrabCounts GetCounts() const { return m_images.GetCounts(); }
    const std::optional<ToolError>& GetError() const noexcept { return m_error; } ///< After the grab.
    const LossClues& GetLossClues() const noexcept { return m_clues; }            ///< After the grab.

    /// No more comes, or is wanted.
    bool IsExhausted() const {
        return m_images.HasFailed() || (!m_options.reconnect.isWanted && !m_images.AreComplete() && IsLost());
    }

    // For whoever retrieves
    CameraImages& GetImages() noexcept { return m_images; }
    Zelmo::CInstantCamera& GetSession() noexcept { return m_session; }
    void SetUp(); ///< What is put back by Conclude; before the first start.
    /// Has @p start begin the session. @throws ToolError that names the camera.
    void StartSession(const std::function<void()>& start);
    /// Triggers the next image, if that is to be done, once the camera is ready. @return false when it is not within
    /// @p timeoutMs.
    bool Trigger(unsigned timeoutMs);
    void StopTrigger() noexcept;
    /// All images are there, the time is up, or an image has failed for good.
    bool IsOver(Clock::time_point now = Clock::now()) const;
    double GetSecondsLeft(Clock::time_point now = Clock::now()) const; ///< Of the time that it was given; or infinity.
    void Retire() noexcept; ///< While the session goes on: no image is taken, nor sent if that can be had.
    void Fail(const ToolError& error) { m_error = error; }
    /// Behind the session: puts back, waits for what is still being written, and tells apart what went wrong.
    /// @param heldSeconds in which the thread waited for images to be written
    void Conclude(double heldSeconds) noexcept;

    ToolError TimedOut();
    ToolError NotReady() const;

private:
    bool IsLost() const; // gone, and all taken that it has sent
    bool IsOverWithoutCamera() const;
    void CollectClues() noexcept;
    StreamCounts ReadStream(); ///< @throws what that throws.
    bool HasNoPacket() noexcept;
    ToolError Removed() const;

    const GrabOptions& m_options;
    StopSignals& m_signals;
    Camera m_camera;
    Zelmo::CInstantCamera& m_session = m_camera.GetObject();
    std::optional<SoftwareTrigger> m_trigger;
    CameraImages m_images;
    LossClues m_clues;
    std::optional<ToolError> m_error;
};

using CameraGrabs = std::vector<std::unique_ptr<CameraGrab>>;

} // namespace tool
