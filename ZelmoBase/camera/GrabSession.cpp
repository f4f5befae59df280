// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/GrabSession.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/camera/GrabLoopThread.h"
#include "ZelmoBase/camera/GrabResultDataImpl.h"
#include "ZelmoBase/camera/GrabResultPtrImpl.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <Base/GCAllocating.h>
#include <Base/GCException.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace Zelmo {
namespace {

bool HasEnd(unsigned int timeoutMs) {
    return timeoutMs < WaitTimeoutInfinite - 1;
}

} // namespace

CSessionWait::CSessionWait(std::uint64_t sessionNumber, std::shared_ptr<const CSessionEnd> sessionEnd)
    : session(sessionNumber), end(std::move(sessionEnd)) {}

CGrabSession::CGrabSession(const CInstantCamera* camera, CCameraLock& cameraLock, IGrabSessionOwner& owner,
                           IGrabEngineObserver& engineObserver)
    : m_camera(camera), m_cameraLock(cameraLock), m_owner(owner), m_resultProvider(owner),
      m_engine(camera, engineObserver) {}

CGrabSession::~CGrabSession() {
    Stop();
}

void CGrabSession::Start(IStreamGrabber* grabber, const CGrabSettings& settings) {
    CCameraGuard lock(m_cameraLock);
    if (IsGrabbing()) {
        throw RUNTIME_EXCEPTION("Grabbing has already been started.");
    }
    ++m_sessionNumber; // first: the number of a session that is over never runs again
    m_settings = settings;
    m_engine.SetCameraName(settings.cameraName);
    m_imagesLeft = settings.maxImages;
    m_imageNumber = 0;
    m_countLimitActive = settings.maxImages != 0;
    m_engine.StartEngine(grabber, settings.strategy, settings.buffers, settings.maxNumQueuedBuffer, settings.maxImages,
                         settings.announceAll, settings.payloadSize, settings.priority, settings.clearBuffers);
}

void CGrabSession::PrepareWait(const WaitObject* events) {
    CCameraGuard lock(m_cameraLock);
    auto wait = std::make_shared<CSessionWait>(m_sessionNumber, m_engine.GetSessionEnd());
    // Places are outcomes. The lowest one that is signaled counts: an ended session comes before its results.
    wait->objects.Add(wait->end->GetObject());
    wait->objects.Add(m_engine.GetResultObject());
    {
        CLockGuard timerLock(m_timerLock);
        if (!m_retrieveTimer.IsValid()) {
            m_retrieveTimer.Create();
        }
        wait->objects.Add(m_retrieveTimer);
        m_timerSession = wait->session; // from here on a waiter of an earlier session leaves the timer alone
    }
    if (events != nullptr) {
        wait->objects.Add(*events);
    }
    m_wait = std::move(wait);
}

void CGrabSession::MakeRecords(unsigned long count) {
    CCameraGuard lock(m_cameraLock);
    m_resultProvider.Reset();
    m_resultProvider.SetMaxItems(count);
    m_resultProvider.PrefillFree();
}

void CGrabSession::ReserveForLoop() {
    CCameraGuard lock(m_cameraLock);
    m_wait->hasLoop = true;
}

void CGrabSession::Stop() noexcept {
    CCameraGuard lock(m_cameraLock);
    if (!IsGrabbing()) {
        return;
    }
    m_engine.StopEngine(); // which wakes the waiter
    ReleaseRecords();      // after the engine: no result comes any more
    m_wait.reset();
}

/// Results that are held stay valid, and are destroyed when they come home.
void CGrabSession::ReleaseRecords() noexcept {
    RunLogged(CameraLogCategory(), "Exception caught while releasing allocated grab results, msg='%s'",
              "Unknown exception caught while releasing allocated grab results.",
              [this] { m_resultProvider.SetMaxItems(0); });
}

