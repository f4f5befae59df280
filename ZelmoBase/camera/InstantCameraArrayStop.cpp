// SPDX-License-Identifier: Apache-2.0
// How a camera array stops: the session that is found, or the cameras that grab on their own.
#include "ZelmoBase/camera/CameraLock.h"
#include "ZelmoBase/camera/InstantCameraArrayImpl.h"
#include "ZelmoBase/camera/InstantCameraImpl.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <algorithm>
#include <utility>

namespace Zelmo {
namespace {

/// What StopGrabbing is to end when the array itself calls it on this thread: another session may run by then.
struct CStopOrder {
    const CInstantCameraArrayImpl* array = nullptr;
    CArraySession session{};
};
thread_local CStopOrder t_stopOrder;

thread_local const CInstantCameraArrayImpl* t_stoppedHere = nullptr; // the array that this thread is just stopping

constexpr std::uint32_t kShutOut = 1U << 31; // in the count of stops: no more are let in

} // namespace

void CInstantCameraArrayImpl::StopGrabbing() {
    const bool isOrdered = t_stopOrder.array == this;
    CArraySession found = isOrdered ? std::exchange(t_stopOrder, CStopOrder()).session : m_session.load();
    Log("Camera %p: Array StopGrabbing");
    if (!EnterStop()) {
        return; // the cameras are being destroyed
    }
    const ScopeGuard leave([this] { LeaveStop(); });
    // Not where another stop may wait for this thread: for a lock that it has, or in a handler for its retrieval.
    const bool mayWait = !isOrdered && t_stoppedHere != this && !HoldsLockOfCamera();
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

/// Of the two of a camera whose lock is overridden, either: a stop needs the parameters, too.
bool CInstantCameraArrayImpl::HoldsLockOfCamera() const noexcept {
    return std::any_of(m_cameras.begin(), m_cameras.end(), [](CInstantCamera* camera) {
        return GetCameraLock(*camera).IsHeldByThisThread() || camera->GetLock().IsHeldByThisThread();
    });
}

bool CInstantCameraArrayImpl::EnterStop() noexcept {
    if ((m_stops.fetch_add(1) & kShutOut) == 0) {
        return true;
    }
    LeaveStop();
    return false;
}

void CInstantCameraArrayImpl::LeaveStop() noexcept {
    --m_stops;
    m_stops.notify_all();
}

/// Returns when none is under way.
void CInstantCameraArrayImpl::ShutStopsOut() noexcept {
    m_stops |= kShutOut;
    for (std::uint32_t found = m_stops; found != kShutOut; found = m_stops) {
        m_stops.wait(found);
    }
}

void CInstantCameraArrayImpl::LetStopsIn() noexcept {
    m_stops &= ~kShutOut;
}

/// Also where an override of StopGrabbing does without the base: what comes next takes the cameras.
void CInstantCameraArrayImpl::StopIfGrabbing() {
    const CArraySession found = m_session;
    if (found.state == ArrayGrabState_Idle) {
        return;
    }
    m_array.StopGrabbing();
    if (found.state == ArrayGrabState_Grabbing && IsStill(found)) {
        StopGrabbing();
    }
}

/// Nothing but that session.
void CInstantCameraArrayImpl::StopFound(CArraySession session) {
    const ScopeGuard restore(
        [before = std::exchange(t_stopOrder, CStopOrder{this, session})] { t_stopOrder = before; });
    m_array.StopGrabbing();
}

} // namespace Zelmo
