// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/GrabEngine.h"
#include "ZelmoBase/camera/GrabResultDataProvider.h"

#include <zelmo/GrabResultPtr.h>
#include <zelmo/GrabStrategy.h>
#include <zelmo/WaitObjects.h>
#include <zelmo/WaitableTimer.h>

#include <Base/GCSynch.h>

#include <atomic>
#include <cstdint>
#include <memory>

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

/// One grab session after the other, seen from the application: start, retrieve, stop.
/// Owns:    the engine, the result records, the timer and the wait set of the retrieving thread.
/// Borrows: the camera lock, which its owner hands in; it guards all members but those of the wait.
/// Threads: any for all operations. Only one at a time may be inside Retrieve's wait; the second one is refused.
class CGrabSession {
public:
    CGrabSession(const CInstantCamera* camera, GenICam::CLock& cameraLock, IGrabSessionOwner& owner,
                 IGrabEngineObserver& engineObserver);
    ~CGrabSession(); ///< Stops. No thread is inside any more.

    /// @throws GenICam::RuntimeException while a session runs, and what the engine throws; nothing is left started.
    void Start(IStreamGrabber* grabber, const CGrabSettings& settings);
    void Stop() noexcept; ///< Wakes a thread inside Retrieve. Results that are held stay valid.
    bool IsGrabbing() const;

    /// As CDeviceGrab::RetrieveResult.
    bool Retrieve(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling handling);

    CGrabEngine& GetEngine() noexcept { return m_engine; }
    const CGrabEngine& GetEngine() const noexcept { return m_engine; }

private:
    /// How a wait ended; the numbers are positions in the wait set.
    enum EOutcome : unsigned { Outcome_Stopped = 0, Outcome_Result = 1, Outcome_Timeout = 2 };

    void PrepareRetrieval(unsigned long results);
    void ReleaseRecords() noexcept;

    std::shared_ptr<const WaitObjects> BeginWait();
    EOutcome Wait(const WaitObjects& objects, unsigned int timeoutMs);
    void HandleTimeout(unsigned int timeoutMs, ETimeoutHandling handling);
    void TakeResult(CGrabResultPtr& result);
    std::shared_ptr<CGrabResultData> TakeRecord();
    void ForwardEngineException();
    void StopAtCount();

    const CInstantCamera* const m_camera;
    GenICam::CLock& m_cameraLock; // guards all that follows, but for what the wait uses
    IGrabSessionOwner& m_owner;
    CGrabSettings m_settings; // of the session
    std::uint64_t m_imagesLeft = 0;
    bool m_countLimitActive = false;
    std::int64_t m_imageNumber = 0;
    std::atomic<bool> m_waiterPresent{false}; // a thread is inside Retrieve; set under the camera lock, cleared without

    // Stop, result, timer: a set for each session, as a thread may still be on its way out of the wait of the last one.
    std::shared_ptr<const WaitObjects> m_retrieveWaitSet;
    CWaitableTimer m_retrieveTimer; // created with the first session
    CReusableGrabResultDataProvider m_resultProvider;
    CGrabEngine m_engine;
};

} // namespace Zelmo
