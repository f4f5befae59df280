// SPDX-License-Identifier: Apache-2.0
#include <zelmo/WaitableTimer.h>

#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"
#include "ZelmoBase/core/SystemError.h"
#include "ZelmoBase/sync/TimerRecords.h"

#include <Base/GCException.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <signal.h>
#include <utility>

namespace Zelmo {
namespace {

constexpr int kSignal = SIGALRM;

std::atomic<std::int32_t> g_userCount{0}; // timers that use the handler

struct SavedAction {
    std::mutex lock;
    struct sigaction action {}; // what was installed when the count was 0
};

SavedAction& Saved() {
    static SavedAction saved;
    return saved;
}

extern "C" void OnTimerSignal(int, siginfo_t* info, void*) {
    const int error = errno;
    auto* timer = static_cast<CWaitableTimer*>(info->si_value.sival_ptr);
    if (timer == nullptr) {
        std::abort(); // none of ours: somebody else uses the signal
    }
    SignalDueTimer(timer);
    errno = error;
}

void InstallHandler() {
    struct sigaction action {};
    action.sa_sigaction = OnTimerSignal;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    SavedAction& saved = Saved();
    std::lock_guard<std::mutex> guard(saved.lock);
    sigaction(kSignal, &action, &saved.action);
}

/// The signal number 0 is refused, and the handler stays installed: signals may still be on their way, and the action
/// before, the default mostly, would end the process.
void KeepHandler() {
    SavedAction& saved = Saved();
    std::lock_guard<std::mutex> guard(saved.lock);
    sigaction(0, &saved.action, nullptr);
}

timer_t CreateTimer(CWaitableTimer* timer) {
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = kSignal;
    event.sigev_value.sival_ptr = timer;
    timer_t result{};
    if (timer_create(CLOCK_MONOTONIC, &event, &result) != 0) {
        throw RUNTIME_EXCEPTION("Error creating timer: %s", SystemErrorText(errno).c_str());
    }
    return result;
}

/// The timer's value as messages give it: its low 32 bits.
unsigned int TimerNumber(timer_t timer) {
    return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(timer));
}

bool ArmOnce(timer_t timer, const timespec& timeout) {
    itimerspec setting{};
    setting.it_value = timeout;
    return timer_settime(timer, 0, &setting, nullptr) == 0;
}

} // namespace

CWaitableTimer::CWaitableTimer() = default;

CWaitableTimer::~CWaitableTimer() {
    Destroy();
}

void CWaitableTimer::Create() {
    if (m_record != nullptr) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot create waitable timer: it exists already");
    }
    InitSignalAction();
    const timer_t timer = CreateTimer(this);
    ScopeGuard deleteTimer([timer] { timer_delete(timer); });
    WaitObjectEx flag = WaitObjectEx::Create(false);
    TimerRecord* record = AcquireTimerRecord(this);
    ScopeGuard releaseRecord([record] { ReleaseTimerRecord(*record); });
    WaitObjectEx::operator=(flag);
    releaseRecord.Dismiss();
    deleteTimer.Dismiss();
    m_record = record;
    m_timer = timer;
}

void CWaitableTimer::Set(unsigned int timeoutMs) {
    if (m_record != nullptr) {
        DisarmTimerRecord(*m_record); // a signal on its way is not for the new time
    }
    Reset();
    timespec timeout{};
    if (timeoutMs < WaitTimeoutInfinite) {
        timeout.tv_sec = timeoutMs / 1000;
        timeout.tv_nsec = static_cast<long>(timeoutMs % 1000) * 1000000;
    }
    if (timeout.tv_sec != 0 || timeout.tv_nsec != 0) {
        // before the timer is started, so that its signal never comes before the deadline
        m_record->deadlineNs.store(MonotonicNs() + std::int64_t{timeoutMs} * 1000000);
    }
    if (!ArmOnce(m_timer, timeout)) {
        const int error = errno;
        DisarmTimerRecord(*m_record);
        throw RUNTIME_EXCEPTION("Error setting waitable timer %#010x: %s", TimerNumber(m_timer),
                                SystemErrorText(error).c_str());
    }
}

void CWaitableTimer::Cancel() {
    if (!IsValid()) {
        return;
    }
    DisarmTimerRecord(*m_record);
    if (!ArmOnce(m_timer, timespec{})) {
        throw RUNTIME_EXCEPTION("Error canceling waitable timer %#010x: %s", TimerNumber(m_timer),
                                SystemErrorText(errno).c_str());
    }
}

void CWaitableTimer::Destroy() noexcept {
    if (m_record == nullptr) {
        return; // never created; whoever destroyed only the flag, through the base, still has a timer
    }
    ReleaseTimerRecord(*std::exchange(m_record, nullptr));
    timer_delete(m_timer);
    RunGuarded([this] { DoneSignalAction(); }, [](const char*) {});
    WaitObjectEx::Destroy();
}

void CWaitableTimer::InitSignalAction() {
    std::lock_guard<std::mutex> guard(m_mutex);
    if (g_userCount.load() == 0) {
        InstallHandler();
    }
    g_userCount.fetch_add(1);
}

void CWaitableTimer::DoneSignalAction() {
    std::lock_guard<std::mutex> guard(m_mutex);
    if (g_userCount.fetch_sub(1) == 1) {
        KeepHandler();
    }
}

} // namespace Zelmo
