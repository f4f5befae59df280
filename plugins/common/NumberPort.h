// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/PortImpl.h>

#include <cstdint>
#include <functional>

namespace PluginKit {

/// What the plug-in itself knows as registers of 4 or 8 bytes, computed when they are read.
/// Threads: any.
class CNumberPort : public GenApi::CPortImpl {
public:
    /// @p source gives the number at an address, or throws where there is none.
    using CSource = std::function<std::uint64_t(std::int64_t address)>;
    /// @p sink takes what is written to an address, or throws where nothing can be written; without it, all is read
    /// only.
    using CSink = std::function<void(std::int64_t address, std::uint64_t value)>;
    explicit CNumberPort(CSource source, CSink sink = nullptr) : m_source(std::move(source)), m_sink(std::move(sink)) {}

    GenApi::EAccessMode GetAccessMode() const override { return m_sink ? GenApi::RW : GenApi::RO; }
    void Read(void* bytes, std::int64_t address, std::int64_t length) override;
    void Write(const void* bytes, std::int64_t address, std::int64_t length) override;

private:
    const CSource m_source;
    const CSink m_sink;
};

/// For an address without a number. @throws GenICam::RuntimeException always.
[[noreturn]] void ThrowNoNumber(std::int64_t address);

/// For an address that cannot be written. @throws GenICam::AccessException always.
[[noreturn]] void ThrowReadOnly(std::int64_t address);

} // namespace PluginKit
