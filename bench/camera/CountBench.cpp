// SPDX-License-Identifier: Apache-2.0

// Exact numbers of calls a frame.

#include "CallCounter.h"
#include "Frames.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

namespace camera_bench {
namespace {

constexpr unsigned kFrames = 500;

template <typename Condition>
void WaitUntil(Condition&& holds) {
    while (!holds()) {
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
}

void WaitUntilThreadsWait(const IFrames& frames, int count) {
    WaitUntil([&frames, count] { return GetWaitingThreads() == count + frames.GetBystanders(); });
}

/// Sends a frame only when engine and application wait for it, so that every hop blocks.
class Sender {
public:
    Sender(IFrames& frames, unsigned count)
        : m_thread([this, &frames, count] {
              for (unsigned sent = 0; sent < count; ++sent) {
                  WaitUntil([this, sent] { return m_taken == sent; });
                  WaitUntilThreadsWait(frames, 2);
                  frames.Complete(1);
              }
          }) {}
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;
    ~Sender() { m_thread.join(); }

    void NoteTaken() { ++m_taken; }

private:
    std::atomic<unsigned> m_taken{0};
    std::thread m_thread;
};

Calls CountBlocked(IFrames& frames) {
    Sender sender(frames, kFrames + 1);
    frames.Take();
    WaitUntilThreadsWait(frames, 1); // the engine is done with it
    BeginCounting();
    for (unsigned i = 0; i < kFrames; ++i) {
        sender.NoteTaken();
        frames.Take();
    }
    WaitUntilThreadsWait(frames, 1);
    return EndCounting();
}

/// All frames are completed before the engine sees the first, and all of them moved before the application does.
Calls CountBurst(IFrames& frames, unsigned capacity) {
    WaitUntilThreadsWait(frames, 1);
    BeginCounting();
    frames.Complete(kFrames);
    WaitUntil([&frames, capacity] { return frames.GetReady() == capacity; });
    WaitUntilThreadsWait(frames, 1);
    for (unsigned i = 0; i < capacity; ++i) {
        frames.Take();
    }
    return EndCounting();
}

void Show(benchmark::State& state, const Calls& calls) {
    const auto show = [&state](const char* name, std::uint64_t count) {
        state.counters[name] = static_cast<double>(count) / kFrames;
    };
    show("poll", calls.polls);
    show("read", calls.reads);
    show("write", calls.writes);
    show("timer_settime", calls.timers);
    show("sum", calls.polls + calls.reads + calls.writes + calls.timers);
    show("operator_new", calls.allocations);
}

void CallsWhenEveryHopBlocks(benchmark::State& state, Zelmo::EGrabStrategy strategy,
                             std::unique_ptr<IFrames> (*start)(const Flow&)) {
    Flow flow;
    flow.strategy = strategy;
    flow.pace = EPace::Told;
    for (auto _ : state) {
        Show(state, CountBlocked(*start(flow)));
    }
}

void CallsWhenQueuesAreNeverEmpty(benchmark::State& state, Zelmo::EGrabStrategy strategy) {
    Flow flow;
    flow.strategy = strategy;
    flow.pace = EPace::Told;
    flow.buffers = kFrames;
    flow.outputQueueSize = kFrames;
    for (auto _ : state) {
        Show(state, CountBurst(*StartOurFrames(flow), GetQueueCapacity(flow)));
    }
}

#define BLOCKED(strategy)                                                                                              \
    BENCHMARK_CAPTURE(CallsWhenEveryHopBlocks, strategy, Zelmo::GrabStrategy_##strategy, StartOurFrames)               \
        ->Iterations(1);                                                                                               \
    BENCHMARK_CAPTURE(CallsWhenEveryHopBlocks, Bare##strategy, Zelmo::GrabStrategy_##strategy, StartBareFrames)        \
        ->Iterations(1)
BLOCKED(OneByOne);
BLOCKED(LatestImageOnly);
BLOCKED(LatestImages);
BLOCKED(UpcomingImage);

// the upcoming image comes alone
BENCHMARK_CAPTURE(CallsWhenQueuesAreNeverEmpty, OneByOne, Zelmo::GrabStrategy_OneByOne)->Iterations(1);
BENCHMARK_CAPTURE(CallsWhenQueuesAreNeverEmpty, LatestImageOnly, Zelmo::GrabStrategy_LatestImageOnly)->Iterations(1);
BENCHMARK_CAPTURE(CallsWhenQueuesAreNeverEmpty, LatestImages, Zelmo::GrabStrategy_LatestImages)->Iterations(1);

} // namespace
} // namespace camera_bench
