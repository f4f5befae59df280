// SPDX-License-Identifier: Apache-2.0
#include "NetworkInterface.h"

#include "ServeError.h"

#include <serving/Endpoint.h>

#include <algorithm>
#include <set>
#include <vector>

namespace Serving {
namespace {

std::string NamesText(const std::vector<CNetworkInterface>& interfaces) {
    std::set<std::string> names;
    for (const CNetworkInterface& one : interfaces) {
        names.insert(one.name);
    }
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

} // namespace

CNetworkInterface LookAtInterface(const std::string& name) {
    const std::vector<CNetworkInterface> interfaces = PluginKit::ListInterfaces();
    const auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                    [&](const CNetworkInterface& one) { return one.name == name; });
    if (found == interfaces.end()) {
        throw UsageError("There is no network interface '" + name + "'; there are " + NamesText(interfaces));
    }
    if (!found->isUp) {
        throw HostError("The network interface " + name + " is down; as root: ip link set " + name + " up");
    }
    CNetworkInterface interface = *found;
    if (interface.isLoopback) { // others are reached from outside
        std::erase_if(interface.addresses, [](const CInterfaceAddress& one) { return !IsLoopback(one.address); });
    }
    return interface;
}

} // namespace Serving
