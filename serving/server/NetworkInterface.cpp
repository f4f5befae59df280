// SPDX-License-Identifier: Apache-2.0
#include "NetworkInterface.h"

#include "ServeError.h"

#include <serving/Descriptor.h>
#include <serving/Endpoint.h>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <bit>
#include <fstream>
#include <memory>
#include <set>

namespace Serving {
namespace {

using CInterfaceList = std::unique_ptr<ifaddrs, decltype(&freeifaddrs)>;

CInterfaceList ReadInterfaces() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        throw SystemError("Cannot list the network interfaces");
    }
    return {first, freeifaddrs};
}

std::uint32_t AddressOf(const sockaddr* address) {
    return ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
}

std::string NamesText(const ifaddrs* first) {
    std::set<std::string> names;
    for (const ifaddrs* one = first; one != nullptr; one = one->ifa_next) {
        names.insert(one->ifa_name);
    }
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

std::uint32_t ReadMtu(const std::string& name) {
    const CDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request{};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    if (ioctl(socket.Number(), SIOCGIFMTU, &request) != 0) {
        throw SystemError("Cannot read the largest packet of " + name);
    }
    return static_cast<std::uint32_t>(request.ifr_mtu);
}

/// Virtual interfaces tell -1 or nothing.
std::uint32_t ReadLinkMbps(const std::string& name) {
    std::ifstream file("/sys/class/net/" + name + "/speed");
    long mbps = 0;
    return file >> mbps && mbps > 0 ? static_cast<std::uint32_t>(mbps) : 0;
}

} // namespace

const CInterfaceAddress* CNetworkInterface::Find(std::uint32_t wanted) const {
    const auto found = std::find_if(addresses.begin(), addresses.end(), [&](const CInterfaceAddress& one) {
        return isLoopback ? one.Reaches(wanted) : one.address == wanted;
    });
    return found == addresses.end() ? nullptr : &*found;
}

const CInterfaceAddress* CNetworkInterface::FindNetworkOf(std::uint32_t wanted) const {
    const auto found = std::find_if(addresses.begin(), addresses.end(),
                                    [&](const CInterfaceAddress& one) { return one.Reaches(wanted); });
    return found == addresses.end() ? nullptr : &*found;
}

CNetworkInterface LookAtInterface(const std::string& name) {
    const CInterfaceList list = ReadInterfaces();
    CNetworkInterface interface;
    interface.name = name;
    interface.index = if_nametoindex(name.c_str());
    if (interface.index == 0) {
        throw UsageError("There is no network interface '" + name + "'; there are " + NamesText(list.get()));
    }
    unsigned flags = 0;
    for (const ifaddrs* one = list.get(); one != nullptr; one = one->ifa_next) {
        if (name != one->ifa_name) {
            continue;
        }
        flags |= one->ifa_flags;
        if (one->ifa_addr != nullptr && one->ifa_addr->sa_family == AF_INET && one->ifa_netmask != nullptr) {
            interface.addresses.push_back({AddressOf(one->ifa_addr), AddressOf(one->ifa_netmask)});
        }
    }
    if ((flags & IFF_UP) == 0) {
        throw HostError("The network interface " + name + " is down; as root: ip link set " + name + " up");
    }
    interface.isLoopback = (flags & IFF_LOOPBACK) != 0;
    if (interface.isLoopback) { // others are reached from outside
        std::erase_if(interface.addresses, [](const CInterfaceAddress& one) { return !IsLoopback(one.address); });
    }
    interface.mtu = ReadMtu(name);
    interface.linkMbps = ReadLinkMbps(name);
    return interface;
}

std::string AddressesText(const CNetworkInterface& interface) {
    std::string text;
    for (const CInterfaceAddress& one : interface.addresses) {
        text += (text.empty() ? "" : ", ") + AddressText(one.address) + "/" + std::to_string(std::popcount(one.mask));
    }
    return text.empty() ? "no IPv4 address" : text;
}

} // namespace Serving
