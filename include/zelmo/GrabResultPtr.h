// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/GrabResultData.h>

namespace Zelmo {

class CGrabResultPtrImpl;
class IImage;

/// Holds a grab result. As long as one pointer refers to a result, its buffer is not filled again; the thread that
/// drops the last one gives the buffer back to the camera. It may outlive the grab session and the camera object.
/// Threads: like std::shared_ptr: several pointers to one result may be used by different threads, one pointer object
/// only by one thread at a time.
class ZELMO_API CGrabResultPtr {
public:
    CGrabResultPtr() noexcept = default;       ///< Refers to no result; allocates nothing.
    CGrabResultPtr(const CGrabResultPtr& rhs); ///< The same result; allocates nothing where @p rhs has none.
    /// The result of @p rhs, which is left without one and can be used again. A view that @p rhs has given goes along.
    CGrabResultPtr(CGrabResultPtr&& rhs) noexcept;
    ~CGrabResultPtr();

    /// Lets go of the result held before, then refers to that of @p rhs. Assigned to itself it ends up empty.
    CGrabResultPtr& operator=(const CGrabResultPtr& rhs);
    /// The same, and leaves @p rhs without a result. Assigned to itself it keeps what it has. Views stay where they
    /// are, but for that of @p rhs where this pointer never had one: that goes along.
    CGrabResultPtr& operator=(CGrabResultPtr&& rhs) noexcept;
    CGrabResultPtr& operator=(const CGrabResultPtrImpl& rhs); ///< For the library itself.

    bool IsValid() const noexcept; ///< Whether there is a result, be it that of a failed grab.
    operator bool() const noexcept { return IsValid(); }

    /// @throws GenICam::RuntimeException without a result.
    CGrabResultData* operator->() const;
    CGrabResultData* GetPtr() const noexcept { return m_data; } ///< Null without a result.

    bool IsUnique() const noexcept; ///< Nobody else holds the result or its buffer.
    void Release() noexcept;        ///< Lets go of the result.

    /// The result as an image, which always shows the result that this pointer refers to, and is valid only while that
    /// one is a succeeded grab of a known pixel type. Lives as long as this pointer.
    operator IImage&() const;

private:
    CGrabResultPtrImpl& Body() const; ///< Made when first needed.

    mutable CGrabResultPtrImpl* m_impl = nullptr; // owned
    CGrabResultData* m_data = nullptr;            // of the current result
};

} // namespace Zelmo
