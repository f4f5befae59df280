// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace Zelmo {

class CWaitableTimer;

/// What the signal handler, and waits that stand in for it, know of a timer: a link of one process-wide list that only
/// grows. Links outlive their timer and are used again, so the list can be walked at any time without a lock.
///
/// A link counts those that are about to signal its timer. Whoever takes the deadline away first writes that, and then
/// waits for the count to be 0: from then on nobody touches the timer or signals for the old deadline. Only who has
/// claimed a deadline looks at the timer, as its owner cannot go before that count is 0.
/// Sequentially consistent throughout, as either side writes one thing and then reads the other's.
struct TimerRecord {
    static constexpr std::int64_t kNever = INT64_MAX;

    std::atomic<bool> taken{false}; ///< By a timer, from acquiring to the end of releasing.
    /// Stays when the timer has gone: what its late signals carry is still known as ours.
    std::atomic<CWaitableTimer*> timer{nullptr};
    std::atomic<int> kernelId{-1}; ///< Of the system's timer; -1 without one.
    /// CLOCK_MONOTONIC; when the timer is armed, from when it may signal.
    std::atomic<std::int64_t> deadlineNs{kNever};
    std::atomic<int> signalers{0}; ///< In this link just now.
    TimerRecord* next = nullptr;   ///< Constant once the link is in the list.
};

/// Takes a link for a timer. Not for signal handlers. @throws std::bad_alloc
TimerRecord* AcquireTimerRecord(CWaitableTimer* timer);

/// After this nobody touches the timer.
void ReleaseTimerRecord(TimerRecord& record) noexcept;

/// After this nobody signals for the deadline before.
void DisarmTimerRecord(TimerRecord& record) noexcept;

/// Signals the timer if its deadline has passed, once for each. For any thread and for signal handlers. What Signal
/// throws ends the process. @return whether this call was the one.
bool SignalIfDue(TimerRecord& record) noexcept;

/// For the signal handler: the same for the timer that a signal carries. One that is gone, unarmed or armed anew
/// meanwhile is left alone. @return whether there ever was such a timer.
bool SignalIfDue(const void* timer) noexcept;

bool IsTimerOfOurs(int kernelId) noexcept; ///< Whether one of ours has that number now.

std::int64_t MonotonicNs() noexcept; ///< The clock of the deadlines.

} // namespace Zelmo
