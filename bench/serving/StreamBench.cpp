// SPDX-License-Identifier: Apache-2.0
//
// What it costs to serve streams: CPU time of the senders for each GB of images that they send, beside that of a bare
// sendmmsg of the same datagrams, measured right after it. Nobody takes the datagrams, which end in a socket that drops
// them: what receiving costs in the kernel, on this loopback network within the call, is in both. "bare" is 64
// datagrams a call without a pause; "paced" is bursts of 16 or 64 KiB that keep the rate, which shows what waiting for
// it costs.
#include "bench/CpuTime.h"

#include <core/RegisterMap.h>
#include <serving/stream/StreamChannel.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <vector>

using namespace Serving;

namespace {

constexpr std::uint32_t kLoopback = 0x7F000001;
constexpr std::uint32_t kWidth = 1024, kHeight = 1024; // Mono8
constexpr std::size_t kImageBytes = std::size_t{kWidth} * kHeight;

struct CCase {
    std::size_t cameras;
    double bytesPerSecond; // of images, each camera
    std::uint32_t packetSize;
};

double CpuSecondsOf(const std::string& threadName) {
    double seconds = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::ifstream(task.path() / "comm") >> name;
        if (name == threadName) {
            seconds += CpuSeconds(ClockOf(std::stoi(task.path().filename())));
        }
    }
    return seconds;
}

template <typename T>
void Write(CamEmu::CCamera& camera, std::uint32_t address, T value) {
    if (camera.Write(address, &value, sizeof value) != CamEmu::EAccessResult::Ok) {
        throw std::logic_error("the camera refuses a setting");
    }
}

/// A camera with its channel.
struct CServed {
    CServed(std::uint32_t number, const CCase& wanted, CServingFaults& faults, CRateBudgets& budgets,
            const CEndpoint& destination)
        : camera(number), channel(camera, faults, budgets, kLoopback) {
        Write(camera, CamEmu::Reg::kWidth, kWidth);
        Write(camera, CamEmu::Reg::kHeight, kHeight);
        Write(camera, CamEmu::Reg::kExposureTime, 100.0);
        Write(camera, CamEmu::Reg::kFrameRate, wanted.bytesPerSecond / kImageBytes);
        channel.Open({.destination = destination, .packetSize = wanted.packetSize});
        channel.StartFrames();
        camera.Stream().StartAcquisition(0);
    }

    CamEmu::CCamera camera;
    CStreamChannel channel;
};

/// Blocks like those that are served, and their datagrams, made before they are sent.
class CBareSender {
public:
    CBareSender(const CCase& wanted, const CEndpoint& destination, std::size_t burst) {
        for (std::uint64_t id = 1; id <= 16; ++id) {
            CamEmu::CFrame frame;
            frame.status = CamEmu::EFrameStatus::Complete;
            frame.region = {kWidth, kHeight, 0, 0, &CamEmu::PixelFormats()[0]};
            frame.payloadSize = kImageBytes;
            CBlock& block = *m_blocks.emplace_back(std::make_unique<CBlock>(kImageBytes));
            std::fill(block.Memory().begin(), block.Memory().end(), std::uint8_t{1});
            block.Prepare(frame, {.number = id, .sent = id}, {.packetSize = wanted.packetSize});
            MakeBatches(block, destination, burst);
        }
    }

    /// CPU time of sending that many blocks, each call when its bytes are due; at once at rate 0.
    double Seconds(std::uint64_t blocks, double bytesPerSecond) {
        const double before = CpuSeconds(CLOCK_THREAD_CPUTIME_ID);
        auto due = std::chrono::steady_clock::now();
        for (std::uint64_t block = 0; block < blocks; ++block) {
            for (const auto& batch : m_batches[block % m_batches.size()]) {
                if (bytesPerSecond > 0) {
                    std::this_thread::sleep_until(due);
                    due += std::chrono::nanoseconds(
                        static_cast<std::int64_t>(1e9 * static_cast<double>(batch->Bytes()) / bytesPerSecond));
                }
                const auto messages = batch->From(0);
                sendmmsg(m_socket.Number(), messages.data(), static_cast<unsigned>(messages.size()), 0);
            }
        }
        return CpuSeconds(CLOCK_THREAD_CPUTIME_ID) - before;
    }

private:
    void MakeBatches(const CBlock& block, const CEndpoint& destination, std::size_t burst) {
        auto& batches = m_batches.emplace_back();
        for (std::uint32_t id = 0; id <= block.TrailerId(); ++id) {
            if (id % burst == 0) {
                batches.emplace_back(std::make_unique<CDatagramBatch>())->SendTo(destination, false);
            }
            batches.back()->AddPacket(block, id, {}, CDatagramBatch::EKind::New);
        }
    }

