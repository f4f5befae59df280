// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <time.h>

namespace Zelmo {

/// Milliseconds of the monotonic clock, in 32 bits: wraps about every 49.7 days.
inline std::uint32_t ClockMs() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint32_t>(now.tv_nsec / 1000000) + static_cast<std::uint32_t>(now.tv_sec) * 1000u;
}

/// The end of a finite wait. A deadline that wraps past 32 bits lies below the clock and so has passed at once; a
/// remaining time of 2^31 ms or more is negative for poll() and never ends. Both are meant.
class CDeadline {
public:
    explicit CDeadline(std::uint32_t timeoutMs) : m_endMs(ClockMs() + timeoutMs) {}

    bool IsAhead() const { return m_endMs > ClockMs(); }

    /// The time left as poll() takes it.
    int PollTimeout() const {
        const std::uint32_t nowMs = ClockMs();
        return m_endMs < nowMs ? 0 : static_cast<int>(m_endMs - nowMs);
    }

private:
    std::uint32_t m_endMs;
};

} // namespace Zelmo
