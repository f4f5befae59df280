// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/CameraLock.h"
#include "ZelmoBase/camera/GrabEngine.h"
#include "ZelmoBase/camera/GrabResultDataProvider.h"
#include "ZelmoBase/core/Mutex.h"

#include <zelmo/GrabResultPtr.h>
#include <zelmo/GrabStrategy.h>
#include <zelmo/WaitObjects.h>
#include <zelmo/WaitableTimer.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace Zelmo {

class CInstantCamera;
struct CSessionWait;

/// What a session runs with, read once at its start.
struct CGrabSettings {
    EGrabStrategy strategy = GrabStrategy_OneByOne;
    unsigned long maxImages = 0;           // the session ends itself after so many results; 0: no limit
    unsigned long buffers = 10;            // of the session
    unsigned long maxNumQueuedBuffer = 50; // buffers in the stream grabber at one time
    bool announceAll = false;
    unsigned long payloadSize = 0; // bytes of an image, by the device's features
    int priority = 25;             // of the engine thread
    bool clearBuffers = false;
    std::string cameraName{}; // in the log: the serial number
};

/// What a session needs of the object around it. All but CreateGrabResultData come on the thread that retrieves, with
/// the camera lock held unless it is said otherwise.
class IGrabSessionOwner : public IGrabResultDataCreator {
public:
    virtual void OnGrabError(const char* message) noexcept = 0; ///< The engine has failed; the session is stopped next.
    virtual void StopCamera() = 0; ///< Ends the session and what the owner started around it.
    /// Without the lock. Nothing happens once @p wait is over. @throws what is to reach the caller of Retrieve; the
    /// session goes on.
    virtual void ProcessEventsOf(const CSessionWait& wait) = 0;
    virtual long GetCameraContext() const = 0;        ///< For the next result.
    virtual unsigned long GetMaxNumGrabResults() = 0; ///< As a message shows it.
    virtual bool HasResultParsers() const = 0;        ///< Whether each record needs a chunk parser.
    /// It is filled, and counts as retrieved. @throws what is to reach the caller of Retrieve, who has the image all
    /// the same; the session goes on.
    virtual void CompleteResult(CGrabResultPtr& result) = 0;
    virtual const char* DescribeTimeout() noexcept = 0; ///< Although buffers are queued.
    /// Without the lock. @p result may be empty. @throws what a handler throws.
    virtual void NotifyImageHandlers(std::uint64_t skipped, const CGrabResultPtr& result) = 0;

protected:
    ~IGrabSessionOwner() = default;
};

/// What a thread inside Retrieve takes along of the session that it waits for. That session may be over, and another
/// one run, before the thread has left.
struct CSessionWait {
    CSessionWait(std::uint64_t sessionNumber, std::shared_ptr<const CSessionEnd> sessionEnd);

    const std::uint64_t session; // its number
    const std::shared_ptr<const CSessionEnd> end;
    WaitObjects objects;              // stop, result, timer, perhaps events; not changed once a thread may wait
    bool hasLoop = false;             // only the camera's loop thread may wait; set before a thread may
    std::atomic<bool> isTaken{false}; // a thread waits: set under the camera lock, cleared by that thread without it
};

/// One grab session after the other, seen from the application: start, retrieve, stop.
/// Owns:    the engine, the result records, the timer and the wait set of the retrieving thread.
/// Borrows: the camera lock, which its owner hands in; it guards all members but those of the wait.
/// Threads: any for all operations. Only one at a time may be inside Retrieve in one session; the second one is
///          refused. One that still waits for an earlier session hinders nobody and leaves without a result.
/// Locks:   the camera lock, then the engine's; m_timerLock, a leaf.
class CGrabSession {
public:
    /// @p camera is printed, and tells whose loop a thread runs.
    CGrabSession(const CInstantCamera* camera, CCameraLock& cameraLock, IGrabSessionOwner& owner,
                 IGrabEngineObserver& engineObserver);
    ~CGrabSession(); ///< Stops. No thread is inside any more.

