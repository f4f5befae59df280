// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "net/Route.h"

#include <gigevision/Gvcp.h>
#include <zelmo/DeviceInfo.h>

#include <string>

namespace Gige {

inline constexpr const char* kDeviceClass = "HarlixGigE";

/// Keys of a device info beyond the common ones; hidden, as their first character says.
inline constexpr const char* kSubnetVerdictKey = "_SubnetVerdict"; ///< why it cannot be opened; missing when it can be

/// A camera as it answered, and the best way to it.
struct CFoundCamera {
    GigEVision::DiscoveryInfo info; ///< texts cleaned of control characters and bad UTF-8
    CRoute route;
    std::string
        subnetVerdict; ///< why it cannot be opened: "10.0.0.5/24 is not in eth1's 192.168.1.0/24; …"; else empty
};

/// As the camera tells it, or else its MAC address.
std::string SerialNumberOf(const GigEVision::DiscoveryInfo& info);

/// The full name is made of the MAC address, so that a new IP address does not change it.
Zelmo::CDeviceInfo DescribeCamera(const CFoundCamera& camera);

} // namespace Gige
