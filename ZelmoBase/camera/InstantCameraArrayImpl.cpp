// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/InstantCameraArrayImpl.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <Base/GCAllocating.h>
#include <Base/GCException.h>

#include <algorithm>
#include <functional>
#include <utility>

namespace Zelmo {
namespace {

template <class... Args>
void LogArray(const char* format, const CInstantCameraArray& array, const Args&... args) noexcept {
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, format, static_cast<const void*>(&array), args...);
}

/// What StopGrabbing is to end when the array itself calls it on this thread: another session may run by then.
struct CStopOrder {
    const CInstantCameraArrayImpl* array = nullptr;
    CArraySession session{};
};
thread_local CStopOrder t_stopOrder;

constexpr char kIsStarted[] = "Grabbing has already been started.";

thread_local const CInstantCameraArrayImpl* t_stoppedHere = nullptr; // the array that this thread is just stopping

} // namespace

// The cameras

void CInstantCameraArrayImpl::Resize(std::size_t count) {
    LogArray("Camera %p: Array Resize %lu", m_array, static_cast<unsigned long>(count));
    if (IsGrabbing()) {
        StopQuietly();
    }
    DestroyCameras();
    ScopeGuard undo([this] { DestroyCameras(); });
    for (std::size_t index = 0; index < count; ++index) {
        CInstantCamera* const camera = m_array.CreateInstantCamera();
        if (camera == nullptr) {
            throw RUNTIME_EXCEPTION("Cannot resize the camera array to %lu: CreateInstantCamera gave no camera %lu.",
                                    static_cast<unsigned long>(count), static_cast<unsigned long>(index));
        }
        ScopeGuard destroy([&] { DestroyCamera(camera); });
        GenICam::Allocating([&] { m_cameras.push_back(camera); });
        destroy.Dismiss();
        camera->SetCameraContext(static_cast<long>(index));
        LogArray("Camera %p: Array Resize created camera %lu %p", m_array, static_cast<unsigned long>(index),
                 static_cast<void*>(camera));
    }
    undo.Dismiss();
}

void CInstantCameraArrayImpl::LetGo() noexcept {
    RunGuarded([this] { Resize(0); }, [](const char*) {});
}

void CInstantCameraArrayImpl::DestroyCameras() noexcept {
    while (!m_cameras.empty()) {
        CInstantCamera* const camera = m_cameras.back();
        m_cameras.pop_back(); // gone whatever happens
        DestroyCamera(camera);
    }
}

void CInstantCameraArrayImpl::DestroyCamera(CInstantCamera* camera) noexcept {
    RunLogged(CameraLogCategory(), "Exception caught while destroying a camera in array, msg='%s'",
              "Unknown exception caught while destroying a camera in array.",
              [&] { m_array.DestroyInstantCamera(camera); });
}

CInstantCamera& CInstantCameraArrayImpl::GetCamera(std::size_t index) const {
    if (index >= m_cameras.size()) {
        throw RUNTIME_EXCEPTION("Camera index %d out of range.", static_cast<int>(index));
    }
    return *m_cameras[index];
}

/// @p call is a member function or takes a camera. What it throws ends the walk.
template <typename Call>
void CInstantCameraArrayImpl::ForEachCameraCall(Call&& call) {
    for (CInstantCamera* const camera : m_cameras) {
        std::invoke(call, *camera);
    }
}

std::size_t CInstantCameraArrayImpl::ForEachCameraCountTrue(bool (CInstantCamera::*member)() const) const {
    return static_cast<std::size_t>(std::count_if(
        m_cameras.begin(), m_cameras.end(), [member](const CInstantCamera* camera) { return (camera->*member)(); }));
}

bool CInstantCameraArrayImpl::IsAttached() const {
    return !m_cameras.empty() && ForEachCameraCountTrue(&CInstantCamera::IsZelmoDeviceAttached) == m_cameras.size();
}

bool CInstantCameraArrayImpl::IsRemoved() const {
    return ForEachCameraCountTrue(&CInstantCamera::IsCameraDeviceRemoved) > 0;
}

bool CInstantCameraArrayImpl::IsOpen() const {
    return !m_cameras.empty() && ForEachCameraCountTrue(&CInstantCamera::IsOpen) == m_cameras.size();
}

