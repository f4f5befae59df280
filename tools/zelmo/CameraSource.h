// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Completion.h"

#include <zelmo/DeviceInfo.h>

#include <functional>

namespace tool {

/// Looks among the cameras for what a word may be. No camera is opened: features are those that its description has.
class CameraSource : public CompletionSource {
public:
    std::vector<std::string> GetDevices() override;
    std::vector<FeatureChoice> GetFeatures(const std::string& device) override;
};

} // namespace tool