bool CGrabSession::Retrieve(unsigned int timeoutMs, CGrabResultPtr& result, ETimeoutHandling handling) {
    result.Release();
    const std::shared_ptr<CSessionWait> wait = BeginWait();
    if (wait == nullptr) {
        return false;
    }
    ScopeGuard endWait([&wait] { wait->isTaken = false; }); // of that session, whichever runs by then
    const EOutcome outcome = Wait(*wait, timeoutMs);
    if (outcome == Outcome_Stopped && !wait->end->HasFailed()) {
        return false; // without the camera lock, whose holder may wait for this thread to leave
    }
    bool isCounted = false;
    std::uint64_t skipped = 0;
    ScopeGuard stopAtCount([&]() noexcept { // also when a handler throws, or what came with the image is broken
        if (isCounted) {
            RunLogged(CameraLogCategory(), "Exception caught while calling StopGrabbing, msg='%s'",
                      "Unknown exception caught while calling StopGrabbing.", [&] { StopAtCount(wait); });
        }
    });
    {
        CCameraGuard lock(m_cameraLock);
        if (m_wait != wait) { // the session is over, and another one may run: what has happened there is not ours
            return false;
        }
        if (outcome == Outcome_Stopped) {
            ForwardEngineException();
            return false;
        }
        if (outcome == Outcome_Timeout) {
            HandleTimeout(timeoutMs, handling);
            return false;
        }
        isCounted = m_countLimitActive;
        skipped = TakeResult(result);
    }
    m_owner.NotifyImageHandlers(skipped, result);
    stopAtCount.Dismiss();
    if (isCounted) {
        StopAtCount(wait);
    }
    return result.IsValid();
}

/// Looks anew, with the lock held until the session has ended: another one that was started meanwhile goes on.
void CGrabSession::StopAtCount(const std::shared_ptr<CSessionWait>& wait) {
    CCameraGuard lock(m_cameraLock);
    if (m_wait == wait && m_imagesLeft == 0) {
        m_owner.StopCamera();
    }
}

/// @return what to wait for; null when no session runs.
std::shared_ptr<CSessionWait> CGrabSession::BeginWait() {
    CCameraGuard lock(m_cameraLock);
    const std::uint64_t ownLoop = CGrabLoopThread::GetLoopOfThisCall(m_camera);
    if (m_wait == nullptr || (ownLoop != 0 && ownLoop != m_wait->session)) {
        return nullptr;
    }
    if ((m_wait->hasLoop && ownLoop == 0) || m_wait->isTaken.exchange(true)) {
        throw RUNTIME_EXCEPTION("There is already a thread waiting for a result.");
    }
    ScopeGuard endWait([wait = m_wait.get()] { wait->isTaken = false; });
    if (m_settings.strategy == GrabStrategy_UpcomingImage) {
        m_engine.RequestBuffer();
    }
    endWait.Dismiss();
    return m_wait;
}

/// Events that came ahead of a result are told ahead of it, also where both come meanwhile.
/// @return whether a result waits.
bool CGrabSession::ProcessEventsAheadOfResult(const CSessionWait& wait) {
    bool wasThere = m_engine.IsResultSignaled();
    for (;;) {
        m_owner.ProcessEventsOf(wait);
        const bool isThere = m_engine.IsResultSignaled();
        if (wasThere || !isThere) {
            return isThere;
        }
        wasThere = true;
    }
}

/// Without the camera lock, so that a stop can end it.
CGrabSession::EOutcome CGrabSession::Wait(const CSessionWait& wait, unsigned int timeoutMs) {
    if (wait.end->IsSignaled()) {
        return Outcome_Stopped;
    }
    if (ProcessEventsAheadOfResult(wait)) { // be it that of a session which began just now: the caller looks
        return Outcome_Result;
    }
    if (timeoutMs == 0) {
        return Outcome_Timeout;
    }
    const auto due = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    UseTimer(wait, [timeoutMs](CWaitableTimer& timer) { timer.Set(timeoutMs); });
    ScopeGuard cancel([&] { UseTimer(wait, [](CWaitableTimer& timer) { timer.Cancel(); }); });
    EOutcome outcome = Outcome_Event;
    while (outcome == Outcome_Event) { // the time goes on while events are handled
        outcome = WaitForOutcome(wait.objects, timeoutMs, due);
        if (outcome == Outcome_Event && HasEnd(timeoutMs) && std::chrono::steady_clock::now() >= due) {
            outcome = Outcome_Timeout; // of a storm, where the timer's signal is blocked
        }
        if (outcome != Outcome_Stopped) {
            m_owner.ProcessEventsOf(wait);
        }
    }
    if (outcome == Outcome_Timeout) {
        cancel.Dismiss();
    }
    return outcome;
}

/// The timer belongs to the waiter of the running session. One that comes later leaves it alone: its own session's end
/// is signaled, so that it needs none.
template <typename Use>
void CGrabSession::UseTimer(const CSessionWait& wait, Use&& use) {
    CLockGuard lock(m_timerLock);
    if (m_timerSession == wait.session) {
        use(m_retrieveTimer);
    }
}

