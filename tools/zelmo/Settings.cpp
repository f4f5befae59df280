// SPDX-License-Identifier: Apache-2.0
#include "Settings.h"

#include "Camera.h"
#include "InputFile.h"
#include "Output.h"

#include <Base/GCException.h>

#include <sstream>

namespace tool {

std::vector<SettingFailure> ToFailures(const GenApi::gcstring_vector& errors) {
    std::vector<SettingFailure> failures;
    for (const auto& error : errors) {
        const std::string text(error.view());
        const std::size_t colon = text.find(": ");
        const bool isNamed = colon != std::string::npos;
        failures.push_back({isNamed ? text.substr(0, colon) : "", isNamed ? text.substr(colon + 2) : text});
    }
    return failures;
}

GenApi::CFeatureBag ReadSettings(const std::string& path) {
    constexpr std::size_t mostBytes = 64 << 20;
    std::istringstream text(ReadInputFile(path, mostBytes));
    try {
        GenApi::CFeatureBag bag;
        text >> bag;
        return bag;
    } catch (const GenICam::GenericException& error) {
        throw ToolError(ExitCode::Failed, "bad_file",
                        "Reading settings from '" + path + "' failed: " + Printable(error.GetDescription()) +
                            "; 'zelmo save' writes such files");
    }
}

ExitCode ReportFailures(const std::vector<SettingFailure>& failures, const std::string& attempted, const Camera& camera,
                        Output& output) {
    for (const SettingFailure& one : failures) {
        output.Error(FeatureError(one.feature, "not_" + attempted,
                                  one.feature + ": it could not be " + attempted + " on camera " + camera.GetName() +
                                      ": " + Printable(one.reason)));
    }
    if (!failures.empty() && camera.IsRemoved()) {
        output.Error(ToolError(ExitCode::Removed, "removed", "Camera " + camera.GetName() + " was removed meanwhile"));
        return ExitCode::Removed;
    }
    return failures.empty() ? ExitCode::Done : ExitCode::Feature;
}

Json ToJson(const std::vector<SettingFailure>& failures) {
    Json list = Json::array();
    for (const SettingFailure& one : failures) {
        list.push_back({{"name", one.feature}, {"message", one.reason}});
    }
    return list;
}

} // namespace tool
