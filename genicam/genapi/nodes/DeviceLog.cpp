// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/DeviceLog.h"

#include "genicam/genapi/model/TextForms.h"

#include <limits>

namespace GenApi {

std::string DeviceLog::Text(double value) {
    constexpr double any = std::numeric_limits<double>::infinity();
    return FormatFloat(value, fnAutomatic, std::numeric_limits<double>::max_digits10 - 2, -any, any);
}

std::string DeviceLog::Text(std::span<const std::uint8_t> bytes) {
    return FormatBytes(bytes);
}

} // namespace GenApi
