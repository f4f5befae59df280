// SPDX-License-Identifier: Apache-2.0
#include "OptionText.h"

namespace tool {
namespace {

OptionText Describe(const CLI::Option& option) {
    OptionText text;
    for (const std::string& name : option.get_snames()) {
        text.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        text.names.push_back("--" + name);
    }
    if (option.get_positional()) {
        text.value = option.get_name(true);
        text.repeats = option.get_items_expected_max() > 1;
    } else if (option.get_items_expected_max() > 0) {
        const std::string type = option.get_type_name();
        text.value = type.substr(0, type.find(':')); // behind it stand the texts of the checks
    }
    text.description = option.get_description();
    return text;
}

} // namespace

std::vector<OptionText> DescribeOptions(const CLI::App& app) {
    std::vector<OptionText> texts;
    for (const CLI::Option* option : app.get_options()) {
        texts.push_back(Describe(*option));
    }
    return texts;
}

std::vector<std::string> GetOptionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const OptionText& option : DescribeOptions(app)) {
        names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return names;
}

} // namespace tool
