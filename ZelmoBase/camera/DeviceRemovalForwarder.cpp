// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/DeviceRemovalForwarder.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <utility>

namespace Zelmo {

/// What a device holds on to: a callback that comes late, from a device that would not forget it, finds nobody.
class CDeviceRemovalForwarder::CToken {
public:
    explicit CToken(CDeviceRemovalForwarder& forwarder) noexcept : m_forwarder(&forwarder) {}

    void Fire() {
        CLockGuard lock(m_lock);
        if (m_forwarder != nullptr) {
            m_forwarder->OnRemoved();
        }
    }
    void End() noexcept {
        CLockGuard lock(m_lock);
        m_forwarder = nullptr;
    }

private:
    CMutex m_lock; // a leaf
    CDeviceRemovalForwarder* m_forwarder ZELMO_GUARDED_BY(m_lock);
};

class CDeviceRemovalForwarder::CTokenCallback final : public Base_Callback1Body<IZelmoDevice*> {
public:
    explicit CTokenCallback(std::shared_ptr<CToken> token) noexcept : m_token(std::move(token)) {}
    void operator()(IZelmoDevice* /*device*/) override { m_token->Fire(); }
    Base_Callback1Body* clone() const override { return new CTokenCallback(*this); }

private:
    const std::shared_ptr<CToken> m_token;
};

CDeviceRemovalForwarder::CDeviceRemovalForwarder(const CInstantCamera& camera, CCameraLock& cameraLock,
                                                 std::function<void()> tell)
    : m_camera(camera), m_cameraLock(cameraLock), m_tell(std::move(tell)) {}

void CDeviceRemovalForwarder::Register(IZelmoDevice& device) ZELMO_NO_THREAD_SAFETY_ANALYSIS {
    try {
        m_token = std::make_shared<CToken>(*this);
        DeviceRemovalCallback callback(new CTokenCallback(m_token));
        m_handle = device.RegisterRemovalCallback(callback);
        m_isRegistered = m_handle != 0;
        if (m_isRegistered) {
            StartThread();
        }
    } catch (const GenICam::GenericException& e) {
        RunLogged(CameraLogCategory(), "Exception caught while deregistering device removal callback, msg='%s'",
                  "Unknown exception caught while deregistering device removal callback.", [&] { Deregister(device); });
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Warn,
                        "Camera %p: Could not register removal callback at transport layer. Removal event will not be "
                        "triggered. (%s)",
                        static_cast<const void*>(&m_camera), e.GetDescription());
    }
}

void CDeviceRemovalForwarder::Deregister(IZelmoDevice& device) ZELMO_NO_THREAD_SAFETY_ANALYSIS {
    const std::shared_ptr<CToken> token = std::move(m_token);
    const ScopeGuard end([&token] {
        if (token != nullptr) {
            token->End();
        }
    });
    if (std::exchange(m_isRegistered, false)) {
        device.DeregisterRemovalCallback(m_handle);
    }
}

/// A thread that has seen the signal of this device, but not got the camera lock yet, finds nothing to tell.
void CDeviceRemovalForwarder::Forget() noexcept ZELMO_NO_THREAD_SAFETY_ANALYSIS {
    m_handle = 0;
    m_isRegistered = false;
    m_isTold = false;
    m_isRemoved = false;
    RunLogged(
        CameraLogCategory(), "Camera %p: Cannot reset the removal of a device, msg='%s'",
        "Camera %p: Cannot reset the removal of a device.", [this] { m_removed.Reset(); },
        static_cast<const void*>(&m_camera));
}

void CDeviceRemovalForwarder::OnRemoved() {
    m_isRemoved = true; // first: who is woken finds it
    m_removed.Signal();
}

void CDeviceRemovalForwarder::StartThread() {
    if (m_thread.IsJoinable()) {
        return;
    }
    const auto fail = [](const char* why) {
        throw GENERIC_EXCEPTION("Could not start removal callback proxy thread. (%s)", why);
    };
    try {
        const auto objects = std::make_shared<WaitObjects>(); // the lowest place wins: a removal is told before the end
        objects->Add(m_removed);
        objects->Add(m_stop);
        m_thread.Start("zelmo-removal", [this, objects] { Run(*objects); });
    } catch (const GenICam::GenericException& e) {
        fail(e.GetDescription());
    } catch (const std::exception& e) {
        fail(e.what());
    }
}

void CDeviceRemovalForwarder::Run(const WaitObjects& objects) noexcept {
    const auto* const camera = static_cast<const void*>(&m_camera);
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, "Camera %p: Device removal forwarding thread started",
                    camera);
    RunLogged(
        CameraLogCategory(), "Camera %p: Exception caught in device removal forwarding thread, msg='%s'",
        "Camera %p: Unknown exception caught in device removal forwarding thread.", [&] { Forward(objects); }, camera);
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, "Camera %p: Device removal forwarding thread stopped",
                    camera);
}

void CDeviceRemovalForwarder::Forward(const WaitObjects& objects) {
    enum : unsigned { Removed, Stopped };
    for (unsigned index = Stopped; objects.WaitForAny(WaitTimeoutInfinite, &index) && index == Removed;) {
        m_removed.Reset();
        CCameraGuard lock(m_cameraLock);
        if (m_isRemoved && !std::exchange(m_isTold, true)) {
            m_tell();
        }
    }
}

void CDeviceRemovalForwarder::End() noexcept {
    RunLogged(
        CameraLogCategory(), "Camera %p: Cannot end the device removal forwarding thread, msg='%s'",
        "Camera %p: Cannot end the device removal forwarding thread.",
        [this] {
            m_stop.Signal();
            if (m_thread.IsJoinable()) {
                m_thread.Join();
                hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice,
                                "Camera %p: Device removal forwarding thread joined",
                                static_cast<const void*>(&m_camera));
            }
        },
        static_cast<const void*>(&m_camera));
}

} // namespace Zelmo
