// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace tool {

/// NAME=VALUE, as the user wrote it.
struct Assignment {
    std::string feature;
    std::string value;
};

/// @throws UsageError for a text that is no assignment.
std::vector<Assignment> ParseAssignments(const std::vector<std::string>& texts);

} // namespace tool
