// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Gige {

/// How a device is to be treated otherwise than it says itself.
struct CDeviceExceptions {
    bool usesRegisterCommands = false; ///< accesses of 4 bytes go by register commands, whatever the schema says
};

/// A line of KnownDevices.txt, where the form is told.
struct CKnownDevice {
    std::string manufacturer, model; ///< with "*" for any characters; case does not matter
    CDeviceExceptions exceptions;
};

/// @throws GenICam::RuntimeException that names the line and what is wrong with it
std::vector<CKnownDevice> ParseKnownDevices(std::string_view text);

/// All that the lines for a device say together.
CDeviceExceptions FindExceptions(const std::vector<CKnownDevice>& known, std::string_view manufacturer,
                                 std::string_view model);
/// The same by KnownDevices.txt, which is built in.
CDeviceExceptions FindExceptions(std::string_view manufacturer, std::string_view model);

} // namespace Gige
