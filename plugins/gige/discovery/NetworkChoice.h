// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/NetworkInterface.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Gige {

/// Which networks are looked at: what the environment variable ZELMO_GIGE says.
struct CNetworkChoice {
    bool isOff = false;                   ///< nothing is sent at all
    bool isEverything = true;             ///< all interfaces that are up, and no others are named
    std::vector<std::string> interfaces;  ///< cameras on these are found by broadcast
    std::vector<std::uint32_t> addresses; ///< cameras that are asked alone, wherever they are

    bool Admits(const PluginKit::CNetworkInterface& interface) const;
};

/// @p value is that of the variable; null and empty are unset. "off", or names and addresses with commas or blanks
/// between them.
CNetworkChoice ParseNetworkChoice(const char* value);

/// Those that are up and have an address. @throws std::system_error
std::vector<PluginKit::CNetworkInterface> UsableInterfaces();

/// The own address that the system's routes choose for packets to @p address.
std::optional<std::uint32_t> RoutedFrom(std::uint32_t address);

/// The interface over which the system reaches an address; null where that is none of @p interfaces.
const PluginKit::CNetworkInterface* FindWayTo(std::uint32_t address,
                                              const std::vector<PluginKit::CNetworkInterface>& interfaces);

/// Where broadcasts on an interface go: its subnets, and all that is connected; empty where there are none.
std::vector<std::uint32_t> BroadcastsOf(const PluginKit::CNetworkInterface& interface);

} // namespace Gige
