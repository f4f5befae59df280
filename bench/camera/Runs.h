// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Frames.h"
#include "Machine.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace camera_bench {

constexpr int kRuns = 7;
constexpr std::uint64_t kFrames = 3000;
constexpr std::uint64_t kWarmUp = 200;

/// Some runs of one thing.
class Runs {
public:
    explicit Runs(std::function<std::unique_ptr<IFrames>()> start) : m_start(std::move(start)) {}

    void Run() {
        const std::unique_ptr<IFrames> frames = m_start();
        std::uint64_t first = 0;
        while (first < kWarmUp) {
            first = frames->Take();
        }
        const Usage before = GetUsage();
        std::uint64_t last = first;
        std::uint64_t taken = 0;
        for (; last - first < kFrames; ++taken) {
            last = frames->Take();
        }
        const Usage after = GetUsage();
        const auto count = static_cast<double>(last - first);
        m_cpuUs.push_back((after.cpuSeconds - before.cpuSeconds) * 1e6 / count);
        m_perSecond.push_back(count / (after.wallSeconds - before.wallSeconds));
        m_sleeps.push_back(static_cast<double>(after.sleeps - before.sleeps) / count);
        m_taken.push_back(static_cast<double>(taken) / count);
    }

    double GetCpuUs() const { return GetMedian(m_cpuUs); }
    double GetPerSecond() const { return GetMedian(m_perSecond); }
    double GetSleeps() const { return GetMedian(m_sleeps); }
    double GetTaken() const { return GetMedian(m_taken); } // share of the frames; the rest was skipped

private:
    std::function<std::unique_ptr<IFrames>()> m_start;
    std::vector<double> m_cpuUs;
    std::vector<double> m_perSecond;
    std::vector<double> m_sleeps;
    std::vector<double> m_taken;
};

template <class... AllRuns>
void RunInTurn(AllRuns&... runs) {
    for (int run = 0; run < kRuns; ++run) {
        (runs.Run(), ...);
    }
}

} // namespace camera_bench
