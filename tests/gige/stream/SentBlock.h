// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gigevision/Gvsp.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

/// A block as a device sends it, packet by packet, made with the codec. Each byte of its payload follows from the
/// block's seed and from where it is.
struct CBlockShape {
    std::uint64_t idOnWire = 1;
    bool isExtended = false;
    std::uint16_t type = GigEVision::PayloadType::kImage;
    std::uint32_t packetSize = 128;
    std::uint32_t bytes = 300; ///< images: one line of so many pixels each kLineBytes
    std::uint64_t timestamp = 0;
    std::uint64_t seed = 1;
    std::uint32_t toldLines = 0;      ///< images: by the leader, when not those that are sent
    std::uint32_t chunkBytes = 0;     ///< valid ones, by the trailer
    std::uint32_t firstPartBytes = 0; ///< multi-part: of two
    std::uint16_t firstPartType = 1;  ///< multi-part: a 2-D image
    bool countsFromPart = false;      ///< multi-part: offsets
    std::uint16_t leaderStatus = 0, trailerStatus = 0;
};

class CSentBlock {
public:
    static constexpr std::uint32_t kLineBytes = 20;

    explicit CSentBlock(const CBlockShape& given) : shape(given), m_format(FormatOf(given.type)) {
        const auto layout = GigEVision::PacketLayout::For(shape.packetSize, shape.isExtended, m_format);
        m_dataBytes = static_cast<std::uint32_t>(layout->dataBytes);
        m_firstPackets = m_format == GigEVision::PacketFormat::MultiPart ? Packets(shape.firstPartBytes) : 0;
        FillPayload();
        trailerId = m_firstPackets + Packets(shape.bytes - (m_firstPackets ? shape.firstPartBytes : 0)) + 1;
    }

    /// Whether the memory holds this block's bytes from @p begin to @p end.
    bool IsIn(const std::uint8_t* memory, std::size_t begin, std::size_t end) const {
        return begin == end || std::memcmp(memory + begin, m_payload.data() + begin, end - begin) == 0;
    }

    /// Where the data of a payload packet belongs.
    std::uint32_t Offset(std::uint32_t packetId) const {
        return packetId <= m_firstPackets || m_firstPackets == 0
                   ? (packetId - 1) * m_dataBytes
                   : shape.firstPartBytes + (packetId - 1 - m_firstPackets) * m_dataBytes;
    }
    std::uint32_t End(std::uint32_t packetId) const {
        const std::uint32_t limit = packetId <= m_firstPackets ? shape.firstPartBytes : shape.bytes;
        return std::min(Offset(packetId) + m_dataBytes, limit);
    }
    bool IsFull(std::uint32_t packetId) const { return End(packetId) - Offset(packetId) == m_dataBytes; }
    bool IsPlacedById() const { return m_format < GigEVision::PacketFormat::MultiZone; }
    /// Whether the leader alone tells how many packets there are.
    bool IsLengthTold() const {
        using namespace GigEVision;
        return shape.type <= PayloadType::kGenDc && shape.type != PayloadType::kChunkData &&
               shape.type != PayloadType::kExtendedChunk && shape.bytes != 0;
    }
    std::uint64_t Timestamp() const { return shape.type == GigEVision::PayloadType::kH264 ? 0 : shape.timestamp; }
    std::uint32_t Lines() const { return shape.bytes / kLineBytes; }

    GigEVision::Bytes Packet(std::uint32_t packetId, GigEVision::MutableBytes room, std::uint16_t status = 0) const {
        using namespace GigEVision;
        PacketHeader header{.status = Status{status}, .isExtended = shape.isExtended, .blockId = shape.idOnWire};
        header.packetId = packetId;
        header.format = static_cast<std::uint8_t>(packetId == 0           ? PacketFormat::Leader
                                                  : packetId == trailerId ? PacketFormat::Trailer
                                                                          : m_format);
        header.parts = m_format == PacketFormat::MultiPart ? 2 : 0;
        if (status == 0 && packetId == 0) {
            header.status = Status{shape.leaderStatus};
        } else if (status == 0 && packetId == trailerId) {
            header.status = Status{shape.trailerStatus};
        }
        const std::size_t headerBytes = EncodeHeader(header, room).size();
        const MutableBytes behind = room.subspan(headerBytes);
        const std::size_t bytes = IsError(header.status)  ? 0
                                  : packetId == 0         ? PutLeader(behind)
                                  : packetId == trailerId ? PutTrailer(behind)
                                                          : PutPayload(packetId, behind);
        return room.first(headerBytes + bytes);
    }
    std::vector<std::uint8_t> Packet(std::uint32_t packetId) const {
        std::vector<std::uint8_t> room(shape.packetSize + 256);
        room.resize(Packet(packetId, room).size());
        return room;
    }

