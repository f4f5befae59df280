// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <common/Mutex.h>

#include <cstdint>
#include <vector>

namespace Serving {

/// How much goes to each destination address in a second, shared by all cameras of the process. Bytes are those of an
/// Ethernet frame as captures show it: the datagram and kFrameBytes for the headers of UDP, IP and Ethernet; neither
/// checksum nor preamble.
/// Threads: any.
/// Locks:   m_lock, a leaf; nobody sleeps or sends while holding it.
class CRateBudgets {
public:
    static constexpr std::uint64_t kDefaultBytesPerSecond = 125'000'000; ///< 1 Gb/s
    static constexpr std::size_t kFrameBytes = 8 + 20 + 14;

    explicit CRateBudgets(std::uint64_t bytesPerSecond = kDefaultBytesPerSecond); ///< 0: no limit

    bool IsLimited() const { return m_bytesPerSecond != 0; }
    /// Takes the next time on the way to @p address for a burst of some bytes. @return when it may be sent,
    /// CLOCK_MONOTONIC; that lies before @p nowNs where a burst came late, so that the rate is kept on average.
    std::int64_t Reserve(std::uint32_t address, std::size_t bytes, std::int64_t nowNs);

private:
    struct CDestination {
        std::uint32_t address = 0;
        std::int64_t freeNs = 0; // when the last reservation ends
    };

    CDestination& Find(std::uint32_t address) PLUGIN_REQUIRES(m_lock);

    const std::uint64_t m_bytesPerSecond;
    PluginKit::CMutex m_lock;
    std::vector<CDestination> m_destinations PLUGIN_GUARDED_BY(m_lock);
};

} // namespace Serving
