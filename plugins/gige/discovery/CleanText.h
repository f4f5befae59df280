// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace Gige {

/// A text from the wire as it may be shown and logged: each byte that is not UTF-8, and each control character, becomes
/// U+FFFD.
std::string CleanText(std::string_view text);

} // namespace Gige
