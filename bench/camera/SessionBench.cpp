// SPDX-License-Identifier: Apache-2.0

// Start and stop of a session whose buffers are large; nobody touches their memory but where they are cleared.

#include "Frames.h"
#include "Machine.h"

#include <benchmark/benchmark.h>

namespace camera_bench {
namespace {

constexpr int kWidth = 4000; // of a square of 16 MB

void StartAndStop(benchmark::State& state) {
    Flow flow;
    flow.pace = EPace::Told;
    flow.buffers = static_cast<unsigned>(state.range(0));
    flow.width = kWidth;
    flow.height = kWidth;
    const std::uint64_t needed = std::uint64_t{flow.buffers} * kWidth * kWidth;
    if (GetAvailableMemory() < needed + needed / 4) {
        state.SkipWithError("there is less memory than the buffers need");
        return;
    }
    for (auto _ : state) {
        StartOurFrames(flow);
    }
}
BENCHMARK(StartAndStop)->ArgName("buffers")->Arg(10)->Arg(500)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace camera_bench
