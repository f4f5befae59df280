// SPDX-License-Identifier: Apache-2.0
#include "Escape.h"

#include "Errors.h"

#include <algorithm>
#include <charconv>

namespace tool {
namespace {

constexpr std::pair<char, char> kShortForms[] = {{'\\', '\\'}, {'n', '\n'}, {'r', '\r'}, {'t', '\t'}};

/// How many bytes the printable UTF-8 character at the front of @p text has; 0 for a control character and for what is
/// no UTF-8.
std::size_t PrintableLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return first >= 0x20 && first != 0x7F ? 1 : 0;
    }
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    unsigned code = first & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return 0;
        }
        code = code << 6 | (byte(i) & 0x3F);
    }
    // Unicode: what fits fewer bytes may not be written in more, and U+0080 to U+009F are control characters too.
    const unsigned lowest = length == 4 ? 0x10000 : length == 3 ? 0x800 : 0xA0;
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    return first < 0xC0 || code < lowest || code > 0x10FFFF || isSurrogate ? 0 : length;
}

std::string EscapeByte(char byte) {
    constexpr char digits[] = "0123456789ABCDEF";
    for (const auto& [letter, meant] : kShortForms) {
        if (byte == meant) {
            return {'\\', letter};
        }
    }
    const auto value = static_cast<unsigned char>(byte);
    return {'\\', 'x', digits[value >> 4], digits[value & 0xF]};
}

/// Cuts what follows a backslash off the front of @p rest. @return whether it is one of the forms.
bool TakeEscaped(std::string_view& rest, char& meant) {
    const char letter = rest.empty() ? '\0' : rest.front();
    for (const auto& [form, character] : kShortForms) {
        if (letter == form) {
            meant = character;
            rest.remove_prefix(1);
            return true;
        }
    }
    unsigned char value = 0;
    if (letter != 'x' || rest.size() < 3 ||
        std::from_chars(rest.data() + 1, rest.data() + 3, value, 16).ptr != rest.data() + 3) {
        return false;
    }
    meant = static_cast<char>(value);
    rest.remove_prefix(3);
    return value != 0; // no text of a camera holds a zero byte
}

} // namespace

std::string Escape(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = text.front() == '\\' ? 0 : PrintableLength(text);
        result += length == 0 ? EscapeByte(text.front()) : std::string(text.substr(0, length));
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

std::string Unescape(std::string_view text) {
    std::string result;
    for (std::string_view rest = text; !rest.empty();) {
        char next = rest.front();
        rest.remove_prefix(1);
        if (next == '\\' && !TakeEscaped(rest, next)) {
            throw UsageError("'" + std::string(text) +
                             "': a backslash begins \\\\, \\n, \\r, \\t or \\xHH with two hexadecimal digits; write a "
                             "backslash itself as \\\\");
        }
        result += next;
    }
    return result;
}

} // namespace tool
