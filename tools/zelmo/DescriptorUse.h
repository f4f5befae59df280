// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace tool {

/// How many file descriptors grabbing takes.
struct DescriptorUse {
    unsigned ofCamera = 0;  ///< Each camera; 0 when it could not be measured.
    unsigned ofProcess = 0; ///< Whatever the number of cameras.
    std::string failure;    ///< Why it could not be measured.
};

/// Grabs from two emulated cameras in a process of its own and counts. No other camera is touched.
DescriptorUse MeasureDescriptorUse();

} // namespace tool
