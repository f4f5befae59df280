// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/StreamGrabber.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>

namespace PluginKit {

/// A buffer that was registered. It goes Idle → Queued (to be filled) → Ready (among the results) → Idle; only an idle
/// one can be queued or deregistered.
struct CRegisteredBuffer {
    enum class EState { Idle, Queued, Ready };

    Zelmo::StreamBufferHandle handle = nullptr;
    std::span<std::uint8_t> memory;
    void* context = nullptr;
    EState state = EState::Idle;
};

/// The buffers that are registered with a stream grabber. What an application does against the contract is refused by a
/// GenICam::LogicalErrorException or InvalidArgumentException that says what.
/// Owns:    the registration, never the memory. A registered buffer does not move.
/// Threads: one at a time.
class CBufferRegistry {
public:
    /// What a grab was prepared for; 0 buffers: none can be registered.
    void Limit(std::size_t maxBufferBytes, std::size_t maxBuffers);
    std::size_t MaxBufferBytes() const { return m_maxBufferBytes; }

    void RequireRoom(const void* memory, std::size_t sizeBytes) const;
    CRegisteredBuffer& Add(void* memory, std::size_t sizeBytes); ///< Behind RequireRoom. @throws std::bad_alloc
    void* Remove(Zelmo::StreamBufferHandle handle);
    void Clear();

    CRegisteredBuffer& Queue(Zelmo::StreamBufferHandle handle, void* context);
    void Retrieve(CRegisteredBuffer& buffer);

    std::size_t Count() const { return m_buffers.size(); }
    std::size_t Away() const { return m_away; } ///< Queued, or ready and not retrieved.

private:
    CRegisteredBuffer& Idle(Zelmo::StreamBufferHandle handle, const char* attempt);

    std::size_t m_maxBufferBytes = 0, m_maxBuffers = 0, m_away = 0;
    std::uintptr_t m_lastHandle = 0;
    std::unordered_map<Zelmo::StreamBufferHandle, CRegisteredBuffer> m_buffers;
};

} // namespace PluginKit
