// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tool {

/// An address with its subnet, as in "192.168.7.20/24". Numbers in the host's byte order.
struct Ipv4Place {
    std::uint32_t address = 0;
    std::uint32_t mask = 0;

    bool Contains(std::uint32_t other) const noexcept { return ((address ^ other) & mask) == 0; }
    /// Whether an interface may have it: neither the subnet itself nor its broadcast, a group or the loopback's own 0.
    bool IsOfHost() const noexcept;
};

/// Nothing unless the text is dotted decimal.
std::optional<std::uint32_t> ParseIpv4(const std::string& text);
/// "ADDRESS/PREFIX" with a prefix from 1 to 30.
std::optional<Ipv4Place> ParseIpv4Place(const std::string& text);

std::string FormatIpv4(std::uint32_t address);
std::string FormatIpv4(const Ipv4Place& place);       ///< "192.168.7.20/24"
std::string FormatIpv4Subnet(const Ipv4Place& place); ///< "192.168.7.0/24"

} // namespace tool
