// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/NodeMap.h"

#include <GenApi/NodeMapFactory.h>

#include <memory>
#include <string_view>

namespace CamEmu {

/// The names of the descriptions: the camera's features, the parameters of stream and event grabber, those of the
/// connection.
inline constexpr std::string_view kCameraDescription = "CamEmu";
inline constexpr std::string_view kStreamDescription = "CamEmuStream";
inline constexpr std::string_view kEventDescription = "CamEmuEvents";
inline constexpr std::string_view kConnectionDescription = "CamEmuConnection";

/// The XML text of a description, as it was built in.
std::string_view DescriptionText(std::string_view name);

/// The camera's own description. The shared one is parsed once in the process; nothing can be added to it.
GenApi::CNodeMapFactory MakeCameraFactory();
GenApi::CNodeMapFactory SharedCameraFactory();

/// A node map of its own over the description, connected to @p port, which must outlive it. The text is parsed once in
/// the process.
/// @throws GenICam::RuntimeException
PluginKit::NodeMapPtr MakeStreamNodeMap(GenApi::IPort& port);
PluginKit::NodeMapPtr MakeEventNodeMap(GenApi::IPort& port);
PluginKit::NodeMapPtr MakeConnectionNodeMap(GenApi::IPort& port);

} // namespace CamEmu
