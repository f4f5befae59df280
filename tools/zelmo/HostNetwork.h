// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ipv4.h"

#include <set>
#include <string>
#include <vector>

namespace tool {

/// One address of a network interface of this host that is up; or an interface that has none.
struct HostInterface {
    std::string name;
    Ipv4Place place; ///< All 0: without an address.
    bool isLoopback = false;
    unsigned mtu = 0;               ///< Bytes of an IP datagram; 0: not known, likewise the next one.
    unsigned speedMbit = 0;         ///< Of the link, in Mbit/s.
    unsigned reversePathFilter = 0; ///< That is in force: 0 off, 1 strict, 2 loose.

    bool HasAddress() const noexcept { return place.mask != 0; }
};

/// By name and then in the system's order.
std::vector<HostInterface> ReadHostInterfaces();

/// The names of the interfaces with a default route.
std::set<std::string> ReadDefaultRoutes();

} // namespace tool
