// SPDX-License-Identifier: Apache-2.0

// From the message of a camera to the handler: one at a time while everybody waits, and many that have piled up.
// The bare loop fetches from the same grabber and writes into the same node, without a camera object in between.

#include "DataDevice.h"
#include "Frames.h"
#include "Machine.h"

#include <zelmo/HandlerRegistration.h>
#include <zelmo/InstantCamera.h>

#include <Base/GCSynch.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <poll.h>
#include <pthread.h>
#include <semaphore>
#include <stdexcept>
#include <thread>
#include <vector>

namespace camera_bench {
namespace {

constexpr int kRuns = 5;

/// A loop that handles events. The handler only notes that there was one.
class EventLoop {
public:
    virtual ~EventLoop() = default;

    virtual void HandleUntil(std::uint64_t count) = 0; ///< So many in all; waits for them.
    virtual void HandleWaiting() = 0;                  ///< Those that are there, but for some if there are many.

    std::uint64_t GetHandled() const { return m_handled; }

    DataDevice device{Fakes::CNullStreamGrabber::EPace::Told};
    std::function<void()> onEvent = [] {};

protected:
    void Note() {
        ++m_handled;
        onEvent();
    }

private:
    std::uint64_t m_handled = 0;
};

class OurEvents final : public EventLoop {
public:
    OurEvents() {
        m_camera.RegisterConfiguration(nullptr, Zelmo::RegistrationMode_ReplaceAll, Zelmo::Cleanup_None);
        m_camera.GrabCameraEvents.SetValue(true);
        m_camera.Attach(&device, Zelmo::Cleanup_None);
        m_camera.Open();
        m_handler = OnEvent(m_camera, "EventValue", [this] { Note(); });
        m_camera.StartGrabbing();
    }
    ~OurEvents() override { m_camera.DetachDevice(); }

