// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace PluginKit {

/// An address that an interface has; in the host's byte order.
struct CInterfaceAddress {
    std::uint32_t address = 0, mask = 0;

    std::uint32_t Broadcast() const { return address | ~mask; }
    bool Reaches(std::uint32_t other) const { return ((address ^ other) & mask) == 0; }
};

/// A network interface of this host as it was when it was looked at.
struct CNetworkInterface {
    std::string name;
    unsigned index = 0;
    bool isUp = false;
    bool isLoopback = false;
    bool canBroadcast = false;
    bool isWireless = false;
    std::uint32_t mtu = 0;      ///< bytes
    std::uint32_t linkMbps = 0; ///< 0: not told
    std::vector<CInterfaceAddress> addresses;

    /// The address that makes @p wanted one of this interface; null without. The loopback interface has all of its
    /// networks.
    const CInterfaceAddress* Find(std::uint32_t wanted) const;
    const CInterfaceAddress* FindNetworkOf(std::uint32_t wanted) const;
};

/// All of them, in the system's order; those that go while it looks are left out. Addresses are the IPv4 ones.
/// @throws std::system_error
std::vector<CNetworkInterface> ListInterfaces();

/// "10.0.0.5/24"
std::string Text(const CInterfaceAddress& address);
/// What a user reads: "10.0.0.5/24 and 10.0.1.5/24", or "no IPv4 address".
std::string AddressesText(const CNetworkInterface& interface);

} // namespace PluginKit
