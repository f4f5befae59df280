// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Zelmo {

/// The two ways in which percent signs are read; told apart for the sake of files that rely on either.
enum EExpandDialect {
    ExpandDialect_LibraryPath, ///< "%%" stays; a "%" that stands alone becomes "%%", also in texts of one or two bytes.
    ExpandDialect_FileName     ///< "%%" becomes "%"; a "%" that stands alone stays; texts of up to two bytes stay.
};

/// Replaces references to environment variables in @p text: "$(NAME)" and "%NAME%" by the value, nothing when the
/// variable is not set, and "$$" by "$". Values are not expanded again.
/// @return how many references were replaced, or -1 when memory was short; @p text is then as it was.
int ExpandEnvironment(std::string& text, EExpandDialect dialect) noexcept;

} // namespace Zelmo
