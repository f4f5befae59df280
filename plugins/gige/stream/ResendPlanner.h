// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "OpenBlock.h"
#include "Reassembler.h"

#include <array>
#include <cstddef>
#include <span>

namespace Gige {

/// Decides which packets are asked for again, and when.
///
/// What is missing below a block's highest packet is fresh, then ripe (old enough, and enough came behind it), then
/// asked for: packet by packet in a table of fixed size, which is also the limit for a stream. What is missing behind
/// the highest packet, the tail, is asked for as one run once the block was silent.
class CResendPlanner {
public:
    CResendPlanner(const CStreamFormat& format, const CResendSettings& settings)
        : m_format(format), m_settings(settings) {}
    void Change(const CResendSettings& settings) { m_settings = settings; }

    /// @param blocks oldest first. Fills Commands() as far as there is room.
    void Plan(std::span<COpenBlock* const> blocks, std::int64_t nowNs);
    /// When there is something to plan next; behind the time of the last Plan.
    std::int64_t NextNs(std::span<COpenBlock* const> blocks) const;

    /// A packet that was not there came. @return whether it was asked for. @p formerEnd: of the block's map before it.
    bool OnPacket(COpenBlock& block, std::uint32_t packetId, std::uint32_t formerEnd, std::int64_t nowNs);
    void OnNotYet(COpenBlock& block, std::uint32_t packetId, std::int64_t nowNs);
    void OnDroppedByHost(std::int64_t nowNs); ///< Asking at full rate would make it worse.
    void Forget(COpenBlock& block);           ///< Nothing is asked for any more.

    std::span<const CResendCommand> Commands() const { return {m_commands.data(), m_commandCount}; }
    std::uint64_t CommandedPackets() const { return m_commandedPackets; }
    void ClearCommands() { m_commandCount = 0, m_commandedPackets = 0; }

private:
    static constexpr std::size_t kMaxAsked = 64; // packets

    struct CAsked {
        COpenBlock* block = nullptr;
        std::uint32_t packetId = 0;
        std::uint32_t tries = 0;
        std::int64_t firstNs = 0, dueNs = 0;
    };

    static bool IsAskable(const COpenBlock& block) { return !block.HasEnded() && !block.resends.isGivenUp; }
    bool Counts(const COpenBlock& block, const CBlockResends::CFreshGap& gap) const;
    void Ripen(COpenBlock& block) const;
    bool IsExhausted(const COpenBlock& block) const;
    void AskAgain(COpenBlock& block);
    void AskForGaps(COpenBlock& block);
    void AskForTail(COpenBlock& block);
    std::int64_t TailDueNs(const COpenBlock& block) const;
    void Ask(CAsked& asked);
    void ReleaseTail(COpenBlock& block);
    void CommandChosen(COpenBlock& block);
    void Command(COpenBlock& block, std::uint32_t first, std::uint32_t last, bool isToEnd);
    std::uint32_t Budget(const COpenBlock& block) const;
    std::uint32_t Room() const;                             // packets that may be asked for now, of all blocks
    std::int64_t ResponseNs(std::uint32_t tries = 1) const; // until it is asked again
    void NoteAnswer(std::int64_t askedNs);
    void Remove(std::size_t index) { m_asked[index] = m_asked[--m_askedCount]; }

    const CStreamFormat m_format;
    CResendSettings m_settings;
    std::int64_t m_nowNs = 0, m_plannedNs = 0;
    std::int64_t m_answerNs = 1'250'000; // smoothed; a guess at first
    std::int64_t m_gentleUntilNs = std::numeric_limits<std::int64_t>::min();
    std::array<CAsked, kMaxAsked> m_asked;
    std::size_t m_askedCount = 0;
    std::uint32_t m_tailPackets = 0;               // asked for in tails, of all blocks
    std::array<std::uint32_t, kMaxAsked> m_chosen; // ids of one block, for the next commands
    std::size_t m_chosenCount = 0;
    std::array<CResendCommand, 2 * kMaxAsked> m_commands;
    std::size_t m_commandCount = 0;
    std::uint64_t m_commandedPackets = 0;
};

} // namespace Gige
