// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <sched.h>
#include <span>
#include <vector>

namespace camera_bench {

/// Keeps the calling thread, and those that it starts meanwhile, on the first processors that it may use.
class Processors {
public:
    explicit Processors(int count); ///< All, when there are fewer.
    ~Processors();
    Processors(const Processors&) = delete;
    Processors& operator=(const Processors&) = delete;

private:
    cpu_set_t m_before{};
};

int GetProcessorCount(); ///< That this thread may use.

/// What the process has used up so far.
struct Usage {
    double cpuSeconds = 0;
    double wallSeconds = 0;
    std::int64_t sleeps = 0; // times that a thread gave up its processor to wait
};
Usage GetUsage();
std::int64_t NowNs(); ///< CLOCK_MONOTONIC

std::uint64_t GetAvailableMemory(); ///< Bytes, as the kernel guesses.

/// The value that @p share of @p values lie below; sorts them.
double GetQuantile(std::span<double> values, double share);
inline double GetMedian(std::vector<double> values) {
    return GetQuantile(values, 0.5);
}

} // namespace camera_bench
