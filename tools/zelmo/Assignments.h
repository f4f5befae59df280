// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tool {

/// NAME=VALUE, as the user wrote it.
struct Assignment {
    std::string feature;
    std::string value;
};

/// One step of setting a camera up.
struct SetupStep {
    std::string feature;
    std::optional<std::string> value; ///< None: a command, which is executed.
};

/// @throws UsageError for a text that is no assignment.
Assignment ParseAssignment(const std::string& text);
std::vector<Assignment> ParseAssignments(const std::vector<std::string>& texts);

} // namespace tool