void CInstantCameraArrayImpl::CheckUsable() const {
    if (m_cameras.empty()) {
        throw RUNTIME_EXCEPTION("The size of the instant camera array is 0.");
    }
    if (!IsAttached()) {
        throw RUNTIME_EXCEPTION("Not all cameras in the array have attached devices.");
    }
}

// Open, close, let go

void CInstantCameraArrayImpl::Open() {
    LogArray("Camera %p: Array Open", m_array);
    CheckUsable();
    ScopeGuard close([this] {
        RunLogged(CameraLogCategory(), "Exception caught while calling Close, msg='%s'",
                  "Unknown exception caught while calling Close.", [this] { m_array.Close(); });
    });
    ForEachCameraCall(&CInstantCamera::Open);
    close.Dismiss();
}

void CInstantCameraArrayImpl::Close() {
    LogArray("Camera %p: Array Close", m_array);
    StopIfGrabbing();
    ForEachCameraCall(&CInstantCamera::Close);
}

void CInstantCameraArrayImpl::DetachDevice() {
    LogArray("Camera %p: Array DetachDevice", m_array);
    StopIfGrabbing();
    ForEachCameraCall(&CInstantCamera::DetachDevice);
}

void CInstantCameraArrayImpl::DestroyDevice() {
    LogArray("Camera %p: Array DestroyDevice", m_array);
    StopIfGrabbing();
    ForEachCameraCall(&CInstantCamera::DestroyDevice);
}

void CInstantCameraArrayImpl::StopIfGrabbing() {
    if (IsGrabbing()) {
        m_array.StopGrabbing();
    }
}

// Start

void CInstantCameraArrayImpl::StartGrabbing(EGrabStrategy strategy, EGrabLoop grabLoop) {
    LogArray("Camera %p: Array StartGrabbing", m_array);
    CheckUsable();
    if (IsGrabbing()) {
        throw RUNTIME_EXCEPTION(kIsStarted);
    }
    ScopeGuard stop([this] { StopQuietly(); });
    ForEachCameraCall([&](CInstantCamera& camera) { camera.StartGrabbing(strategy, grabLoop); });
    m_nextCamera = 0;
    m_isUpcoming = strategy == GrabStrategy_UpcomingImage;
    const std::uint32_t session = m_session.load().number + 1;
    PrepareTimer(session);
    std::unique_ptr<WaitObjects> waitSet = MakeWaitSet(); // without the lock: cameras are asked
    {
        const GenICam::AutoLock lock(m_lock);
        m_waitSet = std::move(waitSet);
    }
    BeginSession(session);
    stop.Dismiss();
}

/// Not while a stop is under way that has found no session: it leaves this one alone.
void CInstantCameraArrayImpl::BeginSession(std::uint32_t session) {
    const CArraySession idle{session - 1, ArrayGrabState_Idle};
    for (CArraySession found = idle;
         !m_session.compare_exchange_strong(found, CArraySession{session, ArrayGrabState_Grabbing}); found = idle) {
        if (found.state != ArrayGrabState_StoppingIdle) {
            throw RUNTIME_EXCEPTION(kIsStarted); // by another thread
        }
        m_session.wait(found);
    }
}

void CInstantCameraArrayImpl::PrepareTimer(std::uint32_t session) {
    const CLockGuard lock(m_timerLock);
    if (!m_timer.IsValid()) {
        m_timer.Create();
    }
    m_timerSession = session; // from here on a waiter of an earlier session leaves the timer alone
    m_timer.Cancel();
    while (m_timer.Wait(0)) { // time-out and stop at the same instant may have signaled it twice
        m_timer.Reset();
    }
}

std::unique_ptr<WaitObjects> CInstantCameraArrayImpl::MakeWaitSet() {
    auto waitSet = GenICam::Allocating([] { return std::make_unique<WaitObjects>(); });
    // Lowest position first: who has stopped comes before results, and results come before events.
    ForEachCameraCall([&](CInstantCamera& camera) { waitSet->Add(camera.GetGrabStopWaitObject()); });
    ForEachCameraCall([&](CInstantCamera& camera) { waitSet->Add(camera.GetGrabResultWaitObject()); });
    ForEachCameraCall([&](CInstantCamera& camera) { waitSet->Add(camera.GetCameraEventWaitObject()); });
    waitSet->Add(m_timer);
    return waitSet;
}

// Stop

