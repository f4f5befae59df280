// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

/// "Not found" and "up to the end", as gcstring::npos.
#define GCSTRING_NPOS (static_cast<std::size_t>(-1))

namespace GenICam {

/// Raises the "Out of memory" BadAllocException of the source position given.
[[noreturn]] GENICAM_API void ThrowBadAlloc(const char* sourceFileName, int sourceLine);

/// A byte string, UTF-8 by convention; zero bytes may stand inside. It is what all public interfaces pass text in.
/// Positions and lengths are bytes. A null `const char*` stands for the empty text, everywhere.
/// Made of a std::string or a std::string_view by itself, and compared with them; str() and view() are the way back.
/// Converts by itself to std::string_view, and to `const char*`, which also makes `s[i]` and `std::string(s)` work. It
/// does not to std::string: assigning it to one would be ambiguous then. All but `const char*` keep inner zeros.
/// Threads: as std::string: one object is not for several threads at once unless all of them only read.
/// @throws BadAllocException from whatever allocates, when memory is short or a length is beyond max_size().
class GENICAM_API gcstring {
public:
    static constexpr std::size_t npos = GCSTRING_NPOS;
    static constexpr std::size_t _npos() noexcept { return npos; }

    gcstring() noexcept = default;
    gcstring(const char* text);                    // implicit: literals are passed wherever a gcstring is asked for
    gcstring(const char* text, std::size_t count); ///< @p count bytes, zeros included.
    gcstring(std::size_t count, char value);
    gcstring(std::string_view text);
    gcstring(const std::string& text) : gcstring(std::string_view(text)) {}
    gcstring(std::string&& text) noexcept : m_text(std::move(text)) {}
    gcstring(const gcstring& other);
    gcstring(gcstring&& other) noexcept = default;
    ~gcstring() = default;

    gcstring& operator=(const gcstring& other) { return assign(other); }
    gcstring& operator=(gcstring&& other) noexcept = default;
    gcstring& operator=(const char* text) { return assign(text); }

    gcstring& assign(const gcstring& other);
    gcstring& assign(std::size_t count, char value);
    gcstring& assign(const char* text);
    gcstring& assign(const char* text, std::size_t count);

    gcstring& append(const gcstring& other);
    gcstring& append(std::size_t count, char value);
    gcstring& operator+=(const gcstring& other) { return append(other); }
    gcstring& operator+=(const char* text);
    gcstring& operator+=(char value) { return append(1, value); }

    const char* c_str() const noexcept { return m_text.c_str(); }
    operator const char*() const noexcept { return m_text.c_str(); }
    operator std::string_view() const noexcept { return m_text; } ///< Valid until this string changes.
    std::string_view view() const noexcept { return m_text; }     ///< Likewise.
    std::string str() const { return m_text; }
    bool empty() const noexcept { return m_text.empty(); }
    std::size_t length() const noexcept { return m_text.size(); }
    std::size_t size() const noexcept { return m_text.size(); }
    std::size_t max_size() const noexcept { return m_text.max_size(); }

    /// Below, at or above zero, by unsigned bytes.
    int compare(const gcstring& other) const noexcept { return m_text.compare(other.m_text); }

    /// Position of the first match at or behind @p offset, npos without one. @p count is the number of bytes of the
    /// text looked for.
    std::size_t find(char value, std::size_t offset = 0) const noexcept { return m_text.find(value, offset); }
    std::size_t find(const gcstring& text, std::size_t offset = 0) const noexcept;
    std::size_t find(const gcstring& text, std::size_t offset, std::size_t count) const noexcept;
    std::size_t find(const char* text, std::size_t offset = 0) const noexcept;
    std::size_t find(const char* text, std::size_t offset, std::size_t count) const noexcept;
    std::size_t find_first_of(const gcstring& bytes, std::size_t offset = 0) const noexcept;
    std::size_t find_first_not_of(const gcstring& bytes, std::size_t offset = 0) const noexcept;
    /// Position of the last match at or before @p offset, npos without one.
    std::size_t find_last_of(const gcstring& bytes, std::size_t offset = npos) const noexcept;
    std::size_t find_last_not_of(const gcstring& bytes, std::size_t offset = npos) const noexcept;

