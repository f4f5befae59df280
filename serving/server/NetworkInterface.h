// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/NetworkInterface.h"

#include <string>

namespace Serving {

using PluginKit::AddressesText;
using PluginKit::CInterfaceAddress;
using PluginKit::CNetworkInterface;

/// @throws CServeError that lists the interfaces there are, or says that it is down.
CNetworkInterface LookAtInterface(const std::string& name);

} // namespace Serving
