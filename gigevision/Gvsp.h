// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Bytes.h"
#include "Status.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

/// The stream protocol of GigE Vision, GVSP: packets to bytes and back; rules as for GVCP. Leaders and trailers are
/// decoded from what follows the packet header.
/// Threads: any; no state.
namespace GigEVision {

inline constexpr std::size_t kGvspHeaderBytes = 8, kExtendedGvspHeaderBytes = 20;
inline constexpr std::size_t kIpUdpBytes = 28; ///< SCPS counts these with header and data
inline constexpr std::size_t kLeaderPartBytes = 48, kTrailerPartBytes = 16;
inline constexpr std::uint64_t kMax48 = 0xFFFFFFFFFFFF; ///< of lengths and offsets that have 48 bits
constexpr std::size_t GvspHeaderBytes(bool isExtended) {
    return isExtended ? kExtendedGvspHeaderBytes : kGvspHeaderBytes;
}

enum class PacketFormat : std::uint8_t {
    Leader = 1,
    Trailer = 2,
    Generic = 3,
    AllIn = 4,
    H264 = 5,
    MultiZone = 6,
    MultiPart = 7,
    GenDc = 8,
};

namespace PacketFlag { // of extended headers
inline constexpr std::uint16_t kResendRangeError = 0x0004, kPreviousDropped = 0x0002, kResent = 0x0001;
}

struct PacketHeader {
    Status status = Status::Success;
    bool isExtended = false;
    std::uint16_t flags = 0;    ///< extended only
    std::uint8_t format = 0;    ///< a PacketFormat; any number below 16 can come
    std::uint8_t parts = 0;     ///< parts or additional zones; extended leaders only
    std::uint64_t blockId = 0;  ///< of 16 or 64 bits
    std::uint32_t packetId = 0; ///< of 24 or 32 bits

    bool Is(PacketFormat wanted) const { return format == static_cast<std::uint8_t>(wanted); }
    /// Whether it says that it was sent before. Not all devices do.
    bool IsRepeated() const { return status == Status::PacketResend || (flags & PacketFlag::kResent) != 0; }
};
struct StreamPacket {
    PacketHeader header;
    Bytes content; ///< behind the header
};
std::optional<StreamPacket> DecodePacket(Bytes datagram); ///< The form of the ids is the packet's own.
Bytes EncodeHeader(const PacketHeader& header, MutableBytes buffer);

namespace PayloadType {
inline constexpr std::uint16_t kImage = 0x0001, kRawData = 0x0002, kFile = 0x0003, kChunkData = 0x0004,
                               kExtendedChunk = 0x0005, kJpeg = 0x0006, kJpeg2000 = 0x0007, kH264 = 0x0008,
                               kMultiZone = 0x0009, kMultiPart = 0x000A, kGenDc = 0x000B;
inline constexpr std::uint16_t kChunks = 0x4000; ///< bit: extended chunk mode
inline constexpr std::uint16_t kCustom = 0x8000; ///< bit: the maker's
/// Without the bit of chunks; the maker's as they are.
constexpr std::uint16_t BaseOf(std::uint16_t type) {
    return (type & kCustom) != 0 ? type : static_cast<std::uint16_t>(type & 0x3FFFu);
}
} // namespace PayloadType

/// Geometry of an image, a zone or a part: pixels, and bytes of padding.
struct ImageGeometry {
    std::uint32_t pixelFormat = 0, sizeX = 0, sizeY = 0, offsetX = 0, offsetY = 0;
    std::uint16_t paddingX = 0, paddingY = 0;

