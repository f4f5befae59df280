// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Types.h>

#include <boost/regex.hpp>

#include <cstdint>
#include <string_view>

namespace Zelmo {

/// Which devices of a class get their description from where. Copies share the compiled expressions.
struct CBindingRule {
    std::uint32_t priority = 0; ///< Higher wins.
    boost::regex manufacturer;
    boost::regex modelName;
    boost::regex serialNumber;
    String_t file; ///< As given in the rule, as are the additional files.
    StringList_t additionalFiles;
    bool download = true;
    bool custom = false;
    String_t origin; ///< The path of the rule file, or kBuiltInOrigin.
};

/// The origin of rules that came from no file.
inline constexpr char kBuiltInOrigin[] = "built-in";

/// The expression of a rule: Perl syntax, case does not matter.
/// @throws GenICam::RuntimeException that names the pattern, if it is none.
boost::regex CompilePattern(const String_t& pattern);

/// Whether the three expressions match their whole text. The first that does not ends the look.
/// @throws GenICam::RuntimeException when a match would take too long.
bool IsMatch(const CBindingRule& rule, std::string_view manufacturer, std::string_view modelName,
             std::string_view serialNumber);

} // namespace Zelmo
