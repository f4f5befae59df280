// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/InstantCameraImpl.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/camera/LifeEvents.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <zelmo/BooleanParameter.h>
#include <zelmo/Device.h>
#include <zelmo/StreamGrabber.h>
#include <zelmo/TlFactory.h>

#include <Base/GCException.h>
#include <GenApi/NodeCallback.h>
#include <GenApi/NodeMapFactory.h>

#include <algorithm>
#include <utility>

namespace Zelmo {
namespace {

template <class... Args>
void LogLife(const char* format, const CInstantCamera& camera, const Args&... args) noexcept {
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, format, static_cast<const void*>(&camera), args...);
}

/// A downward step that must not keep the next one from being done.
template <class Step, class... Args>
bool RunStep(const char* known, const char* unknown, Step&& step, const Args&... args) noexcept {
    return RunLogged(CameraLogCategory(), known, unknown, std::forward<Step>(step), args...);
}

} // namespace

CInstantCamera::CInstantCameraImpl::CInstantCameraImpl(CInstantCamera& camera)
    : m_camera(camera), m_cameraLock(m_parameters->GetLock()), m_configurations(camera), m_imageHandlers(camera),
      m_cameraEvents(camera), m_trigger(m_device),
      m_events([this]() ZELMO_NO_THREAD_SAFETY_ANALYSIS { GiveUpDevice(); }),
      m_session(&camera, m_cameraLock, *this, *this), m_queuePort(m_session.GetEngine()),
      m_removal(camera, m_cameraLock, [this]() ZELMO_NO_THREAD_SAFETY_ANALYSIS { Notify(kOnCameraDeviceRemoved); }) {
    m_parameters.SetThreadPriorities();
    m_parameters->Connect(&m_queuePort, "QueuePort");
    GenApi::Register(
        m_parameters->GetNode("StaticChunkNodeMapPoolSize"),
        [this](GenApi::INode*) ZELMO_NO_THREAD_SAFETY_ANALYSIS { ResizeChunkPool(); }, GenApi::cbPostInsideLock);
}

CInstantCamera::CInstantCameraImpl::~CInstantCameraImpl() = default;

void CInstantCamera::CInstantCameraImpl::LetGo() noexcept {
    LogLife("Camera %p: Destroying CInstantCamera", m_camera);
    m_isDestroying = true;
    RunStep("Exception caught while calling Attach(NULL), msg='%s'",
            "Unknown exception caught while calling Attach(NULL).", [this] {
                if (IsAttached()) {
                    m_camera.Attach(nullptr, Cleanup_Delete);
                }
            });
    for (int attempt = 0; attempt < 2 && IsAttached(); ++attempt) { // handlers may do what they like: once
        RunStep(
            "Camera %p: Exception caught while letting go of the device, msg='%s'",
            "Camera %p: Unknown exception caught while letting go of the device.",
            [this] { HasOwnership() ? DestroyDevice() : DetachDevice(); }, static_cast<const void*>(&m_camera));
        if (IsAttached()) {
            ShutdownEventHandlers();
        }
    }
    RunStep(
        "Camera %p: Exception caught while joining the grab loop thread, msg='%s'",
        "Camera %p: Unknown exception caught while joining the grab loop thread.", [this] { JoinLoopThreads(); },
        static_cast<const void*>(&m_camera));
    m_removal.End();
    ShutdownEventHandlers();
}

// Notifications

void CInstantCamera::CInstantCameraImpl::Notify(const CLifeEvent& event) {
    LogLife("Camera %p: %s", m_camera, event.GetShortName());
    m_configurations.ForEach([this, &event](CConfigurationEventHandler& handler) {
        NotifyHandler(handler, event.name, event.isSwallowed,
                      [this, &event](CConfigurationEventHandler& called) { (called.*event.call)(m_camera); });
    });
}

/// Not when this very notification is being made already, to a handler that has called back into the camera.
void CInstantCamera::CInstantCameraImpl::NotifyOnce(const CLifeEvent& event, std::uint64_t& underway,
                                                    std::uint64_t number) {
    if (underway == number) {
        return;
    }
    const std::uint64_t before = std::exchange(underway, number);
    const ScopeGuard end([&] { underway = before; });
    Notify(event);
}

