// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

#include <cstddef>

namespace Zelmo {

/// Lets an application provide the memory that images are grabbed into. Implemented by the application.
/// A factory outlives the session it serves by as long as the application holds results of it: it is needed until the
/// last of its buffers was freed.
/// Threads: AllocateBuffer on the thread that starts grabbing and, where it gave no memory then, later again on any
/// that moves buffers; FreeBuffer and DestroyBufferFactory on any that drops a result, or starts or stops grabbing,
/// and on the library's own that takes images.
/// Those for the buffers of one session come one at a time, with the lock of their pool held; results that were kept
/// from an earlier session may come home meanwhile. None of them may call back into the camera object.
class ZELMO_API IBufferFactory {
public:
    virtual ~IBufferFactory() = default;

    /// Sets @p buffer to at least @p sizeBytes bytes and @p context to whatever is to come back in FreeBuffer and as
    /// the buffer context of results. Both are 0 before. Leaving @p buffer null is no failure: the session goes on with
    /// fewer buffers. What it throws ends the start of grabbing; thrown later, it ends the session as a failure of
    /// grabbing.
    virtual void AllocateBuffer(std::size_t sizeBytes, void** buffer, long& context) = 0;

    /// Takes back what AllocateBuffer gave. Should not throw: there is nobody to handle it, it is only logged.
    virtual void FreeBuffer(void* buffer, long context) = 0;

    /// The factory gives itself up, after its last buffer. Only called where the camera object owns the factory.
    virtual void DestroyBufferFactory() = 0;
};

} // namespace Zelmo
