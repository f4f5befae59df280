// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/Acquisition.h"
#include "ZelmoBase/camera/AttachedDevice.h"
#include "ZelmoBase/camera/CameraLock.h"
#include "ZelmoBase/camera/ChunkParsingEngine.h"
#include "ZelmoBase/camera/DeviceRemovalForwarder.h"
#include "ZelmoBase/camera/EventGrabEngine.h"
#include "ZelmoBase/camera/EventHandlerKinds.h"
#include "ZelmoBase/camera/EventHandlerRegistry.h"
#include "ZelmoBase/camera/FrameTrigger.h"
#include "ZelmoBase/camera/GrabLoopThread.h"
#include "ZelmoBase/camera/GrabSession.h"
#include "ZelmoBase/camera/InstantCameraParameters.h"
#include "ZelmoBase/camera/InstantCameraQueuePort.h"

#include <zelmo/AcquireContinuousConfiguration.h>
#include <zelmo/InstantCamera.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Zelmo {

/// What happens to a camera, as its configuration handlers hear of it; see LifeEvents.h.
struct CLifeEvent;

/// The private body of a camera object: the device, its open state, the session and those who hear of them.
/// InstantCameraImpl.cpp has the life cycle, InstantCameraGrabbing.cpp the session, InstantCameraHandlers.cpp the
/// registrations. An operation that needs another one of the camera's calls that of the shell, so that a derived
/// class's override takes part.
///
/// Handlers run in the middle of operations and may call all of them. So after each notification an operation looks
/// whether device and session are still those that it began with (their numbers tell). On the way up it fails when they
/// are not; on the way down the rest is left to whoever changed them. A notification that is under way for a device or
/// a session is not begun for it again.
///
/// Owns:    the session and what belongs to it, the service threads, the attached device if it was told to.
/// Threads: any; all but what is said to be free of locks holds the camera lock to its end.
/// Locks:   the image handler lock, then the camera lock, then the camera event lock; see README.md.
class CInstantCamera::CInstantCameraImpl final : public IInstantCameraExtensions,
                                                 public IGrabEngineObserver,
                                                 private IGrabSessionOwner,
                                                 private IGrabLoopOwner {
public:
    explicit CInstantCameraImpl(CInstantCamera& camera);

    void ProcessCameraEvents() override;
    void SetLockOverride(ILockOverride* lock) override { m_cameraLock.SetOverride(lock); }
    void SetExtensionFlag(bool flag) override { m_extensionFlag = flag; }
    void JoinGrabLoopThread() override;
    virtual ~CInstantCameraImpl();
    void OnGrabCountReached() override;

    /// The first half of the end: device, threads and handlers go. The parameters go with the destructor.
    void LetGo() noexcept;

    // the life cycle
    void Attach(IZelmoDevice* device, ECleanup cleanup);
    void DestroyDevice();
    void DetachDevice();
    void Open();
    void Close();
    bool IsAttached() const;
    bool IsOpen() const;
    bool IsRemoved() const;
    bool HasOwnership() const;

    // what is known of the device
    IZelmoDevice* GetDevice() const;
    const CDeviceInfo& GetDeviceInfo() const;
    CameraDeviceKind GetKind() const;
    bool IsCxp() const;
    SfncVersion GetSfncVersion() const;
    GenApi::INodeMap& GetNodeMap();
    GenApi::INodeMap& GetTLNodeMap();
    GenApi::INodeMap& GetStreamGrabberNodeMap();
    GenApi::INodeMap& GetEventGrabberNodeMap();
    GenApi::INodeMap& GetInstantCameraNodeMap() const;
    GenApi::INodeMap& GetEmptyNodeMap();

    // the session
    void StartGrabbing(unsigned long maxImages, bool isUnlimited, EGrabStrategy strategy, EGrabLoop grabLoop);
    void StopGrabbing();
    bool IsGrabbing() const noexcept { return m_session.IsGrabbing(); }
    bool RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling handling) {
        return m_session.Retrieve(timeoutMs, result, handling);
    }
    bool GrabOne(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling handling);
    std::uint64_t GetQueuedBufferCount() const;
    WaitObject& GetGrabResultWaitObject() noexcept { return m_session.GetEngine().GetResultObject(); }
    WaitObject& GetGrabStopWaitObject() noexcept { return m_grabStopObject; }
    WaitObject& GetCameraEventWaitObject();
    bool WaitForFrameTriggerReady(unsigned int timeoutMs, ETimeoutHandling handling) const;
    bool CanWaitForFrameTriggerReady() const;
    void ExecuteSoftwareTrigger() const;
    void SetCameraContext(long context);
    long GetCameraContext() const override;
    void SetBufferFactory(IBufferFactory* factory, ECleanup cleanup);
    CGrabResultData* CreateGrabResultData() override;

    // the handlers
    void RegisterConfiguration(CConfigurationEventHandler* handler, ERegistrationMode mode, ECleanup cleanup,
                               const long* cookie);
    bool DeregisterConfiguration(const long* cookie);
    void RegisterImageEventHandler(CImageEventHandler* handler, ERegistrationMode mode, ECleanup cleanup,
                                   const long* cookie);
    bool DeregisterImageEventHandler(const long* cookie);
    void RegisterCameraEventHandler(CCameraEventHandler* handler, const String_t& nodeName, long userId,
                                    ERegistrationMode mode, ECleanup cleanup, ECameraEventAvailability availability,
                                    const long* cookie);
    bool DeregisterCameraEventHandler(const long* cookie, const String_t& nodeName);
    void ShutdownEventHandlers() noexcept;

    CAcquireContinuousConfiguration& GetDefaultConfiguration() noexcept { return m_defaultConfiguration; }
    GenApi::CLock& GetLock() const noexcept { return m_cameraLock.GetLock(); }
    CCameraLock& GetCameraLock() const noexcept { return m_cameraLock; } ///< What the operations take.

