// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace GenApi {

/// The text of a description file as the parser gets it: UTF-8, without byte order mark and trailing padding. The
/// parser works in place; where a position is in the file is found out in the bytes themselves, once it is asked for.
class SourceText {
public:
    /// Takes UTF-8, UTF-16 with byte order mark, or what declares itself ISO-8859-1. @p bytes are borrowed.
    /// @throws GenICam::RuntimeException beyond 64 MiB or for a text with more elements than any real file has.
    explicit SourceText(std::string_view bytes);

    char* Data() noexcept { return m_text.data(); }
    std::size_t Size() const noexcept { return m_text.size(); }

    /// Where the tag begins whose name the parser left at @p name; 0 for a name that is not in the text.
    std::uint32_t TagPosition(const char* name) const noexcept;
    std::string Describe(std::uint32_t position) const; ///< "line 12, column 5"

    /// Starts over with what ends at the root's end tag: memory of a device may hold anything behind it.
    void CutAfterRoot();

private:
    const std::vector<std::uint32_t>& Lines() const;

    const std::string_view m_bytes;
    std::string m_text;
    mutable std::vector<std::uint32_t> m_lines; // where each begins; empty until it is needed
};

} // namespace GenApi
