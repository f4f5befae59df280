// SPDX-License-Identifier: Apache-2.0
//
// What it costs to receive images over the loopback network: the stream grabber of the plug-in beside a bare recvmmsg
// and memcpy of the same datagrams, in alternating runs. CPU times are those of the receiving thread, for each GB of
// image. "pinned" keeps the sender on one processor and the receiver on another; without it the threads run as a user's
// do.
//   gige_receive_bench [--seconds=N] [arguments of Google Benchmark]     N: of each run; 1 unless told
#include "Receiver.h"

#include "bench/genicam/Allocations.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <sched.h>
#include <string_view>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace gige_bench {

namespace {

constexpr std::uint32_t kSide = 1024; // of an image, Mono8
double g_seconds = 1;

/// Of this process alone, on the loopback network.
std::uint32_t OwnAddress(std::uint32_t last) {
    return 0x7F300000u | (static_cast<std::uint32_t>(getpid()) & 0xFFFu) << 8 | last;
}

/// Whose processor a thread keeps to.
enum class EPlacing {
    Free,    ///< any, as a user's do
    Apart,   ///< the sender on one, the receiver on another
    Together ///< both on one: each burst waits as a whole when the receiver comes to it
};
enum class ERole { Sender, Receiver };

/// Where the calling thread, and those that it starts, run from now on.
void Place(EPlacing placing, ERole role) {
    cpu_set_t chosen;
    CPU_ZERO(&chosen);
    const std::size_t processors = std::thread::hardware_concurrency();
    const std::size_t own = placing == EPlacing::Apart && role == ERole::Receiver ? 1 % processors : 0;
    for (std::size_t cpu = 0; cpu < processors; ++cpu) {
        if (placing == EPlacing::Free || cpu == own) {
            CPU_SET(cpu, &chosen);
        }
    }
    sched_setaffinity(0, sizeof chosen, &chosen);
}

struct CCase {
    std::uint32_t packetSize;
    double bytesPerSecond; // of images, each camera; 0: as fast as they can be sent
    std::size_t cameras;
    EPlacing placing;
};

// As many datagrams as a receiver takes by one call, where it is to find them all.
std::size_t Burst(const CCase& wanted) {
    constexpr std::size_t kBurstBytes = 64 << 10;
    return wanted.placing == EPlacing::Together ? Serving::CDatagramBatch::kMaxDatagrams
                                                : std::min<std::size_t>(16, kBurstBytes / wanted.packetSize);
}

using CamerasAt = std::vector<std::unique_ptr<CCamera>>;

CamerasAt MakeCameras(const CCase& wanted) {
    CamerasAt cameras;
    for (std::uint32_t i = 0; i < wanted.cameras; ++i) {
        cameras.push_back(std::make_unique<CCamera>(OwnAddress(i + 1), kSide, wanted.packetSize, Burst(wanted)));
    }
    return cameras;
}

/// One run of one kind of receiver; sums over all cameras.
struct CRun {
    CReceived received;
    std::uint64_t blocks = 0; ///< sent
    double bytesPerSecond = 0;
    double processCpuSeconds =
        0; ///< with the sender's, which do on this network what else a network card's driver does
    std::uint64_t allocations = 0;
    std::vector<double> latenciesNs;
    std::uint64_t packetsOfImage = 0, imageBytes = 0;

