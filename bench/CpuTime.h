// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <sys/types.h>

/// Seconds of a clock of CPU time, as CLOCK_PROCESS_CPUTIME_ID.
inline double CpuSeconds(clockid_t clock) {
    timespec time = {};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The clock of a thread of this process by its kernel id, as the kernel numbers them.
inline clockid_t ClockOf(pid_t thread) {
    return static_cast<clockid_t>(~static_cast<unsigned>(thread) << 3 | 6u);
}