void CInstantCamera::CInstantCameraImpl::NotifyGrabError(const char* message) noexcept {
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error, "Camera %p: OnGrabError msg=%s",
                    static_cast<const void*>(&m_camera), message);
    m_configurations.ForEach([this, message](CConfigurationEventHandler& handler) {
        const void* const address = &handler;
        const CHandlerScope scope;
        RunLogged(
            CameraLogCategory(),
            "Exception caught while notifying event CConfigurationEventHandler::OnGrabError handler %p, rethrow=0, "
            "msg=%s",
            "Unknown exception caught while notifying event CConfigurationEventHandler::OnGrabError handler %p, "
            "rethrow=0",
            [&] { handler.OnGrabError(m_camera, message); }, address);
    });
}

// Checks

IZelmoDevice& CInstantCamera::CInstantCameraImpl::CheckDevice() const {
    if (m_device.Get() == nullptr) {
        throw RUNTIME_EXCEPTION("No device attached.");
    }
    if (m_removal.IsRemoved()) {
        throw RUNTIME_EXCEPTION("The camera device has been physically removed.");
    }
    return *m_device.Get();
}

/// After a notification: another device is not the one that the operation is about.
IZelmoDevice& CInstantCamera::CInstantCameraImpl::CheckSameDevice(std::uint64_t attachment) const {
    if (m_device.GetNumber() != attachment) {
        throw RUNTIME_EXCEPTION("No device attached.");
    }
    return CheckDevice();
}

bool CInstantCamera::CInstantCameraImpl::IsDeviceOpen() const noexcept {
    bool isOpen = false;
    RunStep("Exception caught while checking device is open in IsOpen, msg='%s'",
            "Unknown exception caught while checking device is open in IsOpen.",
            [&]() ZELMO_NO_THREAD_SAFETY_ANALYSIS { isOpen = m_device.Get() != nullptr && m_device.Get()->IsOpen(); });
    return isOpen;
}

/// A device that closed itself, or fails to tell, has still to be left.
bool CInstantCamera::CInstantCameraImpl::NeedsClosing() const noexcept {
    return m_isSetUp || m_session.IsGrabbing() || IsDeviceOpen();
}

// Attach, destroy, detach

void CInstantCamera::CInstantCameraImpl::Attach(IZelmoDevice* device, ECleanup cleanup) {
    CCameraGuard lock(m_cameraLock);
    if (device != nullptr && m_events.IsDelivering()) {
        throw RUNTIME_EXCEPTION("Cannot attach the device %s: an event of the device before is being handled.",
                                device->GetDeviceInfo().GetFullName().c_str());
    }
    LetGoOfDevice(device);
    if (device == nullptr) {
        return;
    }
    const std::string name = device->GetDeviceInfo().GetFullName().c_str();
    if (m_isDestroying) {
        LogLife("Camera %p: Blocked attaching device %p during destruction of CInstantCamera, name=%s", m_camera,
                static_cast<void*>(device), name.c_str());
        return;
    }
    Notify(kOnAttach);
    LetGoOfDevice(device); // that of a handler
    if (m_device.Get() != nullptr) {
        throw RUNTIME_EXCEPTION(
            "Cannot attach the device %s: a handler attaches another one whenever one is let go of.", name.c_str());
    }
    m_device.Set(device, cleanup == Cleanup_Delete);
    const std::uint64_t attachment = m_device.GetNumber();
    ScopeGuard undo([&]() ZELMO_NO_THREAD_SAFETY_ANALYSIS {
        if (m_device.GetNumber() == attachment) { // else a callback has let go of it
            CloseTeardown();
            ResetToDetached();
        }
        LogLife("Camera %p: Attaching Device %p has failed, name=%s", m_camera, static_cast<void*>(device),
                name.c_str());
    });
    m_chunks.SetDevice(device);
    if (CBooleanParameter migration(device->GetTLNodeMap(), "MigrationModeEnable"); migration.IsWritable()) {
        migration.SetValue(m_parameters.MigrationModeActive->GetValue());
    }
    if (device->IsOpen()) {
        LogLife("Camera %p: The device %p about to be attached is open, name=%s", m_camera, static_cast<void*>(device),
                name.c_str());
        TakeOpenDevice(*device, attachment);
    }
    CheckSameDevice(attachment);
    undo.Dismiss();
    m_device.FetchNodes();
    LogLife("Camera %p: Device %p attached, name=%s, cleanupProcedure=%d", m_camera, static_cast<void*>(device),
            name.c_str(), static_cast<int>(cleanup));
    Notify(kOnAttached);
}

