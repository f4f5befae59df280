// SPDX-License-Identifier: Apache-2.0
#include "RegisterBank.h"

#include <algorithm>

namespace CamEmu {

CRegisterBank::CRegisterBank(std::span<const CRegister> registers)
    : m_registers(registers), m_memory(registers.back().address + registers.back().length) {}

const CRegister* CRegisterBank::Find(std::uint64_t address) const {
    const auto behind = std::upper_bound(m_registers.begin(), m_registers.end(), address,
                                         [](std::uint64_t a, const CRegister& r) { return a < r.address; });
    if (behind == m_registers.begin()) {
        return nullptr;
    }
    const CRegister& candidate = *std::prev(behind);
    return address < std::uint64_t{candidate.address} + candidate.length ? &candidate : nullptr;
}

EAccessResult CRegisterBank::MayRead(std::uint64_t address, std::size_t length) const {
    if (length > m_memory.size() || address > m_memory.size() - length) {
        return EAccessResult::NoSuchRegister;
    }
    const std::uint64_t end = address + length;
    while (address < end) {
        const CRegister* const found = Find(address);
        if (!found) {
            return EAccessResult::NoSuchRegister;
        }
        if (found->access == ERegisterAccess::WriteOnly) {
            return EAccessResult::NotReadable;
        }
        address = std::uint64_t{found->address} + found->length;
    }
    return EAccessResult::Ok;
}

EAccessResult CRegisterBank::MayWrite(std::uint64_t address, std::size_t length, CLocks locks) const {
    const CRegister* const found = Find(address);
    if (!found || length == 0 || length > found->address + found->length - address) {
        return EAccessResult::NoSuchRegister;
    }
    if (found->access == ERegisterAccess::ReadOnly) {
        return EAccessResult::NotWritable;
    }
    if (locks.Hold(found->lock)) {
        return EAccessResult::Locked;
    }
    return EAccessResult::Ok;
}

} // namespace CamEmu
