// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/AcquisitionClock.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

namespace Serving {

inline constexpr std::uint64_t kTicksPerSecond = 1'000'000'000;

/// The clock of a served camera: nanoseconds of CLOCK_MONOTONIC since it was reset; at first since that clock began.
/// Threads: any.
class CTicks {
public:
    std::uint64_t Now() const { return Of(CamEmu::MonotonicNs()); }
    /// 0 for what was before the clock was reset.
    std::uint64_t Of(std::int64_t monotonicNs) const {
        return static_cast<std::uint64_t>(std::max<std::int64_t>(monotonicNs - m_originNs, 0));
    }
    void Reset() { m_originNs = CamEmu::MonotonicNs(); }
    std::int64_t OriginNs() const { return m_originNs; }

private:
    std::atomic<std::int64_t> m_originNs = 0;
};

} // namespace Serving
