// SPDX-License-Identifier: Apache-2.0
#include "ChunkWriter.h"

#include "BigEndian.h"
#include "common/Crc16.h"

#include <algorithm>
#include <bit>

namespace CamEmu {

namespace {

constexpr std::size_t kTrailerBytes = 8;

constexpr std::uint32_t IdOf(EChunk chunk) {
    return kFirstChunkId + static_cast<std::uint32_t>(chunk);
}

constexpr std::size_t SizeOf(EChunk chunk) {
    return chunk <= EChunk::Gain ? 8 : 4;
}

std::size_t PaddedImageSize(const CImageFormat& format) {
    return (format.PayloadSize() + 3) / 4 * 4;
}

// The data of a chunk but for the checksum, as an unsigned number.
std::uint64_t ValueOf(EChunk chunk, const CImageFormat& format, const CChunkValues& values) {
    switch (chunk) {
    case EChunk::Timestamp:
        return values.timestampNs;
    case EChunk::Framecounter:
        return values.frame;
    case EChunk::ExposureTime:
        return std::bit_cast<std::uint64_t>(values.exposureUs);
    case EChunk::Gain:
        return std::bit_cast<std::uint64_t>(values.gainDb);
    case EChunk::OffsetX:
        return format.offsetX;
    case EChunk::OffsetY:
        return format.offsetY;
    case EChunk::Width:
        return format.width;
    case EChunk::Height:
        return format.height;
    case EChunk::PixelFormat:
        return format.pixels->code;
    case EChunk::Stride:
        return format.BytesPerLine();
    default:
        return values.lines;
    }
}

/// Appends chunks one after the other.
class CWriter {
public:
    explicit CWriter(std::span<std::uint8_t> payload) : m_payload(payload) {}

    /// What lies @p size bytes on is the data of that chunk.
    void CloseChunk(std::uint32_t id, std::size_t size) {
        m_used += size;
        PutBigEndian(id, Here());
        PutBigEndian(static_cast<std::uint32_t>(size), Here() + 4);
        m_used += kTrailerBytes;
    }
    void Put(EChunk chunk, std::uint64_t value) {
        if (SizeOf(chunk) == 8) {
            PutBigEndian(value, Here());
        } else {
            PutBigEndian(static_cast<std::uint32_t>(value), Here());
        }
        CloseChunk(IdOf(chunk), SizeOf(chunk));
    }
    std::uint8_t* Here() const { return m_payload.data() + m_used; }
    std::span<const std::uint8_t> Written() const { return m_payload.first(m_used); }

private:
    std::span<std::uint8_t> m_payload;
    std::size_t m_used = 0;
};

} // namespace

std::size_t PayloadSize(const CImageFormat& format, const CChunkSettings& chunks) {
    if (!chunks.isActive) {
        return format.PayloadSize();
    }
    std::size_t size = PaddedImageSize(format) + kTrailerBytes;
    for (std::uint32_t i = 0; i < kChunks; ++i) {
        const auto chunk = static_cast<EChunk>(i);
        size += chunks.IsEnabled(chunk) ? SizeOf(chunk) + kTrailerBytes : 0;
    }
    return size;
}

void WriteChunks(const CImageFormat& format, const CChunkSettings& chunks, const CChunkValues& values,
                 std::span<std::uint8_t> payload) {
    CWriter writer(payload);
    const std::size_t imageBytes = format.PayloadSize(), paddedBytes = PaddedImageSize(format);
    std::fill_n(writer.Here() + imageBytes, paddedBytes - imageBytes, std::uint8_t{0});
    writer.CloseChunk(kImageChunkId, paddedBytes);
    for (std::uint32_t i = 0; i < kChunks; ++i) {
        const auto chunk = static_cast<EChunk>(i);
        if (chunks.IsEnabled(chunk)) {
            writer.Put(chunk, chunk == EChunk::PayloadCrc16 ? PluginKit::Crc16(writer.Written())
                                                            : ValueOf(chunk, format, values));
        }
    }
}

} // namespace CamEmu
