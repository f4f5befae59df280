// SPDX-License-Identifier: Apache-2.0
#include "FilterCheck.h"

#include <algorithm>

namespace tool {
namespace {

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\n\v\f\r";
    const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

bool IsCondition(std::string_view text) {
    const std::size_t equals = text.find('=');
    return equals != std::string_view::npos && text.find('=', equals + 1) == std::string_view::npos &&
           !Trimmed(text.substr(0, equals)).empty() && !Trimmed(text.substr(equals + 1)).empty();
}

/// Of one alternative between two "||".
std::string FindFault(std::string_view conditions) {
    if (Trimmed(conditions).empty()) {
        return "there is nothing on one side of '||'";
    }
    for (std::size_t begin = 0; begin < conditions.size();) {
        const std::size_t end = std::min(conditions.find('&', begin), conditions.size());
        const std::string_view condition = conditions.substr(begin, end - begin);
        if (!condition.empty() && !IsCondition(condition)) { // empty within "&&", which counts as one "&"
            return "'" + std::string(Trimmed(condition)) + "' is no condition KEY=VALUE";
        }
        begin = end + 1;
    }
    return {};
}

} // namespace

std::string FindFilterFault(std::string_view filter) {
    constexpr std::string_view kOr = "||";
    std::string fault;
    for (std::size_t begin = 0; begin != std::string_view::npos && fault.empty();) {
        const std::size_t end = filter.find(kOr, begin);
        fault = FindFault(filter.substr(begin, end == std::string_view::npos ? end : end - begin));
        begin = end == std::string_view::npos ? end : end + kOr.size();
    }
    return fault;
}

} // namespace tool
