// SPDX-License-Identifier: Apache-2.0
// The session of a camera: how it begins, what comes out of it, how it ends.
#include "ZelmoBase/camera/BufferFactoryDeallocator.h"
#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/camera/GrabResultDataImpl.h"
#include "ZelmoBase/camera/InstantCameraImpl.h"
#include "ZelmoBase/camera/LifeEvents.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <zelmo/BooleanParameter.h>
#include <zelmo/Device.h>
#include <zelmo/GrabResultData.h>
#include <zelmo/IntegerParameter.h>
#include <zelmo/StreamGrabber.h>

#include <Base/GCException.h>
#include <GenApi/IValue.h>
#include <GenApi/Pointer.h>

#include <algorithm>
#include <new>
#include <utility>

namespace Zelmo {
namespace {

constexpr std::int64_t kGrabEnginePriority = 25;
constexpr char kTimedOut[] = "Grab timed out.";

/// What fails while a session is set up reaches the application as one of two kinds, with the text of the first.
[[noreturn]] void RethrowAsStartFailure() {
    try {
        throw;
    } catch (const GenICam::GenericException& e) {
        throw GENERIC_EXCEPTION("Unexpected error! %s", e.GetDescription());
    } catch (const std::bad_alloc& e) {
        throw BAD_ALLOC_EXCEPTION("Out of memory! %s", e.what());
    } catch (const std::exception& e) {
        throw GENERIC_EXCEPTION("Unexpected error! %s", e.what());
    } // anything else goes on as it is
}

} // namespace

// Start

void CInstantCamera::CInstantCameraImpl::StartGrabbing(unsigned long maxImages, bool isUnlimited,
                                                       EGrabStrategy strategy, EGrabLoop grabLoop) {
    for (;;) {
        const bool mayJoin = MayJoin();
        JoinGrabLoopThread();
        CCameraGuard lock(m_cameraLock);
        if (mayJoin && FindUnjoinedLoop() != nullptr) {
            continue; // a session has come and gone meanwhile: its thread is joined without the lock
        }
        StartSession(maxImages, strategy, grabLoop, isUnlimited);
        return;
    }
}

void CInstantCamera::CInstantCameraImpl::StartSession(unsigned long maxImages, EGrabStrategy strategy,
                                                      EGrabLoop grabLoop, bool isUnlimited) {
    IZelmoDevice& device = CheckDevice();
    const std::uint64_t attachment = m_device.GetNumber();
    if (m_session.IsGrabbing()) {
        throw RUNTIME_EXCEPTION("Grabbing has already been started.");
    }
    if (strategy == GrabStrategy_UpcomingImage && m_device.GetKind() == CameraDeviceKind_Usb) {
        throw RUNTIME_EXCEPTION("Grab strategy Upcoming Image is not supported for USB camera devices.");
    }
    if (strategy == GrabStrategy_UpcomingImage && m_device.GetKind() == CameraDeviceKind_Mipex) {
        throw RUNTIME_EXCEPTION("Grab strategy Upcoming Image is not supported for MIPEX camera devices.");
    }
    if (maxImages == 0 && !isUnlimited) {
        throw OUT_OF_RANGE_EXCEPTION("Maximum count of images to grab cannot be 0.");
    }
    if (device.GetStreamGrabber(0) == nullptr) {
        throw RUNTIME_EXCEPTION("The attached device does not support grabbing.");
    }
    if (!device.IsOpen()) {
        m_camera.Open();
        CheckStartable(attachment);
        m_openReasons = 0; // none but the session: its end closes the device
    }
    m_openReasons |= OpenReason_Session;
    try {
        Notify(kOnGrabStart);
        CheckStartable(attachment);
    } catch (...) {
        UnlockGrabParameters();
        throw;
    }
    m_openReasons |= OpenReason_Session; // a handler may have closed and opened it
    StartStream(attachment, maxImages, strategy, grabLoop);
    const std::uint64_t session = m_session.GetNumber();
    try {
        Notify(kOnGrabStarted);
    } catch (...) {
        if (IsSessionRunning(session)) {
            RunLogged(CameraLogCategory(), "Exception caught while calling StopGrabbing, msg='%s'",
                      "Unknown exception caught while calling StopGrabbing.", [this] { m_camera.StopGrabbing(); });
        }
        UnlockGrabParameters();
        throw;
    }
    if (IsSessionRunning(session)) {
        m_grabStopObject.Reset();
    }
}

/// After handlers: the device must be the one that the start began with, and be there to be grabbed from.
void CInstantCamera::CInstantCameraImpl::CheckStartable(std::uint64_t attachment) const {
    if (!CheckSameDevice(attachment).IsOpen()) {
        throw RUNTIME_EXCEPTION("Cannot start grabbing: a handler has closed the device.");
    }
    if (m_session.IsGrabbing()) {
        throw RUNTIME_EXCEPTION("Grabbing has already been started.");
    }
}

void CInstantCamera::CInstantCameraImpl::StartStream(std::uint64_t attachment, unsigned long maxImages,
                                                     EGrabStrategy strategy, EGrabLoop grabLoop) {
    try {
        LockGrabParameters(strategy);
        CheckStartable(attachment); // callbacks of the application may have run
        IZelmoDevice& device = *m_device.Get();
        CGrabSettings settings = ReadSettings(device, maxImages, strategy);
        const unsigned long records = std::min(GetMaxNumGrabResults(), settings.buffers);
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice,
                        "Camera %p: Start grabbing with strategy=%d buffers=%lu, queued=%lu, results=%lu, chunks=%d, "
                        "chunknm=%d, events=%d, priority=%d, use_bt=%d, emptyBuf=%d",
                        static_cast<const void*>(&m_camera), static_cast<int>(strategy), settings.buffers,
                        settings.maxNumQueuedBuffer, records, static_cast<int>(IsChunkModeActive()),
                        static_cast<int>(m_parameters.ChunkNodeMapsEnable->GetValue()),
                        static_cast<int>(m_parameters.GrabCameraEvents->GetValue()), settings.priority,
                        static_cast<int>(grabLoop == GrabLoop_ProvidedByInstantCamera),
                        static_cast<int>(settings.clearBuffers));
        CIntegerParameter payloadSize(device.GetNodeMap(), "PayloadSize");
        settings.payloadSize = static_cast<unsigned long>(payloadSize.GetValueOrDefault(0));
        m_acquisition.SetNodeMap(device.GetNodeMap());
        m_session.Start(device.GetStreamGrabber(0), settings);
        try {
            StartRetrieval(device, records, grabLoop);
        } catch (...) {
            StopSession();
            throw;
        }
    } catch (...) {
        if (!m_session.IsGrabbing()) {
            m_chunks.Stop(); // a handler may have ended the session before they were begun
        }
        UnlockGrabParameters();
        RethrowAsStartFailure();
    }
}

