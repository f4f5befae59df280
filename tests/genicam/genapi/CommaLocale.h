// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <unistd.h>

namespace tests {

/// Gives the process a locale with a decimal comma, made for the occasion where the machine has none installed.
/// @return false when neither is possible.
inline bool UseCommaLocale() {
    if (std::setlocale(LC_ALL, "de_DE.UTF-8")) {
        return true;
    }
    const auto folder = std::filesystem::temp_directory_path() / ("comma-locale-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const std::string make = "localedef -i de_DE -f UTF-8 '" + (folder / "de_DE.UTF-8").string() + "' >/dev/null 2>&1";
    const bool made = std::system(make.c_str()) == 0;
    setenv("LOCPATH", folder.c_str(), 1);
    const bool used = made && std::setlocale(LC_ALL, "de_DE.UTF-8");
    std::filesystem::remove_all(folder);
    return used && std::localeconv()->decimal_point[0] == ',';
}

} // namespace tests
