// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraLink.h"

#include <GenApi/PortImpl.h>

#include <atomic>
#include <cstdint>
#include <string>

namespace CamEmu {

/// The camera's registers as the port of a node map; behind them its description, where a real camera keeps its own,
/// and a register that pulls the cable.
/// Threads: any.
class CRegisterPort : public GenApi::CPortImpl {
public:
    /// Accesses since the port was opened: all of them, and those of them that failed.
    struct CCount {
        std::atomic<std::uint64_t> all = 0, failed = 0;
    };

    explicit CRegisterPort(CCameraLink& link) : m_link(link) {}

    void Open(GenApi::EAccessMode mode); ///< Begins to count anew. Before the port is connected.
    const CCount& Reads() const { return m_reads; }
    const CCount& Writes() const { return m_writes; }

    GenApi::EAccessMode GetAccessMode() const override { return m_accessMode; }

    /// @throws GenICam::AccessException     against the rights of a register, or while it is locked.
    /// @throws GenICam::OutOfRangeException when the camera refuses the value.
    /// @throws GenICam::RuntimeException    where there is no register, and after the cable was pulled.
    void Read(void* bytes, std::int64_t address, std::int64_t length) override;
    void Write(const void* bytes, std::int64_t address, std::int64_t length) override;

    static std::string DescriptionUrl(); ///< Where Read finds the description: "Local:name;address;length", in hex.

private:
    CCameraLink& m_link;
    GenApi::EAccessMode m_accessMode = GenApi::NA;
    CCount m_reads, m_writes;
};

} // namespace CamEmu