CGrabSettings CInstantCamera::CInstantCameraImpl::ReadSettings(IZelmoDevice& device, unsigned long maxImages,
                                                               EGrabStrategy strategy) {
    CGrabSettings settings;
    settings.strategy = strategy;
    settings.maxImages = maxImages;
    settings.buffers = static_cast<unsigned long>(m_parameters.MaxNumBuffer->GetValue());
    if (strategy == GrabStrategy_OneByOne && maxImages != 0) {
        settings.buffers = std::min(settings.buffers, maxImages);
    }
    settings.maxNumQueuedBuffer = static_cast<unsigned long>(m_parameters.MaxNumQueuedBuffer->GetValue());
    settings.priority = GetEnginePriority();
    settings.clearBuffers = m_parameters.ClearBufferModeEnable->GetValue();
    if (m_device.GetKind() == CameraDeviceKind_GenTL) {
        CBooleanParameter anytime(device.GetStreamGrabber(0)->GetNodeMap(), "AnnounceAnytimeEnable");
        settings.announceAll = !anytime.GetValueOrDefault(false);
    }
    settings.cameraName = device.GetDeviceInfo().GetSerialNumber().c_str();
    return settings;
}

int CInstantCamera::CInstantCameraImpl::GetEnginePriority() {
    if (m_parameters.InternalGrabEngineThreadPriorityOverride->GetValue()) {
        return static_cast<int>(m_parameters.InternalGrabEngineThreadPriority->GetValue());
    }
    const std::int64_t highest = m_parameters.GrabEngineThreadPriority_Max->GetValue();
    const std::int64_t lowest = m_parameters.GrabEngineThreadPriority_Min->GetValue();
    return static_cast<int>(std::max(lowest, std::min(highest, kGrabEnginePriority)));
}

bool CInstantCamera::CInstantCameraImpl::IsChunkModeActive() const {
    return CBooleanParameter(m_device.GetNodeMap(), "ChunkModeActive").GetValueOrDefault(false);
}

