// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace tool {

/// A text on one line, of printable characters only: `\\` stands for a backslash, `\n`, `\r` and `\t` for line end,
/// carriage return and tab, `\xHH` for each byte of any other control character and of what is no UTF-8.
std::string Escape(std::string_view text);

/// The text that Escape() wrote so. @throws ToolError (wrong usage) for a backslash that begins none of these.
std::string Unescape(std::string_view text);

} // namespace tool
