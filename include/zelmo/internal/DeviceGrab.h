// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Cleanup.h>
#include <zelmo/Export.h>
#include <zelmo/GrabResultPtr.h>
#include <zelmo/GrabStrategy.h>

#include <cstdint>

namespace Zelmo {

class IBufferFactory;
class IZelmoDevice;
class WaitObject;

/// Grabs from a device that its user has opened, with the engine of the camera object: for tools that are close to the
/// library. Applications use the camera object, once it stands; this door goes then.
/// Threads: any, but for the destructor, which comes after all else. One thread at a time may be inside RetrieveResult.
class ZELMO_API CDeviceGrab {
public:
    /// What a session runs with; units and meaning are those of the camera object's parameters of these names.
    struct Settings {
        EGrabStrategy strategy = GrabStrategy_OneByOne;
        unsigned long maxImages = 0; ///< The session ends itself after so many results; 0: no limit.
        unsigned long maxNumBuffer = 10;
        unsigned long maxNumQueuedBuffer = 50;
        unsigned long maxNumGrabResults = 4294967295;
        unsigned long outputQueueSize = 5; ///< Images kept by GrabStrategy_LatestImages.
        bool clearBufferModeEnable = false;
        bool acquisitionStartStopExecutionEnable = true;
    };

    /// Borrows @p device, which must outlive this object. @throws GenICam::RuntimeException out of descriptors.
    explicit CDeviceGrab(IZelmoDevice& device);
    ~CDeviceGrab(); ///< Stops. Results that are held stay valid.
    CDeviceGrab(const CDeviceGrab&) = delete;
    CDeviceGrab& operator=(const CDeviceGrab&) = delete;

    /// Starts the stream grabber, the engine and then the camera.
    /// @throws GenICam::RuntimeException when grabbing has been started already or the device cannot grab, and what the
    ///         device throws; nothing is left started then.
    void StartGrabbing(const Settings& settings);
    void StopGrabbing() noexcept; ///< Without effect when nothing runs. Wakes a thread inside RetrieveResult.
    bool IsGrabbing() const;      ///< Takes no lock: allowed in every callback of a node, also inside its map's lock.

    /// Waits at most @p timeoutMs milliseconds for the next result; lets go of what @p result held before all else.
    /// @return whether @p result holds a result, be it that of a failed grab. False also when no session runs or it was
    ///         stopped meanwhile.
    /// @throws GenICam::TimeoutException when the time is up, with TimeoutHandling_ThrowException.
    /// @throws GenICam::RuntimeException while another thread is inside, or when held results exhaust the records.
    /// @throws GenICam::GenericException what made the engine fail; the session is over then.
    bool RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling handling);

    const WaitObject& GetGrabResultWaitObject() const; ///< Signaled while results wait, and when the engine has failed.
    const WaitObject& GetGrabStopWaitObject() const;   ///< Signaled while no session runs.

    std::uint64_t GetNumQueuedBuffers() const; ///< In the stream grabber.
    std::uint64_t GetNumReadyBuffers() const;  ///< Waiting to be retrieved.
    std::uint64_t GetNumEmptyBuffers() const;  ///< Free, or not allocated yet.

    /// For the next session. Null: memory from the heap.
    void SetBufferFactory(IBufferFactory* factory, ECleanup cleanup);

private:
    class Impl;
    Impl* m_impl;
};

} // namespace Zelmo
