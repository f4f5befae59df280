// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/GrabEngine.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <zelmo/IntegerParameter.h>
#include <zelmo/ThreadPriority.h>

#include <GenApi/INodeMap.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <pthread.h>
#include <type_traits>

namespace Zelmo {
namespace {

constexpr unsigned kCancelTimeoutMs = 5000;

static_assert(std::is_nothrow_move_constructible_v<CQueueEntry> && std::is_nothrow_move_assignable_v<CQueueEntry>,
              "results on their way are never half moved");

GenICam::GenericException NoException() {
    return GENERIC_EXCEPTION("No exception triggered by grab engine thread yet.");
}

/// Places of the output queue.
std::uint64_t GetQueueCapacity(EGrabStrategy strategy, std::uint64_t maxBuffers, std::uint64_t outputQueueSize) {
    switch (strategy) {
    case GrabStrategy_OneByOne:
        return maxBuffers; // as many as there are buffers: it is never full
    case GrabStrategy_LatestImages:
        return outputQueueSize;
    case GrabStrategy_LatestImageOnly:
    case GrabStrategy_UpcomingImage:
        break;
    }
    return 1;
}

} // namespace

CGrabEngine::CGrabEngine(const CInstantCamera* camera, IGrabEngineObserver& observer)
    : m_camera(camera), m_observer(observer), m_outOfMemory(GENERIC_EXCEPTION("Out of memory while grabbing.")),
      m_bufferWantedObject(WaitObjectEx::Create()), m_exception(NoException()) {}

CGrabEngine::~CGrabEngine() {
    StopEngine();
}

void CGrabEngine::StartEngine(IStreamGrabber* grabber, EGrabStrategy strategy, unsigned long maxBuffers,
                              unsigned long maxQueued, unsigned long imageLimit, bool announceAll,
                              unsigned long payloadSize, int priority, bool clearBuffers) {
    CheckStartable(grabber);
    // All that the thread and those that drop results read without a lock: none of them is there yet.
    m_strategy = strategy;
    m_maxBuffers = maxBuffers;
    m_maxQueued = maxQueued;
    m_imageLimit = strategy == GrabStrategy_OneByOne ? imageLimit : 0;
    m_priority = priority;
    m_deregisterOnRetrieval = maxBuffers > maxQueued && !announceAll;
    m_clearBuffers = clearBuffers;
    PrepareQueue();
    m_grabber = grabber;
    m_isGrabbing = true; // from here on a failure leaves by StopEngine, which undoes whatever was done
    ScopeGuard stop([this] { StopEngine(); });
    grabber->Open();
    const std::uint64_t sizeBytes = GetPayloadSize(payloadSize);
    // before PrepareGrab, which may allocate by them
    WriteGrabberValue("MaxBufferSize", sizeBytes);
    WriteGrabberValue("MaxNumBuffer", std::min(maxQueued, maxBuffers));
    grabber->PrepareGrab();
    MakeBuffers(sizeBytes);
    if (announceAll) { // while nothing streams: for devices that take no new memory later
        AnnounceBuffers();
    }
    grabber->StartStreaming();                    // before the first QueueBuffer, as the contract says
    if (strategy != GrabStrategy_UpcomingImage) { // there a buffer is queued when a retrieval asks for it
        QueueFreeBuffers();
    }
    m_bufferProvider.SetObserver(this);              // from here on a buffer that comes home is queued
    m_thread.Start("zelmo-grab", [this] { Run(); }); // last: nothing has to be undone beside it
    stop.Dismiss();
}

void CGrabEngine::CheckStartable(const IStreamGrabber* grabber) const {
    if (grabber == nullptr) {
        throw RUNTIME_EXCEPTION("The pointer to the stream grabber must not be NULL.");
    }
    if (IsGrabbing()) {
        throw RUNTIME_EXCEPTION("Grabbing has already been started.");
    }
    if (grabber->IsOpen()) {
        throw RUNTIME_EXCEPTION(
            "The stream grabber of the attached device is already open. It might already being used for grabbing.");
    }
}

void CGrabEngine::PrepareQueue() {
    ClearOutputQueue();
    {
        // that of the last pool, which nobody needs any more: the one of this session is not there yet
        CLockGuard lock(m_bufferLock);
        m_inGrabber.set_capacity(m_maxBuffers); // now: later, when a buffer is queued, nothing may fail behind it
        m_queued = 0;
        m_retrieved = 0;
        m_underway = false;
        m_returnGuard = 0;
        m_imageWanted = false; // a request of the session before is none of this one
        m_bufferWantedObject.Reset();
        m_bufferWanted = false;
    }
    ForgetException();
    auto end = std::make_shared<CSessionEnd>(); // a waiter of the session before still holds that one's
    m_cancelWaitSet.RemoveAll();
    if (m_strategy == GrabStrategy_UpcomingImage) { // else nobody waits on it
        m_cancelWaitSet.Add(end->GetObject());
        m_cancelWaitSet.Add(GetResultObject());
    }
    GenICam::AutoLock lock(m_queueLock);
    m_capacity = GetQueueCapacity(m_strategy, m_maxBuffers, m_outputQueueSize);
    m_outputQueue.set_capacity(std::min(m_capacity, m_maxBuffers)); // more than that never wait
    m_isQueueInUse = true;
    m_end = std::move(end); // last, with nothing that can fail behind it: between sessions the end stays signaled
}

void CGrabEngine::ForgetException() {
    const GenICam::GenericException none = NoException();
    GenICam::AutoLock lock(m_exceptionLock);
    m_exception = none;
    m_exceptionRaised = false;
}

std::uint64_t CGrabEngine::GetPayloadSize(std::uint64_t deviceSize) const {
    const std::int64_t grabberSize = CIntegerParameter(m_grabber->GetNodeMap(), "PayloadSize").GetValueOrDefault(0);
    const std::uint64_t sizeBytes = grabberSize != 0 ? static_cast<std::uint64_t>(grabberSize) : deviceSize;
    if (sizeBytes == 0) {
        throw RUNTIME_EXCEPTION("The payload size must not be 0.");
    }
    return sizeBytes;
}

void CGrabEngine::WriteGrabberValue(const char* name, std::uint64_t value) const {
    bool written = false;
    RunLogged(
        CameraLogCategory(), "Camera %s: Setting stream grabber value '%s' to %llu failed, msg='%s'",
        "Camera %s: Setting stream grabber value '%s' to %llu failed for an unknown reason",
        [&] {
            written = CIntegerParameter(m_grabber->GetNodeMap(), name).TrySetValue(static_cast<std::int64_t>(value));
        },
        m_cameraName.c_str(), name, static_cast<unsigned long long>(value));
    if (!written) {
        throw RUNTIME_EXCEPTION("Cannot set stream grabber value '%s'.", name);
    }
}

void CGrabEngine::MakeBuffers(std::uint64_t sizeBytes) {
    ++m_session;
    if (m_session == 0) {
        ++m_session;
    }
    m_bufferProvider.Reset(sizeBytes, m_bufferFactory, CReusableBufferProvider::EReset::Forced);
    m_bufferProvider.SetMaxItems(m_maxBuffers);
    m_bufferProvider.PrefillFree();
}

void CGrabEngine::AnnounceBuffers() {
    CLockGuard lock(m_bufferLock);
    // Each buffer goes to the end of the free list when it is let go: as many steps as there are buffers reach all.
    for (std::uint64_t left = GetNumEmptyBuffers(); left > 0; --left) {
        const std::shared_ptr<CBufferData> buffer = m_bufferProvider.GetItem();
        if (buffer == nullptr) {
            return;
        }
        RegisterBuffer(*buffer);
    }
}

template <typename Step>
void CGrabEngine::RunStopStep(const char* known, const char* unknown, Step&& step) const noexcept {
    RunLogged(CameraLogCategory(), known, unknown, std::forward<Step>(step));
}

void CGrabEngine::StopEngine() noexcept {
    if (!IsGrabbing()) {
        return;
    }
    // from here on no buffer comes out of the pool, and one that comes home dies
    RunStopStep("Exception caught while releasing allocated buffers, msg='%s'",
                "Unknown exception caught while releasing allocated buffers.",
                [this] { m_bufferProvider.SetMaxItems(0); });
    m_bufferProvider.SetObserver(nullptr); // waits for a thread that is queuing one: none touches the grabber any more
    RunStopStep("Exception caught while stopping grab engine thread, msg='%s'",
                "Unknown exception caught while stopping grab engine thread.", [this] { JoinThread(); });
    RunStopStep("Exception caught while stopping streaming, msg='%s'",
                "Unknown exception caught while stopping streaming.", [this] { m_grabber->StopStreaming(); });
    RunStopStep("Exception caught while clearing output queue, msg='%s'",
                "Unknown exception caught while clearing output queue.", [this] { ClearOutputQueue(); });
    RunStopStep("Exception caught while flushing buffers, msg='%s'", "Unknown exception caught while flushing buffers.",
                [this] { m_grabber->FlushBuffers(); });
    RunStopStep("Exception caught while retrieving cancelled buffers, msg='%s'",
                "Unknown exception caught while retrieving cancelled buffers.", [this] { RetrieveCanceledBuffers(); });
    RunStopStep("Exception caught while finishing grab, msg='%s'", "Unknown exception caught while finishing grab.",
                [this] { m_grabber->FinishGrab(); });
    bool isClosed = false;
    RunStopStep("Exception caught while closing stream grabber, msg='%s'",
                "Unknown exception caught while closing stream grabber.", [&] {
                    if (m_grabber->IsOpen()) {
                        m_grabber->Close();
                    }
                    isClosed = true;
                });
    RunLogged(
        CameraLogCategory(), "Camera %s: Exception caught while releasing buffers that were not retrieved, msg='%s'",
        "Camera %s: Unknown exception caught while releasing buffers that were not retrieved.",
        [&] { ReleaseKeptBuffers(isClosed); }, m_cameraName.c_str());
    RunStopStep("Exception caught while releasing item cache, msg='%s'",
                "Unknown exception caught while releasing item cache.",
                [this] { m_bufferProvider.Reset(0, nullptr, CReusableBufferProvider::EReset::Forced); });
    m_grabber = nullptr;
    m_isGrabbing = false; // the grabber is not touched any more: who sees this may close its device
    GenICam::AutoLock lock(m_queueLock);
    m_isQueueInUse = false;
}

void CGrabEngine::JoinThread() {
    m_end->SignalStop();
    if (m_thread.IsJoinable()) {
        m_thread.Join();
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, "Camera %p: Grab engine thread joined",
                        static_cast<const void*>(m_camera));
    }
}

