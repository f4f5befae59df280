// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace GenICam {

/// The name of a priority, as "WARN", or its number where it has none.
std::string PriorityName(int priority);

/// Reads a level: a name in any case, "OFF" (below all priorities) or a decimal number. @return false for anything
/// else.
bool ParsePriority(std::string_view text, int& priority);

} // namespace GenICam
