// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "discovery/Discovery.h"

#include <cstdint>
#include <string_view>

namespace Gige {

/// A camera's address, its mask and its gateway, 0 for none; in the host's byte order.
struct CHostAddress {
    std::uint32_t address = 0, mask = 0, gateway = 0;
};

/// @throws GenICam::InvalidArgumentException a text that is no address; @p what says of what
std::uint32_t ParseHostAddress(std::string_view text, const char* what);
/// @throws GenICam::InvalidArgumentException a mask that is none, or an address that no host can have
void CheckHostAddress(const CHostAddress& wanted);

/// Gives a camera an address until it is switched off, wherever it is: told by broadcast on the network that it was
/// heard on. Waits up to 5 s until it is found there. @return whether it was
/// @throws GenICam::InvalidArgumentException as CheckHostAddress
/// @throws GenICam::AccessException          somebody has control
/// @throws GenICam::RuntimeException         no such camera answers
bool ForceAddress(CDiscovery& discovery, const MacAddress& mac, const CHostAddress& wanted);

/// Makes a camera look for an address as when it starts; nothing tells that it does. Throws the same.
void RestartAddressing(CDiscovery& discovery, const MacAddress& mac);

} // namespace Gige
