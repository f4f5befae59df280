// SPDX-License-Identifier: Apache-2.0
#include "CallCounter.h"

#include "Machine.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <new>
#include <poll.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

// the library of GenICam modules calls these, too
#define INTERPOSED __attribute__((visibility("default")))

namespace camera_bench {
namespace {

enum ECall { Call_Poll, Call_Read, Call_Write, Call_Timer, Call_Allocation, Call_Count };

std::atomic<bool> g_counting{false};
std::array<std::atomic<std::uint64_t>, Call_Count> g_counts{};
std::atomic<int> g_waiting{0};
std::atomic<std::int64_t> g_lastSignalNs{0};

void Count(ECall call) noexcept {
    if (g_counting.load(std::memory_order_relaxed)) {
        g_counts[call].fetch_add(1, std::memory_order_relaxed);
    }
}

template <typename Function>
Function* FindNext(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void* Allocate(std::size_t sizeBytes, std::size_t alignment) {
    Count(Call_Allocation);
    void* memory = alignment == 0 ? std::malloc(sizeBytes) : std::aligned_alloc(alignment, sizeBytes);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

void BeginCounting() {
    for (std::atomic<std::uint64_t>& count : g_counts) {
        count = 0;
    }
    g_counting = true;
}

Calls EndCounting() {
    g_counting = false;
    return {g_counts[Call_Poll], g_counts[Call_Read], g_counts[Call_Write], g_counts[Call_Timer],
            g_counts[Call_Allocation]};
}

int GetWaitingThreads() {
    return g_waiting;
}

std::int64_t GetLastSignalNs() {
    return g_lastSignalNs;
}

} // namespace camera_bench

using namespace camera_bench;

extern "C" {

INTERPOSED int poll(pollfd* entries, nfds_t count, int timeoutMs) {
    static auto* const kNext = FindNext<int(pollfd*, nfds_t, int)>("poll");
    Count(Call_Poll);
    if (timeoutMs == 0) {
        return kNext(entries, count, timeoutMs);
    }
    g_waiting.fetch_add(1, std::memory_order_relaxed);
    const int ready = kNext(entries, count, timeoutMs);
    g_waiting.fetch_sub(1, std::memory_order_relaxed);
    return ready;
}

INTERPOSED ssize_t read(int fd, void* bytes, size_t count) {
    static auto* const kNext = FindNext<ssize_t(int, void*, size_t)>("read");
    Count(Call_Read);
    return kNext(fd, bytes, count);
}

INTERPOSED ssize_t write(int fd, const void* bytes, size_t count) {
    static auto* const kNext = FindNext<ssize_t(int, const void*, size_t)>("write");
    Count(Call_Write);
    return kNext(fd, bytes, count);
}

// the C library's own makes its call without coming through here
INTERPOSED int eventfd_read(int fd, eventfd_t* value) {
    return read(fd, value, sizeof *value) == sizeof *value ? 0 : -1;
}

INTERPOSED int eventfd_write(int fd, eventfd_t value) {
    g_lastSignalNs.store(NowNs(), std::memory_order_relaxed);
    return write(fd, &value, sizeof value) == sizeof value ? 0 : -1;
}

INTERPOSED int timer_settime(timer_t timer, int flags, const itimerspec* setting, itimerspec* before) noexcept {
    static auto* const kNext = FindNext<int(timer_t, int, const itimerspec*, itimerspec*)>("timer_settime");
    Count(Call_Timer);
    return kNext(timer, flags, setting, before);
}

} // extern "C"

INTERPOSED void* operator new(std::size_t sizeBytes) {
    return Allocate(sizeBytes, 0);
}
INTERPOSED void* operator new(std::size_t sizeBytes, std::align_val_t alignment) {
    const auto step = static_cast<std::size_t>(alignment);
    return Allocate((sizeBytes + step - 1) / step * step, step);
}
INTERPOSED void operator delete(void* memory) noexcept {
    std::free(memory);
}
INTERPOSED void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
INTERPOSED void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
INTERPOSED void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
