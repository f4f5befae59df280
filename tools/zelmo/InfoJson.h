// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Json.h"

#include <zelmo/DeviceInfo.h>

namespace tool {

/// A property as it may be shown; empty when it is absent.
std::string GetProperty(const Zelmo::CInfoBase& info, const char* key);

/// The camera's name as "device", its usual properties in the spelling of all our keys, and all of them as they are
/// under "properties"; of a GigE Vision camera also how it is reached.
Json MakeDeviceJson(const Zelmo::CDeviceInfo& info);

/// Likewise of a transport layer, without "device".
Json MakeTransportLayerJson(const Zelmo::CInfoBase& info);

} // namespace tool
