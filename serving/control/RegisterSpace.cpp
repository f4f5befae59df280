// SPDX-License-Identifier: Apache-2.0
#include "RegisterSpace.h"

#include <algorithm>

namespace Serving {

using GigEVision::Status;

void CRegisterSpace::Add(std::uint32_t first, std::uint32_t bytes, IMemory& memory) {
    m_parts.push_back({first, bytes, &memory});
}

CRegisterSpace::CPart* CRegisterSpace::Find(std::uint32_t address, std::size_t length) {
    const auto found = std::find_if(m_parts.begin(), m_parts.end(), [&](const CPart& part) {
        return address >= part.first && address - part.first <= part.bytes &&
               length <= part.bytes - (address - part.first);
    });
    return found == m_parts.end() ? nullptr : &*found;
}

Status CRegisterSpace::Read(std::uint32_t address, GigEVision::MutableBytes bytes) {
    CPart* const part = Find(address, bytes.size());
    return part ? part->memory->Read(address, bytes) : Status::InvalidAddress;
}

CRegisterSpace::CWritten CRegisterSpace::Write(std::uint32_t address, GigEVision::Bytes bytes) {
    std::size_t done = 0;
    CPart* const part = Find(address, bytes.size());
    if (!part) {
        return {Status::InvalidAddress, done};
    }
    while (done < bytes.size()) {
        const std::uint32_t at = address + static_cast<std::uint32_t>(done);
        const std::size_t unit = std::min<std::size_t>(part->memory->UnitBytes(at), bytes.size() - done);
        const Status status = part->memory->Write(at, bytes.subspan(done, unit));
        if (GigEVision::IsError(status)) {
            return {status, done};
        }
        done += unit;
    }
    return {Status::Success, done};
}

} // namespace Serving
