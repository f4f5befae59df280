// SPDX-License-Identifier: Apache-2.0
#include "BlockHistory.h"

#include <algorithm>

namespace Serving {

std::size_t CHistoryLimits::BlocksOf(std::size_t payloadBytes) const {
    return std::clamp(maxBytes / std::max<std::size_t>(payloadBytes, 1), leastBlocks, maxBlocks);
}

std::uint64_t CBlockHistory::Add(CBlock& block) {
    m_blocks.push_back(&block);
    m_bytes += block.MemoryBytes();
    return SerialOf(m_blocks.size() - 1);
}

CBlock* CBlockHistory::TakeExpired(std::int64_t nowNs) {
    const std::size_t blocks = m_blocks.size();
    if (blocks <= m_limits.leastBlocks) {
        return nullptr;
    }
    const bool isTooMuch = blocks > m_limits.maxBlocks || m_bytes > m_limits.maxBytes;
    const bool isOld = blocks > m_limits.minBlocks && nowNs - m_blocks.front()->lastSentNs > m_limits.durationNs;
    return isTooMuch || isOld ? TakeOldest() : nullptr;
}

CBlock* CBlockHistory::TakeOldest() {
    if (m_blocks.empty()) {
        return nullptr;
    }
    CBlock* const oldest = m_blocks.front();
    m_blocks.pop_front();
    m_bytes -= oldest->MemoryBytes();
    ++m_firstSerial;
    return oldest;
}

CBlock* CBlockHistory::Find(std::uint64_t serial) const {
    return serial >= m_firstSerial && serial - m_firstSerial < m_blocks.size() ? m_blocks[serial - m_firstSerial]
                                                                               : nullptr;
}

CBlockHistory::CFound CBlockHistory::FindById(std::uint64_t wireId, bool isExtended) const {
    for (std::size_t i = m_blocks.size(); i-- > 0;) {
        if (m_blocks[i]->WireId(isExtended) == wireId) {
            return {m_blocks[i], SerialOf(i)};
        }
    }
    return {};
}

bool CBlockHistory::HoldsOlderThan(std::uint64_t id) const {
    return std::any_of(m_blocks.begin(), m_blocks.end(), [id](const CBlock* block) { return block->Ids().sent < id; });
}

} // namespace Serving
