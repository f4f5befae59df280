// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/PortImpl.h>

#include <atomic>

namespace Gige {

class CConnection;

/// The camera's registers, for its node map. Accesses of 4 bytes of descriptions older than schema 1.1 go by register
/// commands, all others as memory; which of the two a device wants otherwise stands in KnownDevices.txt.
/// Threads: any.
class CRegisterPort final : public GenApi::CPortImpl {
public:
    explicit CRegisterPort(CConnection& connection) : m_connection(connection) {}

    void UseRegisterCommands(bool areUsed) { m_usesRegisterCommands = areUsed; } ///< for accesses of 4 bytes

    GenApi::EAccessMode GetAccessMode() const override; ///< RO without control, NA while closed.
    void Read(void* bytes, std::int64_t address, std::int64_t length) override;
    void Write(const void* bytes, std::int64_t address, std::int64_t length) override;

private:
    CConnection& m_connection;
    std::atomic<bool> m_usesRegisterCommands{false};
};

} // namespace Gige
