// SPDX-License-Identifier: Apache-2.0
#include "Ipv4.h"

#include <arpa/inet.h>

#include <bit>
#include <charconv>

namespace tool {

bool Ipv4Place::IsOfHost() const noexcept {
    constexpr std::uint32_t firstGroup = 0xE0000000; // 224.0.0.0; what follows is no host's either
    const std::uint32_t ofHost = address & ~mask;
    return ofHost != 0 && ofHost != ~mask && address >> 24 != 0 && address < firstGroup;
}

std::optional<std::uint32_t> ParseIpv4(const std::string& text) {
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1 ? std::optional(ntohl(address.s_addr)) : std::nullopt;
}

std::optional<Ipv4Place> ParseIpv4Place(const std::string& text) {
    const std::size_t slash = text.find('/');
    const auto address = ParseIpv4(text.substr(0, slash));
    if (!address || slash == std::string::npos) {
        return std::nullopt;
    }
    unsigned prefix = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data() + slash + 1, end, prefix);
    constexpr unsigned longest = 30; // beyond it there is no room for two
    if (result.ec != std::errc() || result.ptr != end || prefix < 1 || prefix > longest) {
        return std::nullopt;
    }
    return Ipv4Place{*address, ~std::uint32_t{0} << (32 - prefix)};
}

std::string FormatIpv4(std::uint32_t address) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += (text.empty() ? "" : ".") + std::to_string(address >> shift & 0xFF);
    }
    return text;
}

std::string FormatIpv4(const Ipv4Place& place) {
    return FormatIpv4(place.address) + "/" + std::to_string(std::popcount(place.mask));
}

std::string FormatIpv4Subnet(const Ipv4Place& place) {
    return FormatIpv4({place.address & place.mask, place.mask});
}

} // namespace tool
