// SPDX-License-Identifier: Apache-2.0
#include <GenApi/ChunkAdapterGEV.h>

#include "genicam/genapi/adapters/ChunkTrailers.h"

namespace GenApi {

using GEVTrailer = ShortTrailer<LoadBigEndian<std::uint32_t>>;

CChunkAdapterGEV::CChunkAdapterGEV(INodeMap* pNodeMap, int64_t MaxChunkCacheSize)
    : CChunkAdapter(pNodeMap, MaxChunkCacheSize) {}

CChunkAdapterGEV::~CChunkAdapterGEV() = default;

bool CChunkAdapterGEV::CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) {
    return HasChunks<GEVTrailer>(pBuffer, BufferLength);
}

void CChunkAdapterGEV::AttachBuffer(uint8_t* pBuffer, int64_t BufferLength, AttachStatistics_t* pAttachStatistics) {
    AttachChunks<GEVTrailer>(Ports(), pBuffer, BufferLength, pAttachStatistics);
}

} // namespace GenApi
