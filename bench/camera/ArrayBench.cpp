// SPDX-License-Identifier: Apache-2.0

// An array beside as many single cameras, which one thread asks in turn.
// Frames wait: CPU time and frames a second, medians of seven runs; a turn is all that a frame takes.
// A frame is waited for, of one camera after the other: the time from the transport's signal, medians of three runs.
// The array asks all cameras, finds nothing and waits for all of them, where a single one waits alone.
// Fairness: images of each camera out of a hundred times as many, when all are always ready, and when each has a thread
// of its own that fills its buffers.

#include "Frames.h"
#include "Machine.h"
#include "Runs.h"

#include "fakes/Descriptors.h"
#include "fakes/transport/StreamDevice.h"

#include <zelmo/InstantCameraArray.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace camera_bench {
namespace {

using Pace = Fakes::CNullStreamGrabber::EPace;

enum class EOwner { Array, Single };

class ManyFrames final : public IFrames {
public:
    ManyFrames(std::size_t cameras, Pace pace, EOwner owner)
        : m_isArray(owner == EOwner::Array), m_cameras(cameras), m_images(cameras) {
        for (std::size_t i = 0; i < cameras; ++i) {
            m_devices.push_back(std::make_unique<Fakes::CNullDevice>(pace));
            m_cameras[i].RegisterConfiguration(nullptr, Zelmo::RegistrationMode_ReplaceAll, Zelmo::Cleanup_None);
            m_cameras[i].Attach(m_devices[i].get(), Zelmo::Cleanup_None);
            if (!m_isArray) {
                m_cameras[i].StartGrabbing();
            }
        }
        if (m_isArray) {
            m_cameras.StartGrabbing();
        }
    }
    ~ManyFrames() override { m_cameras.Initialize(0); }

    std::uint64_t Take() override {
        const auto handling = Zelmo::TimeoutHandling_Return;
        const bool isFound = m_isArray ? m_cameras.RetrieveResult(kTimeoutMs, m_result, handling)
                                       : m_cameras[GetTurn()].RetrieveResult(kTimeoutMs, m_result, handling);
        if (!isFound) {
            throw std::runtime_error("no image came");
        }
        ++m_images[static_cast<std::size_t>(m_result->GetCameraContext())];
        return ++m_taken;
    }
    void Complete(unsigned frames) override { m_devices[GetTurn()]->Grabber().Complete(frames); }
    std::uint64_t GetReady() const override {
        return static_cast<std::uint64_t>(m_cameras[GetTurn()].NumReadyBuffers.GetValue());
    }
    const std::vector<std::uint64_t>& GetImagesOfEach() const { return m_images; }

private:
    std::size_t GetTurn() const { return m_taken % m_devices.size(); }

    const bool m_isArray;
    std::vector<std::unique_ptr<Fakes::CNullDevice>> m_devices;
    Zelmo::CInstantCameraArray m_cameras;
    Zelmo::CGrabResultPtr m_result; // used again and again
    std::atomic<std::uint64_t> m_taken{0};
    std::vector<std::uint64_t> m_images;
};

/// Starts one or the other.
class Contest {
public:
    /// Arguments: cameras, processors.
    Contest(benchmark::State& state, Pace pace)
        : m_cameras(static_cast<std::size_t>(state.range(0))), m_pace(pace),
          m_pinned(static_cast<int>(state.range(1))) {
        if (GetProcessorCount() < state.range(1)) {
            state.SkipWithError("there are fewer processors");
        } else if (const auto needed = static_cast<rlim_t>(40 * state.range(0) + 100);
                   !Fakes::AllowDescriptors(needed)) {
            m_complaint = "the hard limit of descriptors is below " + std::to_string(needed);
            state.SkipWithError(m_complaint.c_str());
        }
    }

    std::unique_ptr<ManyFrames> Start(EOwner owner) const {
        return std::make_unique<ManyFrames>(m_cameras, m_pace, owner);
    }

private:
    const std::size_t m_cameras;
    const Pace m_pace;
    const Processors m_pinned;
    std::string m_complaint;
};

void ArrayBesideSingleCameras(benchmark::State& state) {
    const Contest contest(state, Pace::AtOnce);
    Runs array([&] { return contest.Start(EOwner::Array); });
    Runs single([&] { return contest.Start(EOwner::Single); });
    for (auto _ : state) {
        RunInTurn(array, single);
        state.SetIterationTime(1 / array.GetPerSecond());
        state.counters["cpu_us"] = array.GetCpuUs();
        state.counters["cpu_us_single"] = single.GetCpuUs();
        state.counters["cpu_ratio"] = array.GetCpuUs() / single.GetCpuUs();
        state.counters["per_s"] = array.GetPerSecond();
        state.counters["per_s_single"] = single.GetPerSecond();
        state.counters["per_s_ratio"] = array.GetPerSecond() / single.GetPerSecond();
        state.counters["sleeps"] = array.GetSleeps();
        state.counters["sleeps_single"] = single.GetSleeps();
    }
}

void LatencyBesideSingleCameras(benchmark::State& state) {
    const Contest contest(state, Pace::Told);
    const auto measure = [&](EOwner owner) {
        std::vector<double> latencies = MeasureLatenciesUs(*contest.Start(owner), 1000);
        return GetMedian(latencies);
    };
    for (auto _ : state) {
        std::vector<double> array;
        std::vector<double> single;
        for (int run = 0; run < 3; ++run) {
            array.push_back(measure(EOwner::Array));
            single.push_back(measure(EOwner::Single));
        }
        state.SetIterationTime(GetMedian(array) / 1e6);
        state.counters["median_us"] = GetMedian(array);
        state.counters["median_us_single"] = GetMedian(single);
        state.counters["median_ratio"] = GetMedian(array) / GetMedian(single);
    }
}

void Fairness(benchmark::State& state, Pace pace) {
    constexpr std::uint64_t imagesOfEach = 100;
    const Contest contest(state, pace);
    for (auto _ : state) {
        const std::int64_t begin = NowNs();
        const auto frames = contest.Start(EOwner::Array);
        while (frames->Take() < imagesOfEach * static_cast<std::uint64_t>(state.range(0))) {
        }
        state.SetIterationTime(static_cast<double>(NowNs() - begin) / 1e9);
        const auto [least, most] = std::ranges::minmax_element(frames->GetImagesOfEach());
        state.counters["images"] = imagesOfEach;
        state.counters["least"] = static_cast<double>(*least);
        state.counters["most"] = static_cast<double>(*most);
    }
}

void EachSize(benchmark::internal::Benchmark* comparison) {
    comparison->ArgNames({"cameras", "cores"})->ArgsProduct({{2, 8, 32, 341}, {1, 2}});
    comparison->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
}
BENCHMARK(ArrayBesideSingleCameras)->Apply(EachSize);
BENCHMARK(LatencyBesideSingleCameras)->Apply(EachSize);
BENCHMARK_CAPTURE(Fairness, AlwaysReady, Pace::AtOnce)->Apply(EachSize);
BENCHMARK_CAPTURE(Fairness, ThreadsOfTheirOwn, Pace::Sleeping)->Apply(EachSize);

} // namespace
} // namespace camera_bench
