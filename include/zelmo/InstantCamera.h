// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/BufferFactory.h>
#include <zelmo/CameraEventHandler.h>
#include <zelmo/Cleanup.h>
#include <zelmo/ConfigurationEventHandler.h>
#include <zelmo/DeviceInfo.h>
#include <zelmo/Export.h>
#include <zelmo/GrabResultPtr.h>
#include <zelmo/GrabStrategy.h>
#include <zelmo/ImageEventHandler.h>
#include <zelmo/InstantCameraExtensions.h>
#include <zelmo/InstantCameraParams.h>
#include <zelmo/Registration.h>
#include <zelmo/SfncVersion.h>
#include <zelmo/Types.h>
#include <zelmo/WaitObject.h>

#include <GenApi/Synch.h>

#include <cstdint>

namespace GenApi {
struct INodeMap;
}

namespace Zelmo {

class CGrabResultData;
class IZelmoDevice;

/// A camera: takes a device, opens and configures it, grabs images, tells handlers of its life, and survives the loss
/// of the device. The settings of the object itself (MaxNumBuffer and so on) are its members, by their names in
/// GetInstantCameraNodeMap(); they last from device to device.
///
/// Threads: all operations from any thread, at the same time; the destructor after all of them, and not from one of the
/// camera's own handlers. "The device check": the operation throws GenICam::RuntimeException without a device, and for
/// one that was physically removed.
///
/// Locks: nearly all operations hold the camera lock, GetLock(), to their end; handlers of the camera's life run with
/// it held, image handlers without it. Hold the lock of a device's node map inside the camera lock, never the other way
/// round. These take no camera lock, so that they may be called with any lock held: IsGrabbing,
/// GetGrabResultWaitObject, GetGrabStopWaitObject, GetLock, GetExtensionInterface,
/// CreateDeviceSpecificGrabResultData, and RegisterImageEventHandler to append. docs/grabbing.md has the table of what
/// may be called where.
///
/// Handlers may call all operations for the camera's life: what is under way already is not told twice, and an
/// operation goes on only as long as the camera is as its handlers found it.
///
/// The order of the virtual operations does not change: derived classes are built apart from the library. The class
/// calls its own operations through that table, so that an override takes part. A derived class's destructor lets go of
/// the device, calls JoinGrabLoopThread and then InternalShutdownEventHandlers, before its own part goes.
class ZELMO_API CInstantCamera : public Harlix_InstantCameraParams::CInstantCameraParams_Params {
public:
    class CInstantCameraImpl;

    /// A camera without a device, with CAcquireContinuousConfiguration registered.
    /// @throws GenICam::RuntimeException when the system has no descriptor left.
    CInstantCamera();
    /// The same, then Attach. What that throws ends the construction; the device stays with the caller then.
    explicit CInstantCamera(IZelmoDevice* device, ECleanup cleanup = Cleanup_Delete);
    CInstantCamera(const CInstantCamera&) = delete;
    CInstantCamera& operator=(const CInstantCamera&) = delete;
    /// Lets go of the device, as Attach(nullptr) does, and of all handlers. Results that are held stay valid.
    virtual ~CInstantCamera();

    /// Takes a device. One that is attached is let go of first: destroyed if it is owned, else detached. Null only does
    /// that. An open device stays open, and Close is needed to close it.
    /// @param cleanup Cleanup_Delete: the camera owns the device, and destroys it when it lets go of it
    /// @throws what the device throws; GenICam::RuntimeException for a device in a camera event handler, with nothing
    ///         changed. The device stays with the caller then, whatever @p cleanup says.
    virtual void Attach(IZelmoDevice* device, ECleanup cleanup = Cleanup_Delete);
    virtual bool IsZelmoDeviceAttached() const;
    /// Whether the device has told that it was physically removed. A "no" takes a millisecond, with the camera lock
    /// held; OnCameraDeviceRemoved tells without being asked.
    virtual bool IsCameraDeviceRemoved() const;
    virtual bool HasOwnership() const; ///< Of an attached device.
    /// Stops, closes and gives up the device, owned or not. Throws nothing. Without a device, nothing happens. In a
    /// camera event handler it stops, and the rest follows when the event is delivered; so do Close and DetachDevice.
    virtual void DestroyDevice();
    /// Stops, and gives the device back as it is: an open one stays open. Throws nothing.
    virtual void DetachDevice();

    /// Opens the device for control, streaming and, with GrabCameraEvents, events; with MonitorModeActive for watching:
    /// then clear the default configuration, which wants to write, first. OnOpen comes before, OnOpened after that. On
    /// an open device it only notes that StopGrabbing shall leave it open.
    /// @throws the device check; what the device and handlers throw: the device is closed then.
    virtual void Open();
    virtual bool IsOpen() const; ///< False, and logged, when the device fails to tell.
    virtual void Close();        ///< Stops and closes. Throws nothing. On a closed camera, nothing happens.

