// SPDX-License-Identifier: Apache-2.0
#include "ScarceMemory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t kNever = ~std::size_t{0};
thread_local std::size_t allocations = 0;
std::atomic<std::size_t> allAllocations{0};
thread_local std::size_t failing = kNever;

} // namespace

namespace ScarceMemory {

std::size_t Allocations() {
    return allocations;
}

std::size_t AllAllocations() {
    return allAllocations;
}

void FailAfter(std::size_t count) {
    failing = allocations + count;
}

void Relax() {
    failing = kNever;
}

} // namespace ScarceMemory

void* operator new(std::size_t size) {
    allAllocations.fetch_add(1, std::memory_order_relaxed);
    if (allocations++ == failing) {
        throw std::bad_alloc();
    }
    if (void* const memory = std::malloc(size ? size : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}

// The sanitizers' own form would not come from malloc.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size ? size : 1);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
