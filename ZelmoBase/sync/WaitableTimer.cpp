// SPDX-License-Identifier: Apache-2.0
#include <zelmo/WaitableTimer.h>

#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"
#include "ZelmoBase/core/SystemError.h"
#include "ZelmoBase/sync/TimerRecords.h"
#include "ZelmoBase/sync/TimerSignal.h"
#include "ZelmoBase/sync/WaitObjectPosix.h"

#include <Base/GCAllocating.h>
#include <Base/GCException.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <signal.h>
#include <utility>

namespace Zelmo {
namespace {

std::atomic<std::int32_t> g_userCount{0}; // timers that use the handler

timer_t CreateTimer(CWaitableTimer* timer) {
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = kTimerSignal;
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
    TimerRecord* record = GenICam::Allocating([this] { return AcquireTimerRecord(this); });
    ScopeGuard releaseRecord([record] { ReleaseTimerRecord(*record); });
    WaitObjectEx::operator=(flag);
    releaseRecord.Dismiss();
    deleteTimer.Dismiss();
    record->kernelId.store(static_cast<int>(TimerNumber(timer)));
    m_handle->timer = record;
    m_handle->owner = this;
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
        return; // never created
    }
    timer_delete(m_timer);
    ReleaseTimerRecord(*std::exchange(m_record, nullptr));
    RunGuarded([this] { DoneSignalAction(); }, [](const char*) {});
    m_handle->owner = nullptr; // from here on a flag as any other
    WaitObjectEx::Destroy();
}

void CWaitableTimer::InitSignalAction() {
    std::lock_guard<std::mutex> guard(m_mutex);
    if (g_userCount.load() == 0) {
        GenICam::Allocating([] { InstallTimerHandler(); });
    }
    g_userCount.fetch_add(1);
}

void CWaitableTimer::DoneSignalAction() {
    std::lock_guard<std::mutex> guard(m_mutex);
    if (g_userCount.fetch_sub(1) == 1) {
        KeepTimerHandler();
    }
}

} // namespace Zelmo
