// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/Types.h>

namespace Zelmo {

/// Named text settings of the process.
/// The library fills them from the file zelmo.xml when it starts and forgets them when it ends; what is set at run time
/// is not written back. Keys are case-sensitive and must not be null.
/// The file lies beside the library or, if none does, one folder above:
/// @code{.xml}
/// <settings>
///     <setting name="key"><value>text</value></setting>
/// </settings>
/// @endcode
/// The text is that of the first child of `setting`, whatever its name.
/// Threads: any, at the same time; each operation holds the one lock for its whole length, also while it reads the
/// file.
class ZELMO_API CZelmoSettings {
public:
    CZelmoSettings() = delete;

    /// @return whether @p key is set; if not, @p value is left as it was.
    static bool GetSetting(const char* key, String_t& value);

    /// Sets or replaces one value. @return true.
    static bool SetSetting(const char* key, const String_t& value);

    static void ClearSettings();

    /// Adds what the settings file holds and replaces entries of the same key. A missing file, and one whose root is
    /// not `settings`, changes nothing.
    /// @throws GenICam::RuntimeException when the file cannot be read; the log then names the file and the cause, and
    /// what was read up to there stays.
    static void UpdateSettings();
};

} // namespace Zelmo