/// The timer is what ends the wait when the time is up. It needs its signal, which a process may block, so the wait has
/// an end of its own, a millisecond later. That one counts in 32 bits and comes at once when they overflow, every 50
/// days; then the timer alone has to do.
CGrabSession::EOutcome CGrabSession::WaitForOutcome(const WaitObjects& objects, unsigned int timeoutMs,
                                                    std::chrono::steady_clock::time_point due) {
    unsigned index = Outcome_Timeout;
    if (HasEnd(timeoutMs)) {
        using std::chrono::milliseconds;
        const auto left = std::chrono::ceil<milliseconds>(due - std::chrono::steady_clock::now());
        const auto leftMs = static_cast<unsigned>(std::max<milliseconds::rep>(left.count(), 0));
        if (objects.WaitForAny(leftMs + 1, &index) || std::chrono::steady_clock::now() >= due) {
            return static_cast<EOutcome>(index);
        }
    }
    objects.WaitForAny(WaitTimeoutInfinite, &index);
    return static_cast<EOutcome>(index);
}

void CGrabSession::HandleTimeout(unsigned int timeoutMs, ETimeoutHandling handling) {
    if (timeoutMs != 0) {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Info,
                        "Camera %p: Grab timed out. timeout=%u queued_buffers=%lu", static_cast<const void*>(m_camera),
                        timeoutMs, static_cast<unsigned long>(m_engine.GetNumQueuedBuffers()));
    }
    m_engine.CancelUpcomingImage();
    if (handling != TimeoutHandling_ThrowException) {
        return;
    }
    if (m_settings.strategy != GrabStrategy_UpcomingImage && m_engine.GetNumQueuedBuffers() == 0) {
        throw TIMEOUT_EXCEPTION("Grab timed out. No buffers are available for grabbing.");
    }
    throw TIMEOUT_EXCEPTION("%s", m_owner.DescribeTimeout());
}

/// @return how many images were skipped before it.
std::uint64_t CGrabSession::TakeResult(CGrabResultPtr& result) {
    result = CGrabResultPtrImpl(TakeRecord()); // before the entry, which a lack of memory must not cost
    ScopeGuard release([&result] { result.Release(); });
    CQueueEntry entry;
    std::uint64_t skipped = 0;
    if (!m_engine.TryTake(entry, skipped)) {
        ForwardEngineException(); // a failing engine signals the result object
        return 0;
    }
    CGrabResultData::CGrabResultDataImpl& data = *result->GetGrabResultDataImpl();
    data.Fill(std::move(entry));
    data.skippedImages = static_cast<std::int64_t>(skipped);
    data.cameraContext = m_owner.GetCameraContext();
    data.imageNumber = ++m_imageNumber;
    release.Dismiss();
    if (m_countLimitActive && m_imagesLeft != 0) {
        --m_imagesLeft;
    }
    m_owner.CompleteResult(result);
    return skipped;
}

std::shared_ptr<CGrabResultData> CGrabSession::TakeRecord() {
    std::shared_ptr<CGrabResultData> record = GenICam::Allocating([this] { return m_resultProvider.GetItem(); });
    if (record == nullptr && m_owner.HasResultParsers()) {
        throw RUNTIME_EXCEPTION("Cannot retrieve grab result. The maximum number of available grab results has been "
                                "reached. Check the MaxNumGrabResults and the StaticChunkNodeMapPoolSize setting of "
                                "the camera object.");
    }
    if (record == nullptr) {
        throw RUNTIME_EXCEPTION("Cannot retrieve grab result. The maximum number of available grab results (%lu) "
                                "has been reached. Check the MaxNumGrabResults setting of the camera object.",
                                m_owner.GetMaxNumGrabResults()); // in full: the default is above the range of int
    }
    return record;
}

/// Without the exception of a failed engine, nothing happens.
void CGrabSession::ForwardEngineException() {
    if (!m_engine.IsExceptionRaised()) {
        return;
    }
    const GenICam::GenericException exception = m_engine.GetException();
    const std::uint64_t session = m_sessionNumber;
    m_owner.OnGrabError(exception.GetDescription());
    RunLogged(CameraLogCategory(), "Exception caught while calling StopGrabbing, msg='%s'",
              "Unknown exception caught while calling StopGrabbing.", [this, session] {
                  if (m_sessionNumber == session) { // else a handler has begun another one
                      m_owner.StopCamera();
                  }
              });
    throw exception; // NOLINT(misc-throw-by-value-catch-by-reference,cert-err60-cpp)
}

} // namespace Zelmo
