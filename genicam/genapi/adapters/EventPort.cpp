// SPDX-License-Identifier: Apache-2.0
#include <GenApi/EventPort.h>

#include <Base/GCException.h>

#include <algorithm>
#include <cinttypes>

namespace GenApi {

CEventPort::CEventPort() = default;

CEventPort::~CEventPort() = default;

EAccessMode CEventPort::GetAccessMode() const {
    return m_hasEvent ? RO : NA;
}

void CEventPort::Read(void* pBuffer, int64_t Address, int64_t Length) {
    const auto size = static_cast<int64_t>(m_event.size());
    if (!m_hasEvent) {
        throw ACCESS_EXCEPTION("There was no event yet that could be read at address %" PRId64, Address);
    }
    if (Address < 0 || Length < 0 || Address > size || Length > size - Address) {
        throw RUNTIME_EXCEPTION("The event has no %" PRId64 " bytes at address %" PRId64 ": it is %" PRId64
                                " bytes long",
                                Length, Address, size);
    }
    std::copy_n(m_event.data() + Address, Length, static_cast<uint8_t*>(pBuffer));
}

void CEventPort::Write(const void*, int64_t Address, int64_t) {
    throw ACCESS_EXCEPTION("Events cannot be written, as was tried at address %" PRId64, Address);
}

void CEventPort::ReserveEvent(size_t Length) {
    m_event.reserve(Length);
}

void CEventPort::AttachEvent(const uint8_t* pEvent, size_t Length) noexcept {
    m_event.assign(pEvent, pEvent + Length);
    m_hasEvent = true;
}

} // namespace GenApi
