// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace tool {

class Library;

enum class Verdict { Ok, Warning, Problem };

/// One finding about this host.
struct Check {
    std::string name;
    Verdict verdict;
    std::string detail; ///< What was found.
    std::string remedy; ///< What to do; empty when all is well.
};

/// The plug-in path, each transport layer that was loaded, and each plug-in that was not. Problems are plug-ins that
/// could not be loaded.
std::vector<Check> CheckPlugins(Library& library);

/// Real-time priority, open files, socket buffers and cache folder.
std::vector<Check> CheckSystem();

/// Descriptors that one grabbing camera takes, and those that the process has besides.
constexpr unsigned kDescriptorsOfCamera = 24;
constexpr unsigned kDescriptorsOfProcess = 16;

} // namespace tool
