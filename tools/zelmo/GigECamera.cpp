// SPDX-License-Identifier: Apache-2.0
#include "GigECamera.h"

#include "DeviceSelector.h"
#include "Errors.h"
#include "InfoJson.h"
#include "Ipv4.h"
#include "Output.h"

#include <zelmo/TlFactory.h>
#include <zelmo/TransportLayer.h>

namespace tool {

bool IsGigECamera(const Zelmo::CDeviceInfo& info) {
    return info.GetDeviceClass() == kGigEDeviceClass;
}

std::string GetSubnetVerdict(const Zelmo::CDeviceInfo& info) {
    return GetProperty(info, "_SubnetVerdict");
}

GigEPlace GetGigEPlace(const Zelmo::CDeviceInfo& info) {
    GigEPlace place;
    place.address = GetProperty(info, "IpAddress");
    place.mask = GetProperty(info, "SubnetMask");
    place.mac = GetProperty(info, "MacAddress");
    place.hostAddress = GetProperty(info, "Interface");
    place.interface = GetProperty(info, "InterfaceID");
    place.verdict = GetSubnetVerdict(info);
    return place;
}

Json GigEPlace::ToJson() const {
    Json json = {{"ip_address", address},
                 {"subnet_mask", mask},
                 {"mac_address", mac},
                 {"interface", interface},
                 {"interface_address", hostAddress}};
    if (!verdict.empty()) {
        json["subnet_verdict"] = verdict;
    }
    return json;
}

std::string GigEPlace::GetAddress() const {
    const auto number = ParseIpv4(address);
    const auto bits = ParseIpv4(mask);
    return number && bits ? FormatIpv4({*number, *bits}) : address;
}

void TellVerdicts(const Zelmo::DeviceInfoList& devices, Output& output) {
    for (const Zelmo::CDeviceInfo& info : devices) {
        if (const std::string verdict = GetSubnetVerdict(info); !verdict.empty()) {
            output.Flush(); // it stands below the list
            output.Note(GetCameraName(info) + " cannot be opened: " + verdict);
        }
    }
}

GigENetwork::GigENetwork()
    : m_layer(Zelmo::CTlFactory::GetInstance().CreateTl(kGigEDeviceClass)),
      m_network(dynamic_cast<Zelmo::IGigEVisionNetwork*>(m_layer)) {
    if (m_network == nullptr) {
        Zelmo::CTlFactory::GetInstance().ReleaseTl(m_layer);
        throw ToolError(ExitCode::Plugin, "plugin",
                        "No plug-in for GigE Vision cameras that sets their addresses was found in " + GetPluginPath() +
                            "; 'zelmo doctor' tells more");
    }
}

GigENetwork::~GigENetwork() {
    Zelmo::CTlFactory::GetInstance().ReleaseTl(m_layer);
}

} // namespace tool
