// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PacketMap.h"
#include "Reassembler.h"

#include <array>
#include <limits>
#include <optional>

namespace Gige {

inline constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max(); ///< of times

/// Whether pieces tile a range, in any order, in a few words: each position that a piece begins at is added, each that
/// one ends at is subtracted, both mixed. What is left over is the range's two ends when there is no hole and nothing
/// twice.
class CTiling {
public:
    void Add(std::uint64_t offset, std::uint64_t bytes) {
        m_sum += Mix(offset) - Mix(offset + bytes);
        m_end = std::max(m_end, offset + bytes);
    }
    std::uint64_t End() const { return m_end; }
    /// All from @p from to End(), each byte so often.
    bool Covers(std::uint64_t from, std::uint64_t copies = 1) const {
        return m_sum == copies * (Mix(from) - Mix(std::max(m_end, from)));
    }

private:
    static std::uint64_t Mix(std::uint64_t position) {
        position = (position ^ position >> 30) * 0xBF58476D1CE4E5B9;
        position = (position ^ position >> 27) * 0x94D049BB133111EB;
        return position ^ position >> 31;
    }

    std::uint64_t m_sum = 0, m_end = 0;
};

/// How offsets of multi-part payloads count: from the block's start, or from the part's. Found out by the first packet
/// that tells, and kept for the stream.
struct CMultiPartOffsets {
    std::optional<bool> countFromPart;
};

/// What is asked for again of one block; the planner's.
struct CBlockResends {
    static constexpr std::size_t kFreshGaps = 16;

    struct CFreshGap {
        std::uint32_t end = 0; ///< the packet that showed the gap
        std::int64_t seenNs = 0;
    };
    std::array<CFreshGap, kFreshGaps> fresh; ///< oldest first
    std::size_t freshCount = 0;
    std::uint32_t ripeEnd = 0;  ///< what is missing below may be asked for
    std::uint32_t askedEnd = 0; ///< what is missing below was asked for
    std::uint32_t requested = 0;
    std::uint32_t tries = 0; ///< of the packet asked for most often
    bool isGivenUp = false;
    std::optional<std::int64_t> leaderAskedNs; ///< the last time
    // The tail: what is behind the highest packet that came
    std::uint32_t tailBegin = 0, tailEnd = 0; ///< asked for
    std::uint32_t tailOpen = 0;               ///< packets of it that count as under way
    std::uint32_t tailTries = 0;              ///< since something of it came
    std::int64_t tailAskedNs = 0, tailDueNs = 0;

    void SeeGap(std::uint32_t end, std::int64_t nowNs);
};

/// A block that is being put together in its buffer.
class COpenBlock {
public:
    enum class ETaken : std::uint8_t { New, Doubled, Ignored, Faulty };

    explicit COpenBlock(std::uint32_t room) : m_map(room) {}
    void Open(std::uint64_t id, const GigEVision::PacketHeader& header, const CFreeBuffer& buffer, std::int64_t nowNs);

    /// @param content is what follows the header. Faulty: see Fault(); the block cannot become whole any more.
    ETaken TakeLeader(const GigEVision::Leader& leader, const CStreamFormat& format, std::uint32_t packetId);
    ETaken TakeTrailer(GigEVision::Bytes content, const CStreamFormat& format, std::uint32_t packetId);
    ETaken TakePayload(const GigEVision::StreamPacket& packet, const CStreamFormat& format, CMultiPartOffsets& offsets);
    ETaken TakeAllIn(const GigEVision::AllIn& packet, const CStreamFormat& format);
    void NoteStatus(GigEVision::Status status);

    /// Whether leader, trailer and all between have come and fit together; a fault when they do not.
    bool IsComplete();
    /// @p fault unless it has one of its own.
    void End(EBlockEnd end, EBlockFault fault, const CStreamFormat& format);
    bool HasEnded() const { return m_hasEnded; }
    const CFinishedBlock& Result() const { return m_result; }

    std::uint64_t Id() const { return m_result.blockId; }
    std::uint64_t IdOnWire() const { return m_idOnWire; }
    bool IsExtended() const { return m_isExtended; }
    EBlockFault Fault() const { return m_result.fault; }
    const CPacketMap& Map() const { return m_map; }
    bool HasTrailer() const { return m_trailerId != 0; }
    bool HasOnlyLeader() const { return m_map.End() == 1; }
    /// Id of the trailer, as leader, payload size or a short packet tell before it came; 0 when nothing tells.
    std::uint32_t ExpectedTrailer(const CStreamFormat& format) const;

    std::int64_t lastNewNs = 0;        ///< when the last new packet came
    std::int64_t laterSeenNs = kNever; ///< when a newer block was seen first
    std::uint64_t droppedByHost = 0;
    CBlockResends resends;

private:
    ETaken Fail(EBlockFault fault);
    ETaken FailTooSmall(std::uint64_t neededBytes);
    ETaken TakeById(GigEVision::Bytes data, std::uint32_t packetId, std::size_t dataBytes);
    ETaken TakeByOffset(const GigEVision::PayloadPacket& payload, GigEVision::PacketFormat format,
                        std::uint32_t packetId, CMultiPartOffsets& offsets);
    ETaken Place(std::uint64_t offset, GigEVision::Bytes data, std::uint32_t packetId, bool isOutdated = false);
    bool IsPlaced(std::uint64_t offset, GigEVision::Bytes data) const;
    bool FindPartOffset(const GigEVision::PayloadPacket& payload, std::uint32_t packetId, CMultiPartOffsets& offsets,
                        std::uint64_t& offset);
    std::optional<bool> TellByNumber(const GigEVision::PayloadPacket& payload, std::uint32_t packetId) const;
    bool NoteLast(std::uint32_t packetId, std::size_t bytes);
    void NoteParts(const GigEVision::Leader& leader, const CStreamFormat& format);
    bool IsWithoutHoles() const;
    bool IsAsLongAsTold() const;
    std::uint64_t ReceivedBytes() const;
    bool FitGeometry();
    void CountMissing(const CStreamFormat& format);

    std::uint64_t m_idOnWire = 0;
    bool m_isExtended = false;
    bool m_hasEnded = false;
    GigEVision::MutableBytes m_memory;
    CPacketMap m_map;
    CFinishedBlock m_result;

    std::uint64_t m_toldBytes = 0; // of the payload, by the leader; 0: it tells nothing
    bool m_isToldExactly = false;
    std::uint32_t m_toldPackets = 0;             // of multi-part, whose parts begin a packet each
    std::uint32_t m_trailerId = 0;               // 0: not there
    std::uint32_t m_sizeY = 0, m_chunkBytes = 0; // by the trailer
    std::uint8_t m_format = 0;                   // of its payload packets; 0: none came
    std::size_t m_dataBytes = 0;                 // of a full payload packet
    std::uint32_t m_lastId = 0;                  // payload packet that was not full, so no other may follow it
    std::size_t m_lastBytes = 0;
    std::uint32_t m_payloadEnd = 0; // one behind the highest payload packet
    // Payloads with offsets
    CTiling m_tiling, m_descriptorTiling;
    std::uint32_t m_firstData = 0, m_lastDescriptor = 0; // lowest and highest packet of them that came; 0: none
    bool m_hasOutdated = false; // of the descriptor before the data, which the one behind it has in its place
    std::uint32_t m_parts = 0;
    std::uint64_t m_trailerPartBytes = 0;        // of all parts, by the trailer
    std::array<std::uint64_t, 257> m_partStarts; // and the end of the last one
    bool m_hasAmbiguousPart = false;             // placed although both ways to count would do
};

} // namespace Gige
