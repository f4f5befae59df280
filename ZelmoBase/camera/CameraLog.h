// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Log.h>

#include <atomic>

namespace Zelmo {

/// The log category of all that works for a camera object. There is none before logging is enabled, so that it is asked
/// for again: a camera object may be made before the library is started.
inline unsigned long CameraLogCategory() noexcept {
    constexpr unsigned long none = ~0UL;
    static std::atomic<unsigned long> known{none};
    unsigned long id = known.load(std::memory_order_relaxed);
    if (id == none) {
        id = hxlog::LogGetCatID("zelmo.base.InstantCamera");
        known.store(id, std::memory_order_relaxed);
    }
    return id;
}

} // namespace Zelmo
