// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Memory.h"

namespace Serving {

class CServingFaults;

/// The faults of a served camera as registers. A list of places shows its first one; writing block or packet makes it
/// that one.
/// Borrows: the faults.
/// Threads: the control thread.
class CFaultRegisters final : public IMemory {
public:
    explicit CFaultRegisters(CServingFaults& faults) : m_faults(faults) {}

    GigEVision::Status Read(std::uint32_t address, GigEVision::MutableBytes bytes) override;
    std::uint32_t UnitBytes(std::uint32_t address) const override;
    GigEVision::Status Write(std::uint32_t address, GigEVision::Bytes bytes) override;

    static std::uint32_t Size(); ///< bytes of the address space, from the selector on

private:
    GigEVision::Status ReadWord(std::uint32_t address, GigEVision::MutableBytes word) const;
    GigEVision::Status WriteFault(std::uint32_t offset, GigEVision::Bytes bytes);
    GigEVision::Status WriteGeneral(std::uint32_t address, std::uint32_t value);

    CServingFaults& m_faults;
    std::uint32_t m_selector = 0;
};

} // namespace Serving
