// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace genicam_bench {

/// What this program and the libraries that it uses take from the heap: its own operator new counts and passes on.
struct Allocations {
    std::uint64_t count = 0; ///< since the start
    std::size_t bytes = 0;   ///< in use now, as the heap rounds them
};

Allocations CountAllocations() noexcept;

} // namespace genicam_bench