private:
    /// Why a device is open.
    enum EOpenReason : unsigned { OpenReason_Application = 1U << 0, OpenReason_Session = 1U << 1 };
    /// What has to wait until an event is delivered, by how much it includes.
    enum class EGiveUp { Nothing, Close, Detach, Destroy };

    // notifications
    void Notify(const CLifeEvent& event) ZELMO_REQUIRES(m_cameraLock);
    void NotifyOnce(const CLifeEvent& event, std::uint64_t& underway, std::uint64_t number)
        ZELMO_REQUIRES(m_cameraLock);
    void NotifyGrabError(const char* message) noexcept;

    // the life cycle, step by step
    IZelmoDevice& CheckDevice() const ZELMO_REQUIRES(m_cameraLock);
    IZelmoDevice& CheckSameDevice(std::uint64_t attachment) const ZELMO_REQUIRES(m_cameraLock);
    bool IsDeviceOpen() const noexcept ZELMO_REQUIRES(m_cameraLock);
    bool NeedsClosing() const noexcept ZELMO_REQUIRES(m_cameraLock);
    void LetGoOfDevice(const IZelmoDevice* next) ZELMO_REQUIRES(m_cameraLock);
    void TakeOpenDevice(IZelmoDevice& device, std::uint64_t attachment) ZELMO_REQUIRES(m_cameraLock);
    void OpenDevice(IZelmoDevice& device) ZELMO_REQUIRES(m_cameraLock);
    void OpenSetup(IZelmoDevice& device) ZELMO_REQUIRES(m_cameraLock);
    void CloseTeardown() noexcept ZELMO_REQUIRES(m_cameraLock);
    void CloseDevice() noexcept ZELMO_REQUIRES(m_cameraLock);
    void CloseQuietly(IZelmoDevice& device) noexcept ZELMO_REQUIRES(m_cameraLock);
    bool EndSession() noexcept ZELMO_REQUIRES(m_cameraLock);
    void ResetToDetached() noexcept ZELMO_REQUIRES(m_cameraLock);
    bool HasToWait(EGiveUp what) noexcept ZELMO_REQUIRES(m_cameraLock);
    void GiveUpDevice() noexcept ZELMO_REQUIRES(m_cameraLock);
    void ResizeChunkPool() ZELMO_REQUIRES(m_cameraLock);
    GenApi::INodeMap& OrEmpty(GenApi::INodeMap* nodeMap) ZELMO_REQUIRES(m_cameraLock);

    // the session, step by step
    void StartSession(unsigned long maxImages, EGrabStrategy strategy, EGrabLoop grabLoop, bool isUnlimited)
        ZELMO_REQUIRES(m_cameraLock);
    void CheckStartable(std::uint64_t attachment) const ZELMO_REQUIRES(m_cameraLock);
    CGrabSettings ReadSettings(IZelmoDevice& device, unsigned long maxImages, EGrabStrategy strategy)
        ZELMO_REQUIRES(m_cameraLock);
    void StartStream(std::uint64_t attachment, unsigned long maxImages, EGrabStrategy strategy, EGrabLoop grabLoop)
        ZELMO_REQUIRES(m_cameraLock);
    void StartRetrieval(IZelmoDevice& device, unsigned long records, EGrabLoop grabLoop) ZELMO_REQUIRES(m_cameraLock);
    void StartLoopThread() ZELMO_REQUIRES(m_cameraLock);
    void StopSession() noexcept ZELMO_REQUIRES(m_cameraLock);
    void DrainEvents(std::uint64_t session);
    void LockGrabParameters(EGrabStrategy strategy) ZELMO_REQUIRES(m_cameraLock);
    void UnlockGrabParameters() noexcept ZELMO_REQUIRES(m_cameraLock);
    bool IsChunkModeActive() const ZELMO_REQUIRES(m_cameraLock);
    int GetEnginePriority() ZELMO_REQUIRES(m_cameraLock);

    bool MayJoin() const noexcept;
    std::shared_ptr<CGrabLoopThread> FindUnjoinedLoop() const ZELMO_REQUIRES(m_cameraLock);
    void JoinLoopThreads();

    // what the session and the loop thread ask
    void OnGrabError(const char* message) noexcept override;
    void StopCamera() override { m_camera.StopGrabbing(); }
    void ProcessEventsOf(const CSessionWait& wait) override;
    unsigned long GetMaxNumGrabResults() override;
    bool HasResultParsers() const override { return m_chunks.HasResultParsers(); }
    void CompleteResult(CGrabResultPtr& result) override;
    const char* DescribeTimeout() noexcept override;
    void NotifyImageHandlers(std::uint64_t skipped, const CGrabResultPtr& result) override;
    bool IsSessionRunning(std::uint64_t session) const noexcept override;
    bool HasLaterSession(std::uint64_t session) const noexcept override { return m_session.GetNumber() != session; }
    void TellGrabError(const char* message) noexcept override { NotifyGrabError(message); }

    CInstantCamera& m_camera;
    CInstantCameraNodeMapPtr m_parameters;
    mutable CCameraLock m_cameraLock; // that of the parameters
    GenICam::CLock m_imageLock;       // held while image handlers run
    GenICam::CLock m_eventLock;       // the camera event lock

    CAttachedDevice m_device ZELMO_GUARDED_BY(m_cameraLock);
    long m_context ZELMO_GUARDED_BY(m_cameraLock) = 0;
    unsigned m_openReasons ZELMO_GUARDED_BY(m_cameraLock) = 0;     // of EOpenReason
    bool m_isSetUp ZELMO_GUARDED_BY(m_cameraLock) = false;         // OpenSetup has begun, CloseTeardown has not come
    std::uint64_t m_openNumber ZELMO_GUARDED_BY(m_cameraLock) = 1; // another one after each opening and closing
    const CDeviceInfo m_noDeviceInfo;
    std::optional<CZelmoPowerNodeMapPtr> m_emptyNodeMap ZELMO_GUARDED_BY(m_cameraLock); // made on first need

    // numbers of the device or session of which handlers hear just now, 0 for none
    std::uint64_t m_stopUnderway ZELMO_GUARDED_BY(m_cameraLock) = 0;
    std::uint64_t m_closeUnderway ZELMO_GUARDED_BY(m_cameraLock) = 0;
    std::uint64_t m_detachUnderway ZELMO_GUARDED_BY(m_cameraLock) = 0;
    std::uint64_t m_destroyUnderway ZELMO_GUARDED_BY(m_cameraLock) = 0;
    EGiveUp m_giveUp ZELMO_GUARDED_BY(m_cameraLock) = EGiveUp::Nothing; // as soon as the event is delivered

    CAcquireContinuousConfiguration m_defaultConfiguration;
    CEventHandlerRegistry<CConfigurationHandlers> m_configurations;
    CEventHandlerRegistry<CImageHandlers> m_imageHandlers;
    CEventHandlerRegistry<CCameraEventHandlers> m_cameraEvents;
    std::atomic<int> m_shutdowns{0};         // of the registries, under way
    std::atomic<bool> m_isDestroying{false}; // no device is attached any more
    std::atomic<bool> m_extensionFlag{true};

    CAcquisition m_acquisition;
    CFrameTrigger m_trigger;
    CEventGrabEngine m_events;
    CChunkParsingEngine m_chunks;
    WaitObjectEx m_grabStopObject = WaitObjectEx::Create(true); // signaled while no session runs
    WaitObjectEx m_idleEventObject = WaitObjectEx::Create();    // never signaled
    CGrabSession m_session;
    CInstantCameraQueuePort m_queuePort;
    CDeviceRemovalForwarder m_removal;
    std::vector<std::shared_ptr<CGrabLoopThread>> m_loops ZELMO_GUARDED_BY(m_cameraLock); // the youngest last
};

/// For those that serve several cameras: what the operations of @p camera take, be it an override.
inline CCameraLock& GetCameraLock(CInstantCamera& camera) noexcept {
    return static_cast<CInstantCamera::CInstantCameraImpl&>(camera.GetExtensionInterface()).GetCameraLock();
}

} // namespace Zelmo
