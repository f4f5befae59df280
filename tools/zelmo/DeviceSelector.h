// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Library.h"

#include <string>
#include <vector>

namespace tool {

/// How a camera is called in messages, in JSON and in file names: its serial number, else its full name.
std::string GetCameraName(const Zelmo::CDeviceInfo& info);

/// One line for lists of candidates: name, model, user-defined name, device class.
std::string DescribeCamera(const Zelmo::CDeviceInfo& info);

/// The cameras that @p wanted means, as positions in @p devices. Tried in this order, the first kind that matches
/// anything decides: serial number, user-defined name, full name, KEY=VAL[,KEY=VAL...], index.
/// @throws ToolError when a KEY=VAL pattern cannot be compared (a broken address).
std::vector<std::size_t> MatchDevices(const Zelmo::DeviceInfoList& devices, const std::string& wanted);

/// The one camera that @p wanted means; empty: the only one there is.
/// @throws ToolError with the candidates when several match, or with where was looked when none does.
Zelmo::CDeviceInfo SelectDevice(Library& library, const std::string& wanted);
/// The same out of @p devices, which were found before.
Zelmo::CDeviceInfo SelectDevice(Library& library, const Zelmo::DeviceInfoList& devices, const std::string& wanted);

/// One camera for each of @p wanted, each at most once; with @p all every one there is.
std::vector<Zelmo::CDeviceInfo> SelectDevices(Library& library, const std::vector<std::string>& wanted, bool all);

/// Where cameras were looked for and what can be done about finding none; several lines.
std::string ExplainNoCamera(Library& library);

} // namespace tool
