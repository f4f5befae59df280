// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"

#include <zelmo/DeviceInfo.h>

#include <string>
#include <vector>

namespace tool {

class Library;

enum class Verdict { Ok, Warning, Problem };

/// One finding about this host.
struct Check {
    std::string name;
    Verdict verdict;
    std::string detail;                   ///< What was found.
    std::string remedy;                   ///< What to do; empty when all is well.
    ExitCode exitCode = ExitCode::Plugin; ///< What a problem ends the tool with.
};

/// The plug-in path, each transport layer that was loaded, and each plug-in that was not. Problems are plug-ins that
/// could not be loaded. @p devices are the cameras that they find.
std::vector<Check> CheckPlugins(Library& library, Zelmo::DeviceInfoList& devices);

/// Device filter, real-time priority and open files.
std::vector<Check> CheckSystem();

} // namespace tool
