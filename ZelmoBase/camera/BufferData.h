// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/ReusableItemProvider.h"

#include <zelmo/BufferFactory.h>
#include <zelmo/StreamGrabber.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Zelmo {

/// One buffer of a session. Pooled; guarded by the mutex of its pool.
/// It never deregisters itself: that is the engine's business, which has closed the stream grabber by the time that a
/// late buffer comes home.
struct CBufferData {
    std::uint64_t sizeBytes = 0;
    void* buffer = nullptr;
    long context = 0;                           // from the buffer factory; by default the address of the buffer
    bool foreign = false;                       // the memory is the buffer factory's
    StreamBufferHandle handle = nullptr;        // from RegisterBuffer
    std::uint64_t registrationSession = 0;      // the engine's session in which `handle` is valid; 0 for none
    std::shared_ptr<CBufferData> selfReference; // set while queued: nothing else on this side holds it then
};

/// Makes and frees the buffers of one session, all of one size.
class CBufferDataFactory {
public:
    /// @p bufferFactory null: memory from the heap.
    CBufferDataFactory(std::uint64_t sizeBytes, std::shared_ptr<IBufferFactory> bufferFactory);

    /// Null for size 0, and when the application's factory gives no memory.
    /// @throws GenICam::BadAllocException, and what the application's factory throws.
    CBufferData* Create();
    void Destroy(CBufferData* item); ///< @throws what the application's factory throws.
    static std::nullptr_t Recycle(CBufferData&) noexcept { return nullptr; }

private:
    CBufferData* CreateForeign();
    CBufferData* CreateOnHeap();

    std::uint64_t m_sizeBytes;
    std::shared_ptr<IBufferFactory> m_bufferFactory;
};

/// The buffers of a grab engine, session after session. Each in turn, so that all are used alike.
class CReusableBufferProvider : public CReusableItemProvider<CBufferData, CBufferDataFactory> {
public:
    CReusableBufferProvider();

    enum class EReset { IfNeeded, Forced };

    /// Gives the buffers up; new ones will be of @p sizeBytes and from @p bufferFactory. Not forced, the same size
    /// without a factory changes nothing.
    void Reset(std::uint64_t sizeBytes, std::shared_ptr<IBufferFactory> bufferFactory, EReset reset);

private:
    std::uint64_t m_sizeBytes = 0;
};

} // namespace Zelmo