    CBlockShape shape;
    std::uint32_t trailerId = 0;

private:
    static GigEVision::PacketFormat FormatOf(std::uint16_t type) {
        using namespace GigEVision;
        switch (PayloadType::BaseOf(type)) {
        case PayloadType::kH264:
            return PacketFormat::H264;
        case PayloadType::kMultiZone:
            return PacketFormat::MultiZone;
        case PayloadType::kMultiPart:
            return PacketFormat::MultiPart;
        case PayloadType::kGenDc:
            return PacketFormat::GenDc;
        default:
            return PacketFormat::Generic;
        }
    }
    void FillPayload() {
        m_payload.resize(shape.bytes);
        for (std::size_t at = 0; at < m_payload.size(); at += 8) {
            std::uint64_t word = (shape.seed << 32 ^ at) * 0x9E3779B97F4A7C15;
            word = (word ^ word >> 29) * 0xBF58476D1CE4E5B9;
            std::memcpy(&m_payload[at], &word, std::min<std::size_t>(8, m_payload.size() - at));
        }
    }
    std::uint32_t Packets(std::uint32_t bytes) const { return (bytes + m_dataBytes - 1) / m_dataBytes; }

    std::size_t PutLeader(GigEVision::MutableBytes room) const {
        using namespace GigEVision;
        Leader leader;
        leader.payloadType = shape.type;
        leader.timestamp = shape.timestamp;
        leader.payloadSize = shape.bytes;
        leader.geometry = {.pixelFormat = 0x01080001, .sizeX = kLineBytes, .sizeY = Lines()};
        leader.geometry.sizeY = shape.toldLines != 0 ? shape.toldLines : Lines();
        std::array<std::uint8_t, 2 * kLeaderPartBytes> parts;
        if (m_format == PacketFormat::MultiPart) {
            LeaderPart part{
                .dataType = shape.firstPartType, .length = shape.firstPartBytes, .geometry = leader.geometry};
            part.geometry.sizeY = shape.toldLines != 0 ? shape.toldLines : shape.firstPartBytes / kLineBytes;
            EncodeLeaderPart(part, parts);
            part.dataType = 1;
            part.length = shape.bytes - shape.firstPartBytes;
            EncodeLeaderPart(part, MutableBytes(parts).subspan(kLeaderPartBytes));
            leader.parts = parts;
        }
        return EncodeLeader(leader, room).size();
    }
    std::size_t PutTrailer(GigEVision::MutableBytes room) const {
        using namespace GigEVision;
        Trailer trailer;
        trailer.payloadType = shape.type;
        trailer.sizeY = Lines();
        trailer.dataLength = shape.chunkBytes;
        std::array<std::uint8_t, 2 * kTrailerPartBytes> parts = {};
        if (m_format == PacketFormat::MultiPart) {
            EncodeTrailerPart({shape.firstPartType, shape.firstPartBytes, shape.firstPartBytes / kLineBytes}, parts);
            trailer.parts = parts;
        }
        return EncodeTrailer(trailer, room).size();
    }
    std::size_t PutPayload(std::uint32_t packetId, GigEVision::MutableBytes room) const {
        using namespace GigEVision;
        const std::uint32_t begin = Offset(packetId), bytes = End(packetId) - begin;
        PayloadPacket payload;
        payload.partId = m_firstPackets != 0 && packetId > m_firstPackets ? 1 : 0;
        payload.offset = begin - (payload.partId == 1 && shape.countsFromPart ? shape.firstPartBytes : 0);
        payload.genDcSize = bytes;
        const std::size_t headerBytes = EncodePayloadHeader(m_format, payload, room).size();
        std::copy_n(m_payload.begin() + begin, bytes, room.begin() + headerBytes);
        return headerBytes + bytes;
    }

    GigEVision::PacketFormat m_format;
    std::vector<std::uint8_t> m_payload;
    std::uint32_t m_dataBytes = 0;
    std::uint32_t m_firstPackets = 0; // of the first part
};
