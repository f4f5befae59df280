// SPDX-License-Identifier: Apache-2.0
#include <GenApi/ChunkAdapterGeneric.h>

#include "genicam/genapi/adapters/ChunkPorts.h"

#include <Base/GCException.h>

#include <cinttypes>
#include <limits>
#include <optional>

namespace GenApi {

namespace {

constexpr int64_t kUnknownLength = std::numeric_limits<int64_t>::max();

HexId IdOf(const SingleChunkData_t& chunk) {
    return {0, chunk.ChunkID};
}

HexId IdOf(const SingleChunkDataStr_t& chunk) {
    const std::optional<HexId> id = ParseHexId(chunk.ChunkID.view());
    if (!id) {
        throw INVALID_ARGUMENT_EXCEPTION("The chunk id '%s' is no hexadecimal number of at most 16 bytes",
                                         chunk.ChunkID.c_str());
    }
    return *id;
}

void CheckList(const void* buffer, int64_t limit, const void* chunks, int64_t count) {
    if (buffer == nullptr || limit < 0 || count < 0 || (chunks == nullptr && count > 0)) {
        throw RUNTIME_EXCEPTION("Invalid layout of buffer attached to chunk parser! A list of %" PRId64
                                " chunks at %p is given for %" PRId64 " bytes at %p",
                                count, chunks, limit, buffer);
    }
}

void CheckPlace(int64_t index, ptrdiff_t offset, size_t length, int64_t limit) {
    if (offset < 0 || offset > limit || length > static_cast<uint64_t>(limit - offset)) {
        throw RUNTIME_EXCEPTION("Invalid layout of buffer attached to chunk parser! Chunk %" PRId64
                                " with %zu bytes from byte %td on does not lie in it",
                                index, length, offset);
    }
}

} // namespace

CChunkAdapterGeneric::CChunkAdapterGeneric(INodeMap* pNodeMap, int64_t MaxChunkCacheSize)
    : CChunkAdapter(pNodeMap, MaxChunkCacheSize) {}

CChunkAdapterGeneric::~CChunkAdapterGeneric() = default;

bool CChunkAdapterGeneric::CheckBufferLayout(uint8_t*, int64_t) {
    return false;
}

void CChunkAdapterGeneric::AttachBuffer(uint8_t*, int64_t, AttachStatistics_t*) {
    throw LOGICAL_ERROR_EXCEPTION("A generic chunk adapter cannot attach a buffer without a list of its chunks");
}

template <class Chunk>
void CChunkAdapterGeneric::AttachListed(uint8_t* pBuffer, int64_t limit, const Chunk* chunks, int64_t count,
                                        AttachStatistics_t* statistics) {
    CheckList(pBuffer, limit, chunks, count);
    Ports().Begin();
    for (int64_t i = 0; i < count; ++i) {
        CheckPlace(i, chunks[i].ChunkOffset, chunks[i].ChunkLength, limit);
        Ports().Offer(IdOf(chunks[i]), chunks[i].ChunkOffset, static_cast<int64_t>(chunks[i].ChunkLength));
    }
    Ports().Attach(pBuffer, statistics);
}

void CChunkAdapterGeneric::AttachBuffer(uint8_t* pBuffer, SingleChunkData_t* ChunkData, int64_t NumChunks,
                                        AttachStatistics_t* pAttachStatistics) {
    AttachListed(pBuffer, kUnknownLength, ChunkData, NumChunks, pAttachStatistics);
}

void CChunkAdapterGeneric::AttachBuffer(uint8_t* pBuffer, SingleChunkDataStr_t* ChunkData, int64_t NumChunks,
                                        AttachStatistics_t* pAttachStatistics) {
    AttachListed(pBuffer, kUnknownLength, ChunkData, NumChunks, pAttachStatistics);
}

void CChunkAdapterGeneric::AttachBuffer(uint8_t* pBuffer, int64_t BufferLength, SingleChunkData_t* ChunkData,
                                        int64_t NumChunks, AttachStatistics_t* pAttachStatistics) {
    AttachListed(pBuffer, BufferLength, ChunkData, NumChunks, pAttachStatistics);
}

void CChunkAdapterGeneric::AttachBuffer(uint8_t* pBuffer, int64_t BufferLength, SingleChunkDataStr_t* ChunkData,
                                        int64_t NumChunks, AttachStatistics_t* pAttachStatistics) {
    AttachListed(pBuffer, BufferLength, ChunkData, NumChunks, pAttachStatistics);
}

} // namespace GenApi
