// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/PortImpl.h>

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// The memory of a device that is not there, sparse over all 64-bit addresses: what no line of its text names reads as
/// zero. It keeps space only for what was set.
class MemoryImage {
public:
    /// Sets what @p text says: lines of an address and the bytes that stand there, both hexadecimal, blanks allowed
    /// between the bytes, '#' before a comment. Of two lines for one address the later one counts.
    /// @param name how errors call the text. @throws ToolError that names the line of the first mistake.
    void Parse(std::string_view text, const std::string& name);

    void Set(std::uint64_t address, const std::uint8_t* bytes, std::size_t count);
    void Get(std::uint64_t address, std::uint8_t* bytes, std::size_t count) const; ///< Behind the last address: zeros.

private:
    static constexpr std::size_t kPageBytes = 64;
    using Page = std::array<std::uint8_t, kPageBytes>;

    std::map<std::uint64_t, Page> m_pages; // by address, a multiple of their size
};

/// One port of a node map, over an image that others share; both outlive the node map.
class MemoryPort : public GenApi::CPortImpl {
public:
    explicit MemoryPort(MemoryImage& image) : m_image(image) {}

    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* buffer, std::int64_t address, std::int64_t length) override;
    void Write(const void* buffer, std::int64_t address, std::int64_t length) override;

private:
    MemoryImage& m_image;
};

} // namespace tool