void CGrabEngine::RetrieveCanceledBuffers() {
    CLockGuard lock(m_bufferLock);
    for (bool found = true; found;) { // each entry goes at once, and its buffer dies: the pool's maximum is 0 by now
        CQueueEntry entry;
        found = RetrieveFromStreamGrabber(entry);
    }
}

/// Those that the grabber did not give back, as it failed to. Closed, it touches them no more; else it may still write
/// into them, and they are left to it for good.
void CGrabEngine::ReleaseKeptBuffers(bool isClosed) {
    if (m_queued == 0) {
        return;
    }
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Warn,
                    "Camera %s: The stream grabber kept %lu queued buffers%s", m_cameraName.c_str(),
                    static_cast<unsigned long>(m_queued), isClosed ? "" : ": their memory is lost");
    CLockGuard lock(m_bufferLock); // after the log line, whose appenders are the application's
    for (; !m_inGrabber.empty() && isClosed; m_inGrabber.pop_front()) {
        const std::shared_ptr<CBufferData> last = std::move(m_inGrabber.front()->selfReference);
    }
    m_inGrabber.clear();
    m_queued = 0;
}

void CGrabEngine::Run() noexcept {
    try {
        Work();
    } catch (...) {
        LogCurrentException();
        StoreCurrentException("Exception caught in grab engine thread, msg=%s",
                              "Unknown exception caught in grab engine thread.");
    }
    if (m_exceptionRaised) {
        SignalFailure();
    }
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, "Camera %p: Grab engine thread stopped",
                    static_cast<const void*>(m_camera));
}

