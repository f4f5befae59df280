// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/sync/TimedPoll.h"

#include <algorithm>
#include <climits>

namespace Zelmo {
namespace {

/// @p timeoutMs, negative for no limit, or less when a timer is due before.
int LimitToTimers(int timeoutMs, std::span<TimerRecord* const> timers) noexcept {
    std::int64_t earliestNs = TimerRecord::kNever;
    for (const TimerRecord* timer : timers) {
        earliestNs = std::min(earliestNs, timer->deadlineNs.load());
    }
    if (earliestNs == TimerRecord::kNever) {
        return timeoutMs;
    }
    constexpr std::int64_t nsPerMs = 1000000;
    const std::int64_t leftNs = std::max<std::int64_t>(earliestNs - MonotonicNs(), 0);
    const std::int64_t leftMs = std::min<std::int64_t>((leftNs + nsPerMs - 1) / nsPerMs, INT_MAX); // the signal first
    return timeoutMs < 0 ? static_cast<int>(leftMs) : std::min(timeoutMs, static_cast<int>(leftMs));
}

bool SignalDueTimers(std::span<TimerRecord* const> timers) noexcept {
    bool wasDue = false;
    for (TimerRecord* timer : timers) {
        wasDue = SignalIfDue(*timer) || wasDue;
    }
    return wasDue;
}

} // namespace

int PollUntil(std::span<pollfd> entries, const std::optional<CDeadline>& deadline,
              std::span<TimerRecord* const> timers) noexcept {
    for (;;) {
        const int timeoutMs = deadline ? deadline->PollTimeout() : -1;
        const int limitMs = LimitToTimers(timeoutMs, timers);
        const int ready = poll(entries.data(), entries.size(), limitMs);
        if (ready != 0 || (!SignalDueTimers(timers) && limitMs == timeoutMs)) {
            return ready;
        }
    }
}

} // namespace Zelmo
