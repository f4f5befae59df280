// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Endpoint.h"

namespace Serving {

using PluginKit::AddressText;
using PluginKit::CEndpoint;
using PluginKit::IsLoopback;
using PluginKit::IsMulticast;
using PluginKit::ParseAddress;
using PluginKit::Text;

} // namespace Serving
