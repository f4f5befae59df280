// SPDX-License-Identifier: Apache-2.0
#include "common/BufferRegistry.h"

#include <Base/GCException.h>

namespace PluginKit {

void CBufferRegistry::Limit(std::size_t maxBufferBytes, std::size_t maxBuffers) {
    m_maxBufferBytes = maxBufferBytes;
    m_maxBuffers = maxBuffers;
}

void CBufferRegistry::RequireRoom(const void* memory, std::size_t sizeBytes) const {
    if (!memory) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot register a buffer: the pointer is null.");
    }
    if (sizeBytes < m_maxBufferBytes) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot register a buffer of %zu bytes: MaxBufferSize promises %zu.",
                                         sizeBytes, m_maxBufferBytes);
    }
    if (m_buffers.size() >= m_maxBuffers) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot register a buffer: MaxNumBuffer promises %zu, and as many are "
                                      "registered.",
                                      m_maxBuffers);
    }
}

CRegisteredBuffer& CBufferRegistry::Add(void* memory, std::size_t sizeBytes) {
    auto* const handle = reinterpret_cast<Zelmo::StreamBufferHandle>(++m_lastHandle);
    CRegisteredBuffer& buffer = m_buffers[handle];
    buffer.handle = handle;
    buffer.memory = {static_cast<std::uint8_t*>(memory), sizeBytes};
    return buffer;
}

void* CBufferRegistry::Remove(Zelmo::StreamBufferHandle handle) {
    void* const memory = Idle(handle, "deregister").memory.data();
    m_buffers.erase(handle);
    return memory;
}

void CBufferRegistry::Clear() {
    m_buffers.clear();
    m_away = 0;
}

CRegisteredBuffer& CBufferRegistry::Queue(Zelmo::StreamBufferHandle handle, void* context) {
    CRegisteredBuffer& buffer = Idle(handle, "queue");
    buffer.context = context;
    buffer.state = CRegisteredBuffer::EState::Queued;
    ++m_away;
    return buffer;
}

void CBufferRegistry::Retrieve(CRegisteredBuffer& buffer) {
    buffer.state = CRegisteredBuffer::EState::Idle;
    --m_away;
}

CRegisteredBuffer& CBufferRegistry::Idle(Zelmo::StreamBufferHandle handle, const char* attempt) {
    const auto found = m_buffers.find(handle);
    if (found == m_buffers.end()) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot %s a buffer: the handle %p is not registered.", attempt, handle);
    }
    if (found->second.state == CRegisteredBuffer::EState::Queued) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot %s buffer %p: it is queued.", attempt, handle);
    }
    if (found->second.state == CRegisteredBuffer::EState::Ready) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot %s buffer %p: its result was not retrieved.", attempt, handle);
    }
    return found->second;
}

} // namespace PluginKit