/// @p next is to be attached: if it is the one that is, it must not be destroyed.
void CInstantCamera::CInstantCameraImpl::LetGoOfDevice(const IZelmoDevice* next) {
    if (m_device.Get() == nullptr) {
        return;
    }
    if (m_device.IsOwned() && m_device.Get() != next) {
        m_camera.DestroyDevice();
    } else {
        m_camera.DetachDevice();
    }
}

/// What the application has chosen when it opened the device becomes what the parameters show.
void CInstantCamera::CInstantCameraImpl::TakeOpenDevice(IZelmoDevice& device, std::uint64_t attachment) {
    OpenSetup(device);
    m_openReasons = OpenReason_Application;
    const AccessModeSet modes = device.AccessMode();
    m_parameters.GrabCameraEvents->SetValue(modes.test(Event));
    m_parameters.MonitorModeActive->SetValue(modes.test(Stream) && !modes.test(Control));
    CheckSameDevice(attachment); // callbacks of the application may have run
    m_parameters.AccessModeParamsLocked->SetValue(1);
}

void CInstantCamera::CInstantCameraImpl::DestroyDevice() {
    CCameraGuard lock(m_cameraLock);
    IZelmoDevice* const device = m_device.Get();
    if (device == nullptr) {
        return;
    }
    if (HasToWait(EGiveUp::Destroy)) {
        return;
    }
    const std::uint64_t attachment = m_device.GetNumber();
    if (NeedsClosing()) {
        RunStep("Exception caught while calling Close, msg='%s'", "Unknown exception caught while calling Close.",
                [this] { m_camera.Close(); });
        if (m_device.GetNumber() == attachment && NeedsClosing() && EndSession()) {
            CloseDevice();
        }
    }
    if (m_device.GetNumber() != attachment || m_session.IsGrabbing()) {
        return; // a handler has made something else of it
    }
    const std::uint64_t opening = m_openNumber;
    NotifyOnce(kOnDestroy, m_destroyUnderway, attachment);
    if (m_device.GetNumber() == attachment && m_openNumber != opening && !m_session.IsGrabbing()) {
        CloseDevice(); // opened again by a handler
    }
    if (m_device.GetNumber() != attachment || m_session.IsGrabbing()) {
        return;
    }
    CloseQuietly(*device); // whatever handlers do
    if (m_device.GetNumber() != attachment) {
        return;
    }
    RunStep("Exception caught while destroying device in DestroyDevice, msg='%s'",
            "Unknown exception caught while destroying device in DestroyDevice.",
            [device] { CTlFactory::GetInstance().DestroyDevice(device); });
    ResetToDetached();
    Notify(kOnDestroyed);
}

void CInstantCamera::CInstantCameraImpl::DetachDevice() {
    CCameraGuard lock(m_cameraLock);
    if (m_device.Get() == nullptr) {
        return;
    }
    const std::uint64_t attachment = m_device.GetNumber();
    if (HasToWait(EGiveUp::Detach) || !EndSession()) {
        return;
    }
    NotifyOnce(kOnDetach, m_detachUnderway, attachment);
    if (m_device.GetNumber() != attachment || m_session.IsGrabbing()) {
        return;
    }
    if (m_isSetUp || IsDeviceOpen()) {
        CloseTeardown();
        if (m_device.GetNumber() != attachment) {
            return;
        }
    }
    ResetToDetached();
    Notify(kOnDetached);
}

/// Nothing of the device is left but what the application has of it.
void CInstantCamera::CInstantCameraImpl::ResetToDetached() noexcept {
    m_device.Clear();
    m_openReasons = 0;
    m_removal.Forget();
    m_acquisition.SetNodeMap(nullptr);
    m_events.DropAdapter();
    m_chunks.Stop();
    m_chunks.SetDevice(nullptr);
}

