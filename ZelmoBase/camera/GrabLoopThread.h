// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/CameraLock.h"
#include "ZelmoBase/core/Thread.h"

#include <zelmo/InstantCamera.h>

#include <atomic>
#include <cstdint>

namespace Zelmo {

class CInstantCameraNodeMapPtr;

/// What a loop thread needs of the camera around it.
class IGrabLoopOwner {
public:
    virtual bool IsSessionRunning(std::uint64_t session) const noexcept = 0; ///< Any thread, no lock.
    virtual bool HasLaterSession(std::uint64_t session) const noexcept = 0;  ///< Likewise.
    virtual void TellGrabError(const char* message) noexcept = 0;            ///< With the camera lock held.

protected:
    ~IGrabLoopOwner() = default;
};

/// The thread that retrieves the results of one session, where the application has no loop of its own. It belongs to
/// that session: it ends with it, and never touches a later one.
/// Threads: Start with the camera lock held, Join from any but the thread itself, without that lock.
class CGrabLoopThread {
public:
    CGrabLoopThread(CInstantCamera& camera, CCameraLock& cameraLock, CInstantCameraNodeMapPtr& parameters,
                    IGrabLoopOwner& owner, std::uint64_t session);

    void Start(); ///< @throws GenICam::RuntimeException if the system has no thread left.
    void Join();
    bool IsJoinable() const { return m_thread.IsJoinable(); }
    bool HasEnded() const noexcept { return m_hasEnded; } ///< Joining waits for nothing any more.
    std::uint64_t GetSession() const noexcept { return m_session; }

    /// The session whose loop calls here: on the loop thread of @p camera, but from no handler; else 0.
    static std::uint64_t GetLoopOfThisCall(const CInstantCamera* camera) noexcept;

private:
    void Run() noexcept;
    void Loop();
    void HandleException(const char* text) noexcept;

    CInstantCamera& m_camera;
    CCameraLock& m_cameraLock;
    CInstantCameraNodeMapPtr& m_parameters;
    IGrabLoopOwner& m_owner;
    const std::uint64_t m_session;
    std::atomic<bool> m_hasEnded{false};
    CThread m_thread;
};

} // namespace Zelmo