    void HandleUntil(std::uint64_t count) override {
        m_last = count; // the image that ends the wait
        Zelmo::CGrabResultPtr result;
        const std::function<void()> note = onEvent;
        onEvent = [&] {
            note();
            if (GetHandled() == m_last) {
                device.Grabber().Complete();
            }
        };
        if (!m_camera.RetrieveResult(kTimeoutMs, result, Zelmo::TimeoutHandling_Return)) {
            throw std::runtime_error("the events did not come");
        }
        onEvent = note;
    }
    void HandleWaiting() override {
        Zelmo::CGrabResultPtr result;
        m_camera.RetrieveResult(0, result, Zelmo::TimeoutHandling_Return);
    }

private:
    Zelmo::CInstantCamera m_camera;
    Zelmo::CHandlerRegistration m_handler;
    std::uint64_t m_last = 0;
};

class BareEvents final : public EventLoop {
public:
    void HandleUntil(std::uint64_t count) override {
        while (GetHandled() < count) {
            pollfd entries[] = {{m_stop.GetFd(), POLLIN, 0},
                                {m_result.GetFd(), POLLIN, 0},
                                {m_timer.GetFd(), POLLIN, 0},
                                {device.Events().GetWaitObject().GetFd(), POLLIN, 0}};
            poll(entries, std::size(entries), -1);
            HandleWaiting();
        }
    }
    void HandleWaiting() override {
        pollfd entry{device.Events().GetWaitObject().GetFd(), POLLIN, 0};
        while (poll(&entry, 1, 0) > 0 && device.Events().RetrieveEvent(m_message)) {
            device.Events().DeliverMessage(m_message.buffer, sizeof m_message.buffer);
            Note();
        }
    }

private:
    const Zelmo::WaitObjectEx m_stop = Zelmo::WaitObjectEx::Create();
    const Zelmo::WaitObjectEx m_result = Zelmo::WaitObjectEx::Create();
    const Zelmo::WaitObjectEx m_timer = Zelmo::WaitObjectEx::Create();
    Zelmo::EventResult m_message;
};

/// Of so many events, each put in a while after the one before was handled.
std::vector<double> MeasureEventsUs(EventLoop& loop, std::uint64_t count) {
    std::counting_semaphore<> handled{0};
    std::atomic<std::int64_t> putNs{0};
    std::vector<double> latencies;
    latencies.reserve(count);
    loop.onEvent = [&] {
        latencies.push_back(static_cast<double>(NowNs() - putNs) / 1000);
        handled.release();
    };
    std::thread camera([&] {
        for (std::uint64_t i = 0; i < count; ++i) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
            putNs = NowNs();
            loop.device.Events().Put();
            handled.acquire();
        }
    });
    loop.HandleUntil(count);
    camera.join();
    return latencies;
}

void CompareLatencies(benchmark::State& state) {
    std::vector<double> ours, bare, tails, bareTails;
    const auto measure = [](EventLoop&& loop, std::vector<double>& medians, std::vector<double>& ends) {
        std::vector<double> latencies = MeasureEventsUs(loop, 2000);
        medians.push_back(GetQuantile(latencies, 0.5));
        ends.push_back(GetQuantile(latencies, 0.99));
    };
    for (auto _ : state) {
        for (int run = 0; run < kRuns; ++run) {
            measure(OurEvents(), ours, tails);
            measure(BareEvents(), bare, bareTails);
        }
        state.SetIterationTime(GetMedian(ours) / 1e6);
    }
    state.counters["median_us"] = GetMedian(ours);
    state.counters["median_us_bare"] = GetMedian(bare);
    state.counters["median_ratio"] = GetMedian(ours) / GetMedian(bare);
    state.counters["p99_us"] = GetMedian(tails);
    state.counters["p99_us_bare"] = GetMedian(bareTails);
    state.counters["real_time"] = GenICam::GetMutexProtocol() == PTHREAD_PRIO_INHERIT ? 1 : 0;
}

/// Argument: processors.
void EventLatency(benchmark::State& state) {
    const Processors pinned(static_cast<int>(state.range(0)));
    CompareLatencies(state);
}
void UnpinnedEventLatency(benchmark::State& state) {
    CompareLatencies(state);
}

/// CPU time, which others do not change, for each of @p count events that wait.
double DrainUs(EventLoop& loop, unsigned count) {
    loop.device.Events().Put(count);
    const std::uint64_t all = loop.GetHandled() + count;
    const double begin = GetUsage().cpuSeconds;
    while (loop.GetHandled() < all) {
        loop.HandleWaiting();
    }
    return (GetUsage().cpuSeconds - begin) * 1e6 / count;
}

void CompareBursts(benchmark::State& state) {
    constexpr unsigned eventsOfRun = 16000;
    const auto burst = static_cast<unsigned>(state.range(0));
    OurEvents ours;
    BareEvents bare;
    std::vector<double> oursUs, bareUs;
    for (auto _ : state) {
        for (unsigned i = 0; i < eventsOfRun / burst + 3; ++i) {
            oursUs.push_back(DrainUs(ours, burst));
            bareUs.push_back(DrainUs(bare, burst));
        }
        state.SetIterationTime(GetMedian(oursUs) * burst / 1e6);
    }
    state.counters["us_each"] = GetMedian(oursUs);
    state.counters["us_each_bare"] = GetMedian(bareUs);
    state.counters["ratio"] = GetMedian(oursUs) / GetMedian(bareUs);
}

/// Arguments: events that wait, processors.
void EventBurst(benchmark::State& state) {
    const Processors pinned(static_cast<int>(state.range(1)));
    CompareBursts(state);
}
void UnpinnedEventBurst(benchmark::State& state) {
    CompareBursts(state);
}

void Once(benchmark::internal::Benchmark* comparison) {
    comparison->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
}
BENCHMARK(EventLatency)->ArgName("cores")->Arg(1)->Arg(2)->Apply(Once);
BENCHMARK(UnpinnedEventLatency)->Apply(Once);
BENCHMARK(EventBurst)->ArgNames({"events", "cores"})->ArgsProduct({{1, 16, 64, 1000, 4000, 16000}, {1}})->Apply(Once);
BENCHMARK(UnpinnedEventBurst)->ArgName("events")->Arg(1)->Arg(64)->Arg(1000)->Apply(Once);

} // namespace
} // namespace camera_bench