    /// @throws OutOfRangeException if @p offset is behind the end; the end itself gives the empty text.
    gcstring substr(std::size_t offset = 0, std::size_t count = npos) const;
    void resize(std::size_t count); ///< Fills with zero bytes.
    void reserve(std::size_t count);
    /// @throws OutOfRangeException if @p position is behind the end.
    gcstring& erase(std::size_t position = 0, std::size_t count = npos);
    void swap(gcstring& other) noexcept { m_text.swap(other.m_text); }

    // Friends, so that they are found for gcstrings only: what becomes one of them by itself is not meant.

    GENICAM_API friend gcstring operator+(const gcstring& left, const gcstring& right);
    GENICAM_API friend gcstring operator+(const gcstring& left, const char* right);
    GENICAM_API friend gcstring operator+(const char* left, const gcstring& right);
    /// Exactly a char: without it `s + 'x'` would move the pointer that a gcstring converts to.
    template <class CharT, class = std::enable_if_t<std::is_same_v<CharT, char>>>
    friend gcstring operator+(const gcstring& left, CharT right) {
        return gcstring(left) += right;
    }

    friend bool operator==(const gcstring& left, const gcstring& right) noexcept { return left.view() == right.view(); }
    friend bool operator!=(const gcstring& left, const gcstring& right) noexcept { return left.view() != right.view(); }
    friend bool operator<(const gcstring& left, const gcstring& right) noexcept { return left.view() < right.view(); }
    friend bool operator>(const gcstring& left, const gcstring& right) noexcept { return left.view() > right.view(); }
    friend bool operator<=(const gcstring& left, const gcstring& right) noexcept { return left.view() <= right.view(); }
    friend bool operator>=(const gcstring& left, const gcstring& right) noexcept { return left.view() >= right.view(); }
    friend bool operator==(const gcstring& left, const char* right) noexcept {
        return left.view() == (right ? std::string_view(right) : std::string_view());
    }
    friend bool operator==(const char* left, const gcstring& right) noexcept { return right == left; }
    friend bool operator!=(const gcstring& left, const char* right) noexcept { return !(left == right); }
    friend bool operator!=(const char* left, const gcstring& right) noexcept { return !(right == left); }

private:
    std::string m_text;
};

/// Exactly these types: what else becomes one of them goes by the operators above, or by the standard's.
template <class String, class Text>
using IfComparable = std::enable_if_t<std::is_same_v<String, gcstring> &&
                                          (std::is_same_v<Text, std::string> || std::is_same_v<Text, std::string_view>),
                                      bool>;

#define GENICAM_COMPARE_WITH_STANDARD_TEXT(op)                                                                         \
    template <class String, class Text, IfComparable<String, Text> = true>                                             \
    bool operator op(const String& left, const Text& right) noexcept {                                                 \
        return left.view() op std::string_view(right);                                                                 \
    }                                                                                                                  \
    template <class Text, class String, IfComparable<String, Text> = true>                                             \
    bool operator op(const Text& left, const String& right) noexcept {                                                 \
        return std::string_view(left) op right.view();                                                                 \
    }
GENICAM_COMPARE_WITH_STANDARD_TEXT(==)
GENICAM_COMPARE_WITH_STANDARD_TEXT(!=)
GENICAM_COMPARE_WITH_STANDARD_TEXT(<)
GENICAM_COMPARE_WITH_STANDARD_TEXT(>)
GENICAM_COMPARE_WITH_STANDARD_TEXT(<=)
GENICAM_COMPARE_WITH_STANDARD_TEXT(>=)
#undef GENICAM_COMPARE_WITH_STANDARD_TEXT

inline void swap(gcstring& left, gcstring& right) noexcept {
    left.swap(right);
}

/// Writes c_str(), so up to the first zero byte.
GENICAM_API std::ostream& operator<<(std::ostream& stream, const gcstring& text);
/// Reads one word.
GENICAM_API std::istream& operator>>(std::istream& stream, gcstring& text);
GENICAM_API std::istream& getline(std::istream& stream, gcstring& text);
GENICAM_API std::istream& getline(std::istream& stream, gcstring& text, char delimiter);

} // namespace GenICam

namespace std {
template <>
struct hash<GenICam::gcstring> {
    std::size_t operator()(const GenICam::gcstring& text) const noexcept {
        return std::hash<std::string_view>()(text.view());
    }
};
} // namespace std
