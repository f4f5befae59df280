// SPDX-License-Identifier: Apache-2.0

// The settings file, which is looked for beside the program.

#include "Fuzz.h"

#include <zelmo/Utilities.h>
#include <zelmo/ZelmoSettings.h>

#include <fstream>
#include <string>

namespace {

using Zelmo::CZelmoSettings;

/// What reading the file says.
std::string Update() {
    try {
        CZelmoSettings::UpdateSettings();
        return "read";
    } catch (const GenICam::RuntimeException& failure) {
        return failure.GetDescription();
    }
}

std::string Get(const char* key) {
    Zelmo::String_t value = "unset";
    CZelmoSettings::GetSetting(key, value);
    return value.c_str();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string file = Zelmo::getZelmoFolderPath(Zelmo::FolderType_Base) + std::string("/zelmo.xml");
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    CZelmoSettings::ClearSettings();
    const std::string outcome = Update();
    Fuzz::Require(outcome == "read" || outcome == "Failed to process zelmo setting file", "a failure says what failed");
    const std::string value = Get("a");
    CZelmoSettings::SetSetting("a", "set");
    Fuzz::Require(Update() == outcome, "a file is read the same way twice");
    Fuzz::Require(Get("a") == (value == "unset" ? "set" : value), "the file replaces what was set");
    return 0;
}
