// SPDX-License-Identifier: Apache-2.0
#include "Gvsp.h"

#include <algorithm>
#include <utility>

namespace GigEVision {

namespace {

constexpr std::uint8_t kExtendedBit = 0x80, kFormatMask = 0x0F; // of the byte that holds the format
constexpr std::uint32_t kMaxPacketId24 = 0x00FFFFFF;
constexpr std::size_t kChunkFieldsBytes = 8;  // behind the trailer in extended chunk mode
constexpr std::size_t kChunkTrailerBytes = 8; // id and length behind a chunk's data

bool CountsParts(const PacketHeader& header) {
    return header.isExtended && (header.Is(PacketFormat::Leader) || header.Is(PacketFormat::AllIn));
}

bool IsKnown(std::uint16_t baseType) {
    return baseType >= PayloadType::kImage && baseType <= PayloadType::kGenDc;
}

void DecodeGeometry(Reader& reader, std::size_t formatOffset, std::size_t sizeOffset, ImageGeometry& geometry) {
    geometry.pixelFormat = reader.Get<std::uint32_t>(formatOffset);
    geometry.sizeX = reader.Get<std::uint32_t>(sizeOffset);
    geometry.sizeY = reader.Get<std::uint32_t>(sizeOffset + 4);
    geometry.offsetX = reader.Get<std::uint32_t>(sizeOffset + 8);
    geometry.offsetY = reader.Get<std::uint32_t>(sizeOffset + 12);
    geometry.paddingX = reader.Get<std::uint16_t>(sizeOffset + 16);
    geometry.paddingY = reader.Get<std::uint16_t>(sizeOffset + 18);
}

void EncodeGeometry(Writer& writer, std::size_t formatOffset, std::size_t sizeOffset, const ImageGeometry& geometry) {
    writer.Put(formatOffset, geometry.pixelFormat);
    writer.Put(sizeOffset, geometry.sizeX);
    writer.Put(sizeOffset + 4, geometry.sizeY);
    writer.Put(sizeOffset + 8, geometry.offsetX);
    writer.Put(sizeOffset + 12, geometry.offsetY);
    writer.Put(sizeOffset + 16, geometry.paddingX);
    writer.Put(sizeOffset + 18, geometry.paddingY);
}

void DecodeH264(Reader& reader, Leader& leader) {
    leader.payloadSize = reader.Get<std::uint64_t>(4);
    leader.h264.packetizationMode = reader.Get<std::uint8_t>(13);
    leader.h264.packetSize = reader.Get<std::uint16_t>(14);
    leader.h264.profile = reader.Get<std::uint8_t>(17);
    leader.h264.constraintFlags = reader.Get<std::uint8_t>(18);
    leader.h264.level = reader.Get<std::uint8_t>(19);
    leader.h264.interleavingDepth = reader.Get<std::uint16_t>(20);
    leader.h264.maxDifference = reader.Get<std::uint16_t>(22);
    leader.h264.deinterleaveBuffer = reader.Get<std::uint32_t>(24);
    leader.h264.initialTime = reader.Get<std::uint32_t>(28);
}

void EncodeH264(Writer& writer, const Leader& leader) {
    writer.Put(4, leader.payloadSize);
    writer.Put(13, leader.h264.packetizationMode);
    writer.Put(14, leader.h264.packetSize);
    writer.Put(17, leader.h264.profile);
    writer.Put(18, leader.h264.constraintFlags);
    writer.Put(19, leader.h264.level);
    writer.Put(20, leader.h264.interleavingDepth);
    writer.Put(22, leader.h264.maxDifference);
    writer.Put(24, leader.h264.deinterleaveBuffer);
    writer.Put(28, leader.h264.initialTime);
}

// The name ends before the packet does, or there is none.
bool DecodeFileName(Bytes content, std::string& name) {
    const Bytes rest = content.subspan(std::min<std::size_t>(content.size(), 20));
    const auto end = std::ranges::find(rest, std::uint8_t{0});
    name.assign(rest.begin(), end);
    return end != rest.end();
}

// Offset of the two chunk fields, which a trailer has in extended chunk mode; 0 without them.
std::size_t ChunkFieldsOffset(const Trailer& trailer) {
    const std::uint16_t base = PayloadType::BaseOf(trailer.payloadType);
    return base != trailer.payloadType && IsKnown(base) ? TrailerBytes(trailer) - kChunkFieldsBytes : 0;
}

} // namespace

std::optional<StreamPacket> DecodePacket(Bytes datagram) {
    if (datagram.size() < kGvspHeaderBytes) {
        return std::nullopt;
    }
    Reader reader(datagram);
    PacketHeader header;
    header.status = Status{reader.Get<std::uint16_t>(0)};
    header.isExtended = (datagram[4] & kExtendedBit) != 0;
    header.format = datagram[4] & kFormatMask;
    if (header.isExtended) {
        header.flags = reader.Get<std::uint16_t>(2);
        header.parts = CountsParts(header) ? datagram[7] : std::uint8_t{0};
        header.blockId = reader.Get<std::uint64_t>(8);
        header.packetId = reader.Get<std::uint32_t>(16);
    } else {
        header.blockId = reader.Get<std::uint16_t>(2);
        header.packetId = reader.Get<std::uint32_t>(4) & kMaxPacketId24;
    }
    if (!reader.IsWhole()) {
        return std::nullopt;
    }
    return StreamPacket{header, datagram.subspan(GvspHeaderBytes(header.isExtended))};
}

Bytes EncodeHeader(const PacketHeader& header, MutableBytes buffer) {
    assert(header.format <= kFormatMask);
    assert(header.isExtended || (header.blockId <= 0xFFFF && header.packetId <= kMaxPacketId24));
    const std::size_t bytes = GvspHeaderBytes(header.isExtended);
    Writer writer(buffer.first(bytes));
    writer.Put(0, static_cast<std::uint16_t>(header.status));
    if (header.isExtended) {
        writer.Put(2, header.flags);
        writer.Put(7, CountsParts(header) ? header.parts : std::uint8_t{0});
        writer.Put(8, header.blockId);
        writer.Put(16, header.packetId);
    } else {
        writer.Put(2, static_cast<std::uint16_t>(header.blockId));
        writer.Put(4, header.packetId & kMaxPacketId24);
    }
    writer.Put(4, static_cast<std::uint8_t>((header.format & kFormatMask) | (header.isExtended ? kExtendedBit : 0)));
    return buffer.first(bytes);
}

std::optional<std::uint64_t> ImageGeometry::PayloadBytes() const {
    const std::uint64_t bits = pixelFormat >> 16 & 0xFF; // PFNC: bits per pixel
    const std::uint64_t line = (sizeX * bits + 7) / 8 + paddingX;
    std::uint64_t bytes = 0;
    if (__builtin_mul_overflow(line, std::uint64_t{sizeY}, &bytes) ||
        __builtin_add_overflow(bytes, std::uint64_t{paddingY}, &bytes)) {
        return std::nullopt;
    }
    return bytes;
}

std::size_t LeaderBytes(const Leader& leader) {
    switch (PayloadType::BaseOf(leader.payloadType)) {
    case PayloadType::kImage:
    case PayloadType::kExtendedChunk:
        return 36;
    case PayloadType::kRawData:
        return 20;
    case PayloadType::kFile:
        return 20 + leader.fileName.size() + 1;
    case PayloadType::kJpeg:
    case PayloadType::kJpeg2000:
    case PayloadType::kH264:
        return 32;
    case PayloadType::kMultiZone:
        return 40;
    case PayloadType::kMultiPart:
        return 12 + leader.parts.size();
    case PayloadType::kGenDc:
        return 28;
    default:
        return 12; // chunk data, and what is not known
    }
}

std::optional<Leader> DecodeLeader(const PacketHeader& header, Bytes content) {
    Reader reader(content);
    Leader leader;
    leader.fieldId = reader.Get<std::uint8_t>(0) >> 4;
    leader.fieldCount = reader.Get<std::uint8_t>(0) & 0x0F;
    leader.genericFlags = reader.Get<std::uint8_t>(1);
    leader.payloadType = reader.Get<std::uint16_t>(2);
    leader.timestamp = reader.Get<std::uint64_t>(4);
    bool isSound = true;
    switch (PayloadType::BaseOf(leader.payloadType)) {
    case PayloadType::kImage:
    case PayloadType::kExtendedChunk:
        DecodeGeometry(reader, 12, 16, leader.geometry);
        break;
    case PayloadType::kRawData:
        leader.payloadSize = reader.Get<std::uint64_t>(12);
        break;
    case PayloadType::kFile:
        leader.payloadSize = reader.Get<std::uint64_t>(12);
        isSound = DecodeFileName(content, leader.fileName);
        break;
    case PayloadType::kJpeg:
    case PayloadType::kJpeg2000:
        leader.payloadSize = reader.Get<std::uint64_t>(12);
        leader.tickFrequency = reader.Get<std::uint64_t>(20);
        leader.dataFormat = reader.Get<std::uint32_t>(28);
        break;
    case PayloadType::kH264:
        leader.timestamp = 0;
        DecodeH264(reader, leader);
        break;
    case PayloadType::kMultiZone:
        leader.additionalZones = header.parts;
        leader.zoneDirections = reader.Get<std::uint32_t>(12);
        DecodeGeometry(reader, 16, 20, leader.geometry);
        break;
    case PayloadType::kMultiPart:
        leader.parts = reader.Get(12, header.parts * kLeaderPartBytes);
        isSound = header.isExtended; // others do not tell the number of parts
        break;
    case PayloadType::kGenDc:
        leader.payloadSize = reader.Get<std::uint64_t>(12);
        leader.genDcFlags = reader.Get<std::uint8_t>(20);
        leader.genDcDescriptorSize = reader.Get<std::uint32_t>(24);
        break;
    default:
        break;
    }
    return isSound && reader.IsWhole() ? std::optional(std::move(leader)) : std::nullopt;
}

Bytes EncodeLeader(const Leader& leader, MutableBytes buffer) {
    assert(leader.fieldId <= 0x0F && leader.fieldCount <= 0x0F && leader.parts.size() % kLeaderPartBytes == 0);
    const std::size_t bytes = LeaderBytes(leader);
    Writer writer(buffer.first(bytes));
    writer.Put(0, static_cast<std::uint8_t>(leader.fieldId << 4 | leader.fieldCount));
    writer.Put(1, leader.genericFlags);
    writer.Put(2, leader.payloadType);
    writer.Put(4, leader.timestamp);
    switch (PayloadType::BaseOf(leader.payloadType)) {
    case PayloadType::kImage:
    case PayloadType::kExtendedChunk:
        EncodeGeometry(writer, 12, 16, leader.geometry);
        break;
    case PayloadType::kRawData:
        writer.Put(12, leader.payloadSize);
        break;
    case PayloadType::kFile:
        writer.Put(12, leader.payloadSize);
        writer.Put(20, Bytes(reinterpret_cast<const std::uint8_t*>(leader.fileName.data()), leader.fileName.size()));
        break;
    case PayloadType::kJpeg:
    case PayloadType::kJpeg2000:
        writer.Put(12, leader.payloadSize);
        writer.Put(20, leader.tickFrequency);
        writer.Put(28, leader.dataFormat);
        break;
    case PayloadType::kH264:
        EncodeH264(writer, leader);
        break;
    case PayloadType::kMultiZone:
        writer.Put(12, leader.zoneDirections);
        EncodeGeometry(writer, 16, 20, leader.geometry);
        break;
    case PayloadType::kMultiPart:
        writer.Put(12, leader.parts);
        break;
    case PayloadType::kGenDc:
        writer.Put(12, leader.payloadSize);
        writer.Put(20, leader.genDcFlags);
        writer.Put(24, leader.genDcDescriptorSize);
        break;
    default:
        break;
    }
    return buffer.first(bytes);
}

std::optional<LeaderPart> DecodeLeaderPart(const Leader& leader, std::size_t index) {
    if (index >= leader.PartCount()) {
        return std::nullopt;
    }
    Reader reader(leader.parts.subspan(index * kLeaderPartBytes, kLeaderPartBytes));
    LeaderPart part;
    part.dataType = reader.Get<std::uint16_t>(0);
    part.length = reader.Get48(2);
    part.sourceId = reader.Get<std::uint8_t>(14);
    part.additionalZones = reader.Get<std::uint8_t>(15);
    part.zoneDirections = reader.Get<std::uint32_t>(16);
    part.purpose = reader.Get<std::uint16_t>(20);
    part.regionId = reader.Get<std::uint16_t>(22);
    DecodeGeometry(reader, 8, 24, part.geometry);
    return part;
}

Bytes EncodeLeaderPart(const LeaderPart& part, MutableBytes buffer) {
    assert(part.length <= kMax48);
    Writer writer(buffer.first(kLeaderPartBytes));
    writer.Put(0, part.dataType);
    writer.Put48(2, part.length);
    writer.Put(14, part.sourceId);
    writer.Put(15, part.additionalZones);
    writer.Put(16, part.zoneDirections);
    writer.Put(20, part.purpose);
    writer.Put(22, part.regionId);
    EncodeGeometry(writer, 8, 24, part.geometry);
    return buffer.first(kLeaderPartBytes);
}

std::size_t TrailerBytes(const Trailer& trailer) {
    const std::uint16_t base = PayloadType::BaseOf(trailer.payloadType);
    const std::size_t chunkFields = base != trailer.payloadType && IsKnown(base) ? kChunkFieldsBytes : 0;
    switch (base) {
    case PayloadType::kImage:
    case PayloadType::kChunkData:
    case PayloadType::kMultiZone:
        return 8 + chunkFields;
    case PayloadType::kExtendedChunk:
        return 16 + chunkFields;
    case PayloadType::kMultiPart:
        return 4 + trailer.parts.size() + chunkFields;
    default:
        return 4 + chunkFields;
    }
}

std::optional<Trailer> DecodeTrailer(Bytes content) {
    Reader reader(content);
    Trailer trailer;
    trailer.payloadType = reader.Get<std::uint16_t>(2);
    switch (PayloadType::BaseOf(trailer.payloadType)) {
    case PayloadType::kImage:
    case PayloadType::kMultiZone:
        trailer.sizeY = reader.Get<std::uint32_t>(4);
        break;
    case PayloadType::kChunkData:
        trailer.dataLength = reader.Get<std::uint32_t>(4);
        break;
    case PayloadType::kExtendedChunk:
        trailer.dataLength = reader.Get<std::uint32_t>(4);
        trailer.sizeY = reader.Get<std::uint32_t>(8);
        trailer.layoutId = reader.Get<std::uint32_t>(12);
        break;
    case PayloadType::kMultiPart: {
        // Nothing but the length tells the number of parts, so it must be exact.
        const std::size_t others = TrailerBytes(trailer);
        if (content.size() < others || (content.size() - others) % kTrailerPartBytes != 0) {
            return std::nullopt;
        }
        trailer.parts = content.subspan(4, content.size() - others);
        break;
    }
    default:
        break;
    }
    if (const std::size_t offset = ChunkFieldsOffset(trailer); offset != 0) {
        trailer.dataLength = reader.Get<std::uint32_t>(offset);
        trailer.layoutId = reader.Get<std::uint32_t>(offset + 4);
    }
    return reader.IsWhole() ? std::optional(trailer) : std::nullopt;
}

Bytes EncodeTrailer(const Trailer& trailer, MutableBytes buffer) {
    assert(trailer.parts.size() % kTrailerPartBytes == 0);
    const std::size_t bytes = TrailerBytes(trailer);
    Writer writer(buffer.first(bytes));
    writer.Put(2, trailer.payloadType);
    switch (PayloadType::BaseOf(trailer.payloadType)) {
    case PayloadType::kImage:
    case PayloadType::kMultiZone:
        writer.Put(4, trailer.sizeY);
        break;
    case PayloadType::kChunkData:
        writer.Put(4, trailer.dataLength);
        break;
    case PayloadType::kExtendedChunk:
        writer.Put(4, trailer.dataLength);
        writer.Put(8, trailer.sizeY);
        writer.Put(12, trailer.layoutId);
        break;
    case PayloadType::kMultiPart:
        writer.Put(4, trailer.parts);
        break;
    default:
        break;
    }
    if (const std::size_t offset = ChunkFieldsOffset(trailer); offset != 0) {
        writer.Put(offset, trailer.dataLength);
        writer.Put(offset + 4, trailer.layoutId);
    }
    return buffer.first(bytes);
}

std::optional<TrailerPart> DecodeTrailerPart(const Trailer& trailer, std::size_t index) {
    if (index >= trailer.PartCount()) {
        return std::nullopt;
    }
    Reader reader(trailer.parts.subspan(index * kTrailerPartBytes, kTrailerPartBytes));
    return TrailerPart{reader.Get<std::uint16_t>(0), reader.Get48(2), reader.Get<std::uint32_t>(8)};
}

Bytes EncodeTrailerPart(const TrailerPart& part, MutableBytes buffer) {
    assert(part.length <= kMax48);
    Writer writer(buffer.first(kTrailerPartBytes));
    writer.Put(0, part.dataType);
    writer.Put48(2, part.length);
    writer.Put(8, part.sizeY);
    return buffer.first(kTrailerPartBytes);
}

std::optional<AllIn> DecodeAllIn(const PacketHeader& header, Bytes content) {
    std::optional<Leader> leader = DecodeLeader(header, content);
    if (!leader) {
        return std::nullopt;
    }
    const Bytes behind = content.subspan(LeaderBytes(*leader)); // a leader that was decoded is there
    Trailer shape;
    shape.payloadType = leader->payloadType;
    const std::size_t bytes = TrailerBytes(shape) + leader->PartCount() * kTrailerPartBytes;
    const std::optional<Trailer> trailer = DecodeTrailer(behind.first(std::min(bytes, behind.size())));
    if (!trailer || trailer->payloadType != leader->payloadType || TrailerBytes(*trailer) != bytes) {
        return std::nullopt;
    }
    return AllIn{std::move(*leader), *trailer, behind.subspan(bytes)};
}

std::size_t PayloadHeaderBytes(PacketFormat format) {
    switch (format) {
    case PacketFormat::H264:
    case PacketFormat::MultiZone:
    case PacketFormat::MultiPart:
        return 8;
    case PacketFormat::GenDc:
        return 16;
    default:
        return 0;
    }
}

std::optional<PayloadPacket> DecodePayload(PacketFormat format, Bytes content) {
    if (content.size() < PayloadHeaderBytes(format)) {
        return std::nullopt;
    }
    Reader reader(content);
    PayloadPacket payload;
    payload.data = content.subspan(PayloadHeaderBytes(format));
    switch (format) {
    case PacketFormat::Generic:
        return payload;
    case PacketFormat::H264:
        payload.timestamp = reader.Get<std::uint64_t>(0);
        return payload;
    case PacketFormat::MultiPart:
        payload.partId = reader.Get<std::uint8_t>(0);
        [[fallthrough]];
    case PacketFormat::MultiZone:
        payload.zoneInfo = reader.Get<std::uint8_t>(1);
        payload.offset = reader.Get48(2);
        return payload;
    case PacketFormat::GenDc:
        payload.genDcSize = reader.Get<std::uint32_t>(0);
        payload.offset = reader.Get<std::uint64_t>(4);
        payload.dataFlags = reader.Get<std::uint8_t>(12);
        payload.flowFlags = reader.Get<std::uint8_t>(13);
        payload.flowId = reader.Get<std::uint16_t>(14);
        if (payload.genDcSize > payload.data.size()) {
            return std::nullopt;
        }
        payload.data = payload.data.first(payload.genDcSize);
        return payload;
    default:
        return std::nullopt;
    }
}

Bytes EncodePayloadHeader(PacketFormat format, const PayloadPacket& payload, MutableBytes buffer) {
    const std::size_t bytes = PayloadHeaderBytes(format);
    Writer writer(buffer.first(bytes));
    switch (format) {
    case PacketFormat::H264:
        writer.Put(0, payload.timestamp);
        break;
    case PacketFormat::MultiPart:
        writer.Put(0, payload.partId);
        [[fallthrough]];
    case PacketFormat::MultiZone:
        assert(payload.offset <= kMax48);
        writer.Put(1, payload.zoneInfo);
        writer.Put48(2, payload.offset);
        break;
    case PacketFormat::GenDc:
        writer.Put(0, payload.genDcSize);
        writer.Put(4, payload.offset);
        writer.Put(12, payload.dataFlags);
        writer.Put(13, payload.flowFlags);
        writer.Put(14, payload.flowId);
        break;
    default:
        break;
    }
    return buffer.first(bytes);
}

std::optional<PacketLayout> PacketLayout::For(std::uint32_t packetSize, bool isExtended, PacketFormat format) {
    const std::size_t overhead = kIpUdpBytes + GvspHeaderBytes(isExtended) + PayloadHeaderBytes(format);
    return packetSize > overhead ? std::optional(PacketLayout{packetSize - overhead}) : std::nullopt;
}

std::uint64_t PacketLayout::PayloadPackets(std::uint64_t payloadBytes) const {
    return payloadBytes / dataBytes + (payloadBytes % dataBytes != 0 ? 1 : 0);
}

std::size_t PacketLayout::Length(std::uint64_t packetId, std::uint64_t payloadBytes) const {
    if (packetId == 0 || packetId > PayloadPackets(payloadBytes)) {
        return 0;
    }
    return static_cast<std::size_t>(std::min<std::uint64_t>(dataBytes, payloadBytes - Offset(packetId)));
}

std::optional<Chunk> Chunks::Previous() {
    if (m_rest.size() < kChunkTrailerBytes) {
        return std::nullopt;
    }
    const Bytes before = m_rest.first(m_rest.size() - kChunkTrailerBytes);
    Reader reader(m_rest.last(kChunkTrailerBytes));
    const std::size_t length = reader.Get<std::uint32_t>(4);
    if (length > before.size()) {
        return std::nullopt;
    }
    m_rest = before.first(before.size() - length);
    return Chunk{reader.Get<std::uint32_t>(0), before.last(length)};
}

} // namespace GigEVision