    /// ceil(size x · bits / 8) + padding x, times size y, plus padding y; nullopt when beyond 64 bits.
    std::optional<std::uint64_t> PayloadBytes() const;
};

struct LeaderPart {
    std::uint16_t dataType = 0;
    std::uint64_t length = 0; ///< 48 bits
    std::uint8_t sourceId = 0, additionalZones = 0;
    std::uint32_t zoneDirections = 0;
    std::uint16_t purpose = 0, regionId = 0;
    ImageGeometry geometry; ///< of compressed parts pixelFormat is the data format
};
struct H264Leader {
    std::uint8_t packetizationMode = 0, profile = 0, constraintFlags = 0, level = 0;
    std::uint16_t packetSize = 0, interleavingDepth = 0, maxDifference = 0;
    std::uint32_t deinterleaveBuffer = 0, initialTime = 0;
};

/// One structure for all types; what a type does not have is 0. More than 255 parts cannot be told.
struct Leader {
    std::uint16_t payloadType = 0;            ///< with its bits
    std::uint8_t fieldId = 0, fieldCount = 0; ///< 4 bits each
    std::uint8_t genericFlags = 0;
    std::uint64_t timestamp = 0;     ///< device ticks; not of H.264
    ImageGeometry geometry;          ///< image, extended chunk, multi-zone
    std::uint64_t payloadSize = 0;   ///< raw data, file, JPEG, JPEG 2000, H.264, GenDC
    std::string fileName;            ///< file
    std::uint64_t tickFrequency = 0; ///< JPEG, JPEG 2000, as the next
    std::uint32_t dataFormat = 0;
    H264Leader h264;
    std::uint8_t additionalZones = 0; ///< multi-zone; from the packet header, as the number of parts
    std::uint32_t zoneDirections = 0;
    std::uint8_t genDcFlags = 0;
    std::uint32_t genDcDescriptorSize = 0;
    Bytes parts; ///< multi-part: 48 bytes each; see DecodeLeaderPart

    std::size_t PartCount() const { return parts.size() / kLeaderPartBytes; }
};
/// Types that are not known, and the maker's, are told by type and time stamp alone. Longer ones are accepted.
std::optional<Leader> DecodeLeader(const PacketHeader& header, Bytes content);
std::optional<LeaderPart> DecodeLeaderPart(const Leader& leader, std::size_t index);
Bytes EncodeLeader(const Leader& leader, MutableBytes buffer); ///< Parts are taken as encoded bytes.
std::size_t LeaderBytes(const Leader& leader);                 ///< Of its encoded form.
Bytes EncodeLeaderPart(const LeaderPart& part, MutableBytes buffer);

struct TrailerPart {
    std::uint16_t dataType = 0;
    std::uint64_t length = 0;
    std::uint32_t sizeY = 0;
};
struct Trailer {
    std::uint16_t payloadType = 0;
    std::uint32_t sizeY = 0;      ///< lines really sent: image, extended chunk, multi-zone
    std::uint32_t dataLength = 0; ///< valid bytes: chunk data, extended chunk, and with the bit of chunks
    std::uint32_t layoutId = 0;   ///< extended chunk, and with the bit of chunks
    Bytes parts;                  ///< multi-part: 16 bytes each

    std::size_t PartCount() const { return parts.size() / kTrailerPartBytes; }
};
/// Longer ones are accepted, but of multi-part, where the length tells the number of parts.
std::optional<Trailer> DecodeTrailer(Bytes content);
std::optional<TrailerPart> DecodeTrailerPart(const Trailer& trailer, std::size_t index);
Bytes EncodeTrailer(const Trailer& trailer, MutableBytes buffer);
Bytes EncodeTrailerPart(const TrailerPart& part, MutableBytes buffer);
std::size_t TrailerBytes(const Trailer& trailer); ///< Of its encoded form.

/// A whole block in one packet, whose content is an encoded leader, a trailer of the same type, and the data.
struct AllIn {
    Leader leader;
    Trailer trailer;
    Bytes data;
};
std::optional<AllIn> DecodeAllIn(const PacketHeader& header, Bytes content);

namespace ZoneInfo {
inline constexpr std::uint8_t kEndOfPart = 0x40, kZone = 0x3E, kEndOfZone = 0x01;
}
/// A payload packet's own header (H.264: time stamp; multi-zone and multi-part: id, information, offset; GenDC).
struct PayloadPacket {
    std::uint64_t timestamp = 0;           ///< H.264
    std::uint8_t partId = 0, zoneInfo = 0; ///< multi-part, multi-zone
    std::uint64_t offset = 0;              ///< the same, 48 bits, and GenDC's destination
    std::uint32_t genDcSize = 0;
    std::uint8_t dataFlags = 0, flowFlags = 0; ///< GenDC
    std::uint16_t flowId = 0;
    Bytes data;