void CGrabEngine::Work() {
    SetUpThread();
    // Stop first: the lowest index wins, so that a session that is stopped does not go on for the images that wait.
    WaitObjects fed; // the grabber has all that it may have: a wish for buffers cannot be met, and would only spin
    fed.Add(GetStopObject());
    fed.Add(m_grabber->GetWaitObject());
    WaitObjects hungry;
    hungry.Add(GetStopObject());
    hungry.Add(m_bufferWantedObject);
    hungry.Add(m_grabber->GetWaitObject());
    for (;;) {
        switch (WaitForWork(fed, hungry)) {
        case EWork::Stop:
            return;
        case EWork::BufferWanted:
            QueueFreeBuffers();
            break;
        case EWork::Result:
            MoveResultToQueue();
            break;
        }
    }
}

void CGrabEngine::SetUpThread() const {
    const unsigned long thread = pthread_self();
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice, "Camera %p: Grab engine thread started",
                    static_cast<const void*>(m_camera));
    hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Notice,
                    "Camera %p: Grab engine thread set thread priority=%d, id=%d", static_cast<const void*>(m_camera),
                    m_priority, static_cast<int>(thread));
    SetRTThreadPriority(thread, m_priority); // without the right to it, the thread runs as it is
}

CGrabEngine::EWork CGrabEngine::WaitForWork(const WaitObjects& fed, const WaitObjects& hungry) const {
    const bool mayQueue = CanQueueBuffer() || m_strategy == GrabStrategy_UpcomingImage;
    unsigned index = 0;
    if (!(mayQueue ? hungry : fed).WaitForAny(WaitTimeoutInfinite, &index)) {
        throw RUNTIME_EXCEPTION("Unexpected timeout in grab engine thread.");
    }
    if (index == 0) {
        return EWork::Stop;
    }
    if (!mayQueue || index == 2) {
        return EWork::Result;
    }
    if (index != 1) {
        throw RUNTIME_EXCEPTION("Unexpected id of signaled wait object in grab engine thread.");
    }
    return EWork::BufferWanted;
}

