// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/CameraLock.h"
#include "ZelmoBase/core/Thread.h"

#include <zelmo/Device.h>
#include <zelmo/WaitObject.h>
#include <zelmo/WaitObjects.h>

#include <atomic>
#include <functional>
#include <memory>

namespace Zelmo {

class CInstantCamera;

/// Learns from a device that it was physically removed, and tells the camera's handlers on a thread of its own: no code
/// of the application runs on a thread of the plug-in. A removal is told once, and never while another device is
/// attached.
/// Threads: the callback on any, with a leaf of its own; IsRemoved from any; the rest with the camera lock held, but
/// for End. The thread takes the camera lock. It is started with the first device that tells, and lives as long as the
/// camera.
class CDeviceRemovalForwarder {
public:
    /// @param tell notifies the handlers; called with the camera lock held
    CDeviceRemovalForwarder(const CInstantCamera& camera, CCameraLock& cameraLock, std::function<void()> tell);

    /// What stands in the way of being told is logged: a camera without that is still a camera.
    /// @throws what is not of the GenICam family.
    void Register(IZelmoDevice& device);
    void Deregister(IZelmoDevice& device); ///< Waits for a running callback. @throws what the device throws.
    void Forget() noexcept;                ///< The device is let go of: so is its removal.
    bool IsRemoved() const noexcept { return m_isRemoved; }
    void End() noexcept; ///< Joins the thread.

private:
    class CToken;
    class CTokenCallback;

    void OnRemoved();
    void StartThread();
    void Run(const WaitObjects& objects) noexcept;
    void Forward(const WaitObjects& objects);

    const CInstantCamera& m_camera;
    CCameraLock& m_cameraLock;
    const std::function<void()> m_tell;
    std::shared_ptr<CToken> m_token ZELMO_GUARDED_BY(m_cameraLock); // of the registration
    DeviceCallbackHandle m_handle ZELMO_GUARDED_BY(m_cameraLock) = 0;
    bool m_isRegistered ZELMO_GUARDED_BY(m_cameraLock) = false;
    bool m_isTold ZELMO_GUARDED_BY(m_cameraLock) = false;
    std::atomic<bool> m_isRemoved{false}; // set by the callback, cleared with the camera lock held
    WaitObjectEx m_removed = WaitObjectEx::Create();
    WaitObjectEx m_stop = WaitObjectEx::Create();
    CThread m_thread;
};

} // namespace Zelmo
