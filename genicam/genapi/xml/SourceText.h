#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace GenApi {

/// The text of a description file as the parser gets it: UTF-8, without byte order mark and trailing padding. The
/// parser works in place; where lines begin is noted before.
class SourceText {
public:
    /// Takes UTF-8, UTF-16 with byte order mark, or what declares itself ISO-8859-1.
    /// @throws GenICam::RuntimeException beyond 64 MiB or for a text with more elements than any real file has.
    explicit SourceText(std::string_view bytes);

    char* Data() noexcept { return m_text.data(); }
    std::size_t Size() const noexcept { return m_text.size(); }
    std::string Describe(std::uint32_t position) const; ///< "line 12, column 5"

private:
    void NoteLines();

    std::string m_text;
    std::vector<std::uint32_t> m_lines; // where each begins
};

} // namespace GenApi
