// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"

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
/// could not be loaded.
std::vector<Check> CheckPlugins(Library& library);

/// Device filter, real-time priority, open files and socket buffers.
std::vector<Check> CheckSystem();

} // namespace tool