    std::uint64_t Incomplete() const {
        return packetsOfImage * blocks == received.datagrams ? received.incomplete
                                                             : std::max<std::uint64_t>(received.incomplete, 1);
    }
    double Gigabytes() const {
        const double images = static_cast<double>(received.datagrams) / static_cast<double>(packetsOfImage);
        return 1e-9 * images * static_cast<double>(imageBytes);
    }
    double CpuSecondsPerGb() const { return received.cpuSeconds / Gigabytes(); }
};

using CStart = std::unique_ptr<IReceiver> (&)(CCamera&);

std::vector<CReceived> All(const std::vector<std::unique_ptr<IReceiver>>& receivers) {
    std::vector<CReceived> all;
    for (const auto& receiver : receivers) {
        all.push_back(receiver->Received());
    }
    return all;
}

void AddDifference(CReceived& sum, const CReceived& before, const CReceived& after) {
    sum.images += after.images - before.images;
    sum.incomplete += after.incomplete - before.incomplete;
    sum.datagrams += after.datagrams - before.datagrams;
    sum.batches += after.batches - before.batches;
    sum.systemCalls += after.systemCalls - before.systemCalls;
    sum.signals += after.signals - before.signals;
    sum.locks += after.locks - before.locks;
    sum.resendCommands += after.resendCommands - before.resendCommands;
    sum.cpuSeconds += after.cpuSeconds - before.cpuSeconds;
}

CRun Run(CamerasAt& cameras, const CCase& wanted, double seconds, CStart start) {
    constexpr double kGuessedBytesPerSecond = 1e9; // where the sender does not pause
    CRun run;
    run.packetsOfImage = cameras.front()->source.PacketsOfImage();
    run.imageBytes = cameras.front()->source.ImageBytes();
    const double rate = wanted.bytesPerSecond > 0 ? wanted.bytesPerSecond : kGuessedBytesPerSecond;
    const auto blocks =
        std::max<std::uint64_t>(1, static_cast<std::uint64_t>(rate * seconds / static_cast<double>(run.imageBytes)));
    run.blocks = blocks * cameras.size();
    Place(wanted.placing, ERole::Receiver);
    std::vector<std::unique_ptr<IReceiver>> receivers;
    std::vector<CStreamSource*> sources;
    for (const auto& camera : cameras) {
        receivers.push_back(start(*camera));
        sources.push_back(&camera->source);
    }
    CPacer pacer(sources, wanted.bytesPerSecond);
    Place(wanted.placing, ERole::Sender);
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // all threads wait
    const std::vector<CReceived> before = All(receivers);
    const std::uint64_t allocationsBefore = genicam_bench::CountAllocations().count;
    const double cpuBefore = CpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
    run.bytesPerSecond = pacer.Send(blocks);
    std::this_thread::sleep_for(std::chrono::milliseconds(30)); // all has come
    run.processCpuSeconds = CpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - cpuBefore;
    run.allocations = genicam_bench::CountAllocations().count - allocationsBefore;
    const std::vector<CReceived> after = All(receivers);
    for (std::size_t i = 0; i < receivers.size(); ++i) {
        AddDifference(run.received, before[i], after[i]);
        const auto& latencies = receivers[i]->LatenciesNs();
        run.latenciesNs.insert(run.latenciesNs.end(), latencies.begin(), latencies.end());
    }
    Place(EPlacing::Free, ERole::Sender);
    return run;
}

double Quantile(std::vector<double>& values, double share) {
    if (values.empty()) {
        return 0;
    }
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::ranges::nth_element(values, at);
    return *at;
}

/// Runs of one kind of receiver.
struct CRuns {
    std::vector<double> cpuSecondsPerGb, processCpuSecondsPerGb, latenciesNs;
    std::uint64_t incomplete = 0, blocks = 0, allocations = 0;
    CReceived received;
    double bytesPerSecond = 0; // of the last one

    void Add(const CRun& run) {
        cpuSecondsPerGb.push_back(run.CpuSecondsPerGb());
        processCpuSecondsPerGb.push_back(run.processCpuSeconds / run.Gigabytes());
        latenciesNs.insert(latenciesNs.end(), run.latenciesNs.begin(), run.latenciesNs.end());
        incomplete += run.Incomplete();
        blocks += run.blocks;
        allocations += run.allocations;
        AddDifference(received, {}, run.received);
        bytesPerSecond = run.bytesPerSecond;
    }
};

void Show(benchmark::State& state, CRuns& ours, CRuns& bare) {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < ours.cpuSecondsPerGb.size(); ++i) {
        ratios.push_back(ours.cpuSecondsPerGb[i] / bare.cpuSecondsPerGb[i]);
    }
    const auto show = [&](const char* name, double value) { state.counters[name] = value; };
    const auto each = [](std::uint64_t count, std::uint64_t of) {
        return static_cast<double>(count) / static_cast<double>(std::max<std::uint64_t>(of, 1));
    };
    show("MB/s", ours.bytesPerSecond / 1e6);
    show("1_CPUs/GB", Quantile(ours.cpuSecondsPerGb, 0.5));
    show("2_bareCPUs/GB", Quantile(bare.cpuSecondsPerGb, 0.5));
    show("3_ratio", Quantile(ratios, 0.5));
    show("4_worstRatio", Quantile(ratios, 1));
    show("incomplete", static_cast<double>(ours.incomplete));
    show("lossyRunsBare", static_cast<double>(bare.incomplete));
    show("latency_p50_us", Quantile(ours.latenciesNs, 0.5) / 1e3);
    show("latency_p99_us", Quantile(ours.latenciesNs, 0.99) / 1e3);
    show("latencyBare_p50_us", Quantile(bare.latenciesNs, 0.5) / 1e3);
    show("latencyBare_p99_us", Quantile(bare.latenciesNs, 0.99) / 1e3);
    show("batch_datagrams", each(ours.received.datagrams, ours.received.batches));
    show("batchBare_datagrams", each(bare.received.datagrams, bare.received.batches));
    show("batch_calls", each(ours.received.systemCalls, ours.received.batches));
    show("batchBare_calls", each(bare.received.systemCalls, bare.received.batches));
    show("batch_locks", each(ours.received.locks, ours.received.batches));
    show("image_signals", each(ours.received.signals, ours.blocks));
    show("image_allocations", each(ours.allocations, ours.blocks));
    show("resend_commands", static_cast<double>(ours.received.resendCommands));
}