    std::uint8_t Zone() const { return (zoneInfo & ZoneInfo::kZone) >> 1; }
    bool IsEndOfZone() const { return (zoneInfo & ZoneInfo::kEndOfZone) != 0; }
    bool IsEndOfPart() const { return (zoneInfo & ZoneInfo::kEndOfPart) != 0; }
};
std::optional<PayloadPacket> DecodePayload(PacketFormat format, Bytes content); ///< nullopt for what holds no payload.
/// The payload header alone, 0 bytes of it for generic packets.
Bytes EncodePayloadHeader(PacketFormat format, const PayloadPacket& payload, MutableBytes buffer);
std::size_t PayloadHeaderBytes(PacketFormat format); ///< 0, 8 or 16

/// Bytes behind the UDP header of a full payload packet and of a test packet; none where headers alone do not fit.
constexpr std::size_t DatagramBytes(std::uint32_t packetSize) {
    return packetSize > kIpUdpBytes ? packetSize - kIpUdpBytes : 0;
}

/// How the bytes of a block are cut into packets; of multi-part those of one part, as each begins a packet.
struct PacketLayout {
    std::size_t dataBytes = 0; ///< D, of each payload packet but the last one

    /// nullopt when the packet size leaves no room for data.
    static std::optional<PacketLayout> For(std::uint32_t packetSize, bool isExtended,
                                           PacketFormat format = PacketFormat::Generic);
    std::uint64_t PayloadPackets(std::uint64_t payloadBytes) const; ///< ceil(P / D); 0 for nothing
    std::uint64_t TrailerId(std::uint64_t payloadBytes) const { return PayloadPackets(payloadBytes) + 1; }
    std::uint64_t Offset(std::uint64_t packetId) const { return (packetId - 1) * dataBytes; } ///< ids from 1
    /// Bytes that payload packet @p packetId carries; 0 for an id that has none.
    std::size_t Length(std::uint64_t packetId, std::uint64_t payloadBytes) const;
};

namespace BlockId {
/// The one behind it: of 16 bits 1 follows 65535, as 0 is that of test packets.
constexpr std::uint64_t Next(std::uint64_t id, bool isExtended) {
    return !isExtended && id >= 0xFFFF ? 1 : id + 1;
}
/// Id on the wire of the block with that number, from 1.
constexpr std::uint64_t OfNumber(std::uint64_t number, bool isExtended) {
    return isExtended ? number : (number - 1) % 0xFFFF + 1;
}
/// Steps from one 16-bit id to another; below 32768 the other one is the same or newer. Some devices have blocks with
/// id 0 after 65535: for those it counts.
constexpr std::uint32_t Distance16(std::uint16_t from, std::uint16_t to, bool countsZero = false) {
    const std::uint32_t ids = countsZero ? 0x10000 : 0xFFFF;
    return (static_cast<std::uint32_t>(to) + ids - from) % ids;
}
} // namespace BlockId

/// Walks a chain of chunks from its end: data, id, length each.
struct Chunk {
    std::uint32_t id = 0;
    Bytes data;
};
class Chunks {
public:
    explicit Chunks(Bytes chain) : m_rest(chain) {}
    std::optional<Chunk> Previous(); ///< nullopt at the start, and where a length does not fit.
    bool IsAtStart() const { return m_rest.empty(); }

private:
    Bytes m_rest;
};

} // namespace GigEVision
