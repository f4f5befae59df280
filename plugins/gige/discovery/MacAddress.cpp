// SPDX-License-Identifier: Apache-2.0
#include "discovery/MacAddress.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace Gige {

std::string Text(const MacAddress& mac) {
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return text;
}

std::uint64_t Number(const MacAddress& mac) {
    std::uint64_t number = 0;
    for (const std::uint8_t byte : mac) {
        number = number << 8 | byte;
    }
    return number;
}

std::optional<MacAddress> ParseMac(std::string_view text) {
    MacAddress mac{};
    for (std::size_t i = 0; i < mac.size(); ++i) {
        if (i > 0 && !text.empty() && (text[0] == ':' || text[0] == '-')) {
            text.remove_prefix(1);
        }
        const auto [end, error] =
            std::from_chars(text.data(), text.data() + std::min<std::size_t>(text.size(), 2), mac[i], 16);
        if (error != std::errc() || end != text.data() + 2) {
            return std::nullopt;
        }
        text.remove_prefix(2);
    }
    return text.empty() ? std::optional(mac) : std::nullopt;
}

} // namespace Gige
