// SPDX-License-Identifier: Apache-2.0
#include <GenApi/PortWriteList.h>

#include <Base/GCException.h>

namespace GenApi {

CPortWriteList::CPortWriteList() = default;

CPortWriteList::~CPortWriteList() = default;

void CPortWriteList::Write(const void* pBuffer, int64_t Address, int64_t Length) {
    if (Length < 0 || (!pBuffer && Length > 0)) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot record a write of %lld bytes from %p", static_cast<long long>(Length),
                                         pBuffer);
    }
    const auto* const bytes = static_cast<const uint8_t*>(pBuffer);
    m_entries.push_back({Address, std::vector<uint8_t>(bytes, bytes + Length)});
}

void CPortWriteList::Replay(IPort* pPort) {
    if (!pPort) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot replay %zu writes to a null port", m_entries.size());
    }
    for (const CEntry& entry : m_entries) {
        pPort->Write(entry.Data.data(), entry.Address, static_cast<int64_t>(entry.Data.size()));
    }
}

void CPortWriteList::SetCookie(const int64_t Value) {
    m_cookie = Value;
}

int64_t CPortWriteList::GetCookie() {
    return m_cookie;
}

} // namespace GenApi
