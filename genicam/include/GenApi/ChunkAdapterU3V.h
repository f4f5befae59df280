// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/ChunkAdapter.h>

namespace GenApi {

/// Chunks of USB3 Vision: behind the data of each stand its id and its length, 4 bytes each, little endian; read from
/// the end. Memory that is all zero is no layout.
class GENICAM_API CChunkAdapterU3V : public CChunkAdapter {
public:
    explicit CChunkAdapterU3V(INodeMap* pNodeMap = nullptr, int64_t MaxChunkCacheSize = -1);
    ~CChunkAdapterU3V() override;

    bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) override;
    void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength, AttachStatistics_t* pAttachStatistics = nullptr) override;
};

} // namespace GenApi