void CGrabEngine::MoveResultToQueue() {
    CQueueEntry entry;
    if (RetrieveResult(entry)) {
        Append(entry);
    }
    if (m_imageLimit != 0 && m_retrieved >= m_imageLimit) {
        m_observer.OnGrabCountReached();
    }
}

bool CGrabEngine::RetrieveResult(CQueueEntry& entry) {
    CLockGuard lock(m_bufferLock);
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (RetrieveFromStreamGrabber(entry)) {
            ++m_retrieved;
            return true;
        }
        if (!m_grabber->GetWaitObject().Wait(0)) {
            return false; // a wake-up for nothing
        }
        // a result may have come between the retrieval and the look at the object: only twice in a row is a fault
    }
    throw RUNTIME_EXCEPTION("The stream grabber signals an available result but the retrieval fails.");
}

/// Appends @p entry. Afterwards it holds what found no place, to be let go without a lock.
void CGrabEngine::Append(CQueueEntry& entry) {
    GenICam::AutoLock lock(m_queueLock);
    if (entry.status != GrabStatus_Canceled) {
        entry.id = ++m_delivered;
    }
    const bool wasEmpty = m_outputQueue.empty();
    if (!m_outputQueue.full()) {
        m_outputQueue.push_back(std::move(entry));
    } else {
        m_skipped += IsImage(m_outputQueue.empty() ? entry : m_outputQueue.front()) ? 1 : 0;
        if (m_outputQueue.capacity() > 0) {
            CQueueEntry oldest = std::move(m_outputQueue.front());
            m_outputQueue.pop_front();
            m_outputQueue.push_back(std::move(entry));
            entry = std::move(oldest);
        }
    }
    m_underway = false;
    if (wasEmpty) { // else it is signaled
        m_resultSignal.Signal();
    }
}

