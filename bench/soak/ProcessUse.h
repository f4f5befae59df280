// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace soak {

/// What the process uses at one moment.
struct ProcessUse {
    static constexpr std::array<const char*, 4> kNames{"resident kB", "descriptors", "threads", "mappings"};

    double frames = 0;              // taken so far
    std::array<double, 4> values{}; // in the order of the names

    static ProcessUse Now(std::uint64_t frames); ///< @throws std::runtime_error when the system does not tell.
};

/// The growth of value @p index in a million frames: the median slope over all pairs of @p samples. A sample taken
/// while a session ends or begins has a thread and some descriptors less; a few of them do not tilt it, a leak does.
double GrowthPerMillion(const std::vector<ProcessUse>& samples, std::size_t index);

} // namespace soak
