// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "HostNetwork.h"
#include "SystemChecks.h"

#include <zelmo/DeviceInfo.h>

#include <optional>

namespace tool {

/// What of a camera on Ethernet the checks look at.
struct CameraPlace {
    std::string name;
    std::string interface;     ///< That it was found on.
    std::string subnetVerdict; ///< Why it cannot be opened; empty when it can be.
};

/// What the checks of the network judge.
struct NetworkFacts {
    std::string setting; ///< ZELMO_GIGE.
    std::vector<HostInterface> interfaces;
    std::set<std::string> defaultRoutes;    ///< Interfaces.
    std::optional<long> receiveBufferMax;   ///< Bytes.
    std::optional<long> receiveBufferUsual; ///< Bytes, of a socket that asks for none.
    std::uint64_t backlogDrops = 0;         ///< Packets that no socket has seen, since the host was started.
    std::vector<std::string> firewalls;     ///< Signs of one.
    std::vector<CameraPlace> cameras;
};

NetworkFacts ReadNetworkFacts(const Zelmo::DeviceInfoList& devices);

/// Interfaces, reverse-path filters, MTU, subnets, socket buffers and firewall. Warnings where cameras are, or are said
/// to be; else hints at most, which stand as a remedy of what is well.
std::vector<Check> JudgeNetwork(const NetworkFacts& facts);

} // namespace tool