/// Behind the stream, before the first image: all that a retrieval needs.
void CInstantCamera::CInstantCameraImpl::StartRetrieval(IZelmoDevice& device, unsigned long records,
                                                        EGrabLoop grabLoop) {
    if (m_parameters.GrabCameraEvents->GetValue() &&
        GenApi::IsAvailable(OrEmpty(device.GetNodeMap()).GetNode("EventSelector"))) {
        m_events.Start(device.GetEventGrabber());
    }
    m_session.PrepareWait(m_events.IsRunning() ? &m_events.GetWaitObject() : nullptr);
    m_chunks.Start(m_parameters.ChunkNodeMapsEnable->GetValue(), IsChunkModeActive());
    m_session.MakeRecords(records);
    const std::uint64_t session = m_session.GetNumber();
    if (m_parameters.AcquisitionStartStopExecutionEnable->GetValue()) {
        m_acquisition.Start();
    }
    if (!IsSessionRunning(session)) {
        throw RUNTIME_EXCEPTION("Grabbing was stopped while it was being started.");
    }
    if (grabLoop == GrabLoop_ProvidedByInstantCamera) {
        StartLoopThread();
    }
}

void CInstantCamera::CInstantCameraImpl::LockGrabParameters(EGrabStrategy strategy) {
    m_parameters.GrabParamsLocked->SetValue(1);
    if (strategy != GrabStrategy_LatestImages) {
        m_parameters.QueueParamsLocked->SetValue(1);
    }
}

/// Unless a handler has begun a session, whose parameters they are then. What callbacks of an application throw must
/// not leave one of them locked.
void CInstantCamera::CInstantCameraImpl::UnlockGrabParameters() noexcept {
    if (m_session.IsGrabbing()) {
        return;
    }
    const auto unlock = [this](const char* known, const char* unknown, auto& node) {
        RunLogged(
            CameraLogCategory(), known, unknown, [&node] { node->SetValue(0); }, static_cast<const void*>(&m_camera));
    };
    unlock("Camera %p: Cannot unlock the parameters of grabbing, msg='%s'",
           "Camera %p: Cannot unlock the parameters of grabbing.", m_parameters.GrabParamsLocked);
    unlock("Camera %p: Cannot unlock the parameters of the output queue, msg='%s'",
           "Camera %p: Cannot unlock the parameters of the output queue.", m_parameters.QueueParamsLocked);
}

// The loop thread

void CInstantCamera::CInstantCameraImpl::StartLoopThread() {
    for (const auto& loop : m_loops) { // where restarts come from handlers, nobody else joins them
        if (loop->HasEnded()) {
            loop->Join();
        }
    }
    std::erase_if(m_loops, [](const auto& loop) { return !loop->IsJoinable(); });
    IGrabLoopOwner& owner = *this;
    m_loops.push_back(
        std::make_shared<CGrabLoopThread>(m_camera, m_cameraLock, m_parameters, owner, m_session.GetNumber()));
    ScopeGuard forget([this]() ZELMO_NO_THREAD_SAFETY_ANALYSIS { m_loops.pop_back(); });
    m_session.ReserveForLoop();
    m_loops.back()->Start();
    forget.Dismiss();
}

void CInstantCamera::CInstantCameraImpl::JoinGrabLoopThread() {
    if (MayJoin()) {
        JoinLoopThreads();
    }
}

/// Not where the loop thread could wait for the caller: in its own handlers, or for a lock that the caller has.
bool CInstantCamera::CInstantCameraImpl::MayJoin() const noexcept {
    return !CHandlerScope::IsInside() && CGrabLoopThread::GetLoopOfThisCall(&m_camera) == 0 &&
           !m_cameraLock.IsHeldByThisThread();
}

/// Of a session that is over; null when there is none, or while the camera grabs.
std::shared_ptr<CGrabLoopThread> CInstantCamera::CInstantCameraImpl::FindUnjoinedLoop() const {
    const auto found =
        std::find_if(m_loops.begin(), m_loops.end(), [](const auto& loop) { return loop->IsJoinable(); });
    return found != m_loops.end() && !m_session.IsGrabbing() ? *found : nullptr;
}

/// Joins without the lock, which their handlers may need.
void CInstantCamera::CInstantCameraImpl::JoinLoopThreads() {
    const auto next = [this] {
        CCameraGuard lock(m_cameraLock);
        std::erase_if(m_loops, [](const auto& loop) { return !loop->IsJoinable(); });
        return FindUnjoinedLoop();
    };
    while (const std::shared_ptr<CGrabLoopThread> loop = next()) {
        loop->Join();
    }
}

bool CInstantCamera::CInstantCameraImpl::IsSessionRunning(std::uint64_t session) const noexcept {
    return m_session.IsGrabbing() && m_session.GetNumber() == session;
}

