// SPDX-License-Identifier: Apache-2.0

// What chunks add: to a frame, to the start and the stop of a session, to the memory of the process.
// "plain" is the same without chunks, in the same turn; "bare" is the bare loop, which walks through the same bytes.

#include "DataDevice.h"
#include "Frames.h"
#include "Machine.h"
#include "Runs.h"

#include <zelmo/InstantCamera.h>

#include <Base/GCSynch.h>

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <memory>
#include <pthread.h>
#include <vector>

namespace camera_bench {
namespace {

constexpr Fakes::CNullStreamGrabber::EPace kTold = Fakes::CNullStreamGrabber::EPace::Told;

void CompareChunks(benchmark::State& state, const Flow& flow) {
    Flow plain = flow;
    plain.chunks = 0;
    Runs withChunks([&flow] { return StartOurFrames(flow); });
    Runs withoutChunks([&plain] { return StartOurFrames(plain); });
    Runs bare([&flow] { return StartBareFrames(flow); });
    for (auto _ : state) {
        RunInTurn(withChunks, withoutChunks, bare);
        state.SetIterationTime(1 / withChunks.GetPerSecond());
    }
    const double added = withChunks.GetCpuUs() - withoutChunks.GetCpuUs();
    state.counters["cpu_us"] = withChunks.GetCpuUs();
    state.counters["cpu_us_plain"] = withoutChunks.GetCpuUs();
    state.counters["cpu_us_bare"] = bare.GetCpuUs();
    state.counters["cpu_ratio"] = withChunks.GetCpuUs() / bare.GetCpuUs();
    state.counters["plain_ratio"] = withChunks.GetCpuUs() / withoutChunks.GetCpuUs();
    state.counters["per_s_ratio"] = withChunks.GetPerSecond() / bare.GetPerSecond();
    state.counters["us_each_chunk"] = added / flow.chunks;
}

Flow MakeFlow(unsigned chunks, bool hasParserOfEach, bool areChunksRead) {
    Flow flow;
    flow.chunks = chunks;
    flow.hasParserOfEach = hasParserOfEach;
    flow.areChunksRead = areChunksRead;
    return flow;
}

/// Arguments: chunks, processors.
void ChunksBesideBareLoop(benchmark::State& state, bool hasParserOfEach, bool areChunksRead) {
    const Processors pinned(static_cast<int>(state.range(1)));
    CompareChunks(state, MakeFlow(static_cast<unsigned>(state.range(0)), hasParserOfEach, areChunksRead));
}

/// As Unpinned of the frames without chunks. Argument: chunks.
void UnpinnedChunks(benchmark::State& state, bool hasParserOfEach, bool areChunksRead) {
    Flow flow = MakeFlow(static_cast<unsigned>(state.range(0)), hasParserOfEach, areChunksRead);
    flow.pace = EPace::Sleeping;
    CompareChunks(state, flow);
    state.counters["real_time"] = GenICam::GetMutexProtocol() == PTHREAD_PRIO_INHERIT ? 1 : 0;
}

void Once(benchmark::internal::Benchmark* comparison) {
    comparison->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
}
void EachCount(benchmark::internal::Benchmark* comparison) {
    comparison->ArgNames({"chunks", "cores"})->ArgsProduct({{1, 10, 100}, {1, 2}})->Apply(Once);
}
void AsUsersRun(benchmark::internal::Benchmark* comparison) {
    comparison->ArgName("chunks")->Arg(1)->Arg(10)->Apply(Once);
}
BENCHMARK_CAPTURE(ChunksBesideBareLoop, OfEachResult, true, false)->Apply(EachCount);
BENCHMARK_CAPTURE(ChunksBesideBareLoop, OfEachResultRead, true, true)->Apply(EachCount);
BENCHMARK_CAPTURE(ChunksBesideBareLoop, GeometryOnly, false, false)->Apply(EachCount);
BENCHMARK_CAPTURE(UnpinnedChunks, OfEachResult, true, false)->Apply(AsUsersRun);
BENCHMARK_CAPTURE(UnpinnedChunks, OfEachResultRead, true, true)->Apply(AsUsersRun);
BENCHMARK_CAPTURE(UnpinnedChunks, GeometryOnly, false, false)->Apply(AsUsersRun);

/// What the process has used of the processors, which others do not change.
double GetCpuUs() {
    return GetUsage().cpuSeconds * 1e6;
}

/// Starts and stops of one camera: CPU time, medians of seven.
class Sessions {
public:
    Sessions(unsigned buffers, unsigned chunks, bool pool) : m_device(kTold, 64, 64, chunks) {
        m_camera.RegisterConfiguration(nullptr, Zelmo::RegistrationMode_ReplaceAll, Zelmo::Cleanup_None);
        m_camera.MaxNumBuffer.SetValue(buffers);
        m_camera.StaticChunkNodeMapPoolSize.SetValue(pool ? buffers : 0);
        m_camera.Attach(&m_device, Zelmo::Cleanup_None);
        m_camera.Open();
    }
    ~Sessions() { m_camera.DetachDevice(); }