// Open, close

void CInstantCamera::CInstantCameraImpl::Open() {
    CCameraGuard lock(m_cameraLock);
    IZelmoDevice& device = CheckDevice();
    const std::uint64_t attachment = m_device.GetNumber();
    if (!device.IsOpen()) {
        Notify(kOnOpen);
        CheckSameDevice(attachment);
        if (!device.IsOpen()) { // else a handler has opened it
            OpenDevice(device);
        }
    }
    if (m_device.GetNumber() == attachment && IsDeviceOpen()) {
        m_openReasons |= OpenReason_Application;
    }
}

void CInstantCamera::CInstantCameraImpl::OpenDevice(IZelmoDevice& device) {
    const std::uint64_t attachment = m_device.GetNumber();
    if (m_isSetUp) { // for an opening that the device has ended itself
        CloseTeardown();
    }
    ScopeGuard undo([&]() ZELMO_NO_THREAD_SAFETY_ANALYSIS {
        if (m_device.GetNumber() != attachment) {
            return; // a callback has let go of it
        }
        CloseTeardown();
        if (m_device.GetNumber() == attachment && IsDeviceOpen()) {
            RunStep("Exception caught while closing device because device open failed, msg='%s'",
                    "Unknown exception caught while closing device because device open failed.",
                    [&device] { device.Close(); });
        }
    });
    m_parameters.AccessModeParamsLocked->SetValue(1);
    CheckSameDevice(attachment); // callbacks of the application may have run
    AccessModeSet modes;
    if (m_parameters.GrabCameraEvents->GetValue()) {
        modes.set(Event);
    }
    if (CBooleanParameter migration(device.GetTLNodeMap(), "MigrationModeEnable"); migration.IsValid()) {
        migration.SetValue(m_parameters.MigrationModeActive->GetValue());
    }
    modes.set(Stream);
    if (!m_parameters.MonitorModeActive->GetValue()) {
        modes.set(Control);
    }
    device.Open(modes);
    OpenSetup(device);
    undo.Dismiss();
    try {
        Notify(kOnOpened);
    } catch (...) {
        if (m_device.GetNumber() == attachment) {
            RunStep("Exception caught while calling Close, msg='%s'", "Unknown exception caught while calling Close.",
                    [this] { m_camera.Close(); });
        }
        throw;
    }
}

void CInstantCamera::CInstantCameraImpl::OpenSetup(IZelmoDevice& device) {
    m_isSetUp = true; // whatever fails from here on, CloseTeardown undoes it
    ++m_openNumber;
    m_removal.Register(device);
    GenApi::INodeMap& nodeMap = OrEmpty(device.GetNodeMap());
    if (GenApi::IsAvailable(nodeMap.GetNode("EventSelector"))) {
        m_events.CreateAdapter(device);
    }
    {
        GenICam::AutoLock lock(m_eventLock);
        m_cameraEvents.ForEachMetaData(
            [&nodeMap](const std::shared_ptr<CCameraEventMetaData>& data) { data->Connect(nodeMap); });
    }
    m_device.FetchNodes();
    ResizeChunkPool();
    m_chunks.FillPool();
}

void CInstantCamera::CInstantCameraImpl::Close() {
    CCameraGuard lock(m_cameraLock);
    if (m_device.Get() != nullptr && !HasToWait(EGiveUp::Close) && EndSession()) {
        CloseDevice();
    }
}

/// In the delivery of an event only the session ends: the adapter needs the open device until it returns.
bool CInstantCamera::CInstantCameraImpl::HasToWait(EGiveUp what) noexcept {
    if (!m_events.IsDelivering()) {
        return false;
    }
    if (EndSession() && m_giveUp < EGiveUp::Detach) {
        m_giveUp = std::max(m_giveUp, what);
        m_openReasons = 0;
    }
    return true;
}

