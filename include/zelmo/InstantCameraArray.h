// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/GrabResultPtr.h>
#include <zelmo/GrabStrategy.h>
#include <zelmo/InstantCamera.h>

#include <cstddef>

namespace Zelmo {

class CInstantCameraArrayImpl;

/// Several cameras that grab together: started and stopped as one, their results taken by one RetrieveResult. A result
/// tells its camera by CGrabResultData::GetCameraContext: the array sets the context of each camera to its index.
///
/// Owns its cameras, from Initialize to the next one or to the destructor. They may be used as any other camera object,
/// but for RetrieveResult and GrabOne while the array grabs. One that stops grabbing, for whatever reason, ends the
/// grabbing of all when RetrieveResult comes upon it.
///
/// Threads: all operations from any thread, at the same time, but for these: RetrieveResult by one at a time,
/// StartGrabbing by one at a time, Initialize and the destructor from no handler of a camera and alone, but for calls
/// of StopGrabbing and IsGrabbing by handlers on the removal threads. With the lock of a camera held, as in its
/// configuration and camera event handlers, call only StopGrabbing, IsGrabbing, GetSize and operator[], and nothing of
/// another camera that takes a lock. docs/arrays.md tells more.
///
/// The order of the virtual operations does not change: derived classes are built apart from the library. The class
/// calls its own StopGrabbing, Close, CreateInstantCamera and DestroyInstantCamera, and all that is virtual of its
/// cameras, through their tables, so that an override takes part.
class ZELMO_API CInstantCameraArray {
public:
    /// An array without cameras. @throws GenICam::BadAllocException.
    CInstantCameraArray();
    /// The same, then Initialize. The cameras are plain ones: neither this constructor nor the destructor reaches the
    /// CreateInstantCamera and DestroyInstantCamera of a derived array. Such an array calls Initialize itself, and
    /// Initialize(0) in its destructor.
    explicit CInstantCameraArray(std::size_t numberOfCameras);
    CInstantCameraArray(const CInstantCameraArray&) = delete;
    CInstantCameraArray& operator=(const CInstantCameraArray&) = delete;
    /// Stops and destroys the cameras, the last one first, also where the stop fails. Results that are held stay valid.
    virtual ~CInstantCameraArray();

    /// Stops, destroys the cameras that there are, the last one first, and makes as many new ones, without devices.
    /// What fails in destroying is logged.
    /// @throws what StopGrabbing throws while the array grabs: its cameras stay then. What CreateInstantCamera throws,
    ///         GenICam::RuntimeException when it gives none: the array is empty then.
    virtual void Initialize(std::size_t numberOfCameras);

    virtual bool IsZelmoDeviceAttached() const; ///< To all cameras; false for an empty array, like the next ones.
    /// Whether at least one camera has lost its device. Asks all of them, and each "no" takes a millisecond or more.
    virtual bool IsCameraDeviceRemoved() const;
    virtual void DestroyDevice(); ///< Stops, then all cameras in order: see CInstantCamera.
    virtual void DetachDevice();  ///< Likewise.

    /// Opens all cameras in order.
    /// @throws GenICam::RuntimeException for an empty array and where a camera has no device attached; what a camera
    ///         throws: all are closed then.
    virtual void Open();
    virtual bool IsOpen() const; ///< All cameras.
    virtual void Close();        ///< Stops, then closes all cameras in order.

    virtual std::size_t GetSize() const; ///< Number of cameras.
    /// A camera, valid until the next Initialize. @throws GenICam::RuntimeException where there is none of that index.
    virtual CInstantCamera& operator[](std::size_t index);
    virtual const CInstantCamera& operator[](std::size_t index) const;

    /// Starts all cameras in order, as CInstantCamera::StartGrabbing without a limit. The turn is that of the first.
    /// @param grabLoop with GrabLoop_ProvidedByInstantCamera each camera has a thread of its own, which calls its
    ///                 image and camera event handlers: do not call RetrieveResult of the array then
    /// @throws GenICam::RuntimeException for an empty array, where a camera has no device attached and while the array
    ///         grabs or is being stopped: nothing is changed then. What a camera throws; GenICam::RuntimeException for
    ///         more than 341 cameras and when no descriptor is left: all cameras are stopped then, also those that
    ///         grabbed on their own.
    virtual void StartGrabbing(EGrabStrategy strategy = GrabStrategy_OneByOne,
                               EGrabLoop grabLoop = GrabLoop_ProvidedByUser);
    /// Waits for a result of any camera. Camera events and image handlers of all cameras are called on this thread,
    /// events before images. The cameras take turns while several have results: the one behind the camera of the last
    /// result that was there without a wait is asked first. With GrabStrategy_UpcomingImage the cameras are waited for
    /// strictly in turn, one a call, for all of the time.
    /// @param timeoutMs milliseconds from when no camera has had a result; 0 only looks, 0xFFFFFFFF waits without end
    /// @param result is given back first, then set
    /// @return true with a result, be it that of a failed grab. False while the array does not grab, when grabbing ends
    ///         meanwhile or a camera is found not to grab any more (all are stopped then, but with
    ///         GrabStrategy_UpcomingImage one that stops while it is waited for is found at its next turn) and, with
    ///         TimeoutHandling_Return, when the time is up.
    /// @throws GenICam::TimeoutException when the time is up: grabbing goes on. What a camera or one of its image
    ///         handlers throws, be it a GenICam::TimeoutException, as for a camera event that failed: all cameras are
    ///         stopped then.
    virtual bool RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result,
                                ETimeoutHandling handling = TimeoutHandling_ThrowException);
    /// Ends the grabbing that it finds, and stops all cameras in order, also while the array does not grab. A thread
    /// that waits in RetrieveResult returns false; results that nobody took are lost. While another thread stops
    /// already, it waits for that one, but not with the lock of a camera held, as in a configuration handler: the other
    /// may wait for it.
    /// @throws what the StopGrabbing of a derived camera throws, there and wherever all cameras are stopped: the array
    ///         does not grab then, but the cameras behind that one may.
    virtual void StopGrabbing();
    virtual bool IsGrabbing() const; ///< Also while it is being stopped. Takes no lock.

    /// For derived arrays, in pairs: how a camera is made, on the heap, and how it is destroyed.
    virtual CInstantCamera* CreateInstantCamera();
    virtual void DestroyInstantCamera(CInstantCamera* camera); ///< Null: nothing happens.

private:
    CInstantCameraArrayImpl* m_impl; // owned
};

} // namespace Zelmo