    /// Begins a session without a limit. A closed device is opened, and closed again by StopGrabbing. Buffers and
    /// result records are all made here.
    /// @param grabLoop whose thread calls RetrieveResult; the camera object's does so with GrabLoopThreadTimeout, if
    ///        GrabLoopThreadUseTimeout is on: a time-out, at once with 0, ends the session
    /// @throws the device check; GenICam::RuntimeException while a session runs, without a stream grabber, and for a
    ///         strategy that the device does not have; GenICam::BadAllocException "Out of memory! …" and
    ///         GenICam::GenericException "Unexpected error! …" with the text of whatever fails in setting up; what
    ///         handlers throw, as it is. No session runs then; a device that was opened for it stays open, unless the
    ///         stream had begun.
    virtual void StartGrabbing(EGrabStrategy strategy = GrabStrategy_OneByOne,
                               EGrabLoop grabLoop = GrabLoop_ProvidedByUser);
    /// The same for a session that ends itself with the last of @p maxImages results. Failed ones count.
    /// @throws GenICam::OutOfRangeException for 0; and see above.
    virtual void StartGrabbing(unsigned long maxImages, EGrabStrategy strategy = GrabStrategy_OneByOne,
                               EGrabLoop grabLoop = GrabLoop_ProvidedByUser);
    /// Waits for a result and calls the image handlers with it, on this thread and without the camera lock; not with
    /// that lock held, as in a configuration handler, while an image handler may run on another thread: it may hang.
    /// With GrabStrategy_UpcomingImage the image is taken after the call; a time-out of 0 never gets one.
    /// @param timeoutMs milliseconds; 0 only looks, 0xFFFFFFFF waits without end
    /// @param result is given back first, then set
    /// @return true with a result: an image, or one that says why there is none (CGrabResultData::GrabSucceeded). False
    ///         without a session, when the session ends meanwhile, with TimeoutHandling_Return when the time is up,
    ///         and with GrabStrategy_LatestImages and an OutputQueueSize of 0, which keeps nothing.
    /// @throws GenICam::TimeoutException with the likely cause; GenICam::RuntimeException when another thread waits and
    ///         when the application holds all result records: the session goes on. GenICam::GenericException when
    ///         grabbing has failed: the session has ended; for broken chunks, a camera event that failed, and
    ///         what node callbacks throw while one is delivered: the session goes on. What image handlers throw: @p
    ///         result is set.
    virtual bool RetrieveResult(unsigned int timeoutMs, CGrabResultPtr& result,
                                ETimeoutHandling handling = TimeoutHandling_ThrowException);
    /// Ends the session, if there is one; throws nothing. A thread in RetrieveResult returns false; results that nobody
    /// took are lost; an image handler may still run for a moment.
    virtual void StopGrabbing();
    virtual bool IsGrabbing() const; ///< Takes no lock.
    /// A session of one image; see RetrieveResult for where not to call it. @return whether @p result is one that
    /// succeeded; false, with the result, for a failed one.
    /// @throws as StartGrabbing and RetrieveResult, but GenICam::TimeoutException only as asked for.
    virtual bool GrabOne(unsigned int timeoutMs, CGrabResultPtr& result,
                         ETimeoutHandling handling = TimeoutHandling_ThrowException);
    virtual std::uint64_t GetQueuedBufferCount(); ///< Buffers in the stream grabber, waiting for images.

    /// Signaled while a result waits, and once grabbing has failed. Valid as long as the camera object; takes no lock.
    virtual WaitObject& GetGrabResultWaitObject();
    /// Signaled while no session runs. Not by a failure, until StopGrabbing has run. Likewise.
    virtual WaitObject& GetGrabStopWaitObject();
    /// Signaled while camera events wait to be fetched; never, where the device has none. Valid as long as the device
    /// is open. @throws the device check; GenICam::RuntimeException on a closed device.
    virtual WaitObject& GetCameraEventWaitObject();

    /// Adds a handler of the camera's life. A null one with RegistrationMode_ReplaceAll removes all, the default
    /// configuration too. May be called from handlers. @throws what the handler throws on hearing of it.
    virtual void RegisterConfiguration(CConfigurationEventHandler* handler, ERegistrationMode mode, ECleanup cleanup);
    /// Ends the youngest registration of the handler. @return false when there is none.
    virtual bool DeregisterConfiguration(CConfigurationEventHandler* handler);
    /// Adds a handler of results. Appending never waits for a handler that runs. Replacing and deregistering do: so not
    /// with the camera lock held, as from a configuration handler, while another thread may be in an image handler: it
    /// may hang. @throws what the handler throws on hearing of it.
    virtual void RegisterImageEventHandler(CImageEventHandler* handler, ERegistrationMode mode, ECleanup cleanup);
    /// See above, and DeregisterConfiguration. Not while another thread registers this handler.
    virtual bool DeregisterImageEventHandler(CImageEventHandler* handler);
    /// Adds a handler of events that change the node @p nodeName; for a category without an event id, its first
    /// feature.
    /// @throws GenICam::RuntimeException for a mandatory node that an open camera does not have: nothing is registered;
    ///         what the handler throws on hearing of it.
    virtual void RegisterCameraEventHandler(CCameraEventHandler* handler, const String_t& nodeName, long userProvidedId,
                                            ERegistrationMode mode, ECleanup cleanup,
                                            ECameraEventAvailability availability = CameraEventAvailability_Mandatory);
    virtual bool DeregisterCameraEventHandler(CCameraEventHandler* handler, const String_t& nodeName);

