// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/BufferData.h"
#include "ZelmoBase/camera/GrabSignal.h"
#include "ZelmoBase/camera/QueueEntry.h"
#include "ZelmoBase/core/Mutex.h"
#include "ZelmoBase/core/Thread.h"

#include <zelmo/GrabStrategy.h>
#include <zelmo/StreamGrabber.h>
#include <zelmo/WaitObject.h>
#include <zelmo/WaitObjects.h>

#include <Base/GCException.h>
#include <Base/GCSynch.h>

#include <boost/circular_buffer.hpp>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace Zelmo {

class CInstantCamera;

/// What the engine tells its owner.
class IGrabEngineObserver {
public:
    /// As many images as the limit says were taken off the stream grabber. Called on the engine thread, with no lock of
    /// the engine held, again whenever the grabber wakes it after that.
    virtual void OnGrabCountReached() = 0;

protected:
    ~IGrabEngineObserver() = default;
};

/// The buffer lock: the mutex of the buffer pool. Each session has a pool, and so a mutex, of its own; this is one name
/// for it, which the analysis of locks can follow. No pool is replaced while a thread holds it.
class ZELMO_CAPABILITY("mutex") CBufferLock {
public:
    explicit CBufferLock(const CReusableBufferProvider& provider) noexcept : m_provider(provider) {}
    void lock() ZELMO_ACQUIRE() ZELMO_NO_THREAD_SAFETY_ANALYSIS { m_provider.GetMutex().lock(); }
    void unlock() noexcept ZELMO_RELEASE() ZELMO_NO_THREAD_SAFETY_ANALYSIS { m_provider.GetMutex().unlock(); }

private:
    const CReusableBufferProvider& m_provider;
};

/// Takes filled buffers off a stream grabber and keeps it fed, session after session; lives as long as the camera.
/// Owns:    the engine thread, the output queue and the buffers.
/// Borrows: during a session, the stream grabber (the device owns it).
/// Threads: StartEngine, StopEngine, RequestBuffer, CancelUpcomingImage and SetBufferFactory under the camera lock,
///          which the engine itself never takes; the rest from any. Run is the engine thread; OnItem… run on any thread
///          that drops a result.
/// Locks:   m_queueLock, then the buffer pool's mutex (the buffer lock), then m_exceptionLock; never the other way
/// round.
///
/// States: idle (no grabber); running; failed (the thread has ended and an exception is stored: stop and result object
/// are signaled until StopEngine). A failed engine does not stop by itself: its owner learns of it by the stop object.
class CGrabEngine final : private IReusableItemCacheObserver {
public:
    /// @p camera is only printed.
    /// @throws GenICam::RuntimeException when no descriptor is left.
    CGrabEngine(const CInstantCamera* camera, IGrabEngineObserver& observer);
    ~CGrabEngine() override; ///< Stops.
    CGrabEngine(const CGrabEngine&) = delete;
    CGrabEngine& operator=(const CGrabEngine&) = delete;

    /// Opens the grabber, makes, registers and queues the buffers and starts the thread.
    /// @param maxBuffers  buffers of the session
    /// @param maxQueued   buffers in the grabber at one time; fewer than maxBuffers: each is registered only while
    /// queued
    /// @param imageLimit  images to take in all, only heeded for GrabStrategy_OneByOne; 0 for no limit
    /// @param announceAll registers all buffers before streaming starts, for the whole session
    /// @param payloadSize bytes of an image, where the grabber does not know it
    /// @param priority    real-time priority of the thread; one that the system refuses is no failure
    /// @param clearBuffers zeroes each buffer before it is queued
    /// @throws what the grabber and the buffer factory throw, GenICam::RuntimeException; nothing is left started then.
    void StartEngine(IStreamGrabber* grabber, EGrabStrategy strategy, unsigned long maxBuffers, unsigned long maxQueued,
                     unsigned long imageLimit, bool announceAll, unsigned long payloadSize, int priority,
                     bool clearBuffers);
    void StopEngine() noexcept; ///< Ends the session, if there is one. Queued results are lost, held ones stay valid.

