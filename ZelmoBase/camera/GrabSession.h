#pragma once

#include "ZelmoBase/camera/GrabEngine.h"
#include "ZelmoBase/camera/GrabResultDataProvider.h"

#include <zelmo/GrabResultPtr.h>
#include <zelmo/GrabStrategy.h>
#include <zelmo/WaitObjects.h>
#include <zelmo/WaitableTimer.h>

#include <Base/GCSynch.h>

#include <cstdint>

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

/// What a session needs of the object around it. Called with the camera lock held but for StopGrabbing after the last
/// image of a count.
class IGrabSessionOwner : public IGrabResultDataCreator {
public:
    virtual void OnGrabError(const char* message) = 0; ///< The engine has failed; before the session is stopped.
    virtual void StopGrabbing() = 0;                   ///< Ends the session and what the owner started around it.
    virtual unsigned long GetMaxNumGrabResultsSetting() const = 0; ///< For a message.

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

private:
    CGrabEngine m_engine;
};

} // namespace Zelmo
