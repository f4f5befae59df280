// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Serving {

/// Addresses in the host's byte order.
struct CInterfaceAddress {
    std::uint32_t address = 0, mask = 0;

    std::uint32_t Broadcast() const { return address | ~mask; }
    bool Reaches(std::uint32_t other) const { return ((address ^ other) & mask) == 0; }
};

/// A network interface of this host as it was when it was looked at.
struct CNetworkInterface {
    std::string name;
    unsigned index = 0;
    bool isLoopback = false;
    std::uint32_t mtu = 0;
    std::uint32_t linkMbps = 0; ///< 0: not told
    std::vector<CInterfaceAddress> addresses;

    /// The address that makes @p wanted one of this interface; null without. The loopback interface has all of its
    /// networks.
    const CInterfaceAddress* Find(std::uint32_t wanted) const;
    const CInterfaceAddress* FindNetworkOf(std::uint32_t wanted) const;
};

/// @throws CServeError that lists the interfaces there are, or says that it is down.
CNetworkInterface LookAtInterface(const std::string& name);

/// What a user reads: "10.0.0.5/24 and 10.0.1.5/24", or "no IPv4 address".
std::string AddressesText(const CNetworkInterface& interface);

} // namespace Serving