    bool IsGrabbing() const noexcept { return m_isGrabbing.load(); } ///< From the start until the stop is done.

    /// With GrabStrategy_UpcomingImage: the buffer that was asked for comes back, and whatever stands in the queue is
    /// dropped and counted as skipped. Else nothing.
    /// @throws GenICam::RuntimeException when the buffer does not come back within 5 s.
    void CancelUpcomingImage();
    /// With GrabStrategy_UpcomingImage: asks for an image, once what an earlier request has left is taken back: its
    /// result would be older than this call. @throws as CancelUpcomingImage.
    void RequestBuffer();

    /// Takes the oldest result and with it the count of those that were skipped before. Resets the result object when
    /// the queue is empty then and the engine has not failed. @return false, with both as they were, when there is
    /// none.
    bool TryTake(CQueueEntry& entry, std::uint64_t& skipped);

    /// Of the present session, else of the last one. Another one after each start.
    const std::shared_ptr<CSessionEnd>& GetSessionEnd() const noexcept { return m_end; }
    const WaitObjectEx& GetStopObject() const noexcept { return m_end->GetObject(); } ///< Of that end.
    /// Results wait, or it failed.
    WaitObjectEx& GetResultObject() noexcept { return m_resultSignal.GetObject(); }
    bool IsResultSignaled() const noexcept { return m_resultSignal.IsSet(); }

    bool IsExceptionRaised() const noexcept { return m_exceptionRaised.load(); }
    GenICam::GenericException GetException() const; ///< A copy of what made the engine fail.

    std::uint64_t GetNumQueuedBuffers() const noexcept { return m_queued.load(); } ///< In the stream grabber.
    std::uint64_t GetNumReadyBuffers() const;                                      ///< In the output queue.
    std::uint64_t GetNumEmptyBuffers() const;                                      ///< Free, or not allocated yet.

    /// The capacity of the output queue during a session, else that of the next one with GrabStrategy_LatestImages.
    std::uint64_t GetOutputQueueSize() const;
    void SetOutputQueueSize(std::uint64_t size); ///< At once; results that do not fit are lost, the oldest first.

    /// Between sessions: what log lines of our own words call the camera, the serial number.
    void SetCameraName(std::string name) { m_cameraName = std::move(name); }

    /// For the next session. @p factory null: memory from the heap.
    void SetBufferFactory(std::shared_ptr<IBufferFactory> factory) { m_bufferFactory = std::move(factory); }

private:
    enum class EWork { Stop, BufferWanted, Result };

    // StartEngine, step by step
    void CheckStartable(const IStreamGrabber* grabber) const;
    void PrepareQueue();
    void ClearOutputQueue();
    void ForgetException();
    std::uint64_t GetPayloadSize(std::uint64_t deviceSize) const;
    void WriteGrabberValue(const char* name, std::uint64_t value) const;
    void MakeBuffers(std::uint64_t sizeBytes);
    void AnnounceBuffers();

    // StopEngine
    template <typename Step>
    void RunStopStep(const char* known, const char* unknown, Step&& step) const noexcept;
    void JoinThread();
    void RetrieveCanceledBuffers();
    void ReleaseKeptBuffers(bool isClosed);

    // the engine thread
    void Run() noexcept;
    void Work();
    void SetUpThread() const;
    EWork WaitForWork(const WaitObjects& fed, const WaitObjects& hungry) const;
    void MoveResultToQueue();
    bool RetrieveResult(CQueueEntry& entry);
    void Append(CQueueEntry& entry);
    bool IsImage(const CQueueEntry& entry) const noexcept;

    // feeding the grabber
    bool CanQueueBuffer() const noexcept;
    void QueueFreeBuffers();
    bool QueueOneBuffer() ZELMO_REQUIRES(m_bufferLock);
    void RegisterBuffer(CBufferData& buffer) ZELMO_REQUIRES(m_bufferLock);
    bool RetrieveFromStreamGrabber(CQueueEntry& entry) ZELMO_REQUIRES(m_bufferLock);
    void OnItemAvailable() override ZELMO_REQUIRES(m_bufferLock); // the pool calls with its mutex held
    void OnItemsExhausted() override ZELMO_REQUIRES(m_bufferLock);
    void SetBufferWanted(bool wanted) ZELMO_REQUIRES(m_bufferLock);

