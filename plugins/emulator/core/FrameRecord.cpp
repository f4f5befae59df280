// SPDX-License-Identifier: Apache-2.0
#include "FrameRecord.h"

#include <zlib.h>

#include <cstring>

namespace CamEmu {

namespace {

constexpr std::uint32_t kMagic = 0x52464543; // "CEFR"
constexpr std::uint16_t kVersion = 1;

// The record as it stands in memory; all hosts that this is built for are little endian.
struct CStoredRecord {
    std::uint32_t magic;
    std::uint16_t version;
    std::uint16_t sizeBytes;
    std::uint32_t cameraNumber;
    std::uint32_t crc;
    std::uint64_t blockId;
    std::uint64_t payloadSize;
};
static_assert(sizeof(CStoredRecord) == CFrameRecord::kSizeBytes);

std::uint32_t CrcOfRest(std::span<const std::uint8_t> image) {
    return static_cast<std::uint32_t>(
        crc32_z(0, image.data() + CFrameRecord::kSizeBytes, image.size() - CFrameRecord::kSizeBytes));
}

} // namespace

void WriteFrameRecord(std::uint32_t cameraNumber, std::uint64_t blockId, std::span<std::uint8_t> image) {
    if (image.size() < CFrameRecord::kSizeBytes) {
        return;
    }
    const CStoredRecord stored{kMagic,  kVersion,    CFrameRecord::kSizeBytes, cameraNumber, CrcOfRest(image),
                               blockId, image.size()};
    std::memcpy(image.data(), &stored, sizeof stored);
}

EFrameCheck CheckFrame(std::span<const std::uint8_t> image, CFrameRecord& record) {
    CStoredRecord stored;
    if (image.size() < sizeof stored) {
        return EFrameCheck::NoRecord;
    }
    std::memcpy(&stored, image.data(), sizeof stored);
    if (stored.magic != kMagic || stored.version != kVersion || stored.sizeBytes != sizeof stored) {
        return EFrameCheck::NoRecord;
    }
    record = {stored.cameraNumber, stored.crc, stored.blockId, stored.payloadSize};
    if (record.payloadSize < sizeof stored || record.payloadSize > image.size()) {
        return EFrameCheck::Truncated;
    }
    return CrcOfRest(image.first(record.payloadSize)) == record.crc ? EFrameCheck::Intact : EFrameCheck::Torn;
}

} // namespace CamEmu
