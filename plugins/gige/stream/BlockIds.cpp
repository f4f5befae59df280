// SPDX-License-Identifier: Apache-2.0
#include "BlockIds.h"

#include <utility>

namespace Gige {

using GigEVision::PacketHeader;

namespace {

constexpr std::int64_t kFarSteps = 256; // one bad datagram must not close all open blocks
constexpr std::uint64_t kFirstIds = 4;  // where a device that counts anew is met first
constexpr std::uint32_t kHalfRange = 32768;

} // namespace

CBlockIds::CVerdict CBlockIds::Judge(const PacketHeader& header, std::optional<std::uint64_t> timestamp) {
    if (header.blockId == 0 && !header.isExtended) {
        if (!m_isStarted || !(timestamp || m_countsZero)) {
            return {}; // a test packet
        }
        m_countsZero = true;
    }
    CVerdict verdict;
    if (!m_isStarted) {
        if (header.blockId == 0) {
            return {};
        }
        m_isStarted = true;
        m_first = header.blockId;
        SetNewest(header, header.blockId);
        verdict = {EKind::Newer, header.blockId, 0};
    } else if (const std::int64_t step = StepTo(header); step > 0) {
        const bool isTrusted = timestamp || step <= kFarSteps || std::exchange(m_far, header.blockId) == header.blockId;
        if (!isTrusted || IsOfFormerEpoch(header, timestamp)) {
            return {};
        }
        const bool isFromStart = step > kFarSteps && !header.isExtended && header.blockId <= kFirstIds;
        verdict = isFromStart ? Restart(header) : Advance(header, static_cast<std::uint64_t>(step));
    } else if (timestamp) {
        verdict = JudgeBehind(header, std::uint64_t{0} - static_cast<std::uint64_t>(step), *timestamp);
    }
    if (timestamp && verdict.kind != EKind::Behind) {
        NoteLeader(verdict.id, *timestamp);
    }
    return verdict;
}

void CBlockIds::NoteLeader(std::uint64_t id, std::uint64_t timestamp) {
    const CLeaderTime time{id, timestamp, true};
    m_times[id % kRemembered] = time;
    if (!m_lastTime.isKnown || id >= m_lastTime.id) {
        m_lastTime = time;
        m_suspect.reset();
    }
}

std::int64_t CBlockIds::StepTo(const PacketHeader& header) const {
    if (header.isExtended) {
        return static_cast<std::int64_t>(header.blockId - m_newest);
    }
    const std::uint32_t step =
        GigEVision::BlockId::Distance16(m_newestOnWire, static_cast<std::uint16_t>(header.blockId), m_countsZero);
    return step < kHalfRange ? std::int64_t{step} : std::int64_t{step} - (m_countsZero ? 0x10000 : 0xFFFF);
}

bool CBlockIds::IsLateCopy(std::uint64_t behind, std::uint64_t timestamp) const {
    if (behind > kRemembered) {
        return false;
    }
    const std::uint64_t id = m_newest - behind;
    if (static_cast<std::int64_t>(id - m_first) < 0) { // nothing of it was seen
        return !m_lastTime.isKnown || timestamp <= m_lastTime.timestamp;
    }
    const CLeaderTime& time = m_times[id % kRemembered];
    return !time.isKnown || time.id != id || time.timestamp == timestamp;
}

CBlockIds::CVerdict CBlockIds::JudgeBehind(const PacketHeader& header, std::uint64_t behind, std::uint64_t timestamp) {
    const bool isFirstOfAll = !m_lastTime.isKnown && !m_former; // packets of before may have come, no leader
    const bool isFromStart = isFirstOfAll && header.blockId <= kFirstIds;
    if (!isFromStart && IsLateCopy(behind, timestamp)) {
        return {};
    }
    const std::optional<std::uint64_t> suspect = std::exchange(m_suspect, header.blockId);
    const bool isSecond = suspect && header.blockId > *suspect && header.blockId - *suspect <= kRemembered;
    if (!isSecond && !isFirstOfAll && !(m_lastTime.isKnown && timestamp > m_lastTime.timestamp)) {
        return {};
    }
    CVerdict verdict = Restart(header);
    verdict.lost = isSecond ? header.blockId - *suspect : 0;
    return verdict;
}

// Late packets of it must not begin blocks of this one, for which they look as if they came early.
bool CBlockIds::IsOfFormerEpoch(const PacketHeader& header, std::optional<std::uint64_t> timestamp) const {
    const bool isNear = m_former && header.blockId <= *m_former && *m_former - header.blockId < kRemembered;
    return isNear && (!timestamp || (m_lastTime.isKnown && *timestamp < m_lastTime.timestamp));
}

CBlockIds::CVerdict CBlockIds::Advance(const PacketHeader& header, std::uint64_t step) {
    SetNewest(header, m_newest + step);
    return {EKind::Newer, m_newest, step - 1};
}

CBlockIds::CVerdict CBlockIds::BeginAnew(const PacketHeader& header, std::uint64_t timestamp) {
    const CVerdict verdict = Restart(header);
    NoteLeader(verdict.id, timestamp);
    return verdict;
}

CBlockIds::CVerdict CBlockIds::Restart(const PacketHeader& header) {
    const std::uint64_t former = header.isExtended ? m_newest : m_newestOnWire;
    m_lastTime = {};
    m_times = {};
    m_first = header.blockId;
    SetNewest(header, header.blockId);
    m_former = former;
    return {EKind::Restarted, m_newest, 0};
}

void CBlockIds::SetNewest(const PacketHeader& header, std::uint64_t id) {
    m_newest = id;
    m_newestOnWire = static_cast<std::uint16_t>(
        header.isExtended ? GigEVision::BlockId::OfNumber(id, /*isExtended*/ false) : header.blockId);
    m_far.reset();
    m_suspect.reset();
    if (m_former && header.blockId > *m_former) {
        m_former.reset();
    }
}

} // namespace Gige
