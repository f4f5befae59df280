// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/PortImpl.h>

#include <cstdint>
#include <functional>

namespace CamEmu {

/// What the plug-in itself knows as registers of 4 or 8 bytes, read only and computed when they are read.
/// Threads: any.
class CNumberPort : public GenApi::CPortImpl {
public:
    /// @p source gives the number at an address, or throws where there is none.
    using CSource = std::function<std::uint64_t(std::int64_t address)>;
    explicit CNumberPort(CSource source) : m_source(std::move(source)) {}

    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RO; }
    void Read(void* bytes, std::int64_t address, std::int64_t length) override;
    void Write(const void* bytes, std::int64_t address, std::int64_t length) override;

private:
    const CSource m_source;
};

/// For an address without a number. @throws GenICam::RuntimeException always.
[[noreturn]] void ThrowNoNumber(std::int64_t address);

} // namespace CamEmu
