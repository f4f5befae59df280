// SPDX-License-Identifier: Apache-2.0
#include "Machine.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <time.h>

namespace camera_bench {
namespace {

double GetSeconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

} // namespace

Processors::Processors(int count) {
    sched_getaffinity(0, sizeof m_before, &m_before);
    cpu_set_t chosen{};
    for (int cpu = 0; cpu < CPU_SETSIZE && CPU_COUNT(&chosen) < count; ++cpu) {
        if (CPU_ISSET(cpu, &m_before)) {
            CPU_SET(cpu, &chosen);
        }
    }
    sched_setaffinity(0, sizeof chosen, &chosen);
}

Processors::~Processors() {
    sched_setaffinity(0, sizeof m_before, &m_before);
}

int GetProcessorCount() {
    cpu_set_t set{};
    sched_getaffinity(0, sizeof set, &set);
    return CPU_COUNT(&set);
}

Usage GetUsage() {
    rusage use{};
    getrusage(RUSAGE_SELF, &use);
    return {GetSeconds(CLOCK_PROCESS_CPUTIME_ID), GetSeconds(CLOCK_MONOTONIC), use.ru_nvcsw};
}

std::int64_t NowNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
}

std::uint64_t GetAvailableMemory() {
    std::ifstream file("/proc/meminfo");
    std::string key;
    std::uint64_t kibibytes = 0;
    for (std::string line; file >> key >> kibibytes && std::getline(file, line);) {
        if (key == "MemAvailable:") {
            return kibibytes * 1024;
        }
    }
    return 0;
}

double GetQuantile(std::span<double> values, double share) {
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(std::lround(share * static_cast<double>(values.size() - 1)))];
}

} // namespace camera_bench
