// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Json.h"

#include <zelmo/DeviceInfo.h>

namespace tool {

/// A property as it may be shown; empty when it is absent.
std::string GetProperty(const Zelmo::CInfoBase& info, const char* key);

/// All properties, under their own names.
Json MakeInfoJson(const Zelmo::CInfoBase& info);

/// Index, the usual properties under fixed names, and all of them under "properties".
Json MakeDeviceJson(const Zelmo::CDeviceInfo& info, std::size_t index);

} // namespace tool
