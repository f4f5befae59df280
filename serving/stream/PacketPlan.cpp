// SPDX-License-Identifier: Apache-2.0
#include "PacketPlan.h"

#include <utility>

namespace Serving {

void CPacketPlan::Begin(const CBlock& block) {
    m_block = block.Ids().number;
    m_next = 0;
    m_last = block.TrailerId();
}

std::optional<CPlannedPacket> CPacketPlan::Next() {
    if (m_again) {
        return std::exchange(m_again, std::nullopt);
    }
    if (m_held && m_heldFor == 0) {
        return Send(*std::exchange(m_held, std::nullopt));
    }
    while (m_next <= m_last) {
        const std::uint32_t packetId = m_next++;
        if (IsLost(packetId) || IsHeldBack(packetId)) {
            continue;
        }
        m_heldFor -= m_held ? 1 : 0;
        return Send(packetId);
    }
    if (m_held) {
        return Send(*std::exchange(m_held, std::nullopt));
    }
    return std::nullopt;
}

bool CPacketPlan::IsLost(std::uint32_t packetId) {
    if (m_lossesLeft > 0 && m_faults.Count(EFault::PacketLoss) > 0) { // else faults were reset meanwhile
        --m_lossesLeft;
        return true;
    }
    if (Strikes(EFault::PacketLoss, packetId)) {
        m_lossesLeft = m_faults.Parameter(EFault::PacketLoss) - 1;
        return true;
    }
    return packetId == 0 ? Strikes(EFault::LeaderLoss, packetId)
                         : packetId == m_last && Strikes(EFault::TrailerLoss, packetId);
}

// There is nothing behind the trailer that could be sent before it.
bool CPacketPlan::IsHeldBack(std::uint32_t packetId) {
    if (m_held || packetId == m_last || !Strikes(EFault::Reorder, packetId)) {
        return false;
    }
    m_held = packetId;
    m_heldFor = m_faults.Parameter(EFault::Reorder);
    return true;
}

CPlannedPacket CPacketPlan::Send(std::uint32_t packetId) {
    CPlannedPacket packet;
    packet.packetId = packetId;
    if (Strikes(EFault::Truncate, packetId)) {
        packet.marks.cutBytes = m_faults.Parameter(EFault::Truncate);
    }
    if (Strikes(EFault::WrongPacketId, packetId)) {
        packet.marks.packetIdAdded = m_faults.Parameter(EFault::WrongPacketId);
    }
    if (Strikes(EFault::WrongBlockId, packetId)) {
        packet.marks.blockIdAdded = m_faults.Parameter(EFault::WrongBlockId);
    }
    if (Strikes(EFault::PacketStatus, packetId)) {
        packet.marks.status = static_cast<GigEVision::Status>(m_faults.Parameter(EFault::PacketStatus));
    }
    packet.isFromOtherPort = Strikes(EFault::SourcePort, packetId);
    if (Strikes(EFault::Duplicate, packetId)) {
        m_again = packet;
    }
    if (Strikes(EFault::Delay, packetId)) {
        packet.pauseNs = std::int64_t{m_faults.Parameter(EFault::Delay)} * 1000;
    }
    return packet;
}

} // namespace Serving