    /// The first step of a start: images are taken from here on, and nobody can retrieve them yet.
    /// @throws GenICam::RuntimeException while a session runs, and what the engine throws; nothing is left started.
    void Start(IStreamGrabber* grabber, const CGrabSettings& settings);
    /// The second one. @p events is waited for as well; null for none. @throws GenICam::RuntimeException; Stop undoes.
    void PrepareWait(const WaitObject* events);
    /// The last one: makes @p count result records. @throws what making them throws; Stop undoes.
    void MakeRecords(unsigned long count);
    void ReserveForLoop(); ///< Only the camera's loop thread may retrieve in this session.

    /// Wakes a thread inside Retrieve. Results that are held stay valid.
    void Stop() noexcept;
    /// Takes no lock, so that callbacks may ask it which run with the lock of a node map held.
    bool IsGrabbing() const noexcept { return m_engine.IsGrabbing(); }
    /// The number of the running session, else that of the last one; 0 before the first. Takes no lock.
    std::uint64_t GetNumber() const noexcept { return m_sessionNumber; }

    /// As CInstantCamera::RetrieveResult.
    bool Retrieve(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling handling);

    CGrabEngine& GetEngine() noexcept { return m_engine; }
    const CGrabEngine& GetEngine() const noexcept { return m_engine; }

private:
    /// How a wait ended; the numbers are positions in the wait set.
    enum EOutcome : unsigned { Outcome_Stopped = 0, Outcome_Result = 1, Outcome_Timeout = 2, Outcome_Event = 3 };

    void ReleaseRecords() noexcept;

    std::shared_ptr<CSessionWait> BeginWait();
    bool ProcessEventsAheadOfResult(const CSessionWait& wait);
    EOutcome Wait(const CSessionWait& wait, unsigned int timeoutMs);
    static EOutcome WaitForOutcome(const WaitObjects& objects, unsigned int timeoutMs,
                                   std::chrono::steady_clock::time_point due);
    template <typename Use>
    void UseTimer(const CSessionWait& wait, Use&& use);
    void HandleTimeout(unsigned int timeoutMs, ETimeoutHandling handling) ZELMO_REQUIRES(m_cameraLock);
    std::uint64_t TakeResult(CGrabResultPtr& result) ZELMO_REQUIRES(m_cameraLock);
    std::shared_ptr<CGrabResultData> TakeRecord() ZELMO_REQUIRES(m_cameraLock);
    void ForwardEngineException() ZELMO_REQUIRES(m_cameraLock);
    void StopAtCount(const std::shared_ptr<CSessionWait>& wait);

    const CInstantCamera* const m_camera;
    CCameraLock& m_cameraLock;
    IGrabSessionOwner& m_owner;
    CGrabSettings m_settings ZELMO_GUARDED_BY(m_cameraLock); // of the session
    std::uint64_t m_imagesLeft ZELMO_GUARDED_BY(m_cameraLock) = 0;
    bool m_countLimitActive ZELMO_GUARDED_BY(m_cameraLock) = false;
    std::int64_t m_imageNumber ZELMO_GUARDED_BY(m_cameraLock) = 0;
    std::atomic<std::uint64_t> m_sessionNumber{0}; // counts the starts; written under the camera lock
    std::shared_ptr<CSessionWait> m_wait ZELMO_GUARDED_BY(m_cameraLock); // of the running session; null without one

    CMutex m_timerLock;
    std::uint64_t m_timerSession ZELMO_GUARDED_BY(m_timerLock) = 0; // whose waiter may use the timer
    CWaitableTimer m_retrieveTimer ZELMO_GUARDED_BY(m_timerLock);   // created with the first session
    CReusableGrabResultDataProvider m_resultProvider;
    CGrabEngine m_engine;
};

} // namespace Zelmo
