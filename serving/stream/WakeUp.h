// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Descriptor.h"

#include <cstdint>

namespace Serving {

/// Wakes one thread that waits for a time, for room in a socket, or for nothing else. A wake-up that comes while nobody
/// waits ends the next wait at once.
/// Threads: Notify any, Wait one.
class CWakeUp {
public:
    static constexpr std::int64_t kForever = INT64_MAX;

    CWakeUp(); ///< @throws std::system_error.

    void Notify() noexcept;
    /// Returns when notified, at @p untilNs of CLOCK_MONOTONIC, or when @p socket, unless it is -1, takes datagrams; at
    /// times without any of these.
    void Wait(std::int64_t untilNs, int socket = -1) noexcept;

private:
    CDescriptor m_event;
};

} // namespace Serving