/// A device that a handler has opened again, or grabs from again, is not closed for what came before.
void CInstantCamera::CInstantCameraImpl::GiveUpDevice() noexcept {
    const EGiveUp what = std::exchange(m_giveUp, EGiveUp::Nothing);
    if (what == EGiveUp::Close && m_openReasons == 0) {
        CloseDevice();
    } else if (what > EGiveUp::Close) {
        RunStep(
            "Camera %p: Exception caught while letting go of the device, msg='%s'",
            "Camera %p: Unknown exception caught while letting go of the device.",
            [this, what] { what == EGiveUp::Destroy ? DestroyDevice() : DetachDevice(); },
            static_cast<const void*>(&m_camera));
    }
}

/// @return false when a handler has changed the device meanwhile, or has begun another session: then the rest of the
/// way down is not this caller's any more.
bool CInstantCamera::CInstantCameraImpl::EndSession() noexcept {
    const std::uint64_t attachment = m_device.GetNumber();
    const std::uint64_t session = m_session.GetNumber();
    if (m_session.IsGrabbing()) {
        RunStep("Exception caught while calling StopGrabbing, msg='%s'",
                "Unknown exception caught while calling StopGrabbing.", [this] { m_camera.StopGrabbing(); });
        if (IsSessionRunning(session)) {
            StopSession();
        }
    }
    return m_device.GetNumber() == attachment && !m_session.IsGrabbing();
}

/// Handlers hear of it only from a device that says it is open; the rest also has to be done for one that closed
/// itself.
void CInstantCamera::CInstantCameraImpl::CloseDevice() noexcept {
    const std::uint64_t attachment = m_device.GetNumber();
    const bool isOpen = IsDeviceOpen();
    if (isOpen) {
        const std::uint64_t opening = m_openNumber;
        NotifyOnce(kOnClose, m_closeUnderway, opening);
        if (m_device.GetNumber() != attachment || m_openNumber != opening || m_session.IsGrabbing()) {
            return; // closed by a handler, or in use by one
        }
    }
    if (isOpen || m_isSetUp) {
        CloseTeardown();
    }
    if (isOpen && m_device.GetNumber() == attachment) {
        RunStep("Exception caught while closing the device, msg='%s'",
                "Unknown exception caught while closing the device.",
                [this]() ZELMO_NO_THREAD_SAFETY_ANALYSIS { m_device.Get()->Close(); });
        Notify(kOnClosed);
    }
}

/// Without a notice, for a device that is about to go.
void CInstantCamera::CInstantCameraImpl::CloseQuietly(IZelmoDevice& device) noexcept {
    const std::uint64_t attachment = m_device.GetNumber();
    if (m_isSetUp) {
        CloseTeardown();
        if (m_device.GetNumber() == attachment && IsDeviceOpen()) {
            RunStep("Exception caught while closing the device, msg='%s'",
                    "Unknown exception caught while closing the device.", [&device] { device.Close(); });
        }
    }
}

void CInstantCamera::CInstantCameraImpl::CloseTeardown() noexcept {
    RunStep("Exception caught while detaching camera event callback adapter from nodemap, msg='%s'",
            "Unknown exception caught while detaching camera event callback adapter from nodemap.", [this] {
                GenICam::AutoLock lock(m_eventLock);
                m_cameraEvents.ForEachMetaData(
                    [](const std::shared_ptr<CCameraEventMetaData>& data) { data->Disconnect(); });
            });
    m_events.DropAdapter();
    RunStep("Exception caught while deregistering device removal callback, msg='%s'",
            "Unknown exception caught while deregistering device removal callback.",
            [this]() ZELMO_NO_THREAD_SAFETY_ANALYSIS { m_removal.Deregister(*m_device.Get()); });
    m_acquisition.SetNodeMap(nullptr); // it lives no longer than this
    m_device.ForgetNodes();
    m_isSetUp = false;
    ++m_openNumber;
    m_openReasons = 0;
    RunStep(
        "Camera %p: Cannot unlock the parameters of the access mode, msg='%s'",
        "Camera %p: Cannot unlock the parameters of the access mode.",
        [this] { m_parameters.AccessModeParamsLocked->SetValue(0); }, static_cast<const void*>(&m_camera));
}

/// Also a callback of the node, under the lock of the parameters: another one than the camera lock while that is
/// overridden.
void CInstantCamera::CInstantCameraImpl::ResizeChunkPool() {
    m_chunks.ResizePool(m_parameters.StaticChunkNodeMapPoolSize->GetValue());
}

// Answers

