// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ImageFormat.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace CamEmu {

/// What can be appended to an image: values of ChunkSelector, in the order in which they stand in the buffer. The
/// checksum comes last.
enum class EChunk : std::uint32_t {
    Timestamp,
    Framecounter,
    ExposureTime,
    Gain,
    OffsetX,
    OffsetY,
    Width,
    Height,
    PixelFormat,
    Stride,
    LineStatusAll,
    PayloadCrc16,
    Count_
};
inline constexpr std::uint32_t kChunks = static_cast<std::uint32_t>(EChunk::Count_);

/// The ids of the chunks, as in CamEmu.xml: that of the image, and of the first of the others.
inline constexpr std::uint32_t kImageChunkId = 0x0001;
inline constexpr std::uint32_t kFirstChunkId = 0x0100;

/// Whether images are sent with chunks, and with which ones.
struct CChunkSettings {
    bool isActive = false;
    std::uint32_t enabled = 0; ///< bit n: that EChunk

    bool IsEnabled(EChunk chunk) const { return (enabled >> static_cast<std::uint32_t>(chunk) & 1u) != 0; }
};

/// What the chunks of a frame tell.
struct CChunkValues {
    std::uint64_t timestampNs = 0;
    std::uint64_t frame = 0;
    double exposureUs = 0;
    double gainDb = 0;
    std::uint32_t lines = 0; ///< bit n: level of line n + 1
};

/// Bytes of an image as it is sent: alone, or as a chunk with those that are enabled behind it.
std::size_t PayloadSize(const CImageFormat& format, const CChunkSettings& chunks);

/// Makes chunks of the image at the start of @p payload, which has the PayloadSize of an image with chunks. Behind the
/// data of each chunk stand its id and its length, which is a multiple of 4; the image comes first. All numbers are big
/// endian, and can go over a network as they are.
void WriteChunks(const CImageFormat& format, const CChunkSettings& chunks, const CChunkValues& values,
                 std::span<std::uint8_t> payload);

} // namespace CamEmu
