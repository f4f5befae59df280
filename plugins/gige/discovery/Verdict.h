// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/NetworkInterface.h"
#include "discovery/FoundCamera.h"
#include "discovery/MacAddress.h"

#include <set>
#include <string>
#include <vector>

namespace Gige {

/// Why a camera that was heard on an interface cannot be opened there: its address is outside of the interface's
/// subnets, or its mask keeps it from answering. Empty when it can be.
std::string SubnetVerdict(const PluginKit::CInterfaceAddress& camera, std::uint32_t gateway,
                          const PluginKit::CNetworkInterface& interface);

/// Marks the cameras that share an address on one interface: which of them would answer is up to chance.
/// @return their MAC addresses
std::set<MacAddress> JudgeAmbiguity(std::vector<CFoundCamera>& cameras);

} // namespace Gige
