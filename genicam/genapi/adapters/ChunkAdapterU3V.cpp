// SPDX-License-Identifier: Apache-2.0
#include <GenApi/ChunkAdapterU3V.h>

#include "genicam/genapi/adapters/ChunkTrailers.h"

namespace GenApi {

using U3VTrailer = ShortTrailer<LoadLittleEndian<std::uint32_t>>;

CChunkAdapterU3V::CChunkAdapterU3V(INodeMap* pNodeMap, int64_t MaxChunkCacheSize)
    : CChunkAdapter(pNodeMap, MaxChunkCacheSize) {}

CChunkAdapterU3V::~CChunkAdapterU3V() = default;

bool CChunkAdapterU3V::CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) {
    return HasChunks<U3VTrailer>(pBuffer, BufferLength);
}

void CChunkAdapterU3V::AttachBuffer(uint8_t* pBuffer, int64_t BufferLength, AttachStatistics_t* pAttachStatistics) {
    AttachChunks<U3VTrailer>(Ports(), pBuffer, BufferLength, pAttachStatistics);
}

} // namespace GenApi
