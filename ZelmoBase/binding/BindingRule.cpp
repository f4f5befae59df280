// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/binding/BindingRule.h"

#include <Base/GCException.h>

#include <stdexcept>

namespace Zelmo {
namespace {

bool MatchesWhole(const boost::regex& expression, std::string_view text) {
    return boost::regex_match(text.begin(), text.end(), expression);
}

} // namespace

boost::regex CompilePattern(const String_t& pattern) {
    try {
        return boost::regex(pattern.c_str(), boost::regex::perl | boost::regex::icase);
    } catch (const std::runtime_error& e) {
        throw RUNTIME_EXCEPTION("Invalid XML configuration file binding rule: Invalid regular expression '%s' (%s)",
                                pattern.c_str(), e.what());
    }
}

bool IsMatch(const CBindingRule& rule, std::string_view manufacturer, std::string_view modelName,
             std::string_view serialNumber) {
    try {
        return MatchesWhole(rule.manufacturer, manufacturer) && MatchesWhole(rule.modelName, modelName) &&
               MatchesWhole(rule.serialNumber, serialNumber);
    } catch (const std::runtime_error& e) { // the expression tries too many ways through the text
        throw RUNTIME_EXCEPTION("Error occurred when matching regular expression: %s", e.what());
    }
}

} // namespace Zelmo
