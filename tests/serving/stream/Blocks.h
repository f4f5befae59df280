// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <core/FrameRecord.h>
#include <serving/stream/Block.h>
#include <serving/stream/DatagramBatch.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace Serving {

using Datagram = std::vector<std::uint8_t>;

/// A frame of 64 × 40 bytes, drawn into a block.
inline CamEmu::CFrame FrameOf(CBlock& block) {
    CamEmu::CFrame frame;
    frame.status = CamEmu::EFrameStatus::Complete;
    frame.timestampNs = 0x1122334455667788;
    frame.region = {64, 40, 2, 4, &CamEmu::PixelFormats()[0]};
    frame.format = frame.region;
    frame.payloadSize = frame.region.PayloadSize();
    for (std::size_t i = 0; i < block.Memory().size(); ++i) {
        block.Memory()[i] = static_cast<std::uint8_t>(i * 7);
    }
    return frame;
}
inline constexpr std::size_t kFrameBytes = 64 * 40; // 5 packets of 540 bytes, the last one short

inline std::unique_ptr<CBlock> MakeBlock(std::uint64_t id, CStreamSettings settings = {.packetSize = 576}) {
    auto block = std::make_unique<CBlock>(kFrameBytes);
    const CamEmu::CFrame frame = FrameOf(*block);
    block->Prepare(frame, {.number = id, .sent = id}, settings);
    return block;
}

inline Datagram BytesOf(const CDatagramBatch& batch, std::size_t index) {
    Datagram bytes;
    for (const iovec& part : batch.Parts(index)) {
        const auto* const begin = static_cast<const std::uint8_t*>(part.iov_base);
        bytes.insert(bytes.end(), begin, begin + part.iov_len);
    }
    return bytes;
}

inline Datagram PacketOf(const CBlock& block, std::uint32_t packetId, const CPacketMarks& marks = {}) {
    CDatagramBatch batch;
    batch.AddPacket(block, packetId, marks, CDatagramBatch::EKind::New);
    return BytesOf(batch, 0);
}

} // namespace Serving
