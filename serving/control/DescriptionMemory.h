// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Memory.h"

#include <string>

namespace Serving {

/// A file in the camera's memory, read only, filled up with zeros to a multiple of 4 bytes.
/// Owns:    a copy of it.
/// Threads: the control thread.
class CFileMemory final : public IMemory {
public:
    CFileMemory(std::uint32_t address, std::string content);

    GigEVision::Status Read(std::uint32_t address, GigEVision::MutableBytes bytes) override;
    GigEVision::Status Write(std::uint32_t address, GigEVision::Bytes bytes) override;

    std::uint32_t Address() const { return m_address; }
    std::uint32_t Size() const { return static_cast<std::uint32_t>(m_content.size()); }
    /// Where hosts find it: "Local:NAME;ADDRESS;LENGTH", without the bytes that fill it up.
    std::string Url(const std::string& fileName) const;

private:
    const std::uint32_t m_address;
    const std::size_t m_length;
    std::string m_content;
};

} // namespace Serving
