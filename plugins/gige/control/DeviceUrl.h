// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Gige {

/// Where a device says that its description is, as far as that is followed.
struct CDeviceUrl {
    std::string fileName;      ///< in the folder of descriptions; empty: it is in the device's memory
    std::uint32_t address = 0; ///< in the device's memory
    std::size_t bytes = 0;     ///< 1 to GenApi::CDescriptionUrl::MaxBytes
};

/// Of a File URL only the base name counts: a device names a file, never a path.
/// @throws GenICam::GenericException what is wrong with it; that nothing is fetched from the network
CDeviceUrl ParseDeviceUrl(const std::string& text);

} // namespace Gige
