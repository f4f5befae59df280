// SPDX-License-Identifier: Apache-2.0
#include "discovery/Verdict.h"

#include "common/Endpoint.h"

namespace Gige {
namespace {

using PluginKit::CInterfaceAddress;

std::string SubnetsText(const PluginKit::CNetworkInterface& interface) {
    std::string text;
    for (const CInterfaceAddress& one : interface.addresses) {
        text += (text.empty() ? "" : ", ") + Text(CInterfaceAddress{one.address & one.mask, one.mask});
    }
    return text;
}

} // namespace

std::string SubnetVerdict(const CInterfaceAddress& camera, std::uint32_t gateway,
                          const PluginKit::CNetworkInterface& interface) {
    const CInterfaceAddress* const host = interface.FindNetworkOf(camera.address);
    if (!host) {
        return Text(camera) + " is not in " + interface.name + "'s " + SubnetsText(interface) +
               "; force an address or add one to " + interface.name;
    }
    if (!camera.Reaches(host->address) && gateway == 0) {
        return interface.name + "'s " + PluginKit::AddressText(host->address) + " is not in the camera's " +
               Text(CInterfaceAddress{camera.address & camera.mask, camera.mask}) + "; force the mask " +
               PluginKit::AddressText(host->mask);
    }
    return {};
}

std::set<MacAddress> JudgeAmbiguity(std::vector<CFoundCamera>& cameras) {
    std::set<MacAddress> ambiguous;
    for (CFoundCamera& camera : cameras) {
        for (const CFoundCamera& other : cameras) {
            if (camera.info.mac != other.info.mac && camera.route.device == other.route.device &&
                camera.route.interfaceIndex == other.route.interfaceIndex) {
                camera.subnetVerdict = PluginKit::AddressText(camera.route.device.address) +
                                       " is the address of both " + Text(camera.info.mac) + " and " +
                                       Text(other.info.mac) + "; force another address on one of them";
                ambiguous.insert(camera.info.mac);
            }
        }
    }
    return ambiguous;
}

} // namespace Gige
