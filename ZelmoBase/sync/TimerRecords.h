// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace Zelmo {

class CWaitableTimer;

/// What the signal handler knows of a timer: a link of one process-wide list that only grows. Links outlive their timer
/// and are used again, so the handler can walk the list at any time without a lock.
///
/// A link counts the handlers that are looking at it. Whoever takes the timer or its deadline away first writes that,
/// and then waits for the count to be 0: from then on no handler touches the timer or signals for the old deadline.
/// Sequentially consistent throughout, as either side writes one thing and then reads the other's.
struct TimerRecord {
    static constexpr std::int64_t kNever = INT64_MAX;

    std::atomic<bool> taken{false};              ///< By a timer, from acquiring to the end of releasing.
    std::atomic<CWaitableTimer*> timer{nullptr}; ///< Null while nobody may be signaled.
    std::atomic<std::int64_t> deadlineNs{
        kNever};                  ///< CLOCK_MONOTONIC; when the timer is armed, from when it may signal.
    std::atomic<int> handlers{0}; ///< Running in this link just now.
    TimerRecord* next = nullptr;  ///< Constant once the link is in the list.
};

/// Takes a link for a timer. Not for signal handlers. @throws std::bad_alloc
TimerRecord* AcquireTimerRecord(CWaitableTimer* timer);

/// After this no handler touches the timer.
void ReleaseTimerRecord(TimerRecord& record) noexcept;

/// After this no handler signals for the deadline before.
void DisarmTimerRecord(TimerRecord& record) noexcept;

/// For the signal handler: signals a timer whose deadline has passed, once. A timer that is gone, unarmed or armed anew
/// meanwhile is left alone. What Signal throws ends the process.
void SignalDueTimer(CWaitableTimer* timer) noexcept;

std::int64_t MonotonicNs() noexcept; ///< The clock of the deadlines.

} // namespace Zelmo