    void Run() {
        const double begin = GetCpuUs();
        m_camera.StartGrabbing();
        const double started = GetCpuUs();
        m_camera.StopGrabbing();
        m_startUs.push_back(started - begin);
        m_stopUs.push_back(GetCpuUs() - started);
    }
    double GetStartUs() const { return GetMedian(m_startUs); }
    double GetStopUs() const { return GetMedian(m_stopUs); }

private:
    DataDevice m_device;
    Zelmo::CInstantCamera m_camera;
    std::vector<double> m_startUs, m_stopUs;
};

/// Making and destroying so many parsers, without a camera object, likewise.
class Parsers {
public:
    Parsers(unsigned count, unsigned chunks) : m_device(kTold, 64, 64, chunks), m_parsers(count) {}

    void Run() {
        const double begin = GetCpuUs();
        Make();
        const double made = GetCpuUs();
        Destroy();
        m_makeUs.push_back(made - begin);
        m_destroyUs.push_back(GetCpuUs() - made);
    }
    void Make() {
        for (Zelmo::ISelfReliantChunkParser*& parser : m_parsers) {
            parser = static_cast<NullParser*>(m_device.CreateChunkParser());
        }
    }
    void Destroy() {
        for (Zelmo::ISelfReliantChunkParser* parser : m_parsers) {
            parser->Destroy();
        }
    }
    double GetMakeUs() const { return GetMedian(m_makeUs); }
    double GetDestroyUs() const { return GetMedian(m_destroyUs); }

private:
    DataDevice m_device;
    std::vector<Zelmo::ISelfReliantChunkParser*> m_parsers;
    std::vector<double> m_makeUs, m_destroyUs;
};

void CompareSessions(benchmark::State& state, bool pool) {
    constexpr unsigned chunks = 10;
    const auto buffers = static_cast<unsigned>(state.range(0));
    Sessions withChunks(buffers, chunks, pool);
    Sessions plain(buffers, 0, pool);
    Parsers parsers(buffers, chunks);
    for (auto _ : state) {
        RunInTurn(withChunks, plain, parsers);
        state.SetIterationTime(withChunks.GetStartUs() / 1e6);
    }
    state.counters["start_us"] = withChunks.GetStartUs();
    state.counters["start_us_plain"] = plain.GetStartUs();
    state.counters["parsers_us"] = parsers.GetMakeUs();
    state.counters["start_ratio"] = withChunks.GetStartUs() / (plain.GetStartUs() + (pool ? 0 : parsers.GetMakeUs()));
    state.counters["stop_us"] = withChunks.GetStopUs();
    state.counters["stop_us_plain"] = plain.GetStopUs();
    state.counters["stop_ratio"] = withChunks.GetStopUs() / (plain.GetStopUs() + (pool ? 0 : parsers.GetDestroyUs()));
    state.counters["start_us_each"] = withChunks.GetStartUs() / buffers;
    state.counters["stop_us_each"] = withChunks.GetStopUs() / buffers;
}

/// The ratios are those to the same without chunks and, where there is no pool, what making or destroying as many
/// parsers costs alone. Arguments: buffers, processors.
void StartAndStopWithChunks(benchmark::State& state, bool pool) {
    const Processors pinned(static_cast<int>(state.range(1)));
    CompareSessions(state, pool);
}
void UnpinnedStartAndStopWithChunks(benchmark::State& state, bool pool) {
    CompareSessions(state, pool);
}
void EachSession(benchmark::internal::Benchmark* comparison) {
    comparison->ArgNames({"buffers", "cores"})->ArgsProduct({{10, 100, 500}, {1, 2}})->Apply(Once);
}
void EachUnpinnedSession(benchmark::internal::Benchmark* comparison) {
    comparison->ArgName("buffers")->Arg(10)->Arg(500)->Apply(Once);
}
BENCHMARK_CAPTURE(StartAndStopWithChunks, WithoutPool, false)->Apply(EachSession);
BENCHMARK_CAPTURE(StartAndStopWithChunks, Pool, true)->Apply(EachSession);
BENCHMARK_CAPTURE(UnpinnedStartAndStopWithChunks, WithoutPool, false)->Apply(EachUnpinnedSession);
BENCHMARK_CAPTURE(UnpinnedStartAndStopWithChunks, Pool, true)->Apply(EachUnpinnedSession);

/// Arguments: chunks, parsers.
void MemoryOfParsers(benchmark::State& state) {
    const auto count = static_cast<unsigned>(state.range(1));
    Parsers parsers(count, static_cast<unsigned>(state.range(0)));
    for (int i = 0; i < 2; ++i) { // what is made once is there already
        parsers.Run();
    }
    std::size_t bytes = 0;
    for (auto _ : state) {
        const std::size_t before = mallinfo2().uordblks;
        parsers.Make();
        bytes = mallinfo2().uordblks - before;
        parsers.Destroy();
    }
    state.counters["kB_each"] = static_cast<double>(bytes) / count / 1024;
}
BENCHMARK(MemoryOfParsers)
    ->ArgNames({"chunks", "parsers"})
    ->ArgsProduct({{1, 10, 100}, {10, 500}})
    ->Iterations(1)
    ->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace camera_bench