void Receive(benchmark::State& state, const CCase& wanted) {
    constexpr int kRuns = 5;
    for (auto _ : state) {
        CamerasAt cameras = MakeCameras(wanted);
        CRuns ours, bare;
        Run(cameras, wanted, 0.1, StartGrabber); // tells how much memory the kernel grants
        for (int i = 0; i < kRuns; ++i) {
            ours.Add(Run(cameras, wanted, g_seconds, StartGrabber));
            bare.Add(Run(cameras, wanted, g_seconds, StartBare));
        }
        state.SetIterationTime(g_seconds);
        Show(state, ours, bare);
    }
}

/// Whether a ring would pay: the same by it.
void ReceiveByRing(benchmark::State& state, const CCase& wanted) {
    constexpr int kRuns = 3;
    for (auto _ : state) {
        CamerasAt cameras = MakeCameras(wanted);
        CRuns ours, ring;
        try {
            for (int i = 0; i < kRuns; ++i) {
                ours.Add(Run(cameras, wanted, g_seconds, StartGrabber));
                ring.Add(Run(cameras, wanted, g_seconds, StartRing));
            }
        } catch (const std::system_error& e) {
            return state.SkipWithError(e.what());
        }
        state.SetIterationTime(g_seconds);
        const auto show = [&](const char* name, double value) { state.counters[name] = value; };
        show("1_CPUs/GB", Quantile(ours.cpuSecondsPerGb, 0.5));
        show("2_ringCPUs/GB", Quantile(ring.cpuSecondsPerGb, 0.5));
        show("3_allCPUs/GB", Quantile(ours.processCpuSecondsPerGb, 0.5));
        show("4_ringAllCPUs/GB", Quantile(ring.processCpuSecondsPerGb, 0.5));
        show("lossyRunsRing", static_cast<double>(ring.incomplete));
        show("latency_p50_us", Quantile(ours.latenciesNs, 0.5) / 1e3);
        show("latencyRing_p50_us", Quantile(ring.latenciesNs, 0.5) / 1e3);
        show("latencyRing_p99_us", Quantile(ring.latenciesNs, 0.99) / 1e3);
    }
}

/// The search for the highest rate at which every image is whole; each step is tried twice before it counts as too
/// fast.
class CSearch {
public:
    /// @p most: beyond it the sender is the limit
    CSearch(CamerasAt& cameras, const CCase& wanted, double most, CStart start)
        : m_cameras(cameras), m_wanted(wanted), m_start(start), m_lossy(most) {}

    void Step() {
        m_wanted.bytesPerSecond = (m_clean + m_lossy) / 2;
        CRun run;
        for (int i = 0; i < 2; ++i) {
            run = Run(m_cameras, m_wanted, g_seconds, m_start);
            if (run.Incomplete() == 0) {
                break;
            }
        }
        if (run.Incomplete() != 0) {
            m_lossy = m_wanted.bytesPerSecond;
        } else {
            m_reached = std::max(m_reached, run.bytesPerSecond);
            m_clean = m_wanted.bytesPerSecond;
        }
    }
    double Reached() const { return m_reached; }

private:
    CamerasAt& m_cameras;
    CCase m_wanted;
    CStart m_start;
    double m_clean = 0, m_lossy, m_reached = 0;
};

