// SPDX-License-Identifier: Apache-2.0
#include "ResendPlanner.h"

#include <algorithm>

namespace Serving {

using namespace GigEVision;

namespace {

PacketHeader ErrorHeader(std::uint64_t wireId, std::uint32_t packetId, bool isExtended, Status status) {
    PacketHeader header;
    header.status = status;
    header.isExtended = isExtended;
    header.format = static_cast<std::uint8_t>(PacketFormat::Generic);
    header.blockId = isExtended ? wireId : wireId & 0xFFFF;
    header.packetId = isExtended ? packetId : packetId & 0xFFFFFF;
    return header;
}

// The block id of 64 bits that a request means; 0 for one that was never used. Of 16 bits those behind the newest are
// taken for future ones.
std::uint64_t MeantId(const ResendRequest& request, std::uint64_t newest) {
    if (request.blockId == 0 || newest == 0) {
        return 0;
    }
    if (request.isExtended) {
        return request.blockId <= newest ? request.blockId : 0;
    }
    const auto newestWire = static_cast<std::uint16_t>(BlockId::OfNumber(newest, false));
    const std::uint32_t back = BlockId::Distance16(static_cast<std::uint16_t>(request.blockId), newestWire);
    return back < 32768 && back < newest ? newest - back : 0;
}

} // namespace

void CResendPlanner::Ask(const ResendRequest& request, const CResendRules& rules) {
    const CBlockHistory::CFound found = m_history.FindById(request.blockId, request.isExtended);
    if (found.block) {
        AskForKnown(request, rules, found);
    } else {
        AskForGone(request, rules);
    }
}

void CResendPlanner::AskForKnown(const ResendRequest& request, const CResendRules& rules,
                                 const CBlockHistory::CFound& found) {
    CBlock& block = *found.block;
    const bool isExtended = block.Settings().extendedIds;
    const std::uint64_t wireId = block.WireId(isExtended);
    const std::uint32_t last = request.IsToEnd() ? block.TrailerId() : std::min(request.last, block.TrailerId());
    if (request.first > last) {
        if (isExtended) {
            PacketHeader error = ErrorHeader(wireId, request.first, true, Status::PacketUnavailable);
            error.flags = PacketFlag::kResendRangeError;
            PutError(rules, error);
        }
        return;
    }
    for (std::uint32_t id = request.first; id <= last; ++id) {
        if (id >= block.passedIds) {
            if (rules.statusCodes11) {
                PutError(rules, ErrorHeader(wireId, id, isExtended, Status::PacketNotYetAvailable));
            }
            return;
        }
        if (block.IsQueued(id)) {
            continue;
        }
        if (m_packets.full()) {
            const Status full = rules.statusCodes20 ? Status::PacketTemporarilyUnavailable : Status::PacketUnavailable;
            PutError(rules, ErrorHeader(wireId, id, isExtended, full));
            return;
        }
        block.SetQueued(id);
        m_packets.push_back({rules.destination, found.serial, id, rules.statusCodes11, false, {}});
    }
}

// Blocks leave the history in the order of their ids; one that is missing between others was lost before it was sent.
void CResendPlanner::AskForGone(const ResendRequest& request, const CResendRules& rules) {
    const std::uint64_t id = MeantId(request, rules.newestKnown);
    if (id == 0) {
        return;
    }
    if (id > rules.newestSent) {
        if (rules.statusCodes11) {
            Refuse(request, rules, Status::PacketNotYetAvailable);
        }
        return;
    }
    const Status gone = m_history.HoldsOlderThan(id) ? Status::PacketRemoved : Status::PacketAndPreviousRemoved;
    Refuse(request, rules, rules.statusCodes11 ? gone : Status::PacketUnavailable);
}

void CResendPlanner::Refuse(const ResendRequest& request, const CResendRules& rules, Status status) {
    PutError(rules, ErrorHeader(request.blockId, request.first, rules.isExtended, status));
}

// More errors than there is room for are not told: who asks so often asks again.
void CResendPlanner::PutError(const CResendRules& rules, const PacketHeader& header) {
    if (!m_errors.full()) {
        m_errors.push_back({rules.destination, 0, header.packetId, false, true, header});
    }
}

const CResendAnswer* CResendPlanner::Front() const {
    if (!m_errors.empty()) {
        return &m_errors.front();
    }
    return m_packets.empty() ? nullptr : &m_packets.front();
}

void CResendPlanner::Pop() {
    (m_errors.empty() ? m_packets : m_errors).pop_front();
}

} // namespace Serving