/// Whether it counts as skipped when nobody takes it. A buffer that the engine itself has called back does not; the
/// others, failed ones among them, do.
bool CGrabEngine::IsImage(const CQueueEntry& entry) const noexcept {
    return m_strategy != GrabStrategy_UpcomingImage || entry.status != GrabStatus_Canceled;
}

/// Read without a lock on the engine thread, where it is a hint.
bool CGrabEngine::CanQueueBuffer() const noexcept {
    const std::uint64_t queued = m_queued; // once: both tests are about the same moment
    return queued < m_maxQueued && (m_imageLimit == 0 || m_imageLimit > queued + m_retrieved);
}

void CGrabEngine::QueueFreeBuffers() {
    CLockGuard lock(m_bufferLock);
    if (m_strategy != GrabStrategy_UpcomingImage) {
        while (CanQueueBuffer() && QueueOneBuffer()) {
        }
        return;
    }
    m_bufferWantedObject.Reset(); // first: the next request may come at once
    MeetRequest();
}

/// Queues a buffer, no matter how many are queued, unless whoever asked has given up or got one meanwhile. A request
/// that finds no buffer stands until one comes home.
void CGrabEngine::MeetRequest() {
    if (m_imageWanted.exchange(false) && !QueueOneBuffer()) {
        m_imageWanted = true;
    }
}

bool CGrabEngine::QueueOneBuffer() {
    std::shared_ptr<CBufferData> item = m_bufferProvider.GetItem();
    if (item == nullptr) {
        return false;
    }
    CBufferData& buffer = *item;
    RegisterBuffer(buffer);
    if (m_clearBuffers) {
        std::memset(buffer.buffer, 0, buffer.sizeBytes);
    }
    buffer.selfReference = std::move(item); // before QueueBuffer, which may complete the buffer at once
    try {
        m_grabber->QueueBuffer(buffer.handle, &buffer);
    } catch (...) {
        item = std::move(buffer.selfReference); // which goes home as it leaves this scope
        throw;
    }
    m_inGrabber.push_back(&buffer); // has room for all buffers
    m_queued = m_inGrabber.size();
    return true;
}

/// Once in a session, or each time anew where retrieval deregisters.
void CGrabEngine::RegisterBuffer(CBufferData& buffer) {
    if (buffer.registrationSession != m_session) {
        buffer.handle = m_grabber->RegisterBuffer(buffer.buffer, buffer.sizeBytes);
        buffer.registrationSession = m_session;
    }
}

/// With the buffer lock held, or after the thread is gone.
bool CGrabEngine::RetrieveFromStreamGrabber(CQueueEntry& entry) {
    if (!m_grabber->RetrieveResult(entry)) {
        return false;
    }
    const auto found = std::find(m_inGrabber.begin(), m_inGrabber.end(), entry.context); // as a rule the first
    if (found == m_inGrabber.end()) {
        throw RUNTIME_EXCEPTION("The stream grabber delivered a buffer that is not queued.");
    }
    CBufferData& buffer = **found;
    m_underway = true; // before the count goes down, so that the buffer is never nowhere for those who look
    entry.bufferReference = std::move(buffer.selfReference);
    m_inGrabber.rerase(found);
    m_queued = m_inGrabber.size();
    if (m_deregisterOnRetrieval) {
        m_grabber->DeregisterBuffer(buffer.handle);
        buffer.registrationSession = 0;
    }
    return true;
}

