// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>
#include <utility>

namespace GenICam {

/// @p text without the blanks around it.
inline std::string_view Trimmed(std::string_view text) noexcept {
    constexpr std::string_view blanks = " \t\r";
    const auto begin = text.find_first_not_of(blanks);
    if (begin == text.npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

/// What stands before the first @p separator, and takes it and the separator off @p text.
inline std::string_view TakePart(std::string_view& text, char separator) noexcept {
    const auto end = text.find(separator);
    const auto part = text.substr(0, end);
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
    return Trimmed(part);
}

} // namespace GenICam
