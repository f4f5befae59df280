// SPDX-License-Identifier: Apache-2.0
#include "discovery/FoundCamera.h"

#include "discovery/MacAddress.h"

#include <gigevision/Registers.h>

namespace Gige {
namespace {

// The three ways, as the library's queries read them.
std::string PortableIpConfiguration(std::uint32_t registerValue) {
    namespace Ip = GigEVision::IpConfiguration;
    return std::to_string((registerValue & (Ip::kPersistent | Ip::kDhcp | Ip::kLinkLocal)) << 8);
}

} // namespace

std::string SerialNumberOf(const GigEVision::DiscoveryInfo& info) {
    return info.serialNumber.empty() ? Text(info.mac) : info.serialNumber;
}

Zelmo::CDeviceInfo DescribeCamera(const CFoundCamera& camera) {
    const auto& [told, route, verdict] = camera;
    const std::string serial = SerialNumberOf(told);
    const std::string mac = Text(told.mac);
    const std::string friendly = (told.userName.empty() ? told.model : told.userName) + " (" + serial + ")";
    const std::string port = std::to_string(route.device.port);
    const std::string address = PluginKit::AddressText(route.device.address);
    const std::string options = PortableIpConfiguration(told.ipOptions);
    const std::string current = PortableIpConfiguration(told.ipCurrent);
    Zelmo::CHarlixGigEDeviceInfo info;
    info.SetFullName((std::string(kDeviceClass) + " " + mac).c_str())
        .SetFriendlyName(friendly.c_str())
        .SetVendorName(told.manufacturer.c_str())
        .SetTLType("GEV");
    info.SetModelName(told.model.c_str())
        .SetSerialNumber(serial.c_str())
        .SetUserDefinedName(told.userName.c_str())
        .SetDeviceVersion(told.deviceVersion.c_str())
        .SetManufacturerInfo(told.manufacturerInfo.c_str())
        .SetDeviceFactory("GigE")
        .SetMacAddress(mac.c_str())
        .SetAddress((address + ":" + port).c_str())
        .SetIpAddress(address.c_str())
        .SetPortNr(port.c_str())
        .SetSubnetMask(PluginKit::AddressText(told.mask).c_str())
        .SetSubnetAddress(PluginKit::AddressText(route.device.address & told.mask).c_str())
        .SetDefaultGateway(PluginKit::AddressText(told.gateway).c_str())
        .SetInterface(PluginKit::AddressText(route.hostAddress).c_str())
        .SetInterfaceID(route.interface.c_str())
        .SetIpConfigOptions(options.c_str())
        .SetIpConfigCurrent(current.c_str());
    info.SetPropertyValue("_PortableIpConfigOptions", options.c_str());
    info.SetPropertyValue("_PortableIpConfigCurrent", current.c_str());
    if (!verdict.empty()) {
        info.SetPropertyValue(kSubnetVerdictKey, verdict.c_str());
    }
    info.ClearUserProvidedFlag();
    return info;
}

} // namespace Gige
