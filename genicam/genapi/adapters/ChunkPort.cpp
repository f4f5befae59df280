// SPDX-License-Identifier: Apache-2.0
#include <GenApi/ChunkPort.h>

#include <Base/GCException.h>

#include <algorithm>
#include <cinttypes>
#include <cstring>

namespace GenApi {

CChunkPort::CChunkPort() = default;

CChunkPort::~CChunkPort() = default;

EAccessMode CChunkPort::GetAccessMode() const {
    return IsAttached() ? RW : NA;
}

uint8_t* CChunkPort::Data() noexcept {
    return IsCopied() ? m_copy.data() : m_baseAddress + m_offset;
}

uint8_t* CChunkPort::Locate(int64_t address, int64_t length) {
    if (!IsAttached()) {
        throw ACCESS_EXCEPTION("There is no chunk to access at address %" PRId64, address);
    }
    if (address < 0 || length < 0 || address > m_length || length > m_length - address) {
        throw RUNTIME_EXCEPTION("The chunk has no %" PRId64 " bytes at address %" PRId64 ": it is %" PRId64
                                " bytes long",
                                length, address, m_length);
    }
    return Data() + address;
}

void CChunkPort::Read(void* pBuffer, int64_t Address, int64_t Length) {
    if (IsAttached() && Address == CHUNK_BASE_ADDRESS_REGISTER && Length == CHUNK_BASE_ADDRESS_REGISTER_LEN) {
        const uint64_t place = reinterpret_cast<uintptr_t>(Data());
        std::memcpy(pBuffer, &place, sizeof place);
    } else if (IsAttached() && Address == CHUNK_LENGTH_REGISTER && Length == CHUNK_LENGTH_REGISTER_LEN) {
        std::memcpy(pBuffer, &m_length, sizeof m_length);
    } else {
        std::copy_n(Locate(Address, Length), Length, static_cast<uint8_t*>(pBuffer));
    }
}

void CChunkPort::Write(const void* pBuffer, int64_t Address, int64_t Length) {
    std::copy_n(static_cast<const uint8_t*>(pBuffer), Length, Locate(Address, Length));
}

void CChunkPort::AttachChunk(uint8_t* pBaseAddress, int64_t ChunkOffset, int64_t Length) noexcept {
    m_state = State_InBuffer;
    m_baseAddress = pBaseAddress;
    m_offset = ChunkOffset;
    m_length = Length;
}

void CChunkPort::AttachCopy(const uint8_t* pBaseAddress, int64_t ChunkOffset, int64_t Length) noexcept {
    m_copy.assign(pBaseAddress + ChunkOffset, pBaseAddress + ChunkOffset + Length);
    m_state = State_Copied;
    m_length = Length;
}

void CChunkPort::ReserveCopy(int64_t Length) {
    m_copy.reserve(static_cast<size_t>(Length));
}

void CChunkPort::UpdateBuffer(uint8_t* pBaseAddress) noexcept {
    if (m_state == State_InBuffer) {
        m_baseAddress = pBaseAddress;
    }
}

void CChunkPort::DetachChunk() noexcept {
    m_state = State_Detached;
    m_baseAddress = nullptr;
    m_length = 0;
}

void CChunkPort::ClearCache() noexcept {
    if (IsCopied()) {
        DetachChunk();
    }
    std::vector<uint8_t>().swap(m_copy);
}

} // namespace GenApi
