// SPDX-License-Identifier: Apache-2.0
#include <zelmo/GrabResultPtr.h>

#include "ZelmoBase/camera/GrabResultDataImpl.h"
#include "ZelmoBase/camera/GrabResultPtrImpl.h"

#include <Base/GCAllocating.h>
#include <Base/GCException.h>

#include <memory>
#include <type_traits>
#include <utility>

namespace Zelmo {

static_assert(std::is_nothrow_move_constructible_v<CGrabResultPtr>);
static_assert(sizeof(CGrabResultPtr) == 2 * sizeof(void*), "other builds pass it by value");

bool IsUniqueGrabResult(const std::shared_ptr<CGrabResultData>& data) noexcept {
    return data.use_count() == 1 && data->GetGrabResultDataImpl()->bufferHolder.use_count() == 1;
}

CGrabResultPtr::CGrabResultPtr(const CGrabResultPtr& rhs) {
    if (rhs.IsValid()) {
        *this = *rhs.m_impl;
    }
}

CGrabResultPtr::CGrabResultPtr(CGrabResultPtr&& rhs) noexcept
    : m_impl(std::exchange(rhs.m_impl, nullptr)), m_data(std::exchange(rhs.m_data, nullptr)) {}

CGrabResultPtr::~CGrabResultPtr() {
    if (m_impl == nullptr) {
        return;
    }
    const std::shared_ptr<CGrabResultData> data = std::move(m_impl->data); // keeps the record until the body lies in it
    if (data == nullptr || !data->GetGrabResultDataImpl()->KeepBody(m_impl)) {
        delete m_impl;
    }
}

// without a test for self-assignment: that it empties the pointer is promised
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment,cert-oop54-cpp)
CGrabResultPtr& CGrabResultPtr::operator=(const CGrabResultPtr& rhs) {
    Release();
    if (rhs.IsValid()) {
        *this = *rhs.m_impl;
    }
    return *this;
}

/// A body stays where a view may refer to it.
CGrabResultPtr& CGrabResultPtr::operator=(CGrabResultPtr&& rhs) noexcept {
    if (this == &rhs) {
        return *this;
    }
    Release();
    if (m_impl == nullptr) {
        m_impl = std::exchange(rhs.m_impl, nullptr);
    } else if (rhs.m_impl != nullptr) {
        m_impl->data = std::move(rhs.m_impl->data);
    }
    m_data = std::exchange(rhs.m_data, nullptr);
    return *this;
}

CGrabResultPtr& CGrabResultPtr::operator=(const CGrabResultPtrImpl& rhs) {
    if (m_impl == nullptr && rhs.data != nullptr) {
        m_impl = rhs.data->GetGrabResultDataImpl()->LendBody();
    }
    Body().data = rhs.data;
    m_data = rhs.data.get();
    return *this;
}

bool CGrabResultPtr::IsValid() const noexcept {
    return m_impl != nullptr && m_impl->data != nullptr;
}

CGrabResultData* CGrabResultPtr::operator->() const {
    if (!IsValid()) {
        throw RUNTIME_EXCEPTION("No grab result data is referenced. Cannot access NULL pointer.");
    }
    return m_data;
}

bool CGrabResultPtr::IsUnique() const noexcept {
    return m_impl != nullptr && IsUniqueGrabResult(m_impl->data);
}

void CGrabResultPtr::Release() noexcept {
    m_data = nullptr;
    if (m_impl != nullptr) {
        m_impl->data.reset();
    }
}

CGrabResultPtr::operator IImage&() const {
    return Body().image;
}

CGrabResultPtrImpl& CGrabResultPtr::Body() const {
    if (m_impl == nullptr) {
        m_impl = GenICam::Allocating([] { return new CGrabResultPtrImpl; });
    }
    return *m_impl;
}

} // namespace Zelmo
