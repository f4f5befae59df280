// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/GrabEngine.h"
#include "ZelmoBase/camera/GrabResultDataProvider.h"
#include "ZelmoBase/core/Mutex.h"

#include <zelmo/GrabResultPtr.h>
#include <zelmo/GrabStrategy.h>
#include <zelmo/WaitObjects.h>
#include <zelmo/WaitableTimer.h>

#include <Base/GCSynch.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace Zelmo {

class CInstantCamera;

/// What a session runs with, read once at its start.
struct CGrabSettings {
    EGrabStrategy strategy = GrabStrategy_OneByOne;
    unsigned long maxImages = 0;                  // the session ends itself after so many results; 0: no limit
    unsigned long maxNumBuffer = 10;              // buffers of the session
    unsigned long maxNumQueuedBuffer = 50;        // buffers in the stream grabber at one time
    unsigned long maxNumGrabResults = 4294967295; // result records of the session
    bool announceAll = false;
    unsigned long payloadSize = 0; // bytes of an image, by the device's features
    int priority = 25;             // of the engine thread
    bool clearBuffers = false;
    long cameraContext = 0;
    std::string cameraName{}; // in the log: the serial number
};

/// What a session needs of the object around it. All but CreateGrabResultData come on the thread that retrieves, with
/// or without the camera lock held.
class IGrabSessionOwner : public IGrabResultDataCreator {
public:
    virtual void OnGrabError(const char* message) noexcept = 0; ///< The engine has failed; the session is stopped next.
    virtual void StopGrabbing() = 0; ///< Ends the session and what the owner started around it.

protected:
    ~IGrabSessionOwner() = default;
};

/// What a thread inside Retrieve takes along of the session that it waits for. That session may be over, and another
/// one run, before the thread has left.
struct CSessionWait {
    CSessionWait(std::uint64_t sessionNumber, std::shared_ptr<const CSessionEnd> sessionEnd);

    const std::uint64_t session; // its number
    const std::shared_ptr<const CSessionEnd> end;
    WaitObjects objects;              // stop, result, timer; not changed any more once a thread may wait
    std::atomic<bool> isTaken{false}; // a thread waits: set under the camera lock, cleared by that thread without it
};

/// One grab session after the other, seen from the application: start, retrieve, stop.
/// Owns:    the engine, the result records, the timer and the wait set of the retrieving thread.
/// Borrows: the camera lock, which its owner hands in; it guards all members but those of the wait.
/// Threads: any for all operations. Only one at a time may be inside Retrieve's wait in one session; the second one is
///          refused. One that still waits for an earlier session hinders nobody and leaves without a result.
/// Locks:   the camera lock, then the engine's; m_timerLock, a leaf.
class CGrabSession {
public:
    CGrabSession(const CInstantCamera* camera, GenICam::CLock& cameraLock, IGrabSessionOwner& owner,
                 IGrabEngineObserver& engineObserver);
    ~CGrabSession(); ///< Stops. No thread is inside any more.

    /// @throws GenICam::RuntimeException while a session runs, and what the engine throws; nothing is left started.
    void Start(IStreamGrabber* grabber, const CGrabSettings& settings);
    void Stop() noexcept; ///< Wakes a thread inside Retrieve. Results that are held stay valid.
    /// Takes no lock, so that callbacks may ask it which run with the lock of a node map held.
    bool IsGrabbing() const noexcept { return m_engine.IsGrabbing(); }

    /// As CDeviceGrab::RetrieveResult.
    bool Retrieve(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling handling);

    CGrabEngine& GetEngine() noexcept { return m_engine; }
    const CGrabEngine& GetEngine() const noexcept { return m_engine; }

private:
    /// How a wait ended; the numbers are positions in the wait set.
    enum EOutcome : unsigned { Outcome_Stopped = 0, Outcome_Result = 1, Outcome_Timeout = 2 };

    void PrepareRetrieval(unsigned long results) GENICAM_REQUIRES(m_cameraLock);
    void ReleaseRecords() noexcept;

    std::shared_ptr<CSessionWait> BeginWait();
    EOutcome Wait(const CSessionWait& wait, unsigned int timeoutMs);
    static EOutcome WaitForOutcome(const WaitObjects& objects, unsigned int timeoutMs);
    template <typename Use>
    void UseTimer(const CSessionWait& wait, Use&& use);
    void HandleTimeout(unsigned int timeoutMs, ETimeoutHandling handling) GENICAM_REQUIRES(m_cameraLock);
    void TakeResult(CGrabResultPtr& result) GENICAM_REQUIRES(m_cameraLock);
    std::shared_ptr<CGrabResultData> TakeRecord() GENICAM_REQUIRES(m_cameraLock);
    void ForwardEngineException() GENICAM_REQUIRES(m_cameraLock);
    void StopAtCount(const std::shared_ptr<CSessionWait>& wait);

    const CInstantCamera* const m_camera;
    GenICam::CLock& m_cameraLock;
    IGrabSessionOwner& m_owner;
    CGrabSettings m_settings GENICAM_GUARDED_BY(m_cameraLock); // of the session
    std::uint64_t m_imagesLeft GENICAM_GUARDED_BY(m_cameraLock) = 0;
    bool m_countLimitActive GENICAM_GUARDED_BY(m_cameraLock) = false;
    std::int64_t m_imageNumber GENICAM_GUARDED_BY(m_cameraLock) = 0;
    std::uint64_t m_sessionNumber GENICAM_GUARDED_BY(m_cameraLock) = 0;    // counts the starts
    std::shared_ptr<CSessionWait> m_wait GENICAM_GUARDED_BY(m_cameraLock); // of the running session; null without one

    CMutex m_timerLock;
    std::uint64_t m_timerSession ZELMO_GUARDED_BY(m_timerLock) = 0; // whose waiter may use the timer
    CWaitableTimer m_retrieveTimer ZELMO_GUARDED_BY(m_timerLock);   // created with the first session
    CReusableGrabResultDataProvider m_resultProvider;
    CGrabEngine m_engine;
};

} // namespace Zelmo
