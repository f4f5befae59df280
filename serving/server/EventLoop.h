// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <serving/Descriptor.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>

namespace Serving {

/// Waits for descriptors on behalf of the one control thread. Each that is readable has its turn once a round, so that
/// one under a flood keeps none waiting, as long as its handler reads a bounded amount.
/// Threads: one; WakeUp any.
class CEventLoop {
public:
    CEventLoop(); ///< @throws CServeError.

    /// @return false when nothing can wait for this kind of descriptor, such as a file. @throws CServeError.
    bool Watch(int descriptor, std::function<void()> onReadable);
    void Forget(int descriptor) noexcept; ///< Before it is closed; also from its own handler.

    /// Waits until CLOCK_MONOTONIC says @p untilNs at the latest, and lets those that are readable have their turn.
    void Round(std::int64_t untilNs);
    void WakeUp() noexcept; ///< Ends the wait of this round or the next.

private:
    CDescriptor m_epoll, m_wake;
    std::unordered_map<int, std::shared_ptr<std::function<void()>>> m_handlers;
};

} // namespace Serving
