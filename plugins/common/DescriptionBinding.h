// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/NodeMap.h"

#include <zelmo/DeviceInfo.h>

#include <functional>

namespace PluginKit {

/// A node map and where it comes from.
struct CBoundDescription {
    GenApi::CNodeMapFactory factory;
    NodeMapPtr nodeMap;
};

/// Gets the description that the camera itself delivers. Where it @p isMerged, files are merged into it: the factory is
/// not shared with anybody then. Throws when it cannot be had.
using CDownload = std::function<GenApi::CNodeMapFactory(bool isMerged)>;

/// Makes the node map of a camera out of the description that the binding rules choose: the camera's own, a file, or
/// the file where the camera's own fails; with the additional files merged into it.
/// @throws GenICam::RuntimeException that names the device and the cause; the causes, where both fail.
CBoundDescription MakeBoundNodeMap(const Zelmo::CDeviceInfo& device, GenApi::IPort& port, const CDownload& download);

} // namespace PluginKit
