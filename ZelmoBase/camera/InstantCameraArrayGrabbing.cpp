// SPDX-License-Identifier: Apache-2.0
// How a camera array starts, and whose result comes next.
#include "ZelmoBase/camera/CameraLock.h"
#include "ZelmoBase/camera/InstantCameraArrayImpl.h"
#include "ZelmoBase/camera/InstantCameraImpl.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <Base/GCAllocating.h>
#include <Base/GCException.h>

#include <utility>

namespace Zelmo {
namespace {

constexpr char kIsStarted[] = "Grabbing has already been started.";
constexpr unsigned kPauseMs = 1;

} // namespace

// Start

void CInstantCameraArrayImpl::StartGrabbing(EGrabStrategy strategy, EGrabLoop grabLoop) {
    Log("Camera %p: Array StartGrabbing");
    CheckUsable();
    if (IsGrabbing()) {
        throw RUNTIME_EXCEPTION(kIsStarted);
    }
    ScopeGuard stop([this] { StopQuietly([this] { m_array.StopGrabbing(); }); });
    ForEachCameraCall([&](CInstantCamera& camera) { camera.StartGrabbing(strategy, grabLoop); });
    const std::uint32_t session = m_session.load().number + 1;
    m_turn = CArrayTurn{session, 0};
    m_isUpcoming = strategy == GrabStrategy_UpcomingImage;
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
    ForEachCameraCall([&](CInstantCamera& camera) {
        const CCameraGuard lock(GetCameraLock(camera)); // it is the device's, which a handler may destroy meanwhile
        waitSet->Add(camera.GetCameraEventWaitObject());
    });
    waitSet->Add(m_timer);
    return waitSet;
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
            StopQuietly([&] { StopFound(session); });
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

/// The next turn is that of the camera behind it.
/// @return the camera whose turn it is; null when the session has ended: turns of the next one are not touched.
CInstantCamera* CInstantCameraArrayImpl::TakeTurn(CArraySession session) noexcept {
    for (CArrayTurn turn = m_turn; turn.session == session.number && IsStill(session);) {
        const std::uint32_t index = turn.camera < m_cameras.size() ? turn.camera : 0;
        if (m_turn.compare_exchange_weak(turn, CArrayTurn{session.number, index + 1})) {
            return m_cameras[index];
        }
    }
    return nullptr;
}

/// Stops all where the camera whose turn it is does not grab any more. @return null when the session has ended.
CInstantCamera* CInstantCameraArrayImpl::GetNextCamera(CArraySession session) {
    CInstantCamera* const camera = TakeTurn(session);
    if (camera == nullptr || camera->IsGrabbing()) {
        return camera;
    }
    StopFound(session);
    return nullptr;
}

/// Waits for one camera only. Its time-out is no failure; @p endsGrabbing tells.
CInstantCameraArrayImpl::EOutcome
CInstantCameraArrayImpl::RetrieveUpcoming(CArraySession session, unsigned int timeoutMs, CGrabResultPtr& result,
                                          ETimeoutHandling handling, bool& endsGrabbing) {
    CInstantCamera* const camera = GetNextCamera(session);
    if (camera == nullptr) {
        return EOutcome::None;
    }
    try {
        return camera->RetrieveResult(timeoutMs, result, handling) ? EOutcome::Result : EOutcome::None;
    } catch (const GenICam::TimeoutException&) {
        endsGrabbing = result.IsValid(); // an image handler has thrown it
        throw;
    }
}

/// One pass over all cameras, without waiting.
/// @return Timeout when none has a result.
CInstantCameraArrayImpl::EOutcome CInstantCameraArrayImpl::RetrieveReady(CArraySession session,
                                                                         CGrabResultPtr& result) {
    for (std::size_t asked = 0; asked < m_cameras.size(); ++asked) {
        CInstantCamera* const camera = GetNextCamera(session);
        if (camera == nullptr) {
            return EOutcome::None;
        }
        if (camera->RetrieveResult(0, result, TimeoutHandling_Return)) {
            return EOutcome::Result;
        }
    }
    return IsStill(session) ? EOutcome::Timeout : EOutcome::None;
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
        // Events without end come before the timer in the wait set. It is looked at first: a stop signals it, too.
        if (m_timer.Wait(0) && IsStill(session)) {
            return EOutcome::Timeout;
        }
        if (position >= 2 * count && IsNextStill(position)) {
            WaitObject::Sleep(kPauseMs);
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

/// Whether the wait would end with the same event object at once: events storm, or nobody fetches them.
bool CInstantCameraArrayImpl::IsNextStill(std::size_t position) {
    const GenICam::AutoLock lock(m_lock);
    unsigned int found = 0;
    return m_waitSet != nullptr && m_waitSet->WaitForAny(0, &found) && found == position;
}

} // namespace Zelmo
