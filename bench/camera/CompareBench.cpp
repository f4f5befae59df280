// SPDX-License-Identifier: Apache-2.0

// Ours beside the bare loop, in turn: CPU time and frames a second, medians of seven runs.
// With one buffer each hop waits for the one before; with ten the transport runs ahead as far as there are buffers.
// Only the latest image, of ten, is no fair race: frames that are replaced on the way cost less, and who replaces more
// ("taken" is the share that is not) has less to do for a frame.
// On two processors a run is in one of two states, by the luck of where its threads were put: together, or spread,
// where each hop wakes the other processor, which may cost more than all the rest. "sleeps" tells which one the median
// saw: compare medians of the same state only.

#include "Frames.h"
#include "Machine.h"
#include "Runs.h"

#include <Base/GCSynch.h>

#include <benchmark/benchmark.h>

#include <pthread.h>
#include <vector>

namespace camera_bench {
namespace {

void Compare(benchmark::State& state, const Flow& flow) {
    Runs ours([&flow] { return StartOurFrames(flow); });
    Runs bare([&flow] { return StartBareFrames(flow); });
    for (auto _ : state) {
        RunInTurn(ours, bare);
        state.SetIterationTime(1 / ours.GetPerSecond());
    }
    state.counters["cpu_us"] = ours.GetCpuUs();
    state.counters["cpu_us_bare"] = bare.GetCpuUs();
    state.counters["cpu_ratio"] = ours.GetCpuUs() / bare.GetCpuUs();
    state.counters["per_s"] = ours.GetPerSecond();
    state.counters["per_s_bare"] = bare.GetPerSecond();
    state.counters["per_s_ratio"] = ours.GetPerSecond() / bare.GetPerSecond();
    state.counters["sleeps"] = ours.GetSleeps();
    state.counters["sleeps_bare"] = bare.GetSleeps();
    state.counters["taken"] = ours.GetTaken();
    state.counters["taken_bare"] = bare.GetTaken();
}

/// Arguments: buffers, processors.
void OursBesideBareLoop(benchmark::State& state, Zelmo::EGrabStrategy strategy) {
    Flow flow;
    flow.strategy = strategy;
    flow.buffers = static_cast<unsigned>(state.range(0));
    const Processors pinned(static_cast<int>(state.range(1)));
    if (GetProcessorCount() < state.range(1)) {
        state.SkipWithError("there are fewer processors");
        return;
    }
    Compare(state, flow);
}

void WithEachNumber(benchmark::internal::Benchmark* comparison, const std::vector<std::int64_t>& buffers) {
    comparison->ArgNames({"buffers", "cores"})->ArgsProduct({buffers, {1, 2}});
    comparison->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
}
void Flows(benchmark::internal::Benchmark* comparison) {
    WithEachNumber(comparison, {1, 10});
}
void LoneFrames(benchmark::internal::Benchmark* comparison) { // the upcoming image comes alone
    WithEachNumber(comparison, {1});
}
BENCHMARK_CAPTURE(OursBesideBareLoop, OneByOne, Zelmo::GrabStrategy_OneByOne)->Apply(Flows);
BENCHMARK_CAPTURE(OursBesideBareLoop, LatestImageOnly, Zelmo::GrabStrategy_LatestImageOnly)->Apply(Flows);
BENCHMARK_CAPTURE(OursBesideBareLoop, LatestImages, Zelmo::GrabStrategy_LatestImages)->Apply(Flows);
BENCHMARK_CAPTURE(OursBesideBareLoop, UpcomingImage, Zelmo::GrabStrategy_UpcomingImage)->Apply(LoneFrames);

/// As users run it, not pinned; most of them without real-time rights, which a process has or has not from its start:
///   setpriv --inh-caps=-sys_nice --bounding-set=-sys_nice prlimit --rtprio=0 camera_bench --benchmark_filter=Unpinned
/// The source sleeps at once when there is no buffer, as one does that waits for a camera: a spinning semaphore hides
/// what the others cost. Argument: buffers.
void Unpinned(benchmark::State& state, Zelmo::EGrabStrategy strategy) {
    Flow flow;
    flow.strategy = strategy;
    flow.pace = EPace::Sleeping;
    flow.buffers = static_cast<unsigned>(state.range(0));
    Compare(state, flow);
    state.counters["real_time"] = GenICam::GetMutexProtocol() == PTHREAD_PRIO_INHERIT ? 1 : 0;
}
void AsUsersRun(benchmark::internal::Benchmark* comparison) {
    comparison->ArgName("buffers")->Arg(1)->Arg(10);
    comparison->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
}
BENCHMARK_CAPTURE(Unpinned, OneByOne, Zelmo::GrabStrategy_OneByOne)->Apply(AsUsersRun);
BENCHMARK_CAPTURE(Unpinned, LatestImages, Zelmo::GrabStrategy_LatestImages)->Apply(AsUsersRun);

/// What a frame costs must not depend on its size, as long as nobody draws or reads it.
void LargeFramesBesideSmall(benchmark::State& state) {
    Flow small;
    Flow large;
    large.width = 64 * 32;
    large.height = 64 * 32;
    const Processors pinned(1);
    Runs largeRuns([&large] { return StartOurFrames(large); });
    Runs smallRuns([&small] { return StartOurFrames(small); });
    for (auto _ : state) {
        RunInTurn(largeRuns, smallRuns);
        state.SetIterationTime(1 / largeRuns.GetPerSecond());
    }
    state.counters["cpu_us_4MiB"] = largeRuns.GetCpuUs();
    state.counters["cpu_us_4KiB"] = smallRuns.GetCpuUs();
    state.counters["cpu_ratio"] = largeRuns.GetCpuUs() / smallRuns.GetCpuUs();
}
BENCHMARK(LargeFramesBesideSmall)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace camera_bench
