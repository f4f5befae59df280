// SPDX-License-Identifier: Apache-2.0
#include "Block.h"

#include <algorithm>

namespace Serving {

using namespace GigEVision;

namespace {

PacketLayout LayoutOf(std::uint32_t packetSize, bool isExtended) {
    return *PacketLayout::For(std::max(packetSize, kMinPacketSize), isExtended);
}

} // namespace

CBlock::CBlock(std::size_t payloadBytes)
    : m_memoryBytes(payloadBytes), m_memory(std::make_unique_for_overwrite<std::uint8_t[]>(payloadBytes)),
      m_resends(LayoutOf(kMinPacketSize, true).TrailerId(payloadBytes) + 1) {}

void CBlock::Prepare(const CamEmu::CFrame& frame, const CBlockIds& ids, const CStreamSettings& settings) {
    m_ids = ids;
    m_settings = settings;
    m_payloadBytes = frame.payloadSize;
    const bool isComplete = frame.status == CamEmu::EFrameStatus::Complete;
    m_trailerStatus = isComplete ? Status::Success : Status::DataOverrun;
    Leader leader;
    Trailer trailer;
    leader.timestamp = static_cast<std::uint64_t>(frame.timestampNs);
    if (!frame.hasChunks || settings.extendedChunks) {
        DescribeImage(frame, leader, trailer);
    }
    if (frame.hasChunks) {
        DescribeChunks(frame, leader, trailer);
    }
    trailer.sizeY = isComplete ? trailer.sizeY : 0;
    trailer.payloadType = leader.payloadType;
    m_leaderBytes = EncodeLeader(leader, m_leader).size();
    m_trailerBytes = EncodeTrailer(trailer, m_trailer).size();
    m_layout = LayoutOf(settings.packetSize, settings.extendedIds);
    m_trailerId = static_cast<std::uint32_t>(m_layout.TrailerId(m_payloadBytes));
    std::fill_n(m_resends.begin(), m_trailerId + 1, std::uint8_t{0});
    passedIds = 0;
}

// The image of a smaller or moved region is told as such; lines that are dropped are missing at its end.
void CBlock::DescribeImage(const CamEmu::CFrame& frame, Leader& leader, Trailer& trailer) {
    const CamEmu::CImageFormat& region = frame.region;
    leader.payloadType = PayloadType::kImage;
    leader.geometry = {region.pixels->code, region.width, region.height, region.offsetX, region.offsetY, 0, 0};
    const std::uint32_t dropped = frame.hasChunks ? 0 : std::min(m_ids.droppedLines, region.height);
    trailer.sizeY = region.height - dropped;
    m_payloadBytes -= std::min(m_payloadBytes, dropped * region.BytesPerLine());
}

void CBlock::DescribeChunks(const CamEmu::CFrame& frame, Leader& leader, Trailer& trailer) {
    leader.payloadType =
        m_settings.extendedChunks ? PayloadType::kImage | PayloadType::kChunks : PayloadType::kChunkData;
    trailer.dataLength = static_cast<std::uint32_t>(frame.payloadSize);
    trailer.layoutId = m_ids.layoutId;
}

Bytes CBlock::Content(std::uint32_t packetId) const {
    if (packetId == 0) {
        return Bytes(m_leader).first(m_leaderBytes);
    }
    return packetId == m_trailerId ? Bytes(m_trailer).first(m_trailerBytes) : Bytes();
}

Bytes CBlock::Slice(std::uint32_t packetId) const {
    if (packetId == 0 || packetId >= m_trailerId) {
        return {};
    }
    return {m_memory.get() + m_layout.Offset(packetId), m_layout.Length(packetId, m_payloadBytes)};
}

PacketHeader CBlock::Header(std::uint32_t packetId) const {
    PacketHeader header;
    header.isExtended = m_settings.extendedIds;
    header.blockId = WireId(header.isExtended);
    header.packetId = packetId;
    header.format = static_cast<std::uint8_t>(PacketFormat::Generic);
    if (packetId == 0) {
        header.format = static_cast<std::uint8_t>(PacketFormat::Leader);
        header.flags = header.isExtended && m_ids.isPreviousDropped ? PacketFlag::kPreviousDropped : 0;
    } else if (packetId == m_trailerId) {
        header.format = static_cast<std::uint8_t>(PacketFormat::Trailer);
        header.status = m_trailerStatus;
    }
    return header;
}

std::uint8_t CBlock::TakeQueued(std::uint32_t packetId) {
    std::uint8_t& state = m_resends[packetId];
    const auto count = static_cast<std::uint8_t>(std::min((state & ~kQueued) + 1, 127));
    return state = count;
}

} // namespace Serving
