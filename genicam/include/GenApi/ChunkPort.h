// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/PortImpl.h>

#include <vector>

namespace GenApi {

/// The port implementation behind one chunk: address 0 is the first byte of the chunk's data, bytes come as they stand
/// there. At CHUNK_BASE_ADDRESS_REGISTER and CHUNK_LENGTH_REGISTER, 8 bytes in host order tell where the data is read
/// from and how long it is. Chunk adapters own theirs; everything is called under the lock of the node map.
class GENICAM_API CChunkPort : public CPortImpl {
public:
    CChunkPort();
    ~CChunkPort() override;

    EAccessMode GetAccessMode() const override; ///< RW with a chunk, else NA.
    /// @throws GenICam::AccessException without a chunk, GenICam::RuntimeException outside of its data.
    void Read(void* pBuffer, int64_t Address, int64_t Length) override;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override; ///< As Read; changes what is read.

    /// Whose data begins at @p ChunkOffset of the buffer at @p pBaseAddress, which is borrowed until DetachChunk.
    /// Replaces what was attached.
    void AttachChunk(uint8_t* pBaseAddress, int64_t ChunkOffset, int64_t Length) noexcept;
    /// The same with a copy, for which ReserveCopy has made room; the buffer is not used after the call.
    void AttachCopy(const uint8_t* pBaseAddress, int64_t ChunkOffset, int64_t Length) noexcept;
    void ReserveCopy(int64_t Length);                  ///< @throws std::bad_alloc, with nothing changed.
    void UpdateBuffer(uint8_t* pBaseAddress) noexcept; ///< The buffer has moved; a copy stays as it is.
    void DetachChunk() noexcept;
    void ClearCache() noexcept; ///< Frees the copy; a chunk that is read from it is detached.
    bool IsAttached() const noexcept { return m_state != State_Detached; }
    bool IsCopied() const noexcept { return m_state == State_Copied; } ///< Whether a copy is read.

private:
    enum EState { State_Detached, State_InBuffer, State_Copied };

    uint8_t* Data() noexcept;
    uint8_t* Locate(int64_t address, int64_t length);

    EState m_state = State_Detached;
    uint8_t* m_baseAddress = nullptr; // of the buffer
    int64_t m_offset = 0;             // in the buffer
    int64_t m_length = 0;
    std::vector<uint8_t> m_copy; // keeps its room from chunk to chunk
};

} // namespace GenApi
