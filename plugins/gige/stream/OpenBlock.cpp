// SPDX-License-Identifier: Apache-2.0
#include "OpenBlock.h"

namespace Gige {

using namespace GigEVision;

namespace {

bool HasImage(std::uint16_t baseType) {
    return baseType == PayloadType::kImage || baseType == PayloadType::kExtendedChunk ||
           baseType == PayloadType::kMultiZone;
}

bool HasChunks(std::uint16_t type) {
    const std::uint16_t base = PayloadType::BaseOf(type);
    return base == PayloadType::kChunkData || base == PayloadType::kExtendedChunk ||
           (base != type && (type & PayloadType::kChunks) != 0);
}

bool IsByOffset(std::uint8_t format) {
    return format >= static_cast<std::uint8_t>(PacketFormat::MultiZone);
}

// That of the payload packets of a type.
PacketFormat FormatOf(std::uint16_t type) {
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

bool IsImagePart(std::uint16_t dataType) {
    return dataType >= 1 && dataType <= 9; // 2-D, 3-D, confidence
}

// The fewest bytes that an image can have: some formats go on within a byte from line to line.
std::uint64_t LeastBytes(const ImageGeometry& geometry, std::uint32_t lines) {
    const std::uint64_t bits = geometry.pixelFormat >> 16 & 0xFF; // PFNC: bits per pixel
    std::uint64_t pixelBits = 0, paddings = 0, bytes = 0;
    if (lines == 0) {
        return 0;
    }
    if (__builtin_mul_overflow(geometry.sizeX * bits, std::uint64_t{lines}, &pixelBits) ||
        __builtin_mul_overflow(std::uint64_t{geometry.paddingX}, std::uint64_t{lines - 1}, &paddings) ||
        __builtin_add_overflow(pixelBits / 8 + (pixelBits % 8 != 0), paddings, &bytes)) {
        return ~std::uint64_t{0};
    }
    return bytes;
}

bool Holds(std::uint64_t bytes, const ImageGeometry& geometry) {
    constexpr std::uint32_t kCustomFormat = 0x80000000; // whose bits per pixel may mean anything
    return (geometry.pixelFormat & kCustomFormat) != 0 || LeastBytes(geometry, geometry.sizeY) <= bytes;
}

// The image is not in the processor's cache, and the next packet goes right behind this one: its place is fetched while
// that packet is judged.
void PrefetchFrom(MutableBytes place) {
    constexpr std::size_t kCacheLine = 64, kLines = 24; // a packet of 1500 bytes
    const std::size_t bytes = std::min(place.size(), kLines * kCacheLine);
    for (std::size_t at = 0; at < bytes; at += kCacheLine) {
        __builtin_prefetch(place.data() + at, 1);
    }
}

} // namespace

void CBlockResends::SeeGap(std::uint32_t end, std::int64_t nowNs) {
    if (freshCount > 0 && (freshCount == kFreshGaps || fresh[freshCount - 1].seenNs == nowNs)) {
        fresh[freshCount - 1] = {end, nowNs};
    } else {
        fresh[freshCount++] = {end, nowNs};
    }
}

void COpenBlock::Open(std::uint64_t id, const PacketHeader& header, const CFreeBuffer& buffer, std::int64_t nowNs) {
    m_idOnWire = header.blockId;
    m_isExtended = header.isExtended;
    m_hasEnded = false;
    m_memory = buffer.memory;
    m_map.Clear();
    m_result = {};
    m_result.token = buffer.token;
    m_result.blockId = id;
    m_result.bufferBytes = buffer.memory.size();
    m_toldBytes = 0;
    m_isToldExactly = false;
    m_toldPackets = m_trailerId = m_sizeY = m_chunkBytes = 0;
    m_format = 0;
    m_dataBytes = m_lastBytes = 0;
    m_lastId = m_payloadEnd = m_parts = m_firstData = m_lastDescriptor = 0;
    m_trailerPartBytes = 0;
    m_tiling = m_descriptorTiling = {};
    m_hasAmbiguousPart = m_hasOutdated = false;
    lastNewNs = nowNs;
    laterSeenNs = kNever;
    droppedByHost = 0;
    resends = {};
}

COpenBlock::ETaken COpenBlock::TakeLeader(const Leader& leader, const CStreamFormat& format, std::uint32_t packetId) {
    if (packetId != 0) {
        return ETaken::Ignored;
    }
    if (m_map.Has(0)) {
        const bool isSame = leader.payloadType == m_result.payloadType && leader.timestamp == m_result.timestamp;
        return isSame ? ETaken::Doubled : Fail(EBlockFault::Contradictory);
    }
    m_map.Add(0);
    m_result.payloadType = leader.payloadType;
    m_result.timestamp = leader.timestamp;
    m_result.hasChunks = HasChunks(leader.payloadType);
    const std::uint16_t base = PayloadType::BaseOf(leader.payloadType);
    if (HasImage(base)) {
        m_result.geometry = leader.geometry;
        m_result.isGeometryKnown = true;
        m_toldBytes = leader.geometry.PayloadBytes().value_or(0);
        m_isToldExactly = !m_result.hasChunks;
    } else if (base == PayloadType::kMultiPart) {
        NoteParts(leader, format);
    } else {
        m_toldBytes = leader.payloadSize;
        m_isToldExactly = !m_result.hasChunks && leader.payloadSize != 0;
    }
    return ETaken::New;
}

void COpenBlock::NoteParts(const Leader& leader, const CStreamFormat& format) {
    m_parts = static_cast<std::uint32_t>(std::min<std::size_t>(leader.PartCount(), m_partStarts.size() - 1));
    const auto layout = PacketLayout::For(format.packetSize, m_isExtended, PacketFormat::MultiPart);
    std::uint64_t packets = 0;
    m_partStarts[0] = 0;
    for (std::uint32_t i = 0; i < m_parts; ++i) {
        const LeaderPart part = *DecodeLeaderPart(leader, i);
        m_partStarts[i + 1] = m_partStarts[i] + part.length;
        packets += layout ? layout->PayloadPackets(part.length) : 0;
        if (i == 0 && IsImagePart(part.dataType) && Holds(part.length, part.geometry)) {
            m_result.geometry = part.geometry; // the image of a buffer is at its start
            m_result.isGeometryKnown = true;
        }
    }
    m_toldBytes = m_partStarts[m_parts];
    m_toldPackets = static_cast<std::uint32_t>(std::min<std::uint64_t>(packets, m_map.Room()));
    m_isToldExactly = true;
}

COpenBlock::ETaken COpenBlock::TakeTrailer(Bytes content, const CStreamFormat& format, std::uint32_t packetId) {
    constexpr std::size_t kLeastBytes = 4;
    if (HasTrailer()) {
        return packetId == m_trailerId ? ETaken::Doubled : ETaken::Ignored;
    }
    if (packetId == 0 || packetId < m_map.End() || content.size() < kLeastBytes) {
        return ETaken::Ignored; // some devices answer with a wrong one; the right one is asked for again
    }
    if (packetId >= m_map.Room()) {
        const auto layout = PacketLayout::For(format.packetSize, m_isExtended);
        return FailTooSmall(layout ? layout->Offset(packetId) : 0);
    }
    if (m_lastId != 0 && packetId != m_lastId + 1) {
        return Fail(EBlockFault::Contradictory);
    }
    const Trailer trailer = DecodeTrailer(content).value_or(Trailer{}); // its id is what counts
    m_trailerId = packetId;
    const auto firstPart = DecodeTrailerPart(trailer, 0);
    m_sizeY = firstPart ? firstPart->sizeY : trailer.sizeY;
    m_chunkBytes = trailer.dataLength;
    for (std::uint32_t i = 0; const auto part = DecodeTrailerPart(trailer, i); ++i) {
        m_trailerPartBytes += part->length;
    }
    m_map.Add(packetId);
    return ETaken::New;
}

COpenBlock::ETaken COpenBlock::TakePayload(const StreamPacket& packet, const CStreamFormat& format,
                                           CMultiPartOffsets& offsets) {
    const std::uint32_t packetId = packet.header.packetId;
    const PacketFormat packetFormat{packet.header.format};
    const auto payload = DecodePayload(packetFormat, packet.content);
    if (!payload || packetId == 0 || payload->data.empty() || (HasTrailer() && packetId >= m_trailerId)) {
        return ETaken::Ignored;
    }
    if (m_format == 0) {
        const auto layout = PacketLayout::For(format.packetSize, packet.header.isExtended, packetFormat);
        if (!layout) {
            return ETaken::Ignored;
        }
        m_format = packet.header.format;
        m_dataBytes = layout->dataBytes;
    } else if (m_format != packet.header.format) {
        return Fail(EBlockFault::Contradictory);
    }
    return IsByOffset(m_format) ? TakeByOffset(*payload, packetFormat, packetId, offsets)
                                : TakeById(payload->data, packetId, m_dataBytes);
}

COpenBlock::ETaken COpenBlock::TakeById(Bytes data, std::uint32_t packetId, std::size_t dataBytes) {
    const bool isFull = data.size() == dataBytes;
    const Bytes kept = data.first(std::min(data.size(), dataBytes));
    const std::uint64_t offset = std::uint64_t{packetId - 1} * dataBytes;
    if (m_map.Has(packetId)) {
        return IsPlaced(offset, kept) ? ETaken::Doubled : Fail(EBlockFault::Contradictory);
    }
    if ((m_lastId != 0 && packetId > m_lastId) || (!isFull && !NoteLast(packetId, kept.size()))) {
        return Fail(EBlockFault::Contradictory);
    }
    return Place(offset, kept, packetId);
}

// One that is not full can only be the last one.
bool COpenBlock::NoteLast(std::uint32_t packetId, std::size_t bytes) {
    if (m_lastId != 0 || packetId + 1 < m_payloadEnd || (HasTrailer() && packetId + 1 != m_trailerId)) {
        return false;
    }
    m_lastId = packetId;
    m_lastBytes = bytes;
    return true;
}

COpenBlock::ETaken COpenBlock::TakeByOffset(const PayloadPacket& payload, PacketFormat format, std::uint32_t packetId,
                                            CMultiPartOffsets& offsets) {
    constexpr std::uint8_t kDescriptor = 0xC0; // of GenDC; a preliminary one comes again, final, behind the data
    std::uint64_t offset = payload.offset;
    if (format == PacketFormat::MultiPart && !FindPartOffset(payload, packetId, offsets, offset)) {
        return Fault() == EBlockFault::None ? ETaken::Ignored : ETaken::Faulty;
    }
    const bool isDescriptor = format == PacketFormat::GenDc && (payload.dataFlags & kDescriptor) != 0;
    if (m_map.Has(packetId)) {
        return isDescriptor || IsPlaced(offset, payload.data) ? ETaken::Doubled : Fail(EBlockFault::Contradictory);
    }
    const bool isNextToOther = packetId < m_lastDescriptor && m_map.Has(packetId + 1); // so of the same one
    if (isDescriptor && m_firstData == 0 && packetId < m_lastDescriptor && !isNextToOther) {
        return ETaken::Ignored; // it is asked for again, when data tells whether the other one is final
    }
    const bool isOutdated = isDescriptor && packetId < m_firstData && m_firstData < m_lastDescriptor;
    const ETaken taken = Place(offset, payload.data, packetId, isOutdated);
    if (taken == ETaken::New) {
        m_hasOutdated = m_hasOutdated || isOutdated;
        (isDescriptor ? m_descriptorTiling : m_tiling).Add(offset, payload.data.size());
        if (isDescriptor) {
            m_lastDescriptor = std::max(m_lastDescriptor, packetId);
        } else {
            m_firstData = m_firstData == 0 ? packetId : std::min(m_firstData, packetId);
        }
    }
    return taken;
}

// Offsets count from the start of the block, with some devices from that of the part. Where a part begins tells the
// leader: packets of later parts that come before it are not taken, but asked for again behind it.
bool COpenBlock::FindPartOffset(const PayloadPacket& payload, std::uint32_t packetId, CMultiPartOffsets& offsets,
                                std::uint64_t& offset) {
    if (!m_map.Has(0)) {
        return payload.partId == 0 || offsets.countFromPart == false;
    }
    if (payload.partId >= m_parts) {
        Fail(EBlockFault::Contradictory);
        return false;
    }
    const std::uint64_t start = m_partStarts[payload.partId], end = m_partStarts[payload.partId + 1];
    const std::uint64_t bytes = payload.data.size(); // no overflow, as offsets and lengths have 48 bits
    const bool fitsBlock = payload.offset >= start && payload.offset + bytes <= end;
    const bool fitsPart = payload.offset + bytes <= end - start;
    std::optional<bool> told;
    if (start > 0 && fitsBlock != fitsPart) {
        told = fitsPart;
    } else if (start > 0 && !offsets.countFromPart) {
        told = TellByNumber(payload, packetId);
    }
    const bool isTurned = told && m_hasAmbiguousPart && *told != offsets.countFromPart.value_or(false);
    if ((!fitsBlock && !fitsPart) || isTurned) {
        Fail(EBlockFault::Contradictory);
    }
    offsets.countFromPart = told ? told : offsets.countFromPart;
    m_hasAmbiguousPart = m_hasAmbiguousPart || (start > 0 && !offsets.countFromPart);
    offset = payload.offset + (offsets.countFromPart.value_or(false) ? start : 0);
    return Fault() == EBlockFault::None;
}

// Whether an offset that fits both ways counts from the part: as full packets and the packet's number have it.
std::optional<bool> COpenBlock::TellByNumber(const PayloadPacket& payload, std::uint32_t packetId) const {
    const PacketLayout layout{m_dataBytes};
    std::uint64_t first = 1; // packet of the part
    for (std::uint32_t i = 0; i < payload.partId; ++i) {
        first += layout.PayloadPackets(m_partStarts[i + 1] - m_partStarts[i]);
    }
    const std::uint64_t nominal = (packetId - first) * m_dataBytes;
    if (payload.offset == nominal) {
        return true;
    }
    return payload.offset == nominal + m_partStarts[payload.partId] ? std::optional(false) : std::nullopt;
}

COpenBlock::ETaken COpenBlock::Place(std::uint64_t offset, Bytes data, std::uint32_t packetId, bool isOutdated) {
    if (offset > m_memory.size() || data.size() > m_memory.size() - offset) {
        std::uint64_t needed = 0; // offsets of containers have 64 bits
        return FailTooSmall(__builtin_add_overflow(offset, data.size(), &needed) ? offset : needed);
    }
    if (packetId >= m_map.Room() - 1) {
        return Fail(EBlockFault::Contradictory); // packets far smaller than was agreed
    }
    m_map.Add(packetId);
    m_payloadEnd = std::max(m_payloadEnd, packetId + 1);
    if (!isOutdated) {
        std::memcpy(m_memory.data() + offset, data.data(), data.size());
        PrefetchFrom(m_memory.subspan(offset + data.size()));
    }
    return ETaken::New;
}

// Two packets of one id with different bytes are of two blocks.
bool COpenBlock::IsPlaced(std::uint64_t offset, Bytes data) const {
    return offset <= m_memory.size() && data.size() <= m_memory.size() - offset &&
           std::memcmp(m_memory.data() + offset, data.data(), data.size()) == 0;
}

COpenBlock::ETaken COpenBlock::TakeAllIn(const AllIn& packet, const CStreamFormat& format) {
    if (m_map.Count() != 0) {
        return ETaken::Ignored;
    }
    TakeLeader(packet.leader, format, 0);
    m_sizeY = packet.trailer.sizeY;
    m_chunkBytes = packet.trailer.dataLength;
    m_dataBytes = packet.data.size();
    if (!packet.data.empty() && TakeById(packet.data, 1, m_dataBytes) == ETaken::Faulty) {
        return ETaken::Faulty;
    }
    m_trailerId = m_map.End();
    m_map.Add(m_trailerId);
    return ETaken::New;
}

void COpenBlock::NoteStatus(Status status) {
    const bool isRemark = status != Status::Success && status != Status::PacketResend;
    if (isRemark && (IsError(status) || m_result.status == 0)) {
        m_result.status = static_cast<std::uint16_t>(status);
    }
}

COpenBlock::ETaken COpenBlock::Fail(EBlockFault fault) {
    m_result.fault = fault;
    return ETaken::Faulty;
}

COpenBlock::ETaken COpenBlock::FailTooSmall(std::uint64_t neededBytes) {
    m_result.neededBytes = std::max(neededBytes, m_toldBytes);
    return Fail(EBlockFault::BufferTooSmall);
}

std::uint32_t COpenBlock::ExpectedTrailer(const CStreamFormat& format) const {
    if (HasTrailer()) {
        return m_trailerId;
    }
    if (m_lastId != 0) {
        return m_lastId + 1;
    }
    std::uint64_t packets = m_toldPackets;
    if (packets == 0) {
        const std::uint64_t bytes = m_isToldExactly ? m_toldBytes : std::max(format.payloadBytes, m_toldBytes);
        const PacketFormat packetFormat = m_format != 0 ? PacketFormat{m_format} : FormatOf(m_result.payloadType);
        const auto layout = PacketLayout::For(format.packetSize, m_isExtended, packetFormat);
        if (bytes == 0 || !layout) {
            return 0;
        }
        packets = layout->PayloadPackets(bytes);
    }
    const std::uint64_t id = std::max<std::uint64_t>(packets + 1, m_map.End());
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(id, m_map.Room() - 1));
}

bool COpenBlock::IsComplete() {
    if (!HasTrailer() || m_map.Count() != m_trailerId + 1) {
        return false;
    }
    if (!IsWithoutHoles() || !IsAsLongAsTold() || !FitGeometry()) {
        Fail(EBlockFault::Contradictory);
        return false;
    }
    return true;
}

bool COpenBlock::IsWithoutHoles() const {
    if (m_format != static_cast<std::uint8_t>(PacketFormat::GenDc)) {
        return !IsByOffset(m_format) || m_tiling.Covers(0);
    }
    const CTiling& descriptor = m_descriptorTiling; // a preliminary one is sent again at the end
    return ((descriptor.Covers(0) && !m_hasOutdated) || descriptor.Covers(0, 2)) && m_tiling.Covers(descriptor.End());
}

// A trailer that came too early ends nothing. Images have lines to tell by, and what is compressed as it is sent cannot
// know its length when it begins.
bool COpenBlock::IsAsLongAsTold() const {
    const std::uint16_t base = PayloadType::BaseOf(m_result.payloadType);
    const bool isExact = base == PayloadType::kRawData || base == PayloadType::kFile || base == PayloadType::kGenDc;
    const std::uint64_t bytes = ReceivedBytes();
    return bytes >= m_chunkBytes && bytes >= m_trailerPartBytes &&
           (!isExact || m_result.hasChunks || bytes >= m_toldBytes);
}

std::uint64_t COpenBlock::ReceivedBytes() const {
    if (IsByOffset(m_format)) {
        return std::max(m_tiling.End(), m_descriptorTiling.End());
    }
    if (m_payloadEnd < 2) {
        return 0;
    }
    const std::uint32_t highest = m_payloadEnd - 1;
    return std::uint64_t{highest - 1} * m_dataBytes + (highest == m_lastId ? m_lastBytes : m_dataBytes);
}

// The trailer tells the lines; what came must hold them. Without its word there are as many as came.
bool COpenBlock::FitGeometry() {
    if (!m_result.isGeometryKnown) {
        return true;
    }
    const bool isPart = PayloadType::BaseOf(m_result.payloadType) == PayloadType::kMultiPart;
    const std::uint64_t bytes = isPart ? std::min(ReceivedBytes(), m_partStarts[1]) : ReceivedBytes();
    ImageGeometry& geometry = m_result.geometry;
    geometry.sizeY = m_sizeY != 0 ? m_sizeY : geometry.sizeY;
    if (Holds(bytes, geometry)) {
        return true;
    }
    const std::uint64_t lineBits = geometry.sizeX * std::uint64_t{geometry.pixelFormat >> 16 & 0xFF} +
                                   std::uint64_t{8} * geometry.paddingX; // not 0, as lines need bytes
    geometry.sizeY = static_cast<std::uint32_t>((bytes + geometry.paddingX) * 8 / lineBits);
    return m_sizeY == 0;
}

void COpenBlock::End(EBlockEnd end, EBlockFault fault, const CStreamFormat& format) {
    m_hasEnded = true;
    m_result.end = end;
    m_result.payloadBytes = ReceivedBytes();
    if (m_result.hasChunks && m_chunkBytes != 0) {
        m_result.payloadBytes = std::min<std::uint64_t>(m_result.payloadBytes, m_chunkBytes);
    }
    m_result.packets = ExpectedTrailer(format) != 0 ? ExpectedTrailer(format) + 1 : 0;
    if (end == EBlockEnd::Failed) {
        m_result.fault = Fault() != EBlockFault::None ? Fault() : fault;
        m_result.requested = resends.requested;
        m_result.tries = resends.tries;
        m_result.droppedByHost = droppedByHost;
        CountMissing(format);
    }
}

// What is behind the highest packet counts when it was waited for, or is known to be over.
void COpenBlock::CountMissing(const CStreamFormat& format) {
    const bool isTailLost = laterSeenNs != kNever || Fault() == EBlockFault::PacketsMissing ||
                            Fault() == EBlockFault::LeaderMissing || Fault() == EBlockFault::WindowFull;
    std::uint32_t end = m_map.End();
    if (!HasTrailer() && isTailLost) {
        end = std::max(ExpectedTrailer(format), end) + 1;
    }
    m_result.missing = end - m_map.Count();
    if (m_result.missing != 0) {
        m_result.firstMissing = m_map.NextMissing(0, end);
        m_result.lastMissing = end > m_map.End() ? end - 1 : m_map.LastMissing();
    }
}

} // namespace Gige
