// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Block.h"

#include <boost/circular_buffer.hpp>

#include <cstdint>

namespace Serving {

/// How long blocks are kept: the last durationNs and minBlocks, but no more than maxBytes and maxBlocks, and never
/// fewer than leastBlocks.
struct CHistoryLimits {
    std::int64_t durationNs = 500'000'000;
    std::size_t minBlocks = 8, leastBlocks = 2;
    std::size_t maxBytes = 64u << 20; ///< of memory
    std::size_t maxBlocks = 1024;

    /// How many blocks of that size it may hold at all.
    std::size_t BlocksOf(std::size_t payloadBytes) const;
};

/// The blocks that were sent and may be asked for again, the one that is being sent among them, as the newest.
/// Borrows: the blocks.
/// Threads: one at a time.
class CBlockHistory {
public:
    explicit CBlockHistory(const CHistoryLimits& limits = {}) : m_limits(limits), m_blocks(limits.maxBlocks + 1) {}

    std::uint64_t Add(CBlock& block);        ///< @return its serial number, for Find.
    CBlock* TakeExpired(std::int64_t nowNs); ///< The oldest if it need not be kept; null when there is none.
    CBlock* TakeOldest();                    ///< Null when empty.

    CBlock* Find(std::uint64_t serial) const; ///< Null when it is gone.
    std::uint64_t SerialOf(std::size_t index) const { return m_firstSerial + index; }
    /// By the id on the wire, the newest first. @return its serial number, and the block, or null.
    struct CFound {
        CBlock* block = nullptr;
        std::uint64_t serial = 0;
    };
    CFound FindById(std::uint64_t wireId, bool isExtended) const;
    bool HoldsOlderThan(std::uint64_t id) const; ///< of 64 bits

private:
    const CHistoryLimits m_limits;
    boost::circular_buffer<CBlock*> m_blocks;
    std::size_t m_bytes = 0;
    std::uint64_t m_firstSerial = 0; // of the oldest
};

} // namespace Serving
