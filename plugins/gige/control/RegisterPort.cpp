// SPDX-License-Identifier: Apache-2.0
#include "control/RegisterPort.h"

#include "common/Boundary.h"
#include "control/Connection.h"

#include <Base/GCException.h>

namespace Gige {

namespace {

constexpr std::int64_t kRegisterBytes = 4;

std::uint32_t RequireAddress(const char* verb, std::int64_t address, std::int64_t length) {
    constexpr std::int64_t kEnd = std::int64_t{1} << 32;
    if (address < 0 || length < 0 || address > kEnd || length > kEnd - address) {
        throw OUT_OF_RANGE_EXCEPTION("Cannot %s %lld bytes at 0x%llX: addresses of cameras end with 0xFFFFFFFF.", verb,
                                     static_cast<long long>(length), static_cast<unsigned long long>(address));
    }
    return static_cast<std::uint32_t>(address);
}

} // namespace

GenApi::EAccessMode CRegisterPort::GetAccessMode() const {
    if (!m_connection.IsOpen()) {
        return GenApi::NA;
    }
    return m_connection.HasControl() ? GenApi::RW : GenApi::RO;
}

void CRegisterPort::Read(void* bytes, std::int64_t address, std::int64_t length) {
    const std::uint32_t from = RequireAddress("read", address, length);
    PluginKit::AtBoundary("read registers of the camera", [&] {
        auto* const target = static_cast<std::uint8_t*>(bytes);
        if (m_usesRegisterCommands && length == kRegisterBytes) {
            GigEVision::PutBigEndian(target, m_connection.ReadRegister(from));
        } else {
            m_connection.ReadMemory(from, {target, static_cast<std::size_t>(length)});
        }
    });
}

void CRegisterPort::Write(const void* bytes, std::int64_t address, std::int64_t length) {
    const std::uint32_t to = RequireAddress("write", address, length);
    if (GetAccessMode() == GenApi::RO) {
        throw ACCESS_EXCEPTION("Cannot write %lld bytes at 0x%llX: the camera was opened without control.",
                               static_cast<long long>(length), static_cast<unsigned long long>(address));
    }
    PluginKit::AtBoundary("write registers of the camera", [&] {
        const auto* const source = static_cast<const std::uint8_t*>(bytes);
        if (m_usesRegisterCommands && length == kRegisterBytes) {
            m_connection.WriteRegister(to, GigEVision::GetBigEndian<std::uint32_t>(source));
        } else {
            m_connection.WriteMemory(to, {source, static_cast<std::size_t>(length)});
        }
    });
}

} // namespace Gige