void CInstantCameraArrayImpl::StopGrabbing() {
    const CStopOrder order = std::exchange(t_stopOrder, CStopOrder());
    CArraySession found = order.array == this ? order.session : m_session.load();
    LogArray("Camera %p: Array StopGrabbing", m_array);
    const bool mayWait = t_stoppedHere != this && !HoldsLockOfCamera(); // else another stop may wait for this thread
    const ScopeGuard restore([before = std::exchange(t_stoppedHere, this)] { t_stoppedHere = before; });
    if (!IsSession(found)) {
        StopSingleCameras(found.number, mayWait);
        return;
    }
    const CArraySession stopping{found.number, ArrayGrabState_Stopping};
    if (found.state == ArrayGrabState_Grabbing && m_session.compare_exchange_strong(found, stopping)) {
        EndSession(stopping);
    } else if (mayWait) {
        m_session.wait(stopping); // until that session has ended, if it has not yet
    }
}

/// Those that grab on their own, or that a start which has failed leaves behind. One thread at a time: of two that each
/// hold the lock of a camera, both would wait for the other's.
void CInstantCameraArrayImpl::StopSingleCameras(std::uint32_t lastSession, bool mayWait) {
    const CArraySession idle{lastSession, ArrayGrabState_Idle};
    const CArraySession stopping{lastSession, ArrayGrabState_StoppingIdle};
    for (CArraySession found = idle; !m_session.compare_exchange_strong(found, stopping); found = idle) {
        if (found != stopping || !mayWait) {
            return; // a session was started meanwhile; or another thread stops them all, once this one lets it
        }
        m_session.wait(stopping);
    }
    const ScopeGuard end([&] {
        m_session = idle;
        m_session.notify_all();
    });
    ForEachCameraCall(&CInstantCamera::StopGrabbing);
}

/// By the one thread that has set the state to stopping.
void CInstantCameraArrayImpl::EndSession(CArraySession stopping) {
    const ScopeGuard end([&] {
        // Handlers may have started all cameras again, whose stop objects say nothing then: the timer wakes as well.
        RunLogged(
            CameraLogCategory(), "Camera %p: Cannot wake the thread that waits for results, msg='%s'",
            "Camera %p: Cannot wake the thread that waits for results.",
            [&] { UseTimer(stopping.number, [](CWaitableTimer& timer) { timer.Signal(); }); },
            static_cast<const void*>(&m_array));
        {
            const GenICam::AutoLock lock(m_lock); // once the waiter has let go of it
            m_waitSet.reset();
            m_session = CArraySession{stopping.number, ArrayGrabState_Idle};
        }
        m_session.notify_all();
    });
    ForEachCameraCall(&CInstantCamera::StopGrabbing);
}

bool CInstantCameraArrayImpl::HoldsLockOfCamera() const noexcept {
    return std::any_of(m_cameras.begin(), m_cameras.end(),
                       [](const CInstantCamera* camera) { return camera->GetLock().IsHeldByThisThread(); });
}

/// Nothing but that session.
void CInstantCameraArrayImpl::StopFound(CArraySession session) {
    t_stopOrder = {this, session};
    const ScopeGuard forget([] { t_stopOrder = {}; }); // where an override does without
    m_array.StopGrabbing();
}

void CInstantCameraArrayImpl::StopQuietly() noexcept {
    RunLogged(CameraLogCategory(), "Exception caught while calling StopGrabbing, msg='%s'",
              "Unknown exception caught while calling StopGrabbing.", [this] { m_array.StopGrabbing(); });
}

// Results

bool CInstantCameraArrayImpl::RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result,
                                             ETimeoutHandling handling) {
    result.Release();
    const CArraySession session = m_session;
    if (session.state != ArrayGrabState_Grabbing) {
        return false;
    }
    bool endsGrabbing = true;
    const ScopeGuard stop([&] {
        if (endsGrabbing) {
            RunLogged(CameraLogCategory(), "Exception caught while calling StopGrabbing, msg='%s'",
                      "Unknown exception caught while calling StopGrabbing.", [&] { StopFound(session); });
        }
    });
    ProcessCameraEvents(session);
    EOutcome outcome = EOutcome::None;
    if (m_isUpcoming) {
        outcome = RetrieveUpcoming(session, timeoutMs, result, handling, endsGrabbing);
    } else {
        outcome = RetrieveReady(session, result);
        if (outcome == EOutcome::Timeout && timeoutMs != 0) {
            outcome = AwaitResult(session, timeoutMs, result);
        }
    }
    endsGrabbing = false;
    if (outcome == EOutcome::Timeout && handling == TimeoutHandling_ThrowException) {
        throw TIMEOUT_EXCEPTION("Grab timed out.");
    }
    return outcome == EOutcome::Result;
}

