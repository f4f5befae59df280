// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/ChunkAdapter.h>

namespace GenApi {

/// Chunks of GigE Vision: behind the data of each stand its id and its length, 4 bytes each, big endian; read from the
/// end. Memory that is all zero is no layout.
class GENICAM_API CChunkAdapterGEV : public CChunkAdapter {
public:
    explicit CChunkAdapterGEV(INodeMap* pNodeMap = nullptr, int64_t MaxChunkCacheSize = -1);
    ~CChunkAdapterGEV() override;

    bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) override;
    void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength, AttachStatistics_t* pAttachStatistics = nullptr) override;
};

} // namespace GenApi
