// SPDX-License-Identifier: Apache-2.0

// From the transport's signal to the result in hand, while everybody waits: a camera of 5,000 frames a second.

#include "CallCounter.h"
#include "Frames.h"
#include "Machine.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <semaphore>
#include <thread>
#include <vector>

namespace camera_bench {
namespace {

constexpr int kFrames = 10000;

} // namespace

std::vector<double> MeasureLatenciesUs(IFrames& frames, int count) {
    std::counting_semaphore<> taken{0};
    std::thread camera([&] {
        for (int i = 0; i < count; ++i) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
            frames.Complete(1);
            taken.acquire();
        }
    });
    std::vector<double> latencies;
    latencies.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        frames.Take();
        latencies.push_back(static_cast<double>(NowNs() - GetLastSignalNs()) / 1000);
        taken.release();
    }
    camera.join();
    return latencies;
}

namespace {

void Latency(benchmark::State& state, std::unique_ptr<IFrames> (*start)(const Flow&)) {
    Flow flow;
    flow.pace = EPace::Told;
    const Processors pinned(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        std::vector<double> latencies = MeasureLatenciesUs(*start(flow), kFrames);
        const double median = GetQuantile(latencies, 0.5);
        state.SetIterationTime(median / 1e6);
        state.counters["median_us"] = median;
        state.counters["p99_us"] = GetQuantile(latencies, 0.99);
        state.counters["p99.9_us"] = GetQuantile(latencies, 0.999);
    }
}
BENCHMARK_CAPTURE(Latency, ours, StartOurFrames)->ArgName("cores")->Arg(1)->Arg(2)->Iterations(1)->UseManualTime();
BENCHMARK_CAPTURE(Latency, bare, StartBareFrames)->ArgName("cores")->Arg(1)->Arg(2)->Iterations(1)->UseManualTime();

} // namespace
} // namespace camera_bench