void HighestRate(benchmark::State& state, const CCase& wanted) {
    constexpr int kSteps = 7;
    for (auto _ : state) {
        CamerasAt cameras = MakeCameras(wanted);
        const double most = Run(cameras, wanted, 0.2, StartGrabber).bytesPerSecond; // and the memory that is granted
        CSearch ours(cameras, wanted, most, StartGrabber), bare(cameras, wanted, most, StartBare);
        for (int i = 0; i < kSteps; ++i) {
            ours.Step();
            bare.Step();
        }
        state.SetIterationTime(g_seconds);
        state.counters["1_MB/s"] = ours.Reached() / 1e6;
        state.counters["2_bareMB/s"] = bare.Reached() / 1e6;
        state.counters["3_ratio"] = ours.Reached() / bare.Reached();
        state.counters["senderMB/s"] = most / 1e6;
    }
}

#define RECEIVE(function, name, ...)                                                                                   \
    BENCHMARK_CAPTURE(function, name, CCase{__VA_ARGS__})->UseManualTime()->Iterations(1)->Unit(benchmark::kSecond)
RECEIVE(Receive, 1500_bytes_115MBs, 1500, 115e6, 1, EPlacing::Free);
RECEIVE(Receive, 1500_bytes_115MBs_apart, 1500, 115e6, 1, EPlacing::Apart);
RECEIVE(Receive, 1500_bytes_115MBs_together, 1500, 115e6, 1, EPlacing::Together);
RECEIVE(Receive, 1500_bytes_400MBs, 1500, 400e6, 1, EPlacing::Free);
RECEIVE(Receive, 1500_bytes_400MBs_apart, 1500, 400e6, 1, EPlacing::Apart);
RECEIVE(Receive, 9000_bytes_115MBs, 9000, 115e6, 1, EPlacing::Free);
RECEIVE(Receive, 9000_bytes_115MBs_apart, 9000, 115e6, 1, EPlacing::Apart);
RECEIVE(Receive, 9000_bytes_115MBs_together, 9000, 115e6, 1, EPlacing::Together);
RECEIVE(Receive, 9000_bytes_1000MBs, 9000, 1e9, 1, EPlacing::Free);
RECEIVE(Receive, 9000_bytes_1000MBs_apart, 9000, 1e9, 1, EPlacing::Apart);
RECEIVE(Receive, four_50MBs_8000_bytes, 8000, 50e6, 4, EPlacing::Free);
RECEIVE(Receive, eight_10MBs_1500_bytes, 1500, 10e6, 8, EPlacing::Free);
RECEIVE(ReceiveByRing, 1500_bytes_115MBs_apart, 1500, 115e6, 1, EPlacing::Apart);
RECEIVE(ReceiveByRing, 1500_bytes_400MBs_apart, 1500, 400e6, 1, EPlacing::Apart);
RECEIVE(ReceiveByRing, 1500_bytes_115MBs_together, 1500, 115e6, 1, EPlacing::Together);
RECEIVE(ReceiveByRing, 9000_bytes_115MBs_apart, 9000, 115e6, 1, EPlacing::Apart);
RECEIVE(ReceiveByRing, 9000_bytes_1000MBs_apart, 9000, 1e9, 1, EPlacing::Apart);
RECEIVE(ReceiveByRing, 9000_bytes_115MBs_together, 9000, 115e6, 1, EPlacing::Together);
RECEIVE(HighestRate, 1500_bytes, 1500, 0, 1, EPlacing::Free);
RECEIVE(HighestRate, 1500_bytes_apart, 1500, 0, 1, EPlacing::Apart);
RECEIVE(HighestRate, 9000_bytes, 9000, 0, 1, EPlacing::Free);
RECEIVE(HighestRate, 9000_bytes_apart, 9000, 0, 1, EPlacing::Apart);
#undef RECEIVE

} // namespace

} // namespace gige_bench

int main(int argc, char** argv) {
    constexpr std::string_view kSeconds = "--seconds=";
    char** const end = std::remove_if(argv + 1, argv + argc, [&](const char* argument) {
        if (!std::string_view(argument).starts_with(kSeconds)) {
            return false;
        }
        gige_bench::g_seconds = std::atof(argument + kSeconds.size());
        return true;
    });
    argc = static_cast<int>(end - argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv) || gige_bench::g_seconds <= 0) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
}
