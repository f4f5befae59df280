// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SentBlock.h"

#include "stream/Reassembler.h"

#include <map>

/// What a receiver must make of a stream, said as plainly as it can be. It is told of each packet which block it is of,
/// counted from the device's start, so it knows nothing of ids; and it does not place a byte.
class CReference {
public:
    struct CBlock {
        const CSentBlock* sent = nullptr;
        std::vector<bool> got;
        std::int64_t lastNewNs = 0, laterSeenNs = -1;
        Gige::EBlockEnd end = Gige::EBlockEnd::Canceled;
        Gige::EBlockFault fault = Gige::EBlockFault::None;
        bool hasEnded = false;

        std::size_t Count() const { return static_cast<std::size_t>(std::count(got.begin(), got.end(), true)); }
        std::size_t End() const {
            return got.size() - static_cast<std::size_t>(std::find(got.rbegin(), got.rend(), true) - got.rbegin());
        }
        /// Whether it can be known how many packets there are.
        bool IsLengthKnown() const {
            const bool isLastShort =
                got.size() > 2 && sent->IsPlacedById() && !sent->IsFull(sent->trailerId - 1) && got[got.size() - 2];
            return got.back() || isLastShort || (got[0] && sent->IsLengthTold());
        }
        bool IsTailLost() const {
            return got.back() || laterSeenNs >= 0 || fault == Gige::EBlockFault::PacketsMissing ||
                   fault == Gige::EBlockFault::LeaderMissing || fault == Gige::EBlockFault::WindowFull;
        }
        std::size_t Missing() const { return (IsTailLost() ? got.size() : End()) - Count(); }
    };

    /// More than one buffer.
    CReference(const Gige::CResendSettings& settings, std::uint64_t buffers)
        : m_settings(settings), m_window(std::min<std::uint64_t>(settings.window, buffers)) {}

    /// The first packet that begins a new epoch is of block @p number.
    void BeginEpochAt(std::uint64_t from, std::uint64_t number) { m_epochFrom = from, m_epochAt = number; }

    void OnPacket(std::uint64_t number, const CSentBlock& sent, std::uint32_t packetId, std::int64_t nowNs) {
        if (CBlock* const block = Open(number, sent, nowNs)) {
            if (block->got[packetId]) {
                ++counts.doubledPackets;
            } else if (block->hasEnded) {
                ++counts.ignoredPackets;
            } else {
                ++counts.packets;
                block->got[packetId] = true;
                block->lastNewNs = nowNs;
                if (block->Count() == block->got.size()) {
                    End(*block, Gige::EBlockEnd::Complete, Gige::EBlockFault::None);
                }
            }
        } else {
            ++counts.ignoredPackets;
        }
    }
    void OnGone(std::uint64_t number, std::uint32_t packetId, bool areOnesBeforeGone) {
        const auto found = open.find(number);
        if (found == open.end() || found->second.hasEnded) {
            return;
        }
        CBlock& block = found->second;
        bool isLost = false;
        for (std::uint32_t id = areOnesBeforeGone ? 0 : packetId; id <= packetId; ++id) {
            isLost = isLost || !block.got[id];
        }
        const bool mayStillCome = block.laterSeenNs < 0 && packetId >= block.End();
        const bool mayBeNone = packetId > block.End() && !areOnesBeforeGone;
        if (isLost && !mayStillCome && !mayBeNone) {
            End(block, Gige::EBlockEnd::Failed, Gige::EBlockFault::PacketsGone);
        }
    }
    void OnTick(std::int64_t nowNs) {
        for (auto& [number, block] : open) {
            const bool isNewest = block.laterSeenNs < 0;
            const bool hasOnlyLeader = block.got[0] && block.Count() == 1;
            const bool isHeldInVain = freeBuffers == 0 && !m_settings.isEnabled;
            const std::int64_t deadline = isNewest
                                              ? block.lastNewNs + m_settings.newestRetentionNs
                                              : std::max(block.lastNewNs, block.laterSeenNs) +
                                                    (isHeldInVain ? m_settings.timeoutNs : m_settings.frameRetentionNs);
            if (!block.hasEnded && nowNs >= deadline && !(isNewest && hasOnlyLeader)) {
                Fail(block);
            }
        }
    }
    /// The oldest block, if it has ended.
    const std::pair<const std::uint64_t, CBlock>* Finished() const {
        return !open.empty() && open.begin()->second.hasEnded ? &*open.begin() : nullptr;
    }
    void DropFinished() {
        const CBlock& block = open.begin()->second;
        ++(block.end == Gige::EBlockEnd::Complete ? counts.complete : counts.failed);
        if (block.end == Gige::EBlockEnd::Failed) {
            counts.missingPackets += block.Missing();
        }
        open.erase(open.begin());
    }

    std::map<std::uint64_t, CBlock> open;
    Gige::CStreamCounts counts;
    std::size_t freeBuffers = 0;

private:
    CBlock* Open(std::uint64_t number, const CSentBlock& sent, std::int64_t nowNs) {
        const auto found = open.find(number);
        if (found != open.end()) {
            return &found->second;
        }
        if (number <= m_newest || (number >= m_epochFrom && number < m_epochAt)) {
            return nullptr;
        }
        if (number == m_epochAt) {
            for (auto& [other, block] : open) {
                if (!block.hasEnded) {
                    Fail(block);
                }
            }
            ++counts.resynchronizations;
            counts.lostBlocks += number - m_epochFrom;
        } else {
            counts.lostBlocks += m_newest == 0 ? 0 : number - m_newest - 1;
        }
        m_newest = number;
        for (auto& [other, block] : open) {
            block.laterSeenNs = block.laterSeenNs < 0 && !block.hasEnded ? nowNs : block.laterSeenNs;
        }
        if (Waiting() >= m_window) {
            FailOldest();
        }
        if (freeBuffers == 0) {
            ++counts.underruns;
            return nullptr;
        }
        --freeBuffers;
        CBlock& block = open[number];
        block.sent = &sent;
        block.got.resize(sent.trailerId + 1);
        block.lastNewNs = nowNs;
        return &block;
    }
    // Those behind one that has not ended; the ones before it are handed out.
    std::size_t Waiting() const {
        auto first = open.begin();
        while (first != open.end() && first->second.hasEnded) {
            ++first;
        }
        return static_cast<std::size_t>(std::distance(first, open.end()));
    }
    void FailOldest() {
        for (auto& [number, block] : open) {
            if (!block.hasEnded) {
                return End(block, Gige::EBlockEnd::Failed, Gige::EBlockFault::WindowFull);
            }
        }
    }
    void Fail(CBlock& block) {
        End(block, Gige::EBlockEnd::Failed,
            block.got[0] ? Gige::EBlockFault::PacketsMissing : Gige::EBlockFault::LeaderMissing);
    }
    static void End(CBlock& block, Gige::EBlockEnd end, Gige::EBlockFault fault) {
        block.hasEnded = true;
        block.end = end;
        block.fault = fault;
    }

    const Gige::CResendSettings m_settings;
    const std::size_t m_window;
    std::uint64_t m_newest = 0;
    std::uint64_t m_epochFrom = ~std::uint64_t{0}, m_epochAt = ~std::uint64_t{0};
};
