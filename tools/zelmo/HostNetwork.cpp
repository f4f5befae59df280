// SPDX-License-Identifier: Apache-2.0
#include "HostNetwork.h"

#include "Descriptor.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>

namespace tool {
namespace {

/// 0 where there is none, as of a link without a speed, which is told as -1.
unsigned ReadNumber(const std::string& path) {
    std::ifstream file(path);
    long number = 0;
    return file >> number && number > 0 ? static_cast<unsigned>(number) : 0;
}

std::uint32_t AddressOf(const sockaddr* address) {
    return ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
}

/// The larger of the value for all interfaces and its own counts.
unsigned ReadReversePathFilter(const std::string& interface) {
    const std::string folder = "/proc/sys/net/ipv4/conf/";
    return std::max(ReadNumber(folder + "all/rp_filter"), ReadNumber(folder + interface + "/rp_filter"));
}

/// Of the network namespace of this process, which the system's files need not show.
unsigned ReadMtu(const std::string& interface) {
    ifreq request{};
    interface.copy(request.ifr_name, IFNAMSIZ - 1);
    const Descriptor probe(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return ioctl(probe.Get(), SIOCGIFMTU, &request) == 0 ? static_cast<unsigned>(request.ifr_mtu) : 0;
}

HostInterface Describe(const ifaddrs& entry) {
    HostInterface one;
    const std::string label = entry.ifa_name; // "eth1:1" names an address of eth1
    one.name = label.substr(0, label.find(':'));
    one.isLoopback = (entry.ifa_flags & IFF_LOOPBACK) != 0;
    one.mtu = ReadMtu(one.name);
    one.speedMbit = ReadNumber("/sys/class/net/" + one.name + "/speed");
    one.reversePathFilter = ReadReversePathFilter(one.name);
    if (entry.ifa_addr != nullptr && entry.ifa_addr->sa_family == AF_INET && entry.ifa_netmask != nullptr) {
        one.place = {AddressOf(entry.ifa_addr), AddressOf(entry.ifa_netmask)};
    }
    return one;
}

} // namespace

std::vector<HostInterface> ReadHostInterfaces() {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        return {};
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
    std::vector<HostInterface> interfaces;
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if ((entry->ifa_flags & IFF_UP) != 0) {
            interfaces.push_back(Describe(*entry));
        }
    }
    std::stable_sort(interfaces.begin(), interfaces.end(), [](const HostInterface& a, const HostInterface& b) {
        return std::pair(a.name, !a.HasAddress()) < std::pair(b.name, !b.HasAddress());
    });
    // There is an entry for each address of any family: of those without one of ours the first stays, if it stands
    // alone.
    const auto isSpare = [](const HostInterface& a, const HostInterface& b) {
        return a.name == b.name && !b.HasAddress();
    };
    interfaces.erase(std::unique(interfaces.begin(), interfaces.end(), isSpare), interfaces.end());
    return interfaces;
}

std::set<std::string> ReadDefaultRoutes() {
    std::set<std::string> names;
    std::ifstream file("/proc/net/route");
    std::string line;
    for (std::getline(file, line); std::getline(file, line);) {
        std::istringstream cells(line);
        std::string name, destination, gateway, flags, references, uses, metric, mask;
        cells >> name >> destination >> gateway >> flags >> references >> uses >> metric >> mask;
        if (destination == "00000000" && mask == "00000000") {
            names.insert(name);
        }
    }
    return names;
}

} // namespace tool
