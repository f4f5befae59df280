// SPDX-License-Identifier: Apache-2.0
#include "discovery/NetworkChoice.h"

#include "common/Descriptor.h"
#include "common/Endpoint.h"

#include <gigevision/Gvcp.h>

#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <optional>
#include <string_view>

namespace Gige {
using PluginKit::CNetworkInterface;

bool CNetworkChoice::Admits(const CNetworkInterface& interface) const {
    return !isOff &&
           (isEverything || std::find(interfaces.begin(), interfaces.end(), interface.name) != interfaces.end());
}

CNetworkChoice ParseNetworkChoice(const char* value) {
    constexpr std::string_view kSeparators = ", \t";
    CNetworkChoice choice;
    std::string_view rest = value ? value : "";
    for (;;) {
        rest.remove_prefix(std::min(rest.find_first_not_of(kSeparators), rest.size()));
        if (rest.empty()) {
            return choice;
        }
        const std::string_view entry = rest.substr(0, rest.find_first_of(kSeparators));
        rest.remove_prefix(entry.size());
        choice.isEverything = false;
        if (const auto address = PluginKit::ParseAddress(entry)) {
            choice.addresses.push_back(*address);
        } else if (entry == "off") {
            choice.isOff = true;
        } else {
            choice.interfaces.emplace_back(entry);
        }
    }
}

std::vector<CNetworkInterface> UsableInterfaces() {
    std::vector<CNetworkInterface> interfaces = PluginKit::ListInterfaces();
    std::erase_if(interfaces, [](const CNetworkInterface& one) { return !one.isUp || one.addresses.empty(); });
    return interfaces;
}

std::optional<std::uint32_t> RoutedFrom(std::uint32_t address) {
    const PluginKit::CDescriptor probe(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(GigEVision::kGvcpPort);
    name.sin_addr.s_addr = htonl(address);
    socklen_t length = sizeof name;
    if (connect(probe.Number(), reinterpret_cast<const sockaddr*>(&name), length) != 0 || // sends nothing
        getsockname(probe.Number(), reinterpret_cast<sockaddr*>(&name), &length) != 0) {
        return std::nullopt;
    }
    return ntohl(name.sin_addr.s_addr);
}

const CNetworkInterface* FindWayTo(std::uint32_t address, const std::vector<CNetworkInterface>& interfaces) {
    const auto from = RoutedFrom(address);
    const auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                    [&](const CNetworkInterface& one) { return from && one.Find(*from) != nullptr; });
    return found == interfaces.end() ? nullptr : &*found;
}

std::vector<std::uint32_t> BroadcastsOf(const CNetworkInterface& interface) {
    std::vector<std::uint32_t> targets;
    if (!interface.canBroadcast && !interface.isLoopback) {
        return targets;
    }
    if (!interface.isLoopback) {
        targets.push_back(0xFFFFFFFF);
    }
    for (const PluginKit::CInterfaceAddress& one : interface.addresses) {
        const bool hasBroadcast = (~one.mask & 0xFFFFFFFE) != 0; // not a pair of addresses, or a single one
        if (hasBroadcast && (!interface.isLoopback || PluginKit::IsLoopback(one.address)) &&
            std::find(targets.begin(), targets.end(), one.Broadcast()) == targets.end()) {
            targets.push_back(one.Broadcast());
        }
    }
    if (interface.isLoopback) {
        targets.push_back(
            0xFFFFFFFF); // last: some programs hear nothing else there, but the network's own is enough for ours
    }
    return targets;
}

} // namespace Gige
