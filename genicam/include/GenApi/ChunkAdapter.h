// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>

#include <cstdint>
#include <memory>

namespace GenApi {

struct INodeMap;
class ChunkPorts;

/// What AttachBuffer found.
struct AttachStatistics_t {
    int NumChunkPorts;     ///< In the node map.
    int NumChunks;         ///< In the buffer.
    int NumAttachedChunks; ///< Chunks of the buffer that are attached to a port.
};

/// Makes the chunks at the end of an image readable as nodes: each chunk goes to the port nodes of the node map that
/// have its id as ChunkID, or in the string node that pChunkID names. Ids are compared as numbers; of several chunks
/// with one id, the one found first is taken. A port without a chunk in the buffer is not available, nor are the nodes
/// on it.
///
/// An id of pChunkID is asked for at each AttachBuffer, so that a changed one counts from the next buffer on; one that
/// cannot be read or is no hexadecimal number gets no chunk.
/// A port that says CacheChunkData is given a copy of its chunk, which is read also after the buffer was used for
/// something else, until it is detached or replaced; what is written to such a port goes to the copy alone.
///
/// Buffers are borrowed: they must stay until they are detached or replaced. Every length is checked against the length
/// given, which must be that of the data received. Each operation fires the callbacks of what it changes once, before
/// it returns; exceptions of callbacks come out of it when all is done. Threads: one at a time for an adapter, any for
/// its node map, at the same time. One node map may serve several adapters; a port belongs to that which was attached
/// last. A node map of this library may be destroyed before the adapter, one of another make may not.
class GENICAM_API CChunkAdapter {
public:
    CChunkAdapter(const CChunkAdapter&) = delete;
    CChunkAdapter& operator=(const CChunkAdapter&) = delete;
    virtual ~CChunkAdapter(); ///< Detaches buffer and node map.

    /// Connects the chunk ports of a node map (borrowed), in place of the one before.
    /// @throws GenICam::InvalidArgumentException on null.
    void AttachNodeMap(INodeMap* pNodeMap);
    void DetachNodeMap(); ///< Detaches the buffer, too. Nothing happens without a node map.

    /// Whether AttachBuffer would take the buffer. Touches no node.
    virtual bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) = 0;

    /// Takes the chunks of a buffer of @p BufferLength bytes in place of those before.
    /// @throws GenICam::RuntimeException on a broken layout; then nothing has changed.
    virtual void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength,
                              AttachStatistics_t* pAttachStatistics = nullptr) = 0;
    void DetachBuffer(); ///< No chunk node is available after that. Nothing happens without a buffer.

    /// The attached buffer was moved, with its content, to @p pBaseAddress.
    /// @throws GenICam::LogicalErrorException without a buffer, GenICam::RuntimeException on null.
    void UpdateBuffer(uint8_t* pBaseAddress);

    /// Frees the copies of chunks; ports that are read from a copy lose their chunk.
    void ClearCaches();

protected:
    /// @p MaxChunkCacheSize is the longest chunk, in bytes, that is copied: -1 for any, 0 for none.
    explicit CChunkAdapter(INodeMap* pNodeMap = nullptr, int64_t MaxChunkCacheSize = -1);

    ChunkPorts& Ports() noexcept { return *m_ports; }

private:
    std::unique_ptr<ChunkPorts> m_ports;
};

} // namespace GenApi