    // requests for an upcoming image
    void MeetRequest() ZELMO_REQUIRES(m_bufferLock);
    void TakeBackRequest();
    bool IsAnythingOnItsWay() const noexcept;
    void DropResults();

    void StoreException(const GenICam::GenericException& exception) noexcept;
    void LogCurrentException() const noexcept;
    void StoreCurrentException(const char* known, const char* unknown) noexcept;
    void SignalFailure() noexcept;

    const CInstantCamera* const m_camera;
    std::string m_cameraName;
    IGrabEngineObserver& m_observer;
    const GenICam::GenericException m_outOfMemory; // where no memory is left to build another one

    // set by StartEngine, before the thread and after its end; see the class comment
    IStreamGrabber* m_grabber = nullptr;   // set while a session runs
    std::atomic<bool> m_isGrabbing{false}; // whether it is, for those without the camera lock
    std::uint64_t m_session = 0;           // never 0 after the first start
    EGrabStrategy m_strategy = GrabStrategy_OneByOne;
    std::uint64_t m_maxBuffers = 0;
    std::uint64_t m_maxQueued = 0;
    std::uint64_t m_imageLimit = 0; // 0 for none
    int m_priority = 0;
    bool m_deregisterOnRetrieval = false;
    bool m_clearBuffers = false;
    std::shared_ptr<IBufferFactory> m_bufferFactory;

    // written under the buffer lock; atomics are also read without it, as a hint
    // in the grabber, the oldest first: what else comes from it is not ours
    boost::circular_buffer<CBufferData*> m_inGrabber ZELMO_GUARDED_BY(m_bufferLock);
    std::atomic<std::uint64_t> m_queued{0};    // their number
    std::atomic<std::uint64_t> m_retrieved{0}; // results taken off the grabber in this session
    std::atomic<bool> m_underway{false};       // a result is between grabber and queue; cleared under m_queueLock
    unsigned m_returnGuard ZELMO_GUARDED_BY(m_bufferLock) = 0; // keeps OnItemAvailable from running inside itself
    // what m_bufferWantedObject shows, but for GrabStrategy_UpcomingImage
    bool m_bufferWanted ZELMO_GUARDED_BY(m_bufferLock) = false;

    WaitObjectEx m_bufferWantedObject;
    std::shared_ptr<CSessionEnd> m_end = std::make_shared<CSessionEnd>(); // of the session; its stop object
    CGrabSignal m_resultSignal;
    WaitObjects m_cancelWaitSet;            // stop, result; of the session
    std::atomic<bool> m_imageWanted{false}; // with GrabStrategy_UpcomingImage: asked for, and no buffer queued for it

    mutable GenICam::CLock m_queueLock;
    boost::circular_buffer<CQueueEntry> m_outputQueue GENICAM_GUARDED_BY(m_queueLock);
    bool m_isQueueInUse GENICAM_GUARDED_BY(m_queueLock) = false; // a session runs
    std::uint64_t
        m_capacity GENICAM_GUARDED_BY(m_queueLock) = 0; // as asked for; places for more than all buffers are none
    std::uint64_t m_skipped GENICAM_GUARDED_BY(m_queueLock) = 0; // since the last result that was taken
    std::uint64_t m_outputQueueSize GENICAM_GUARDED_BY(m_queueLock) = 5;
    std::uint64_t m_delivered GENICAM_GUARDED_BY(m_queueLock) = 0; // over all sessions

    mutable GenICam::CLock m_exceptionLock;
    std::atomic<bool> m_exceptionRaised{false}; // written under m_exceptionLock
    GenICam::GenericException m_exception GENICAM_GUARDED_BY(m_exceptionLock);

    CReusableBufferProvider m_bufferProvider;
    CBufferLock m_bufferLock{m_bufferProvider};
    CThread m_thread; // last: it touches all of the above
};

} // namespace Zelmo
