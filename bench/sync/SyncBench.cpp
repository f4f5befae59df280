// SPDX-License-Identifier: Apache-2.0

// Wait objects and sets of them, each beside the same system calls without them.

#include <zelmo/WaitObject.h>
#include <zelmo/WaitObjects.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace Zelmo;

struct Pipe {
    Pipe() {
        if (pipe(ends.data()) != 0) {
            ends = {-1, -1};
        }
        fcntl(ends[0], F_SETFL, fcntl(ends[0], F_GETFL) | O_NONBLOCK);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        close(ends[0]);
        close(ends[1]);
    }
    bool IsReadable(int timeoutMs) const {
        pollfd entry{ends[0], POLLIN, 0};
        return poll(&entry, 1, timeoutMs) > 0;
    }

    std::array<int, 2> ends;
};

bool AllowDescriptors(benchmark::State& state, rlim_t count) {
    rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::max(limit.rlim_cur, count);
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0) {
        state.SkipWithError("the hard limit of descriptors is too low");
        return false;
    }
    return true;
}

void SignalWaitReset(benchmark::State& state) {
    WaitObjectEx object = WaitObjectEx::Create();
    for (auto _ : state) {
        object.Signal();
        benchmark::DoNotOptimize(object.Wait(1000));
        object.Reset();
    }
}
BENCHMARK(SignalWaitReset);

// A signal looks whether there is a byte already, and writes one; a wait polls; a reset reads.
void SignalWaitResetBare(benchmark::State& state) {
    const Pipe pipe;
    char byte = 0;
    for (auto _ : state) {
        if (!pipe.IsReadable(0)) {
            benchmark::DoNotOptimize(write(pipe.ends[1], &byte, 1));
        }
        benchmark::DoNotOptimize(pipe.IsReadable(1000));
        benchmark::DoNotOptimize(read(pipe.ends[0], &byte, 1));
    }
}
BENCHMARK(SignalWaitResetBare);

// The last member is the one that is signaled.
void WaitForAnyOf(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    if (!AllowDescriptors(state, 2 * static_cast<rlim_t>(count) + 100)) {
        return;
    }
    WaitObjects set;
    WaitObjectEx clear = WaitObjectEx::Create();
    for (int i = 1; i < count; ++i) {
        set.Add(clear);
    }
    set.Add(WaitObjectEx::Create(true));
    unsigned int index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(set.WaitForAny(1000, &index));
    }
}
BENCHMARK(WaitForAnyOf)->Arg(1)->Arg(3)->Arg(16)->Arg(1024);

void WaitForAnyOfBare(benchmark::State& state) {
    const auto count = static_cast<size_t>(state.range(0));
    if (!AllowDescriptors(state, 2 * count + 100)) {
        return;
    }
    const Pipe clear;
    const Pipe signaled;
    std::vector<int> readEnds;
    for (size_t i = 1; i < count; ++i) {
        readEnds.push_back(dup(clear.ends[0]));
    }
    readEnds.push_back(dup(signaled.ends[0]));
    const char byte = 0;
    benchmark::DoNotOptimize(write(signaled.ends[1], &byte, 1));
    pollfd entries[WaitObjectsMaxCount];
    for (auto _ : state) {
        for (size_t i = 0; i < count; ++i) {
            entries[i] = {readEnds[i], POLLIN, 0};
        }
        benchmark::DoNotOptimize(poll(entries, count, 1000));
        size_t index = 0;
        while (entries[index].revents == 0) {
            ++index;
        }
        benchmark::DoNotOptimize(index);
    }
    for (const int fd : readEnds) {
        close(fd);
    }
}
BENCHMARK(WaitForAnyOfBare)->Arg(1)->Arg(3)->Arg(16)->Arg(1024);

} // namespace
