// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCString.h>
#include <GenApi/ChunkAdapter.h>

#include <cstddef>

namespace GenApi {

/// Where one chunk is in a buffer.
struct SingleChunkData_t {
    uint64_t ChunkID;
    ptrdiff_t ChunkOffset; ///< Of its data, from the start of the buffer.
    size_t ChunkLength;
};

/// The same with a hexadecimal id of up to 16 bytes.
struct SingleChunkDataStr_t {
    GenICam::gcstring ChunkID;
    ptrdiff_t ChunkOffset;
    size_t ChunkLength;
};

/// Chunks whose places the caller knows and lists. A negative number of chunks, or a chunk that does not lie in the
/// buffer, is a broken layout; an id that is no hexadecimal number is an InvalidArgumentException. Neither changes
/// anything.
class GENICAM_API CChunkAdapterGeneric : public CChunkAdapter {
public:
    explicit CChunkAdapterGeneric(INodeMap* pNodeMap = nullptr, int64_t MaxChunkCacheSize = -1);
    ~CChunkAdapterGeneric() override;

    /// There is no layout to be found without a list: false, and a LogicalErrorException.
    bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) override;
    void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength, AttachStatistics_t* pAttachStatistics = nullptr) override;

    /// The caller answers for it that all chunks lie in the buffer.
    void AttachBuffer(uint8_t* pBuffer, SingleChunkData_t* ChunkData, int64_t NumChunks,
                      AttachStatistics_t* pAttachStatistics = nullptr);
    void AttachBuffer(uint8_t* pBuffer, SingleChunkDataStr_t* ChunkData, int64_t NumChunks,
                      AttachStatistics_t* pAttachStatistics = nullptr);

    /// The same, but a chunk beyond @p BufferLength is a broken layout: to be preferred where the length is known.
    void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength, SingleChunkData_t* ChunkData, int64_t NumChunks,
                      AttachStatistics_t* pAttachStatistics = nullptr);
    void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength, SingleChunkDataStr_t* ChunkData, int64_t NumChunks,
                      AttachStatistics_t* pAttachStatistics = nullptr);

private:
    template <class Chunk>
    void AttachListed(uint8_t* pBuffer, int64_t limit, const Chunk* chunks, int64_t count,
                      AttachStatistics_t* statistics);
};

} // namespace GenApi
