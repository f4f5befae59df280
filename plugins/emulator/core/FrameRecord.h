// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace CamEmu {

/// What the first 32 bytes of a FrameCounter image say of it; the layout is told in docs/emulator.md.
struct CFrameRecord {
    static constexpr std::size_t kSizeBytes = 32;

    std::uint32_t cameraNumber = 0;
    std::uint32_t crc = 0; ///< CRC-32 (that of zlib and PNG) of the bytes behind the record
    std::uint64_t blockId = 0;
    std::uint64_t payloadSize = 0; ///< bytes of the whole image, the record among them
};

/// Writes the record of an image that is complete but for its first 32 bytes. An image of fewer bytes is left as it is.
void WriteFrameRecord(std::uint32_t cameraNumber, std::uint64_t blockId, std::span<std::uint8_t> image);

enum class EFrameCheck {
    Intact,
    NoRecord,  ///< too short, or not the image of a FrameCounter
    Truncated, ///< fewer bytes than the record tells
    Torn       ///< the bytes behind the record are not those that it was written for
};

/// Reads the record of a received image and tests the image against it. @p record is filled unless there is none.
EFrameCheck CheckFrame(std::span<const std::uint8_t> image, CFrameRecord& record);

} // namespace CamEmu
