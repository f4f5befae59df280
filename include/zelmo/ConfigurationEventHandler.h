// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

namespace Zelmo {

class CInstantCamera;

/// Identifies the registration of a configuration event handler: the address of its reference counter.
struct ConfigurationEventHandlerCookie_;

/// What an application derives from to hear of the life of a camera object, and to configure the camera in time.
/// Override what is needed; nothing has to call the base. Handlers are called in the order of their registration, with
/// the camera lock held, so they may use the camera on the same thread. "Swallowed": what a handler
/// throws is logged, and the next one is called. The order of the operations does not change: applications are built
/// apart from the library.
class ZELMO_API CConfigurationEventHandler {
public:
    /// Before a device is attached, on the thread of Attach. Swallowed.
    virtual void OnAttach(CInstantCamera& /*camera*/) {}
    /// After that.
    virtual void OnAttached(CInstantCamera& /*camera*/) {}
    /// Before a device is detached, on the thread of DetachDevice. Swallowed.
    virtual void OnDetach(CInstantCamera& /*camera*/) {}
    /// After that.
    virtual void OnDetached(CInstantCamera& /*camera*/) {}
    /// Before the attached device is destroyed, on the thread of DestroyDevice. Swallowed.
    virtual void OnDestroy(CInstantCamera& /*camera*/) {}
    /// After that.
    virtual void OnDestroyed(CInstantCamera& /*camera*/) {}
    /// Before the device is opened, on the thread of Open. What it throws fails the opening.
    virtual void OnOpen(CInstantCamera& /*camera*/) {}
    /// After that: the place to configure the camera. What it throws fails the opening.
    virtual void OnOpened(CInstantCamera& /*camera*/) {}
    /// Before the device is closed, on the thread of Close. Swallowed.
    virtual void OnClose(CInstantCamera& /*camera*/) {}
    /// After that.
    virtual void OnClosed(CInstantCamera& /*camera*/) {}
    /// Before grabbing starts, on the thread of StartGrabbing. What it throws fails the start.
    virtual void OnGrabStart(CInstantCamera& /*camera*/) {}
    /// After that. What it throws fails the start.
    virtual void OnGrabStarted(CInstantCamera& /*camera*/) {}
    /// Before grabbing stops, on the thread of StopGrabbing. Swallowed.
    virtual void OnGrabStop(CInstantCamera& /*camera*/) {}
    /// After that.
    virtual void OnGrabStopped(CInstantCamera& /*camera*/) {}
    /// Grabbing failed, for the cause in @p message; on the thread that finds out. Swallowed.
    virtual void OnGrabError(CInstantCamera& /*camera*/, const char* /*message*/) {}
    /// The camera was disconnected, on a thread of the library's. Swallowed.
    virtual void OnCameraDeviceRemoved(CInstantCamera& /*camera*/) {}
    /// This handler was registered. What it throws reaches the caller of the registration, which stands.
    virtual void OnConfigurationRegistered(CInstantCamera& /*camera*/) {}
    /// This handler was deregistered. Swallowed.
    virtual void OnConfigurationDeregistered(CInstantCamera& /*camera*/) {}
    /// The end of a registration with Cleanup_Delete: deletes the object. Swallowed.
    virtual void DestroyConfiguration();

private:
    friend class CInstantCamera;
    long m_referenceCounter = 0; // registrations; right behind the table, as its address is known to other builds

public:
    CConfigurationEventHandler() = default;
    CConfigurationEventHandler(const CConfigurationEventHandler& /*other*/) noexcept {} ///< Is registered nowhere.
    CConfigurationEventHandler& operator=(const CConfigurationEventHandler& /*other*/) noexcept { return *this; }
    virtual ~CConfigurationEventHandler(); // last of the virtual operations
};

} // namespace Zelmo