// Stop

void CInstantCamera::CInstantCameraImpl::StopGrabbing() {
    CCameraGuard lock(m_cameraLock);
    StopSession();
}

void CInstantCamera::CInstantCameraImpl::StopSession() noexcept {
    if (!m_session.IsGrabbing()) {
        return;
    }
    const std::uint64_t session = m_session.GetNumber();
    NotifyOnce(kOnGrabStop, m_stopUnderway, session);
    if (!IsSessionRunning(session)) {
        return; // a handler has stopped it, with all that follows
    }
    m_acquisition.Stop(*m_device.Get());
    m_chunks.Stop();
    m_session.Stop();
    m_events.Stop();
    RunLogged(
        CameraLogCategory(), "Camera %p: Cannot signal the end of grabbing, msg='%s'",
        "Camera %p: Cannot signal the end of grabbing.", [this] { m_grabStopObject.Signal(); },
        static_cast<const void*>(&m_camera));
    Notify(kOnGrabStopped);
    if (m_session.IsGrabbing()) {
        return; // a handler has begun another one
    }
    m_openReasons &= ~OpenReason_Session;
    if (m_openReasons == 0) {
        RunLogged(CameraLogCategory(), "Exception caught while calling Close, msg='%s'",
                  "Unknown exception caught while calling Close.", [this] { m_camera.Close(); });
    }
    UnlockGrabParameters();
}

void CInstantCamera::CInstantCameraImpl::OnGrabCountReached() {
    m_acquisition.StopFromEngine(m_session.GetEngine().GetStopObject());
}

// Results

bool CInstantCamera::CInstantCameraImpl::GrabOne(unsigned int timeoutMs, CGrabResultPtr& result,
                                                 ETimeoutHandling handling) {
    m_camera.StartGrabbing(1, GrabStrategy_OneByOne, GrabLoop_ProvidedByUser);
    ScopeGuard stop([this] { // when a retrieval or a handler fails
        RunLogged(CameraLogCategory(), "Exception caught while calling StopGrabbing, msg='%s'",
                  "Unknown exception caught while calling StopGrabbing.", [this] { m_camera.StopGrabbing(); });
    });
    const bool isRetrieved = m_camera.RetrieveResult(timeoutMs, result, TimeoutHandling_Return);
    const bool hasSucceeded = isRetrieved && result->GrabSucceeded();
    stop.Dismiss();
    if (isRetrieved) {
        return hasSucceeded;
    }
    m_camera.StopGrabbing();
    if (handling == TimeoutHandling_ThrowException) {
        throw TIMEOUT_EXCEPTION(kTimedOut);
    }
    return false;
}

void CInstantCamera::CInstantCameraImpl::OnGrabError(const char* message) noexcept {
    NotifyGrabError(message);
}

unsigned long CInstantCamera::CInstantCameraImpl::GetMaxNumGrabResults() {
    return static_cast<unsigned long>(m_parameters.MaxNumGrabResults->GetValue());
}

/// Asks the camera whether it waits for a trigger. One that cannot be asked has timed out all the same.
const char* CInstantCamera::CInstantCameraImpl::DescribeTimeout() noexcept ZELMO_NO_THREAD_SAFETY_ANALYSIS {
    const char* description = kTimedOut;
    RunGuarded(
        [&]() ZELMO_NO_THREAD_SAFETY_ANALYSIS {
            GenApi::INodeMap* const nodeMap = m_device.GetNodeMap();
            const GenApi::CValuePtr selector(nodeMap != nullptr ? nodeMap->GetNode("AcquisitionStatusSelector")
                                                                : nullptr);
            if (!GenApi::IsReadable(selector) || !GenApi::IsWritable(selector)) {
                return;
            }
            const String_t before = selector->ToString();
            const ScopeGuard restore([&] { RunGuarded([&] { selector->FromString(before); }, [](const char*) {}); });
            selector->FromString("AcquisitionTriggerWait");
            if (CBooleanParameter(nodeMap, "AcquisitionStatus").GetValueOrDefault(false)) {
                return;
            }
            const GenApi::CValuePtr mode(nodeMap->GetNode("AcquisitionMode"));
            description = GenApi::IsReadable(mode) && mode->ToString() == "SingleFrame"
                              ? "Grab timed out. The acquisition is not started. In 'SingleFrame' acquisition mode the "
                                "acquisition "
                                "has to be started for every frame, see also GrabOne()."
                              : "Grab timed out. The acquisition is not started.";
        },
        [](const char*) {});
    return description;
}

