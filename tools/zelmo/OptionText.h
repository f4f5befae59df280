// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/App.hpp>

#include <string>
#include <vector>

namespace tool {

/// What a user sees of one option or argument of a verb.
struct OptionText {
    std::vector<std::string> names; ///< As they are typed: "-d", "--device"; empty for an argument.
    std::string value;              ///< Placeholder such as "FILE", or the choices "a|b"; empty for a flag.
    std::string description;
    bool repeats = false; ///< An argument that takes all words to come.
};

std::vector<OptionText> DescribeOptions(const CLI::App& app);
std::vector<std::string> GetOptionNames(const CLI::App& app);

} // namespace tool
