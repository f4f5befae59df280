// SPDX-License-Identifier: Apache-2.0
#include <zelmo/internal/DeviceGrab.h>

#include "ZelmoBase/camera/Acquisition.h"
#include "ZelmoBase/camera/BufferFactoryDeallocator.h"
#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/camera/GrabSession.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <zelmo/Device.h>
#include <zelmo/IntegerParameter.h>
#include <zelmo/ThreadPriority.h>

#include <Base/GCException.h>
#include <Base/GCSynch.h>

#include <algorithm>

namespace Zelmo {
namespace {

constexpr int kDefaultPriority = 25;

int GetEnginePriority() {
    int lowest = 0;
    int highest = 0;
    GetRTThreadPriorityCapabilities(lowest, highest);
    return std::max(lowest, std::min(highest, kDefaultPriority));
}

} // namespace

/// The session's owner. The lock is what the camera lock will be.
class CDeviceGrab::Impl final : private IGrabSessionOwner, private IGrabEngineObserver {
public:
    explicit Impl(IZelmoDevice& device)
        : m_device(device), m_stopObject(WaitObjectEx::Create(true)), m_session(nullptr, m_lock, *this, *this) {}
    ~Impl() { StopGrabbing(); }

    void Start(const Settings& settings);
    void StopGrabbing() noexcept override;

    CGrabSession& GetSession() noexcept { return m_session; }
    const WaitObject& GetStopObject() const noexcept { return m_stopObject; }

    void SetBufferFactory(IBufferFactory* factory, ECleanup cleanup) {
        GenICam::AutoLock lock(m_lock);
        m_session.GetEngine().SetBufferFactory(nullptr);
        m_session.GetEngine().SetBufferFactory(ShareBufferFactory(factory, cleanup, nullptr));
    }

private:
    CGrabResultData* CreateGrabResultData() override { return new CGrabResultData; }
    void OnGrabError(const char*) noexcept override {}
    void OnGrabCountReached() override;

    IZelmoDevice& m_device;
    GenICam::CLock m_lock;
    CAcquisition m_acquisition;
    WaitObjectEx m_stopObject; // signaled while no session runs
    CGrabSession m_session;
};

void CDeviceGrab::Impl::Start(const Settings& settings) {
    GenICam::AutoLock lock(m_lock);
    IStreamGrabber* const grabber = m_device.GetStreamGrabber(0);
    if (grabber == nullptr) {
        throw RUNTIME_EXCEPTION("The attached device does not support grabbing.");
    }
    CGrabSettings session;
    session.strategy = settings.strategy;
    session.maxImages = settings.maxImages;
    session.maxNumBuffer = settings.maxNumBuffer;
    session.maxNumQueuedBuffer = settings.maxNumQueuedBuffer;
    session.maxNumGrabResults = settings.maxNumGrabResults;
    session.payloadSize =
        static_cast<unsigned long>(CIntegerParameter(m_device.GetNodeMap(), "PayloadSize").GetValueOrDefault(0));
    session.priority = GetEnginePriority();
    session.clearBuffers = settings.clearBufferModeEnable;
    session.cameraName = m_device.GetDeviceInfo().GetSerialNumber().c_str();
    if (!m_session.IsGrabbing()) {
        m_session.GetEngine().SetOutputQueueSize(settings.outputQueueSize);
    }
    m_session.Start(grabber, session);
    ScopeGuard stop([this] { StopGrabbing(); });
    if (settings.acquisitionStartStopExecutionEnable) {
        m_acquisition.Start(m_device);
    }
    m_stopObject.Reset();
    stop.Dismiss();
}

void CDeviceGrab::Impl::StopGrabbing() noexcept {
    GenICam::AutoLock lock(m_lock);
    if (!m_session.IsGrabbing()) {
        return;
    }
    m_acquisition.Stop(m_device, "Exception caught while executing acquisition stop, msg='%s'",
                       "Unknown exception caught while executing acquisition stop.");
    m_session.Stop();
    RunLogged(
        CameraLogCategory(), "Camera %s: Cannot signal the end of grabbing, msg='%s'",
        "Camera %s: Cannot signal the end of grabbing.", [this] { m_stopObject.Signal(); },
        m_device.GetDeviceInfo().GetSerialNumber().c_str());
}

void CDeviceGrab::Impl::OnGrabCountReached() {
    m_acquisition.Stop(m_device, "Exception caught while executing acquisition stop from grab thread, msg='%s'",
                       "Unknown exception caught while executing acquisition stop from grab thread.");
}

CDeviceGrab::CDeviceGrab(IZelmoDevice& device) : m_impl(new Impl(device)) {}

CDeviceGrab::~CDeviceGrab() {
    delete m_impl;
}

void CDeviceGrab::StartGrabbing(const Settings& settings) {
    m_impl->Start(settings);
}

void CDeviceGrab::StopGrabbing() noexcept {
    m_impl->StopGrabbing();
}

bool CDeviceGrab::IsGrabbing() const {
    return m_impl->GetSession().IsGrabbing();
}

bool CDeviceGrab::RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling handling) {
    return m_impl->GetSession().Retrieve(timeoutMs, result, handling);
}

const WaitObject& CDeviceGrab::GetGrabResultWaitObject() const {
    return m_impl->GetSession().GetEngine().GetResultObject();
}

const WaitObject& CDeviceGrab::GetGrabStopWaitObject() const {
    return m_impl->GetStopObject();
}

std::uint64_t CDeviceGrab::GetNumQueuedBuffers() const {
    return m_impl->GetSession().GetEngine().GetNumQueuedBuffers();
}

std::uint64_t CDeviceGrab::GetNumReadyBuffers() const {
    return m_impl->GetSession().GetEngine().GetNumReadyBuffers();
}

std::uint64_t CDeviceGrab::GetNumEmptyBuffers() const {
    return m_impl->GetSession().GetEngine().GetNumEmptyBuffers();
}

void CDeviceGrab::SetBufferFactory(IBufferFactory* factory, ECleanup cleanup) {
    m_impl->SetBufferFactory(factory, cleanup);
}

} // namespace Zelmo
