// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/ChunkAdapter.h>

namespace GenApi {

/// Chunks of 1394 cameras: behind the data of each stand its id of 16 bytes, its length and the length's complement, 4
/// bytes each, big endian; read from the end. The buffer may end with a checksum of 4 bytes: the CRC-16 of all before,
/// by the polynomial 0x1021 from 0xFFFF on, big endian.
class GENICAM_API CChunkAdapterDcam : public CChunkAdapter {
public:
    explicit CChunkAdapterDcam(INodeMap* pNodeMap = nullptr, int64_t MaxChunkCacheSize = -1);
    ~CChunkAdapterDcam() override;

    bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) override;
    void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength, AttachStatistics_t* pAttachStatistics = nullptr) override;

    /// Whether the buffer's chunks are followed by a checksum; false also for a broken layout.
    bool HasCRC(const uint8_t* pBuffer, int64_t BufferLength) const;
    /// Whether it has a checksum that matches its content.
    bool CheckCRC(const uint8_t* pBuffer, int64_t BufferLength) const;
};

} // namespace GenApi
