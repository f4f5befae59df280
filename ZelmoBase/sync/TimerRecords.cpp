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
void WaitForSignalers(const TimerRecord& record) noexcept {
    while (record.signalers.load() != 0) {
        const timespec pause{0, 20000};
        nanosleep(&pause, nullptr);
    }
}

/// @return whether the caller is the one to signal; the timer is then unarmed.
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
    WaitForSignalers(record);
}

void ReleaseTimerRecord(TimerRecord& record) noexcept {
    DisarmTimerRecord(record);
    record.kernelId.store(-1);
    record.taken.store(false);
}

bool SignalIfDue(TimerRecord& record) noexcept {
    record.signalers.fetch_add(1); // first: from here on the owner of a deadline that we claim cannot go
    const bool isClaimed = ClaimIfDue(record);
    if (isClaimed) {
        record.timer.load()->Signal();
    }
    record.signalers.fetch_sub(1);
    return isClaimed;
}

bool SignalIfDue(const void* timer) noexcept {
    bool isKnown = false;
    for (TimerRecord* record = g_records.load(); record != nullptr && timer != nullptr; record = record->next) {
        if (record->timer.load() == timer) { // of several at one address all but one are gone
            isKnown = true;
            SignalIfDue(*record);
        }
    }
    return isKnown;
}

bool IsTimerOfOurs(int kernelId) noexcept {
    const TimerRecord* record = g_records.load();
    while (record != nullptr && record->kernelId.load() != kernelId) {
        record = record->next;
    }
    return record != nullptr && kernelId >= 0;
}

std::int64_t MonotonicNs() noexcept {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
}

} // namespace Zelmo
