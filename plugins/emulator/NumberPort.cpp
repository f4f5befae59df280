// SPDX-License-Identifier: Apache-2.0
#include "NumberPort.h"

#include <Base/GCException.h>

#include <cstring>

namespace CamEmu {

void CNumberPort::Read(void* bytes, std::int64_t address, std::int64_t length) {
    if (length != 4 && length != 8) {
        throw RUNTIME_EXCEPTION("Cannot read %lld bytes at 0x%llX: the registers here have 4 or 8 bytes.",
                                static_cast<long long>(length), static_cast<unsigned long long>(address));
    }
    const std::uint64_t value = m_source(address);
    std::memcpy(bytes, &value, static_cast<std::size_t>(length));
}

void CNumberPort::Write(const void*, std::int64_t address, std::int64_t) {
    throw ACCESS_EXCEPTION("Cannot write at 0x%llX: the registers here are read only.",
                           static_cast<unsigned long long>(address));
}

void ThrowNoNumber(std::int64_t address) {
    throw RUNTIME_EXCEPTION("Cannot read at 0x%llX: there is no such register.",
                            static_cast<unsigned long long>(address));
}

} // namespace CamEmu
