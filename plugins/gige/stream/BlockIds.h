// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gigevision/Gvsp.h>

#include <array>
#include <cstdint>
#include <optional>

namespace Gige {

/// Says of the ids of blocks that are not open which are new, and unwraps those of 16 bits.
///
/// A step forward of less than half of their range leads to a newer block; what was stepped over is lost. The ids of
/// delivered blocks lie behind, so a leader from behind is a late copy, or the first one of a device that counts anew:
/// it does when the id lies far behind, or its block had another time stamp. Then a new epoch begins: at once when the
/// time stamp goes on, or no leader came before; else with the second such leader in a row, and the first one's block
/// is lost.
class CBlockIds {
public:
    enum class EKind : std::uint8_t { Behind, Newer, Restarted };
    struct CVerdict {
        EKind kind = EKind::Behind;
        std::uint64_t id = 0;   ///< unwrapped
        std::uint64_t lost = 0; ///< blocks stepped over
    };

    /// @p timestamp is that of a leader; other packets have none. Newer and Restarted: this id is the newest from now
    /// on.
    CVerdict Judge(const GigEVision::PacketHeader& header, std::optional<std::uint64_t> timestamp);
    void NoteLeader(std::uint64_t id, std::uint64_t timestamp); ///< Of a block that is or was open.
    /// The device counts anew, from this block on: so says its leader, and what was open of the same id.
    CVerdict BeginAnew(const GigEVision::PacketHeader& header, std::uint64_t timestamp);
    /// Late packets of the former epoch come no more, so that all that fits begins blocks of this one.
    void ForgetFormer() { m_former.reset(); }
    bool IsNewer(std::uint64_t timestamp) const { return !m_lastTime.isKnown || timestamp > m_lastTime.timestamp; }

private:
    static constexpr std::size_t kRemembered = 64; // blocks; late copies come from no further behind

    struct CLeaderTime {
        std::uint64_t id = 0, timestamp = 0;
        bool isKnown = false;
    };

    std::int64_t StepTo(const GigEVision::PacketHeader& header) const;
    bool IsLateCopy(std::uint64_t behind, std::uint64_t timestamp) const;
    CVerdict JudgeBehind(const GigEVision::PacketHeader& header, std::uint64_t behind, std::uint64_t timestamp);
    bool IsOfFormerEpoch(const GigEVision::PacketHeader& header, std::optional<std::uint64_t> timestamp) const;
    CVerdict Advance(const GigEVision::PacketHeader& header, std::uint64_t step);
    CVerdict Restart(const GigEVision::PacketHeader& header);
    void SetNewest(const GigEVision::PacketHeader& header, std::uint64_t id);

    bool m_isStarted = false;
    bool m_countsZero = false; // the device has a block 0 behind 65535
    std::uint64_t m_newest = 0;
    std::uint64_t m_first = 0; // of this epoch
    std::uint16_t m_newestOnWire = 0;
    CLeaderTime m_lastTime;
    std::array<CLeaderTime, kRemembered> m_times;
    std::optional<std::uint64_t> m_suspect; // id of a leader from behind, whose time stamp fell
    std::optional<std::uint64_t> m_far;     // id of a block far ahead, of which one packet came
    std::optional<std::uint64_t> m_former;  // on the wire: the last one of the epoch before, until it is passed
};

} // namespace Gige