/// Null when there is no parser left for another record.
CGrabResultData* CInstantCamera::CInstantCameraImpl::CreateGrabResultData() {
    CCameraGuard lock(m_cameraLock);
    std::shared_ptr<ISelfReliantChunkParser> parser = m_chunks.CreateResultParser();
    if (parser == nullptr && m_chunks.HasResultParsers()) {
        return nullptr;
    }
    CGrabResultData* const data = m_camera.CreateDeviceSpecificGrabResultData();
    if (data != nullptr) {
        ScopeGuard destroy([data]() noexcept { RunGuarded([data] { data->Destroy(); }, [](const char*) {}); });
        if (parser != nullptr) {
            data->GetGrabResultDataImpl()->SetChunkParser(std::move(parser));
        }
        data->Initialize();
        destroy.Dismiss();
    }
    return data;
}

void CInstantCamera::CInstantCameraImpl::CompleteResult(CGrabResultPtr& result) {
    m_chunks.CompleteResult(*result->GetGrabResultDataImpl());
}

void CInstantCamera::CInstantCameraImpl::SetBufferFactory(IBufferFactory* factory, ECleanup cleanup) {
    CCameraGuard lock(m_cameraLock);
    m_session.GetEngine().SetBufferFactory(nullptr); // the one before goes first: it may be the same
    m_session.GetEngine().SetBufferFactory(ShareBufferFactory(factory, cleanup, &m_camera));
}

std::uint64_t CInstantCamera::CInstantCameraImpl::GetQueuedBufferCount() const {
    CCameraGuard lock(m_cameraLock);
    return m_session.GetEngine().GetNumQueuedBuffers();
}

void CInstantCamera::CInstantCameraImpl::SetCameraContext(long context) {
    CCameraGuard lock(m_cameraLock);
    m_context = context;
}

long CInstantCamera::CInstantCameraImpl::GetCameraContext() const {
    CCameraGuard lock(m_cameraLock);
    return m_context;
}

// Events and triggers

void CInstantCamera::CInstantCameraImpl::ProcessCameraEvents() {
    DrainEvents(m_session.GetNumber());
}

void CInstantCamera::CInstantCameraImpl::ProcessEventsOf(const CSessionWait& wait) {
    if (!wait.end->IsSignaled()) {
        DrainEvents(wait.session);
    }
}

/// A thread that is late, and whose session is over, leaves the events of the next one alone.
void CInstantCamera::CInstantCameraImpl::DrainEvents(std::uint64_t session) {
    constexpr unsigned kPauseMs = 1;
    bool isMore = false;
    if (m_events.IsRunning()) {
        CCameraGuard lock(m_cameraLock);
        isMore = IsSessionRunning(session) && m_events.ProcessEvents();
    }
    if (isMore && !m_cameraLock.IsHeldByThisThread()) {
        WaitObject::Sleep(
            kPauseMs); // in a storm: those who wait for the lock, as to stop, get it before the next drain
    }
}

WaitObject& CInstantCamera::CInstantCameraImpl::GetCameraEventWaitObject() {
    CCameraGuard lock(m_cameraLock);
    IZelmoDevice& device = CheckDevice();
    if (!device.IsOpen()) {
        throw RUNTIME_EXCEPTION("The device is not open.");
    }
    if (IEventGrabber* const grabber = device.GetEventGrabber()) {
        return grabber->GetWaitObject();
    }
    m_idleEventObject.Reset();
    return m_idleEventObject;
}

bool CInstantCamera::CInstantCameraImpl::CanWaitForFrameTriggerReady() const {
    CCameraGuard lock(m_cameraLock);
    return m_trigger.CanWait();
}

bool CInstantCamera::CInstantCameraImpl::WaitForFrameTriggerReady(unsigned int timeoutMs,
                                                                  ETimeoutHandling handling) const {
    CCameraGuard lock(m_cameraLock);
    const bool isReady = m_trigger.WaitReady(timeoutMs);
    if (!isReady && handling == TimeoutHandling_ThrowException) {
        throw TIMEOUT_EXCEPTION("Waiting for frame trigger ready timed out.");
    }
    return isReady;
}

void CInstantCamera::CInstantCameraImpl::ExecuteSoftwareTrigger() const {
    CCameraGuard lock(m_cameraLock);
    if (!m_session.IsGrabbing()) {
        throw RUNTIME_EXCEPTION("Grabbing has not been started.");
    }
    m_trigger.Execute();
}

} // namespace Zelmo
