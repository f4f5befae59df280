// SPDX-License-Identifier: Apache-2.0
#include "ResendPlanner.h"

#include <algorithm>

namespace Gige {

using GigEVision::ResendRequest;

namespace {

constexpr std::int64_t kLeastResponseNs = 2'000'000, kLeastPauseNs = 100'000;
constexpr std::int64_t kAnswersPerResponse = 4, kSmoothing = 8;
constexpr std::int64_t kGentleNs = 100'000'000; // since this host dropped datagrams
constexpr std::uint32_t kGentlePackets = 8;     // asked for at a time meanwhile
constexpr std::uint32_t kLeastBudget = 64;      // packets of a block; of larger ones half of all

} // namespace

void CResendPlanner::Plan(std::span<COpenBlock* const> blocks, std::int64_t nowNs) {
    m_nowNs = m_plannedNs = nowNs;
    if (!m_settings.isEnabled) {
        return;
    }
    for (COpenBlock* const block : blocks) {
        if (m_commandCount + kMaxAsked + 1 > m_commands.size()) {
            return; // nobody takes them
        }
        if (!IsAskable(*block)) {
            continue;
        }
        Ripen(*block);
        m_chosenCount = 0;
        AskAgain(*block);
        AskForGaps(*block);
        CommandChosen(*block);
        AskForTail(*block);
    }
}

std::int64_t CResendPlanner::NextNs(std::span<COpenBlock* const> blocks) const {
    std::int64_t next = kNever;
    if (!m_settings.isEnabled) {
        return next;
    }
    for (std::size_t i = 0; i < m_askedCount; ++i) {
        next = std::min(next, m_asked[i].dueNs);
    }
    for (const COpenBlock* const block : blocks) {
        if (!IsAskable(*block)) {
            continue;
        }
        const CBlockResends& resends = block->resends;
        if (resends.freshCount > 0 && Counts(*block, resends.fresh[0])) {
            next = std::min(next, resends.fresh[0].seenNs + m_settings.timeoutNs);
        }
        if (Room() > 0 || resends.tailOpen > 0) {
            next = std::min(next, TailDueNs(*block));
        }
    }
    return std::max(next, m_plannedNs + kLeastPauseNs); // what there was no room for may be due already
}

bool CResendPlanner::OnPacket(COpenBlock& block, std::uint32_t packetId, std::uint32_t formerEnd, std::int64_t nowNs) {
    CBlockResends& resends = block.resends;
    if (packetId > formerEnd) {
        resends.SeeGap(packetId, nowNs);
    }
    m_nowNs = nowNs;
    bool wasAsked = packetId >= resends.tailBegin && packetId < resends.tailEnd;
    if (wasAsked && resends.tailOpen > 0) {
        NoteAnswer(resends.tailAskedNs);
        --resends.tailOpen;
        --m_tailPackets;
        resends.tailTries = 0;
        resends.tailDueNs = nowNs + ResponseNs();
    }
    if (packetId + 1 >= resends.tailEnd && resends.tailOpen > 0) {
        ReleaseTail(block);
        resends.tailDueNs = 0;
    }
    if (packetId < resends.askedEnd) {
        for (std::size_t i = 0; i < m_askedCount; ++i) {
            if (m_asked[i].block == &block && m_asked[i].packetId == packetId) {
                NoteAnswer(m_asked[i].firstNs);
                Remove(i);
                return true;
            }
        }
    }
    return wasAsked;
}

void CResendPlanner::OnNotYet(COpenBlock& block, std::uint32_t packetId, std::int64_t nowNs) {
    CBlockResends& resends = block.resends;
    if (packetId >= resends.tailBegin && packetId < resends.tailEnd) {
        resends.tailDueNs = nowNs + ResponseNs();
    }
    for (std::size_t i = 0; i < m_askedCount; ++i) {
        if (m_asked[i].block == &block && m_asked[i].packetId == packetId) {
            m_asked[i].dueNs = nowNs + ResponseNs();
        }
    }
}

void CResendPlanner::OnDroppedByHost(std::int64_t nowNs) {
    m_gentleUntilNs = nowNs + kGentleNs;
}

void CResendPlanner::Forget(COpenBlock& block) {
    for (std::size_t i = m_askedCount; i-- > 0;) {
        if (m_asked[i].block == &block) {
            Remove(i);
        }
    }
    ReleaseTail(block);
}

// Enough packets must have come behind a gap, as they may overtake each other; behind the trailer none can.
bool CResendPlanner::Counts(const COpenBlock& block, const CBlockResends::CFreshGap& gap) const {
    return block.HasTrailer() || block.laterSeenNs != kNever || block.Map().End() - gap.end >= m_settings.threshold;
}

void CResendPlanner::Ripen(COpenBlock& block) const {
    CBlockResends& resends = block.resends;
    std::size_t ripe = 0;
    const auto isNear = [&] { // to one that is ripe now, so one command will do
        return m_settings.batching > 0 && ripe > 0 &&
               block.Map().NextMissing(resends.ripeEnd, resends.fresh[ripe].end) - resends.ripeEnd <=
                   m_settings.batching;
    };
    while (ripe < resends.freshCount && Counts(block, resends.fresh[ripe]) &&
           (m_nowNs - resends.fresh[ripe].seenNs >= m_settings.timeoutNs || isNear())) {
        resends.ripeEnd = resends.fresh[ripe++].end;
    }
    std::copy(resends.fresh.begin() + ripe, resends.fresh.begin() + resends.freshCount, resends.fresh.begin());
    resends.freshCount -= ripe;
}

// One packet that will not be asked for again is enough to lose the block: the rest is left to chance.
bool CResendPlanner::IsExhausted(const COpenBlock& block) const {
    for (std::size_t i = 0; i < m_askedCount; ++i) {
        const CAsked& asked = m_asked[i];
        if (asked.block == &block && asked.dueNs <= m_nowNs &&
            (asked.tries >= m_settings.maxRequests || Budget(block) == 0)) {
            return true;
        }
    }
    return false;
}

void CResendPlanner::AskAgain(COpenBlock& block) {
    if (IsExhausted(block)) {
        block.resends.isGivenUp = true;
        Forget(block);
        return;
    }
    for (std::size_t i = 0; i < m_askedCount && m_chosenCount < Budget(block); ++i) {
        if (m_asked[i].block == &block && m_asked[i].dueNs <= m_nowNs) {
            Ask(m_asked[i]);
        }
    }
}

void CResendPlanner::AskForGaps(COpenBlock& block) {
    CBlockResends& resends = block.resends;
    while (!resends.isGivenUp && m_settings.maxRequests > 0) {
        const std::uint32_t id = block.Map().NextMissing(resends.askedEnd, resends.ripeEnd);
        if (id >= resends.ripeEnd || Room() == 0 || m_chosenCount >= Budget(block)) {
            return;
        }
        CAsked& asked = m_asked[m_askedCount++];
        asked = {.block = &block, .packetId = id, .firstNs = m_nowNs};
        Ask(asked);
        resends.askedEnd = id + 1;
    }
}

void CResendPlanner::Ask(CAsked& asked) {
    asked.block->resends.tries = std::max(asked.block->resends.tries, ++asked.tries);
    asked.dueNs = m_nowNs + ResponseNs(asked.tries);
    m_chosen[m_chosenCount++] = asked.packetId;
}

void CResendPlanner::CommandChosen(COpenBlock& block) {
    std::sort(m_chosen.begin(), m_chosen.begin() + m_chosenCount);
    for (std::size_t i = 0; i < m_chosenCount;) {
        const std::uint32_t first = m_chosen[i];
        std::uint32_t last = first;
        while (++i < m_chosenCount && m_chosen[i] - last - 1 <= m_settings.batching) {
            last = m_chosen[i];
        }
        Command(block, first, last, /*isToEnd*/ false);
    }
}

std::int64_t CResendPlanner::TailDueNs(const COpenBlock& block) const {
    const CBlockResends& resends = block.resends;
    const bool isNewest = block.laterSeenNs == kNever;
    if (block.HasTrailer() || resends.tailTries >= m_settings.maxRequests || Budget(block) == 0 ||
        (isNewest && block.HasOnlyLeader())) { // some devices send the next leader long before what follows it
        return kNever;
    }
    const std::int64_t silentNs = isNewest ? block.lastNewNs + m_settings.packetTimeoutNs
                                           : std::max(block.lastNewNs, block.laterSeenNs) + m_settings.timeoutNs;
    return std::max(silentNs, resends.tailDueNs);
}

void CResendPlanner::AskForTail(COpenBlock& block) {
    if (!IsAskable(block) || TailDueNs(block) > m_nowNs) {
        return;
    }
    ReleaseTail(block);
    CBlockResends& resends = block.resends;
    const std::uint32_t begin = block.Map().End();
    const std::uint32_t trailer = std::max(block.ExpectedTrailer(m_format), begin);
    const std::uint32_t packets = std::min({trailer - begin + 1, Room(), Budget(block)});
    if (packets == 0) {
        return;
    }
    resends.tailBegin = begin;
    resends.tailEnd = begin + packets;
    resends.tailOpen = packets;
    m_tailPackets += packets;
    resends.tailAskedNs = m_nowNs;
    resends.tries = std::max(resends.tries, ++resends.tailTries);
    resends.tailDueNs = m_nowNs + ResponseNs(resends.tailTries);
    Command(block, begin, begin + packets - 1, begin + packets > trailer);
}

void CResendPlanner::ReleaseTail(COpenBlock& block) {
    m_tailPackets -= block.resends.tailOpen;
    block.resends.tailOpen = 0;
}

// Some devices answer with a wrong trailer unless it is asked for by "to the end".
void CResendPlanner::Command(COpenBlock& block, std::uint32_t first, std::uint32_t last, bool isToEnd) {
    ResendRequest& request = m_commands[m_commandCount++].request;
    request = {.isExtended = block.IsExtended(),
               .channel = m_format.channel,
               .blockId = block.IdOnWire(),
               .first = first,
               .last = last};
    if (isToEnd) {
        request.last = request.isExtended ? ResendRequest::kToEndExtended : ResendRequest::kToEnd;
    }
    block.resends.requested += last - first + 1;
    if (first == 0) {
        block.resends.leaderAskedNs = m_nowNs;
    }
    m_commandedPackets += last - first + 1;
}

std::uint32_t CResendPlanner::Budget(const COpenBlock& block) const {
    const std::uint32_t packets = std::max(block.ExpectedTrailer(m_format), block.Map().End());
    const std::uint32_t budget = std::max(kLeastBudget, packets / 2);
    return budget - std::min(budget, block.resends.requested);
}

std::uint32_t CResendPlanner::Room() const {
    const std::size_t most = m_nowNs < m_gentleUntilNs ? kGentlePackets : kMaxAsked;
    return static_cast<std::uint32_t>(most - std::min(most, m_askedCount + m_tailPackets));
}

// Longer with each try: who was not there for a moment, a host or a camera, is not to miss all of them.
std::int64_t CResendPlanner::ResponseNs(std::uint32_t tries) const {
    const std::int64_t first = std::max(kAnswersPerResponse * m_answerNs, kLeastResponseNs);
    return std::min(first << std::min(tries - 1, 8u), m_settings.responseTimeoutNs);
}

void CResendPlanner::NoteAnswer(std::int64_t askedNs) {
    m_answerNs += (m_nowNs - askedNs - m_answerNs) / kSmoothing;
}

} // namespace Gige
