// SPDX-License-Identifier: Apache-2.0
#include <zelmo/ChunkParser.h>

#include <Base/GCException.h>
#include <GenApi/ChunkAdapter.h>

namespace Zelmo {
namespace {

/// The adapter writes to a buffer only when a chunk node is written.
std::uint8_t* Bytes(const void* buffer) noexcept {
    return static_cast<std::uint8_t*>(const_cast<void*>(buffer));
}

[[noreturn]] void FailAsNotSelfReliant() {
    throw RUNTIME_EXCEPTION("This is object is not a self-reliant chunk parser.");
}

} // namespace

CChunkParser::~CChunkParser() {
    try {
        CChunkParser::DetachBuffer();
    } catch (...) { // of a callback, which may throw anything; the buffer is out all the same
    }
    delete m_adapter;
}

void CChunkParser::AttachBuffer(const void* buffer, std::int64_t bufferSizeBytes,
                                GenApi::AttachStatistics_t* statistics) {
    m_isUncertain = true;
    m_adapter->AttachBuffer(Bytes(buffer), bufferSizeBytes, statistics);
    m_buffer = CBuffer(buffer, bufferSizeBytes);
    m_isAttached = true;
    m_isUncertain = false;
}

void CChunkParser::DetachBuffer() {
    if (m_isAttached || m_isUncertain) {
        m_adapter->DetachBuffer();
        m_buffer = CBuffer(nullptr, 0);
        m_isAttached = false;
        m_isUncertain = false;
    }
}

void CChunkParser::UpdateBuffer(const void* buffer) {
    if (!m_isAttached) {
        throw LOGICAL_ERROR_EXCEPTION("No buffer attached.");
    }
    m_adapter->UpdateBuffer(Bytes(buffer));
    m_buffer = CBuffer(buffer, m_buffer.GetSize());
}

GenApi::INodeMap* CChunkParser::GetChunkDataNodeMap() {
    FailAsNotSelfReliant();
}

void CChunkParser::Destroy() {
    FailAsNotSelfReliant();
}

} // namespace Zelmo
