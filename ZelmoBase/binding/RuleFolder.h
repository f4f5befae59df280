// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace Zelmo {

/// What is in the folder of rule files.
struct CRuleFolder {
    std::string path;
    std::string obstacle;           ///< Why it cannot be listed; empty if it can.
    std::vector<std::string> files; ///< Paths of the rule files, in the order in which they are read.
};

/// Looks into the folder. A folder that is not there or cannot be listed has no files: that is no failure.
/// @throws boost::filesystem::filesystem_error when the list breaks off
CRuleFolder ListRuleFolder();

} // namespace Zelmo
