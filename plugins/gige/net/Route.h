// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Endpoint.h"

#include <cstdint>
#include <string>

namespace Gige {

/// How this host reaches a camera: over which of its interfaces, from which of its addresses. Numbers in the host's
/// byte order. All sockets of a camera are bound to the interface, whatever the routes say, as two interfaces may be in
/// one subnet and a camera outside of all of them.
struct CRoute {
    PluginKit::CEndpoint device;   ///< the camera's control port
    std::uint32_t hostAddress = 0; ///< where the camera is to send to
    std::uint32_t hostMask = 0;
    std::string interface; ///< "eth1"
    unsigned interfaceIndex = 0;
    std::uint32_t mtu = 1500; ///< bytes of an IP datagram that the interface takes
    bool isLoopback = false;
};

} // namespace Gige
