// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/sync/TimerRecords.h"

#include <zelmo/WaitableTimer.h>

#include <time.h>

namespace Zelmo {
namespace {

std::atomic<TimerRecord*> g_records{nullptr};

static_assert(std::atomic<std::int64_t>::is_always_lock_free && std::atomic<CWaitableTimer*>::is_always_lock_free,
              "a signal handler must not meet a lock");

/// Sleeps instead of spinning: a waiter of real-time priority would keep the handler's thread from running.
void WaitForHandlers(const TimerRecord& record) noexcept {
    while (record.handlers.load() != 0) {
        const timespec pause{0, 20000};
        nanosleep(&pause, nullptr);
    }
}

/// @return whether this handler is the one to signal; the timer is then unarmed.
bool ClaimIfDue(TimerRecord& record) noexcept {
    std::int64_t deadlineNs = record.deadlineNs.load();
    return deadlineNs <= MonotonicNs() && record.deadlineNs.compare_exchange_strong(deadlineNs, TimerRecord::kNever);
}

} // namespace

TimerRecord* AcquireTimerRecord(CWaitableTimer* timer) {
    for (TimerRecord* record = g_records.load(); record != nullptr; record = record->next) {
        bool expected = false;
        if (record->taken.compare_exchange_strong(expected, true)) {
            record->timer.store(timer);
            return record;
        }
    }
    auto* record = new TimerRecord; // never deleted
    record->taken.store(true);
    record->timer.store(timer);
    record->next = g_records.load();
    while (!g_records.compare_exchange_weak(record->next, record)) {
    }
    return record;
}

void DisarmTimerRecord(TimerRecord& record) noexcept {
    record.deadlineNs.store(TimerRecord::kNever);
    WaitForHandlers(record);
}

void ReleaseTimerRecord(TimerRecord& record) noexcept {
    record.timer.store(nullptr);
    DisarmTimerRecord(record);
    record.taken.store(false); // only now: a handler still in here would take the next owner's deadline for its own
}

void SignalDueTimer(CWaitableTimer* timer) noexcept {
    for (TimerRecord* record = g_records.load(); record != nullptr; record = record->next) {
        if (record->timer.load() != timer) {
            continue;
        }
        record->handlers.fetch_add(1);
        // only now is what we see of the link safe from its owner
        const bool isMine = record->timer.load() == timer;
        if (isMine && ClaimIfDue(*record)) {
            timer->Signal();
        }
        record->handlers.fetch_sub(1);
        if (isMine) {
            return;
        }
    }
}

std::int64_t MonotonicNs() noexcept {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
}

} // namespace Zelmo
