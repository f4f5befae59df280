// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Stream.h"

#include <core/FrameStream.h>
#include <gigevision/Gvsp.h>

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Serving {

/// The smallest packet size of a stream channel; less is taken for that.
inline constexpr std::uint32_t kMinPacketSize = 576;

/// The ids of a block.
struct CBlockIds {
    std::uint64_t number = 0;       ///< from 1; faults are placed by it
    std::uint64_t sent = 0;         ///< as on the wire, but of 64 bits; 0 where a fault wants it so
    bool isPreviousDropped = false; ///< the number before was not sent
    std::uint32_t layoutId = 0;     ///< of the chunks: the same as long as their places are
    std::uint32_t droppedLines = 0; ///< of an image without chunks
};

/// A frame on its way over the network: memory that it is drawn into, and how it is cut into packets. Nothing of it is
/// allocated after it was made.
/// Threads: one at a time: the camera's while it is drawn, then the channel's, then the sender's until it is released.
class CBlock {
public:
    explicit CBlock(std::size_t payloadBytes); ///< @throws std::bad_alloc.

    std::span<std::uint8_t> Memory() { return {m_memory.get(), m_memoryBytes}; }
    std::size_t MemoryBytes() const { return m_memoryBytes; }

    /// Makes a block of a frame that was drawn into the memory, or failed: then it has no data, and says so.
    void Prepare(const CamEmu::CFrame& frame, const CBlockIds& ids, const CStreamSettings& settings);

    const CBlockIds& Ids() const { return m_ids; }
    std::uint64_t WireId(bool isExtended) const {
        return m_ids.sent == 0 ? 0 : GigEVision::BlockId::OfNumber(m_ids.sent, isExtended);
    }
    const CStreamSettings& Settings() const { return m_settings; }
    std::uint32_t TrailerId() const { return m_trailerId; }
    std::size_t PayloadBytes() const { return m_payloadBytes; }

    /// Leader or trailer behind the packet header; empty for payload packets.
    GigEVision::Bytes Content(std::uint32_t packetId) const;
    /// Payload of a packet; empty for leader and trailer.
    GigEVision::Bytes Slice(std::uint32_t packetId) const;
    GigEVision::PacketHeader Header(std::uint32_t packetId) const;

    /// Whether a packet waits to be sent again, and how often it was.
    bool IsQueued(std::uint32_t packetId) const { return (m_resends[packetId] & kQueued) != 0; }
    void SetQueued(std::uint32_t packetId) { m_resends[packetId] |= kQueued; }
    std::uint8_t TakeQueued(std::uint32_t packetId); ///< @return the number of this repetition, from 1; ends at 127.

    /// Where it is; the channel's.
    enum class EPlace : std::uint8_t { Free, Camera, Sender, History };
    EPlace place = EPlace::Free;
    std::uint32_t passedIds = 0; ///< packets that were sent once, or lost
    std::int64_t lastSentNs = 0; ///< CLOCK_MONOTONIC

private:
    static constexpr std::uint8_t kQueued = 0x80;

    void DescribeImage(const CamEmu::CFrame& frame, GigEVision::Leader& leader, GigEVision::Trailer& trailer);
    void DescribeChunks(const CamEmu::CFrame& frame, GigEVision::Leader& leader, GigEVision::Trailer& trailer);

    std::size_t m_memoryBytes;
    std::unique_ptr<std::uint8_t[]> m_memory;
    std::vector<std::uint8_t> m_resends; // for each packet id
    CBlockIds m_ids;
    CStreamSettings m_settings;
    GigEVision::PacketLayout m_layout;
    std::size_t m_payloadBytes = 0;
    std::uint32_t m_trailerId = 0;
    GigEVision::Status m_trailerStatus = GigEVision::Status::Success;
    std::array<std::uint8_t, 40> m_leader, m_trailer;
    std::size_t m_leaderBytes = 0, m_trailerBytes = 0;
};

} // namespace Serving
