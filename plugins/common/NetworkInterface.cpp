// SPDX-License-Identifier: Apache-2.0
#include "common/NetworkInterface.h"

#include "common/Descriptor.h"
#include "common/Endpoint.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <linux/wireless.h> // behind net/if.h, which it would clash with

#include <algorithm>
#include <bit>
#include <cerrno>
#include <memory>
#include <string_view>
#include <system_error>

namespace PluginKit {
namespace {

std::uint32_t AddressOf(const sockaddr* address) {
    return ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
}

// Asks the kernel, and not /sys, which shows the interfaces of the namespace that it was mounted in.
class CInterfaceQuery {
public:
    CInterfaceQuery() : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}

    bool Describe(CNetworkInterface& interface) const {
        ifreq request = RequestFor(interface.name);
        if (ioctl(m_socket.Number(), SIOCGIFFLAGS, &request) != 0) {
            return false;
        }
        const auto flags = static_cast<unsigned short>(request.ifr_flags);
        interface.isUp = (flags & IFF_UP) != 0;
        interface.isLoopback = (flags & IFF_LOOPBACK) != 0;
        interface.canBroadcast = (flags & IFF_BROADCAST) != 0;
        if (ioctl(m_socket.Number(), SIOCGIFMTU, &request) != 0) {
            return false;
        }
        interface.mtu = static_cast<std::uint32_t>(request.ifr_mtu);
        interface.isWireless = IsWireless(interface.name);
        interface.linkMbps = LinkMbps(interface.name);
        return true;
    }

private:
    static ifreq RequestFor(const std::string& name) {
        ifreq request{};
        name.copy(request.ifr_name, IFNAMSIZ - 1);
        return request;
    }
    bool IsWireless(const std::string& name) const {
        iwreq request{};
        name.copy(request.ifr_name, IFNAMSIZ - 1);
        return ioctl(m_socket.Number(), SIOCGIWNAME, &request) == 0;
    }
    std::uint32_t LinkMbps(const std::string& name) const {
        ethtool_cmd settings{};
        settings.cmd = ETHTOOL_GSET;
        ifreq request = RequestFor(name);
        request.ifr_data = reinterpret_cast<char*>(&settings);
        if (ioctl(m_socket.Number(), SIOCETHTOOL, &request) != 0) {
            return 0;
        }
        const std::uint32_t mbps = ethtool_cmd_speed(&settings);
        return mbps == static_cast<std::uint32_t>(SPEED_UNKNOWN) ? 0 : mbps;
    }

    CDescriptor m_socket;
};

CNetworkInterface& EntryFor(std::vector<CNetworkInterface>& interfaces, std::string_view name) {
    const auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                    [&](const CNetworkInterface& one) { return one.name == name; });
    if (found != interfaces.end()) {
        return *found;
    }
    CNetworkInterface& added = interfaces.emplace_back();
    added.name = name;
    added.index = if_nametoindex(added.name.c_str());
    return added;
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

std::vector<CNetworkInterface> ListInterfaces() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        throw std::system_error(errno, std::generic_category(), "Cannot list the network interfaces");
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(first, freeifaddrs);
    std::vector<CNetworkInterface> interfaces;
    for (const ifaddrs* one = first; one; one = one->ifa_next) {
        const std::string_view name(one->ifa_name);
        CNetworkInterface& entry = EntryFor(interfaces, name.substr(0, name.find(':'))); // labels: "eth0:1"
        if (one->ifa_addr && one->ifa_addr->sa_family == AF_INET && one->ifa_netmask) {
            entry.addresses.push_back({AddressOf(one->ifa_addr), AddressOf(one->ifa_netmask)});
        }
    }
    const CInterfaceQuery query;
    std::erase_if(interfaces, [&](CNetworkInterface& one) { return one.index == 0 || !query.Describe(one); });
    return interfaces;
}

std::string Text(const CInterfaceAddress& address) {
    return AddressText(address.address) + "/" + std::to_string(std::popcount(address.mask));
}

std::string AddressesText(const CNetworkInterface& interface) {
    std::string text;
    for (const CInterfaceAddress& one : interface.addresses) {
        text += (text.empty() ? "" : ", ") + Text(one);
    }
    return text.empty() ? "no IPv4 address" : text;
}

} // namespace PluginKit
