// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace camera_bench {

/// Calls of the process, whoever makes them: this program's own definitions of these functions count and pass on.
struct Calls {
    std::uint64_t polls = 0;
    std::uint64_t reads = 0;  // also those of event counters
    std::uint64_t writes = 0; // likewise
    std::uint64_t timers = 0; // timer_settime
    std::uint64_t allocations = 0;
};

void BeginCounting(); ///< From 0.
Calls EndCounting();

/// Threads inside a poll that may wait.
int GetWaitingThreads();

/// When an event counter was last written, by CLOCK_MONOTONIC: the transport's signal.
std::int64_t GetLastSignalNs();

} // namespace camera_bench