bool CInstantCamera::CInstantCameraImpl::IsAttached() const {
    CCameraGuard lock(m_cameraLock);
    return m_device.Get() != nullptr;
}

bool CInstantCamera::CInstantCameraImpl::IsOpen() const {
    CCameraGuard lock(m_cameraLock);
    return IsDeviceOpen();
}

/// A removal may be about to be told: a millisecond is given to it.
bool CInstantCamera::CInstantCameraImpl::IsRemoved() const {
    CCameraGuard lock(m_cameraLock);
    if (!m_removal.IsRemoved()) {
        WaitObject::Sleep(1);
    }
    return m_removal.IsRemoved();
}

bool CInstantCamera::CInstantCameraImpl::HasOwnership() const {
    CCameraGuard lock(m_cameraLock);
    return m_device.Get() != nullptr && m_device.IsOwned();
}

IZelmoDevice* CInstantCamera::CInstantCameraImpl::GetDevice() const {
    CCameraGuard lock(m_cameraLock);
    return &CheckDevice();
}

const CDeviceInfo& CInstantCamera::CInstantCameraImpl::GetDeviceInfo() const {
    CCameraGuard lock(m_cameraLock);
    return m_device.Get() != nullptr ? m_device.Get()->GetDeviceInfo() : m_noDeviceInfo;
}

CameraDeviceKind CInstantCamera::CInstantCameraImpl::GetKind() const {
    CCameraGuard lock(m_cameraLock);
    return m_device.GetKind();
}

bool CInstantCamera::CInstantCameraImpl::IsCxp() const {
    CCameraGuard lock(m_cameraLock);
    return m_device.IsCxp();
}

SfncVersion CInstantCamera::CInstantCameraImpl::GetSfncVersion() const {
    CCameraGuard lock(m_cameraLock);
    CheckDevice();
    return m_device.GetSfncVersion();
}

GenApi::INodeMap& CInstantCamera::CInstantCameraImpl::GetNodeMap() {
    CCameraGuard lock(m_cameraLock);
    return OrEmpty(CheckDevice().GetNodeMap());
}

GenApi::INodeMap& CInstantCamera::CInstantCameraImpl::GetTLNodeMap() {
    CCameraGuard lock(m_cameraLock);
    return OrEmpty(CheckDevice().GetTLNodeMap());
}

GenApi::INodeMap& CInstantCamera::CInstantCameraImpl::GetStreamGrabberNodeMap() {
    CCameraGuard lock(m_cameraLock);
    IZelmoDevice& device = CheckDevice();
    if (!device.IsOpen()) {
        throw RUNTIME_EXCEPTION("Cannot get the stream grabber from a closed device.");
    }
    IStreamGrabber* const grabber = device.GetStreamGrabber(0);
    return OrEmpty(grabber != nullptr ? grabber->GetNodeMap() : nullptr);
}

GenApi::INodeMap& CInstantCamera::CInstantCameraImpl::GetEventGrabberNodeMap() {
    CCameraGuard lock(m_cameraLock);
    IZelmoDevice& device = CheckDevice();
    if (!device.IsOpen()) {
        throw RUNTIME_EXCEPTION("Cannot get the event grabber from a closed device.");
    }
    IEventGrabber* const grabber = device.GetEventGrabber();
    return OrEmpty(grabber != nullptr ? grabber->GetNodeMap() : nullptr);
}

GenApi::INodeMap& CInstantCamera::CInstantCameraImpl::GetInstantCameraNodeMap() const {
    CCameraGuard lock(m_cameraLock);
    return *m_parameters;
}

GenApi::INodeMap& CInstantCamera::CInstantCameraImpl::GetEmptyNodeMap() {
    CCameraGuard lock(m_cameraLock);
    if (!m_emptyNodeMap) {
        m_emptyNodeMap.emplace(GenApi::CNodeMapFactory::CreateEmptyNodeMap());
    }
    return **m_emptyNodeMap;
}

GenApi::INodeMap& CInstantCamera::CInstantCameraImpl::OrEmpty(GenApi::INodeMap* nodeMap) {
    return nodeMap != nullptr ? *nodeMap : GetEmptyNodeMap();
}

} // namespace Zelmo
