// SPDX-License-Identifier: Apache-2.0
// Who hears of a camera.
#include "ZelmoBase/camera/InstantCameraImpl.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"

#include <memory>

namespace Zelmo {
namespace {

/// The address of a handler's counter, as that kind of handler calls it.
template <class Cookie>
Cookie ToCookie(const long* counter) noexcept {
    return reinterpret_cast<Cookie>(counter);
}

/// The handler's, which the registration counts in.
long* ToCounter(const long* cookie) noexcept {
    return const_cast<long*>(cookie);
}

CameraEventHandlerCookie ToEventCookie(const long* counter, const String_t& nodeName) {
    return {ToCookie<const CameraEventHandlerCookie_*>(counter), nodeName};
}

} // namespace

void CInstantCamera::CInstantCameraImpl::RegisterConfiguration(CConfigurationEventHandler* handler,
                                                               ERegistrationMode mode, ECleanup cleanup,
                                                               const long* cookie) {
    CCameraGuard lock(m_cameraLock);
    m_configurations.Register(handler, ToCounter(cookie), ToCookie<CConfigurationHandlers::Cookie>(cookie), mode,
                              cleanup);
}

bool CInstantCamera::CInstantCameraImpl::DeregisterConfiguration(const long* cookie) {
    CCameraGuard lock(m_cameraLock);
    return m_configurations.Deregister(ToCookie<CConfigurationHandlers::Cookie>(cookie));
}

/// Appending does without the lock, so that it never waits for a handler that runs.
void CInstantCamera::CInstantCameraImpl::RegisterImageEventHandler(CImageEventHandler* handler, ERegistrationMode mode,
                                                                   ECleanup cleanup, const long* cookie) {
    const auto add = [&] {
        m_imageHandlers.Register(handler, ToCounter(cookie), ToCookie<CImageHandlers::Cookie>(cookie), mode, cleanup);
    };
    if (mode == RegistrationMode_ReplaceAll) {
        GenICam::AutoLock lock(m_imageLock);
        add();
    } else {
        add();
    }
}

bool CInstantCamera::CInstantCameraImpl::DeregisterImageEventHandler(const long* cookie) {
    GenICam::AutoLock lock(m_imageLock);
    return m_imageHandlers.Deregister(ToCookie<CImageHandlers::Cookie>(cookie));
}

/// On an open camera the handler is connected to its node at once, or not registered at all.
void CInstantCamera::CInstantCameraImpl::RegisterCameraEventHandler(CCameraEventHandler* handler,
                                                                    const String_t& nodeName, long userId,
                                                                    ERegistrationMode mode, ECleanup cleanup,
                                                                    ECameraEventAvailability availability,
                                                                    const long* cookie) {
    std::shared_ptr<CCameraEventMetaData> data;
    if (handler != nullptr) {
        data = std::make_shared<CCameraEventMetaData>(m_camera, *handler, m_events, m_eventLock, nodeName, userId,
                                                      availability == CameraEventAvailability_Mandatory);
    }
    CCameraGuard lock(m_cameraLock);
    GenICam::AutoLock eventLock(m_eventLock);
    m_cameraEvents.Register(handler, ToCounter(cookie), ToEventCookie(cookie, nodeName), mode, cleanup, data,
                            [this, cookie](const std::shared_ptr<CCameraEventMetaData>& added)
                                ZELMO_NO_THREAD_SAFETY_ANALYSIS {
                                    if (cookie != nullptr && IsDeviceOpen()) {
                                        added->Connect(OrEmpty(m_device.GetNodeMap()));
                                    }
                                });
}

bool CInstantCamera::CInstantCameraImpl::DeregisterCameraEventHandler(const long* cookie, const String_t& nodeName) {
    CCameraGuard lock(m_cameraLock);
    GenICam::AutoLock eventLock(m_eventLock);
    return m_cameraEvents.Deregister(ToEventCookie(cookie, nodeName));
}

void CInstantCamera::CInstantCameraImpl::NotifyImageHandlers(std::uint64_t skipped, const CGrabResultPtr& result) {
    if (m_imageHandlers.IsEmpty()) {
        return;
    }
    GenICam::AutoLock lock(m_imageLock);
    const auto notify = [this](const char* event, auto&& call) {
        m_imageHandlers.ForEach(
            [&](CImageEventHandler& handler) { NotifyHandler(handler, event, /*isSwallowed*/ false, call); });
    };
    if (skipped != 0) {
        notify("CImageEventHandler::OnImagesSkipped",
               [&](CImageEventHandler& handler) { handler.OnImagesSkipped(m_camera, skipped); });
    }
    if (result.IsValid()) {
        notify("CImageEventHandler::OnImageGrabbed",
               [&](CImageEventHandler& handler) { handler.OnImageGrabbed(m_camera, result); });
    }
}

/// What handlers try to register or to attach on hearing of their end is turned away.
void CInstantCamera::CInstantCameraImpl::ShutdownEventHandlers() noexcept {
    const auto setBlocked = [this](bool isBlocked) {
        m_configurations.SetBlocked(isBlocked);
        m_imageHandlers.SetBlocked(isBlocked);
        m_cameraEvents.SetBlocked(isBlocked);
    };
    ++m_shutdowns;
    setBlocked(true);
    const bool wasDestroying = m_isDestroying.exchange(true);
    RunLogged(CameraLogCategory(), "Exception caught while deregistering all configurations, msg='%s'",
              "Unknown exception caught while deregistering all configurations.", [this] {
                  CCameraGuard lock(m_cameraLock);
                  m_configurations.Clear();
              });
    RunLogged(CameraLogCategory(), "Exception caught while deregistering all image event handlers, msg='%s'",
              "Unknown exception caught while deregistering all image event handlers.", [this] {
                  GenICam::AutoLock lock(m_imageLock);
                  m_imageHandlers.Clear();
              });
    RunLogged(CameraLogCategory(), "Exception caught while deregistering all camera event handlers, msg='%s'",
              "Unknown exception caught while deregistering all camera event handlers.", [this] {
                  CCameraGuard lock(m_cameraLock);
                  GenICam::AutoLock eventLock(m_eventLock);
                  m_cameraEvents.Clear();
              });
    if (--m_shutdowns == 0) { // else a handler that hears of its end has called here
        setBlocked(false);
    }
    m_isDestroying = wasDestroying;
}

} // namespace Zelmo
