// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/GrabLoopThread.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/camera/HandlerScope.h"
#include "ZelmoBase/camera/InstantCameraParameters.h"
#include "ZelmoBase/core/Guarded.h"

#include <zelmo/ThreadPriority.h>
#include <zelmo/WaitObjects.h>

#include <Base/GCException.h>

#include <cstring>
#include <pthread.h>

namespace Zelmo {
namespace {

struct CLoopOfThread {
    const CInstantCamera* camera = nullptr;
    std::uint64_t session = 0;
};
thread_local CLoopOfThread t_loop;

} // namespace

CGrabLoopThread::CGrabLoopThread(CInstantCamera& camera, CCameraLock& cameraLock, CInstantCameraNodeMapPtr& parameters,
                                 IGrabLoopOwner& owner, std::uint64_t session)
    : m_camera(camera), m_cameraLock(cameraLock), m_parameters(parameters), m_owner(owner), m_session(session) {}

std::uint64_t CGrabLoopThread::GetLoopOfThisCall(const CInstantCamera* camera) noexcept {
    return t_loop.camera == camera && !CHandlerScope::IsInside() ? t_loop.session : 0;
}

void CGrabLoopThread::Start() {
    m_thread.Start("zelmo-loop", [this] { Run(); });
}

void CGrabLoopThread::Join() {
    if (m_thread.IsJoinable()) {
        m_thread.Join();
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, "Camera %p: Grab loop thread joined",
                        static_cast<const void*>(&m_camera));
    }
}

void CGrabLoopThread::Run() noexcept {
    t_loop = {&m_camera, m_session};
    const auto* const camera = static_cast<const void*>(&m_camera);
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, "Camera %p: Grab loop thread started", camera);
    RunGuarded([this] { Loop(); }, [this](const char* text) { HandleException(text); });
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, "Camera %p: Grab loop thread stopped", camera);
    m_hasEnded = true; // last
}

void CGrabLoopThread::Loop() {
    const auto* const camera = static_cast<const void*>(&m_camera);
    unsigned timeoutMs = WaitTimeoutInfinite;
    bool setsPriority = false;
    int priority = 0;
    {
        CCameraGuard lock(m_cameraLock); // which waits for the end of the start
        if (m_parameters.GrabLoopThreadUseTimeout->GetValue()) {
            timeoutMs = static_cast<unsigned>(m_parameters.GrabLoopThreadTimeout->GetValue());
        }
        setsPriority = m_parameters.GrabLoopThreadPriorityOverride->GetValue();
        priority = static_cast<int>(m_parameters.GrabLoopThreadPriority->GetValue());
    }
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice,
                    "Camera %p: Grab loop thread RetrieveResult timeout=%u", camera, timeoutMs);
    if (setsPriority) {
        const unsigned long thread = pthread_self();
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice,
                        "Camera %p: Grab loop thread set thread priority=%d, id=%d", camera, priority,
                        static_cast<int>(thread));
        if (const int error = SetRTThreadPriority(thread, priority)) {
            throw RUNTIME_EXCEPTION("Cannot set the priority of the grab loop thread to %d: %s", priority,
                                    std::strerror(error));
        }
    }
    CGrabResultPtr result;
    while (m_owner.IsSessionRunning(m_session) && m_camera.IsGrabbing()) {
        m_camera.RetrieveResult(timeoutMs, result, TimeoutHandling_ThrowException);
    }
}

/// Ends the session, if it still runs: what has come after it is not this thread's.
void CGrabLoopThread::HandleException(const char* text) noexcept {
    constexpr char unknown[] = "Unknown exception caught in grab loop thread.";
    const auto* const camera = static_cast<const void*>(&m_camera);
    if (text != nullptr) {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error,
                        "Camera %p: Exception caught in grab loop thread, msg=%s", camera, text);
    } else {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error, "Camera %p: %s", camera, unknown);
    }
    RunLogged(CameraLogCategory(), "Exception caught while calling StopGrabbing in grab loop thread, msg='%s'",
              "Unknown exception caught while calling StopGrabbing in grab loop thread.", [&] {
                  CCameraGuard lock(m_cameraLock);
                  if (m_owner.IsSessionRunning(m_session)) {
                      m_owner.TellGrabError(text != nullptr ? text : unknown);
                  } else if (text == nullptr && !m_owner.HasLaterSession(m_session)) {
                      m_owner.TellGrabError(unknown); // what ended the session has told of known ones
                  }
                  if (m_owner.IsSessionRunning(m_session)) {
                      m_camera.StopGrabbing();
                  }
              });
}

} // namespace Zelmo
