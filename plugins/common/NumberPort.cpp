// SPDX-License-Identifier: Apache-2.0
#include "common/NumberPort.h"

#include <Base/GCException.h>

#include <cstring>

namespace PluginKit {

namespace {

void RequireNumber(const char* attempt, std::int64_t address, std::int64_t length) {
    if (length != 4 && length != 8) {
        throw RUNTIME_EXCEPTION("Cannot %s %lld bytes at 0x%llX: the registers here have 4 or 8 bytes.", attempt,
                                static_cast<long long>(length), static_cast<unsigned long long>(address));
    }
}

} // namespace

void CNumberPort::Read(void* bytes, std::int64_t address, std::int64_t length) {
    RequireNumber("read", address, length);
    const std::uint64_t value = m_source(address);
    std::memcpy(bytes, &value, static_cast<std::size_t>(length));
}

void CNumberPort::Write(const void* bytes, std::int64_t address, std::int64_t length) {
    if (!m_sink) {
        ThrowReadOnly(address);
    }
    RequireNumber("write", address, length);
    std::uint64_t value = 0;
    std::memcpy(&value, bytes, static_cast<std::size_t>(length));
    m_sink(address, value);
}

void ThrowNoNumber(std::int64_t address) {
    throw RUNTIME_EXCEPTION("Cannot read at 0x%llX: there is no such register.",
                            static_cast<unsigned long long>(address));
}

void ThrowReadOnly(std::int64_t address) {
    throw ACCESS_EXCEPTION("Cannot write at 0x%llX: there is no register that can be written.",
                           static_cast<unsigned long long>(address));
}

} // namespace PluginKit