/// Of all cameras, before any image.
void CInstantCameraArrayImpl::ProcessCameraEvents(CArraySession session) {
    for (std::size_t index = 0; index < m_cameras.size() && IsStill(session); ++index) {
        m_cameras[index]->GetExtensionInterface().ProcessCameraEvents();
    }
}

/// The camera whose turn it is; the next turn is that of the one behind it.
CInstantCamera& CInstantCameraArrayImpl::TakeTurn() noexcept {
    std::uint64_t index = m_nextCamera;
    if (index >= m_cameras.size()) {
        index = 0;
    }
    m_nextCamera = index + 1;
    return *m_cameras[index];
}

/// Waits for one camera only. Its time-out is no failure; @p endsGrabbing tells.
CInstantCameraArrayImpl::EOutcome
CInstantCameraArrayImpl::RetrieveUpcoming(CArraySession session, unsigned int timeoutMs, CGrabResultPtr& result,
                                          ETimeoutHandling handling, bool& endsGrabbing) {
    CInstantCamera& camera = TakeTurn();
    if (!camera.IsGrabbing()) {
        StopFound(session);
        return EOutcome::None;
    }
    try {
        return camera.RetrieveResult(timeoutMs, result, handling) ? EOutcome::Result : EOutcome::None;
    } catch (const GenICam::TimeoutException&) {
        endsGrabbing = result.IsValid(); // an image handler has thrown it
        throw;
    }
}

/// One pass over all cameras, without waiting.
/// @return Timeout when none has a result.
CInstantCameraArrayImpl::EOutcome CInstantCameraArrayImpl::RetrieveReady(CArraySession session,
                                                                         CGrabResultPtr& result) {
    for (std::size_t asked = 0; asked < m_cameras.size() && IsStill(session); ++asked) {
        CInstantCamera& camera = TakeTurn();
        if (!camera.IsGrabbing()) {
            StopFound(session);
            return EOutcome::None;
        }
        if (camera.RetrieveResult(0, result, TimeoutHandling_Return)) {
            return EOutcome::Result;
        }
    }
    return EOutcome::Timeout;
}

CInstantCameraArrayImpl::EOutcome CInstantCameraArrayImpl::AwaitResult(CArraySession session, unsigned int timeoutMs,
                                                                       CGrabResultPtr& result) {
    const std::size_t count = m_cameras.size();
    UseTimer(session.number, [timeoutMs](CWaitableTimer& timer) { timer.Set(timeoutMs); });
    const ScopeGuard cancel([&] {
        RunLogged(
            CameraLogCategory(), "Camera %p: Cannot cancel the timer of the array, msg='%s'",
            "Camera %p: Cannot cancel the timer of the array.",
            [&] { UseTimer(session.number, [](CWaitableTimer& timer) { timer.Cancel(); }); },
            static_cast<const void*>(&m_array));
    });
    for (std::size_t position = 0; WaitForCamera(session, position);) {
        if (position == 3 * count) {
            return EOutcome::Timeout;
        }
        if (position < count) {
            StopFound(session);
            return EOutcome::None;
        }
        if (m_cameras[position % count]->RetrieveResult(0, result, TimeoutHandling_Return)) {
            return EOutcome::Result;
        }
        if (IsStill(session) && m_timer.Wait(0)) { // events without end come before it in the wait set
            return EOutcome::Timeout;
        }
    }
    return EOutcome::None;
}

/// @return false when the session has ended.
bool CInstantCameraArrayImpl::WaitForCamera(CArraySession session, std::size_t& position) {
    const GenICam::AutoLock lock(m_lock);
    if (!IsStill(session)) {
        return false;
    }
    unsigned int found = 0;
    m_waitSet->WaitForAny(WaitTimeoutInfinite, &found);
    position = found;
    return IsStill(session);
}

/// A waiter of an earlier session, slow to leave, does not touch what belongs to that of the present one.
template <typename Use>
void CInstantCameraArrayImpl::UseTimer(std::uint32_t session, Use&& use) {
    const CLockGuard lock(m_timerLock);
    if (m_timerSession == session) {
        use(m_timer);
    }
}

} // namespace Zelmo
