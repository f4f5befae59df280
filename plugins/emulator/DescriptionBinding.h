// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Descriptions.h"
#include "core/Faults.h"

#include <zelmo/DeviceInfo.h>

namespace CamEmu {

/// A node map and where it comes from.
struct CBoundDescription {
    GenApi::CNodeMapFactory factory;
    NodeMapPtr nodeMap;
};

/// Makes the node map of a camera out of the description that the binding rules choose: the camera's own, a file, or
/// the file where the camera's own fails; with the additional files merged into it. @p failingDownloads are those that
/// are to fail.
/// @throws GenICam::RuntimeException that names the device and the cause; the causes, where both fail.
CBoundDescription MakeBoundNodeMap(const Zelmo::CDeviceInfo& device, GenApi::IPort& port, CCountdown& failingDownloads);

} // namespace CamEmu
