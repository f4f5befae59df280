// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/Mutex.h"

#include <zelmo/InstantCameraArray.h>
#include <zelmo/WaitObjects.h>
#include <zelmo/WaitableTimer.h>

#include <Base/GCSynch.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Zelmo {

enum EArrayGrabState : std::uint32_t {
    ArrayGrabState_Idle = 0,
    ArrayGrabState_Grabbing = 1,
    ArrayGrabState_Stopping = 2,
    ArrayGrabState_StoppingIdle = 3 ///< Without a session, while cameras are stopped that grab on their own.
};

/// The state of an array and the number of the session that it is or was in: who has found a session can tell it from
/// the next one.
struct alignas(std::uint64_t) CArraySession { // one word, so that an atomic of it needs no lock
    std::uint32_t number;
    EArrayGrabState state;

    bool operator==(const CArraySession&) const = default;
};

/// Whose turn it is in a session.
struct alignas(std::uint64_t) CArrayTurn {
    std::uint32_t session;
    std::uint32_t camera; // may be one behind the last
};

/// The private body of a camera array: its cameras, and the wait for any of them.
/// InstantCameraArrayImpl.cpp has the cameras, InstantCameraArrayGrabbing.cpp start and results,
/// InstantCameraArrayStop.cpp the stop. Where an operation of the array needs StopGrabbing, Close or the operations
/// that make and destroy cameras, it calls those of the shell, so that an override takes part.
///
/// Owns:    the cameras, the copies of their wait objects.
/// Threads: as the shell says. Whoever has to wait for a stop waits on m_session.
/// Locks:   those of the cameras, then m_lock, held by the thread in RetrieveResult while it waits, and m_timerLock:
///          both are leaves. So StopGrabbing may be called with the lock of a camera held.
class CInstantCameraArrayImpl {
public:
    explicit CInstantCameraArrayImpl(CInstantCameraArray& array) noexcept : m_array(array) {}
    CInstantCameraArrayImpl(const CInstantCameraArrayImpl&) = delete;
    CInstantCameraArrayImpl& operator=(const CInstantCameraArrayImpl&) = delete;

    void Resize(std::size_t count);
    void LetGo() noexcept; ///< Resizes to 0.

    std::size_t GetSize() const noexcept { return m_cameras.size(); }
    CInstantCamera& GetCamera(std::size_t index) const;
    bool IsAttached() const;
    bool IsRemoved() const;
    bool IsOpen() const;
    bool IsGrabbing() const noexcept { return m_session.load().state != ArrayGrabState_Idle; }

    void Open();
    void Close();
    void DetachDevice();
    void DestroyDevice();
    void StartGrabbing(EGrabStrategy strategy, EGrabLoop grabLoop);
    void StopGrabbing();
    bool RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling handling);

private:
    enum class EOutcome { None, Result, Timeout };

    template <class... Args>
    void Log(const char* format, const Args&... args) const noexcept {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, format, static_cast<const void*>(&m_array),
                        args...);
    }
    /// @p call is a member function or takes a camera. What it throws ends the walk.
    template <typename Call>
    void ForEachCameraCall(Call&& call) {
        for (CInstantCamera* const camera : m_cameras) {
            std::invoke(call, *camera);
        }
    }
    std::size_t ForEachCameraCountTrue(bool (CInstantCamera::*member)() const) const;

    void ReplaceCameras(std::size_t count);
    void DestroyCameras() noexcept;
    void DestroyCamera(CInstantCamera* camera) noexcept;
    void CheckUsable() const;

    // start
    void BeginSession(std::uint32_t session);
    void PrepareTimer(std::uint32_t session);
    std::unique_ptr<WaitObjects> MakeWaitSet();

    // stop
    static bool IsSession(CArraySession found) noexcept {
        return found.state == ArrayGrabState_Grabbing || found.state == ArrayGrabState_Stopping;
    }
    bool IsStill(CArraySession session) const noexcept { return m_session.load() == session; }
    void StopIfGrabbing();
    void StopFound(CArraySession session);
    /// What @p stop throws is logged.
    template <typename Stop>
    static void StopQuietly(Stop&& stop) noexcept {
        RunLogged(CameraLogCategory(), "Exception caught while calling StopGrabbing, msg='%s'",
                  "Unknown exception caught while calling StopGrabbing.", std::forward<Stop>(stop));
    }
    void StopSingleCameras(std::uint32_t lastSession, bool mayWait);
    void EndSession(CArraySession stopping);
    bool HoldsLockOfCamera() const noexcept;
    bool EnterStop() noexcept;
    void LeaveStop() noexcept;
    void ShutStopsOut() noexcept;
    void LetStopsIn() noexcept;

    // retrieval
    void ProcessCameraEvents(CArraySession session);
    CInstantCamera* TakeTurn(CArraySession session) noexcept;
    CInstantCamera* GetNextCamera(CArraySession session);
    EOutcome RetrieveUpcoming(CArraySession session, unsigned int timeoutMs, CGrabResultPtr& result,
                              ETimeoutHandling handling, bool& endsGrabbing);
    EOutcome RetrieveReady(CArraySession session, CGrabResultPtr& result);
    EOutcome AwaitResult(CArraySession session, unsigned int timeoutMs, CGrabResultPtr& result);
    bool WaitForCamera(CArraySession session, std::size_t& position);
    bool IsNextStill(std::size_t position);
    /// A waiter of an earlier session, slow to leave, does not touch what belongs to that of the present one.
    template <typename Use>
    void UseTimer(std::uint32_t session, Use&& use) {
        const CLockGuard lock(m_timerLock);
        if (m_timerSession == session) {
            use(m_timer);
        }
    }

    CInstantCameraArray& m_array;
    std::vector<CInstantCamera*> m_cameras; // owned, in index order
    std::atomic<std::uint32_t> m_stops{0};  // calls of StopGrabbing under way, and whether more are let in

    std::atomic<CArraySession> m_session{CArraySession{0, ArrayGrabState_Idle}};
    static_assert(std::atomic<CArraySession>::is_always_lock_free);
    std::atomic<CArrayTurn> m_turn{CArrayTurn{0, 0}};
    std::atomic<bool> m_isUpcoming{false}; // by the strategy; whose turn it is tells of which session

    GenICam::CLock m_lock;
    /// With N cameras: N stop objects, N result objects, N event objects, the timer. Null without a session.
    std::unique_ptr<WaitObjects> m_waitSet ZELMO_GUARDED_BY(m_lock);

    CMutex m_timerLock;     // of whoever sets and cancels the timer, and of the number
    CWaitableTimer m_timer; // of RetrieveResult; made by the first start
    std::uint32_t m_timerSession ZELMO_GUARDED_BY(m_timerLock) = 0; // whose waiter may use the timer
};

} // namespace Zelmo