void CGrabEngine::OnItemAvailable() {
    if (m_returnGuard != 0) {
        return;
    }
    ++m_returnGuard; // a buffer that cannot be queued goes home on this very path
    ScopeGuard leave([this]() ZELMO_NO_THREAD_SAFETY_ANALYSIS { --m_returnGuard; });
    if (!m_exceptionRaised && m_grabber != nullptr) {
        try {
            if (m_strategy == GrabStrategy_UpcomingImage) {
                MeetRequest();
            } else if (CanQueueBuffer()) {
                QueueOneBuffer();
            }
        } catch (...) {
            StoreCurrentException("Exception caught while queuing returned buffer, msg=%s",
                                  "Unknown exception caught while queuing returned buffer.");
        }
    }
    if (m_exceptionRaised) {
        SignalFailure();
    }
    // more buffers are free; with GrabStrategy_UpcomingImage the object belongs to the requests
    if (m_strategy != GrabStrategy_UpcomingImage && m_bufferProvider.IsAnyAvailable()) {
        SetBufferWanted(true);
    }
}

void CGrabEngine::OnItemsExhausted() {
    SetBufferWanted(false);
}

/// Touches the wait object only for news: it costs a system call or two.
void CGrabEngine::SetBufferWanted(bool wanted) {
    if (m_bufferWanted == wanted) {
        return;
    }
    if (wanted) {
        m_bufferWantedObject.Signal();
    } else {
        m_bufferWantedObject.Reset();
    }
    m_bufferWanted = wanted;
}

void CGrabEngine::RequestBuffer() {
    if (!m_exceptionRaised) { // else the caller is told why, and takes nothing back from a grabber that has failed
        CancelUpcomingImage();
    }
    m_imageWanted = true;
    m_bufferWantedObject.Signal();
}

/// Whether a buffer is in the grabber, or a result between there and the queue. In this order: a result is underway
/// before its buffer counts as queued no more. What is in neither stands in the queue.
bool CGrabEngine::IsAnythingOnItsWay() const noexcept {
    return m_queued != 0 || m_underway;
}

/// With the buffer lock, so that no buffer is queued for the request any more.
void CGrabEngine::TakeBackRequest() {
    CLockGuard lock(m_bufferLock);
    if (m_imageWanted.exchange(false)) {
        m_bufferWantedObject.Reset();
    }
}

void CGrabEngine::CancelUpcomingImage() {
    if (!IsGrabbing() || m_strategy != GrabStrategy_UpcomingImage) {
        return;
    }
    TakeBackRequest();
    if (m_queued != 0) {
        m_grabber->FlushBuffers();
    }
    // Each buffer comes home through the engine thread. A failed engine moves none, but shows its end.
    while (IsAnythingOnItsWay() && !m_end->IsSignaled()) {
        if (!m_cancelWaitSet.WaitForAny(kCancelTimeoutMs)) {
            throw RUNTIME_EXCEPTION(
                "Timeout while waiting for canceled buffer after timeout with strategy GrabStrategy_UpcomingImage.");
        }
        DropResults();
    }
    DropResults();
    if (m_exceptionRaised) { // which the result object must go on to show
        SignalFailure();
    }
}

/// Of an upcoming image that nobody waits for any more.
void CGrabEngine::DropResults() {
    GenICam::AutoLock lock(m_queueLock);
    if (m_outputQueue.empty() && !m_resultSignal.IsSet()) { // as a rule, when a retrieval begins: no system call then
        return;
    }
    m_skipped += static_cast<std::uint64_t>(std::count_if(m_outputQueue.begin(), m_outputQueue.end(),
                                                          [this](const CQueueEntry& entry) { return IsImage(entry); }));
    m_outputQueue.clear();
    m_resultSignal.ResetAll();
}

void CGrabEngine::ClearOutputQueue() {
    GenICam::AutoLock lock(m_queueLock);
    m_outputQueue.clear();
    m_skipped = 0;
    m_resultSignal.ResetAll();
}

