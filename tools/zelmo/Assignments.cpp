// SPDX-License-Identifier: Apache-2.0
#include "Assignments.h"

#include "Errors.h"
#include "Escape.h"

namespace tool {

Assignment ParseAssignment(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw UsageError("'" + text + "' is no assignment; expected NAME=VALUE, for example Width=640");
    }
    return {text.substr(0, equals), Unescape(text.substr(equals + 1))};
}

std::vector<Assignment> ParseAssignments(const std::vector<std::string>& texts) {
    std::vector<Assignment> assignments;
    for (const std::string& text : texts) {
        assignments.push_back(ParseAssignment(text));
    }
    return assignments;
}

} // namespace tool
