// SPDX-License-Identifier: Apache-2.0
#include <GenApi/ChunkAdapterDcam.h>

#include "genicam/genapi/adapters/ChunkTrailers.h"

namespace GenApi {

namespace {

constexpr int64_t kChecksumBytes = 4;

struct DcamTrailer {
    static constexpr std::int64_t kBytes = 24;
    static bool Read(const std::uint8_t* trailer, ChunkTrailer& read) noexcept {
        read.id = {LoadBigEndian<std::uint64_t>(trailer), LoadBigEndian<std::uint64_t>(trailer + 8)};
        const auto length = LoadBigEndian<std::uint32_t>(trailer + 16);
        read.length = length;
        return LoadBigEndian<std::uint32_t>(trailer + 20) == ~length;
    }
};

std::uint32_t Crc16(const std::uint8_t* bytes, std::int64_t length) noexcept {
    std::uint32_t crc = 0xFFFF;
    for (std::int64_t i = 0; i < length; ++i) {
        crc ^= std::uint32_t(bytes[i]) << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc << 1) ^ ((crc & 0x8000) != 0 ? 0x11021 : 0);
        }
    }
    return crc;
}

} // namespace

CChunkAdapterDcam::CChunkAdapterDcam(INodeMap* pNodeMap, int64_t MaxChunkCacheSize)
    : CChunkAdapter(pNodeMap, MaxChunkCacheSize) {}

CChunkAdapterDcam::~CChunkAdapterDcam() = default;

bool CChunkAdapterDcam::CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) {
    return HasChunks<DcamTrailer>(pBuffer, BufferLength) || HasCRC(pBuffer, BufferLength);
}

void CChunkAdapterDcam::AttachBuffer(uint8_t* pBuffer, int64_t BufferLength, AttachStatistics_t* pAttachStatistics) {
    const int64_t length = HasCRC(pBuffer, BufferLength) ? BufferLength - kChecksumBytes : BufferLength;
    AttachChunks<DcamTrailer>(Ports(), pBuffer, length, pAttachStatistics);
}

bool CChunkAdapterDcam::HasCRC(const uint8_t* pBuffer, int64_t BufferLength) const {
    return BufferLength > kChecksumBytes && !HasChunks<DcamTrailer>(pBuffer, BufferLength) &&
           HasChunks<DcamTrailer>(pBuffer, BufferLength - kChecksumBytes);
}

bool CChunkAdapterDcam::CheckCRC(const uint8_t* pBuffer, int64_t BufferLength) const {
    return HasCRC(pBuffer, BufferLength) && Crc16(pBuffer, BufferLength - kChecksumBytes) ==
                                                LoadBigEndian<std::uint32_t>(pBuffer + BufferLength - kChecksumBytes);
}

} // namespace GenApi
