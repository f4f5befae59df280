// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DatagramBatch.h"
#include "Faults.h"

#include <cstdint>
#include <optional>

namespace Serving {

struct CPlannedPacket {
    std::uint32_t packetId = 0;
    CPacketMarks marks;
    std::int64_t pauseNs = 0; ///< before it
    bool isFromOtherPort = false;
};

/// The packets of a block in the order in which they are sent, with the faults that strike them. At most one packet at
/// a time is held back to be sent later; it goes out behind the last one at the latest. A burst of losses goes on in
/// the next block.
/// Threads: one at a time.
class CPacketPlan {
public:
    explicit CPacketPlan(CServingFaults& faults) : m_faults(faults) {}

    void Begin(const CBlock& block);
    std::optional<CPlannedPacket> Next();              ///< nullopt behind the last one.
    std::uint32_t PassedIds() const { return m_next; } ///< Ids below were sent, held back or lost.

private:
    bool Strikes(EFault fault, std::uint32_t packetId) { return m_faults.Strikes(fault, m_block, packetId); }
    bool IsLost(std::uint32_t packetId);
    bool IsHeldBack(std::uint32_t packetId);
    CPlannedPacket Send(std::uint32_t packetId);

    CServingFaults& m_faults;
    std::uint64_t m_block = 0;
    std::uint32_t m_next = 0, m_last = 0;
    std::uint32_t m_lossesLeft = 0;
    std::optional<std::uint32_t> m_held;
    std::uint32_t m_heldFor = 0; // packets to be sent before it
    std::optional<CPlannedPacket> m_again;
};

} // namespace Serving
