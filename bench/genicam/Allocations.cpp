// SPDX-License-Identifier: Apache-2.0
#include "Allocations.h"

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

// the library of GenICam modules calls these, too
#define INTERPOSED __attribute__((visibility("default")))

namespace genicam_bench {
namespace {

std::atomic<std::uint64_t> g_count{0};
std::atomic<std::size_t> g_bytes{0};

} // namespace

Allocations CountAllocations() noexcept {
    return {g_count.load(std::memory_order_relaxed), g_bytes.load(std::memory_order_relaxed)};
}

} // namespace genicam_bench

INTERPOSED void* operator new(std::size_t size) {
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    genicam_bench::g_count.fetch_add(1, std::memory_order_relaxed);
    genicam_bench::g_bytes.fetch_add(malloc_usable_size(memory), std::memory_order_relaxed);
    return memory;
}

INTERPOSED void operator delete(void* memory) noexcept {
    genicam_bench::g_bytes.fetch_sub(malloc_usable_size(memory), std::memory_order_relaxed);
    std::free(memory);
}

INTERPOSED void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}
