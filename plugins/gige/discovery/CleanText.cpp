// SPDX-License-Identifier: Apache-2.0
#include "discovery/CleanText.h"

#include <cstdint>

namespace Gige {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// The bytes of the character at the front; 0 where none is well-formed.
std::size_t CharacterBytes(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::uint8_t first = byte(0);
    const std::size_t length = first < 0x80 ? 1 : first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (length == 0 || first > 0xF4 || text.size() < length) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    // Longer than need be, a surrogate, or beyond the last one.
    const bool isWrong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F) ||
                         (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F);
    return isWrong ? 0 : length;
}

bool IsControl(std::string_view character) {
    const auto first = static_cast<std::uint8_t>(character[0]);
    return first < 0x20 || first == 0x7F || (first == 0xC2 && static_cast<std::uint8_t>(character[1]) < 0xA0);
}

} // namespace

std::string CleanText(std::string_view text) {
    std::string clean;
    while (!text.empty()) {
        const std::size_t length = CharacterBytes(text);
        const std::string_view character = text.substr(0, length == 0 ? 1 : length);
        clean += length == 0 || IsControl(character) ? kReplacement : character;
        text.remove_prefix(character.size());
    }
    return clean;
}

} // namespace Gige