bool CGrabEngine::TryTake(CQueueEntry& entry, std::uint64_t& skipped) {
    GenICam::AutoLock lock(m_queueLock);
    const bool found = !m_outputQueue.empty();
    if (found) {
        entry = std::move(m_outputQueue.front());
        m_outputQueue.pop_front();
        skipped = std::exchange(m_skipped, 0); // without a result nobody would be told: it stays for the next one
    }
    if (m_outputQueue.empty()) {
        m_resultSignal.Reset();
        if (m_exceptionRaised) { // which it must go on to show
            m_resultSignal.Signal();
        }
    }
    return found;
}

std::uint64_t CGrabEngine::GetNumReadyBuffers() const {
    GenICam::AutoLock lock(m_queueLock);
    return m_outputQueue.size();
}

std::uint64_t CGrabEngine::GetNumEmptyBuffers() const {
    return m_bufferProvider.GetAvailableCount();
}

std::uint64_t CGrabEngine::GetOutputQueueSize() const {
    GenICam::AutoLock lock(m_queueLock);
    return m_isQueueInUse ? m_capacity : m_outputQueueSize;
}

void CGrabEngine::SetOutputQueueSize(std::uint64_t size) {
    boost::circular_buffer<CQueueEntry> former; // let go after the lock
    GenICam::AutoLock lock(m_queueLock);
    if (m_isQueueInUse) {
        former.set_capacity(std::min(size, m_maxBuffers)); // m_maxBuffers stands while the queue is in use
        const std::uint64_t left = std::min<std::uint64_t>(m_outputQueue.size(), size);
        if (size < m_outputQueue.size()) {
            m_skipped += m_outputQueue.size() - size;
        }
        std::move(m_outputQueue.end() - static_cast<std::ptrdiff_t>(left), m_outputQueue.end(),
                  std::back_inserter(former));
        m_outputQueue.swap(former);
        m_capacity = size;
    }
    m_outputQueueSize = size;
}

GenICam::GenericException CGrabEngine::GetException() const {
    GenICam::AutoLock lock(m_exceptionLock);
    return m_exception;
}

void CGrabEngine::LogCurrentException() const noexcept {
    const auto* const camera = static_cast<const void*>(m_camera);
    try {
        throw;
    } catch (const GenICam::GenericException& e) {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error,
                        "Camera %p: GenICam exception caught in grab engine thread, msg=%s", camera,
                        e.GetDescription());
    } catch (const std::exception& e) {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error,
                        "Camera %p: Std exception caught in grab engine thread, msg=%s", camera, e.what());
    } catch (...) {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error,
                        "Camera %p: Unknown exception caught in grab engine thread", camera);
    }
}

/// One of the GenICam family is kept as it is; else @p known, with its text, or @p unknown stands for it.
void CGrabEngine::StoreCurrentException(const char* known, const char* unknown) noexcept {
    try {
        try {
            throw;
        } catch (const GenICam::GenericException& e) {
            StoreException(e);
        } catch (const std::exception& e) {
            StoreException(GENERIC_EXCEPTION(known, e.what()));
        } catch (...) {
            StoreException(GENERIC_EXCEPTION("%s", unknown));
        }
    } catch (...) {
        StoreException(m_outOfMemory);
    }
}

void CGrabEngine::StoreException(const GenICam::GenericException& exception) noexcept {
    GenICam::AutoLock lock(m_exceptionLock);
    m_exception = exception;
    m_exceptionRaised = true;
}

void CGrabEngine::SignalFailure() noexcept {
    const auto guarded = [this](auto&& signal) { // one that cannot be signaled must not keep the other from it
        RunLogged(CameraLogCategory(), "Camera %s: Cannot signal the failure of the grab engine, msg='%s'",
                  "Camera %s: Cannot signal the failure of the grab engine.", signal, m_cameraName.c_str());
    };
    guarded([this] { m_end->SignalFailure(); });
    guarded([this] { m_resultSignal.Signal(); });
}

} // namespace Zelmo
