// SPDX-License-Identifier: Apache-2.0
#include "DescriptionMemory.h"

#include <cstdio>
#include <cstring>
#include <utility>

namespace Serving {

using GigEVision::Status;

CFileMemory::CFileMemory(std::uint32_t address, std::string content)
    : m_address(address), m_length(content.size()), m_content(std::move(content)) {
    m_content.resize((m_length + 3) / 4 * 4);
}

Status CFileMemory::Read(std::uint32_t address, GigEVision::MutableBytes bytes) {
    std::memcpy(bytes.data(), m_content.data() + (address - m_address), bytes.size());
    return Status::Success;
}

Status CFileMemory::Write(std::uint32_t /*address*/, GigEVision::Bytes /*bytes*/) {
    return Status::WriteProtect;
}

std::string CFileMemory::Url(const std::string& fileName) const {
    char place[32];
    std::snprintf(place, sizeof place, ";%X;%zX", m_address, m_length);
    return "Local:" + fileName + place;
}

} // namespace Serving