    /// Waits, with the camera lock held, until the camera can take the next frame trigger, by its "AcquisitionStatus"
    /// or by its software trigger.
    /// @return whether it can; false, with TimeoutHandling_Return, when the time is up. @param timeoutMs milliseconds
    /// @throws GenICam::TimeoutException as asked for; GenICam::RuntimeException where the camera does not tell.
    virtual bool WaitForFrameTriggerReady(unsigned int timeoutMs,
                                          ETimeoutHandling handling = TimeoutHandling_ThrowException);
    virtual bool CanWaitForFrameTriggerReady() const; ///< Whether the camera tells when it is ready.
    /// Executes "TriggerSoftware". @throws GenICam::RuntimeException without a session, without that command and while
    /// it is not available.
    virtual void ExecuteSoftwareTrigger();

    virtual void SetCameraContext(long context); ///< Goes into each result from then on; stays from device to device.
    virtual long GetCameraContext() const;
    /// Of the attached device; an empty one without a device. Valid as long as the device is attached.
    virtual const CDeviceInfo& GetDeviceInfo() const;

    /// The camera's features; an empty node map where there are none. A reference lives from Open to Close.
    /// @throws the device check.
    virtual GenApi::INodeMap& GetNodeMap();
    virtual GenApi::INodeMap& GetTLNodeMap(); ///< Parameters of the connection; likewise.
    /// Parameters of the stream; likewise. @throws the device check; GenICam::RuntimeException on a closed device.
    virtual GenApi::INodeMap& GetStreamGrabberNodeMap();
    virtual GenApi::INodeMap& GetEventGrabberNodeMap();  ///< Of the events; likewise.
    virtual GenApi::INodeMap& GetInstantCameraNodeMap(); ///< The settings of this object; there all its life.

    /// Where buffers come from, from the next session on; null: from the heap.
    /// @param cleanup Cleanup_Delete: DestroyBufferFactory is called when no buffer needs it any more
    virtual void SetBufferFactory(IBufferFactory* factory, ECleanup cleanup = Cleanup_Delete);

    virtual bool Is1394() const; ///< By the class of the device, like the next ones; false without a device.
    virtual bool IsGigE() const;
    virtual bool IsUsb() const;
    virtual bool IsCameraLink() const;
    virtual bool IsCxp() const;

    virtual IZelmoDevice* GetDevice(); ///< @throws the device check.
    /// For derived classes with results of their own. @return a new record, which the camera owns.
    virtual CGrabResultData* CreateDeviceSpecificGrabResultData();
    virtual bool IsMipex() const;

    /// By the device's features; read once while it is open. @throws the device check; GenICam::RuntimeException where
    /// it cannot be read.
    SfncVersion GetSfncVersion() const;
    GenApi::INodeMap& GetEmptyNodeMap(); ///< What stands for node maps that a device does not have; the same each time.
    /// The camera lock: that of GetInstantCameraNodeMap(), so that its parameters and operations exclude each other.
    GenApi::CLock& GetLock() const;
    IInstantCameraExtensions& GetExtensionInterface();
    CGrabResultData* CreateGrabResultData(); ///< A record with what results need beside it. The caller owns it.

    // For derived classes with handler types of their own: @p cookie is the address of a handler's reference counter.
    void InternalRegisterConfiguration(CConfigurationEventHandler* handler, ERegistrationMode mode, ECleanup cleanup,
                                       const long* cookie);
    bool InternalDeregisterConfiguration(const long* cookie);
    void InternalRegisterImageEventHandler(CImageEventHandler* handler, ERegistrationMode mode, ECleanup cleanup,
                                           const long* cookie);
    bool InternalDeregisterImageEventHandler(const long* cookie);
    void InternalRegisterCameraEventHandler(CCameraEventHandler* handler, const String_t& nodeName, long userProvidedId,
                                            ERegistrationMode mode, ECleanup cleanup,
                                            ECameraEventAvailability availability, const long* cookie);
    bool InternalDeregisterCameraEventHandler(const long* cookie, const String_t& nodeName);
    /// Ends all registrations; those that handlers try to make meanwhile are turned away.
    void InternalShutdownEventHandlers();

private:
    CInstantCameraImpl* m_impl; // owned
};

} // namespace Zelmo