    CStreamSocket m_socket{kLoopback};
    std::vector<std::unique_ptr<CBlock>> m_blocks;
    std::vector<std::vector<std::unique_ptr<CDatagramBatch>>> m_batches; // of each block
};

void ServeStreams(benchmark::State& state, const CCase& wanted) {
    const CStreamSocket sink(kLoopback); // drops all
    const CEndpoint destination{kLoopback, sink.Port()};
    for (auto _ : state) {
        CServingFaults faults;
        CRateBudgets budgets(250'000'000);
        std::vector<std::unique_ptr<CServed>> served;
        for (std::uint32_t number = 0; number < wanted.cameras; ++number) {
            served.push_back(std::make_unique<CServed>(number, wanted, faults, budgets, destination));
        }
        const auto blocks = [&] {
            CStreamCounts sum;
            for (const auto& each : served) {
                sum.blocks += each->channel.Counts().blocks;
                sum.lostBlocks += each->channel.Counts().lostBlocks;
            }
            return sum;
        };
        std::this_thread::sleep_for(std::chrono::seconds(1)); // the memory of the history is touched
        const CStreamCounts before = blocks();
        const double cpuBefore = CpuSecondsOf("stream-sender");
        const auto start = std::chrono::steady_clock::now();
        std::this_thread::sleep_for(std::chrono::seconds(4));
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        const double cpu = CpuSecondsOf("stream-sender") - cpuBefore;
        const CStreamCounts after = blocks();
        served.clear();
        const std::uint64_t sent = after.blocks - before.blocks;
        const double gigabytes = 1e-9 * static_cast<double>(sent * kImageBytes);
        const double bare = CBareSender(wanted, destination, CDatagramBatch::kMaxDatagrams).Seconds(sent, 0);
        const std::size_t burst = std::min<std::size_t>(16, (64u << 10) / wanted.packetSize);
        const std::uint64_t some = std::max<std::uint64_t>(1, sent / 2 / wanted.cameras); // of one camera, two seconds
        const double paced = CBareSender(wanted, destination, burst).Seconds(some, wanted.bytesPerSecond) *
                             static_cast<double>(sent) / static_cast<double>(some);
        state.SetIterationTime(seconds.count());
        state.counters["MB/s"] = 1e3 * gigabytes / seconds.count();
        state.counters["lost"] = static_cast<double>(after.lostBlocks - before.lostBlocks);
        state.counters["CPUs/GB"] = cpu / gigabytes;
        state.counters["bareCPUs/GB"] = bare / gigabytes;
        state.counters["ratio"] = cpu / bare;
        state.counters["pacedRatio"] = cpu / paced;
    }
}

#define SERVE_STREAMS(name, ...)                                                                                       \
    BENCHMARK_CAPTURE(ServeStreams, name, CCase{__VA_ARGS__})->UseManualTime()->Iterations(1)->Unit(benchmark::kSecond)
SERVE_STREAMS(one_115MBs_1500_bytes, 1, 115e6, 1500);
SERVE_STREAMS(one_115MBs_8000_bytes, 1, 115e6, 8000);
SERVE_STREAMS(eight_10MBs_1500_bytes, 8, 10e6, 1500);
SERVE_STREAMS(four_50MBs_1500_bytes, 4, 50e6, 1500);
SERVE_STREAMS(four_50MBs_8000_bytes, 4, 50e6, 8000);
#undef SERVE_STREAMS

} // namespace
