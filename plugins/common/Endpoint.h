// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace PluginKit {

/// An IPv4 address and UDP port, both in the host's byte order; 0 stands for none.
struct CEndpoint {
    std::uint32_t address = 0;
    std::uint16_t port = 0;

    auto operator<=>(const CEndpoint&) const = default; // NOLINT(modernize-use-nullptr): mistaken
};

constexpr bool IsMulticast(std::uint32_t address) {
    return address >> 28 == 0xE;
}
constexpr bool IsLoopback(std::uint32_t address) {
    return address >> 24 == 127;
}

std::string AddressText(std::uint32_t address); ///< "127.0.0.2"
std::string Text(const CEndpoint& endpoint);    ///< "127.0.0.2:3956"
/// Dotted decimal with four numbers, nothing else; nullopt for any other text.
std::optional<std::uint32_t> ParseAddress(std::string_view text);

} // namespace PluginKit
