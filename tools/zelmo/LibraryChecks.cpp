// SPDX-License-Identifier: Apache-2.0
#include "LibraryChecks.h"

#include "Isolated.h"
#include "Library.h"
#include "NetworkChecks.h"
#include "Output.h"

#include <zelmo/BindingReport.h>
#include <zelmo/Utilities.h>
#include <zelmo/ZelmoSettings.h>

#include <Base/GCException.h>
#include <Base/GCUtilities.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

namespace tool {
namespace {

constexpr std::chrono::seconds kLimit{60}; // looking for cameras may take seconds for each kind

using Checks = std::vector<Check>;

Json ToJson(const Checks& checks) {
    Json list = Json::array();
    for (const Check& check : checks) {
        list.push_back({check.name, static_cast<int>(check.verdict), check.detail, check.remedy,
                        static_cast<int>(check.exitCode)});
    }
    return list;
}

Checks FromJson(const Json& list) {
    Checks checks;
    for (const Json& one : list) {
        checks.push_back({one[0], static_cast<Verdict>(one[1].get<int>()), one[2], one[3],
                          static_cast<ExitCode>(one[4].get<int>())});
    }
    return checks;
}

Check CheckCacheFolder() {
    Check check{"cache folder", Verdict::Ok, "", ""};
    GenICam::gcstring folder;
    if (!GenICam::GetValueOfEnvironmentVariable("GENICAM_CACHE_V3_1", folder) || folder.empty()) {
        check.verdict = Verdict::Warning;
        check.detail = "no folder for prepared camera descriptions is set";
        check.remedy = "Set HOME, or GENICAM_CACHE_V3_1 to a folder that can be written";
        return check;
    }
    check.detail = Printable(folder.c_str());
    if (access(folder.c_str(), W_OK | X_OK) == 0) {
        check.detail += " can be written";
    } else if (errno == ENOENT) {
        check.detail += " can be made, once there is something to keep"; // else the library would have let it go
    } else {
        check.verdict = Verdict::Warning;
        check.detail += " cannot be written";
        check.remedy = "Give it to this user, or set GENICAM_CACHE_V3_1 to another folder";
    }
    return check;
}

/// After a try to start the library, as that brings up the log.
Check CheckSettings(const ToolLog& log) {
    const char* const name = "settings file";
    try {
        Zelmo::CZelmoSettings::UpdateSettings();
    } catch (const GenICam::GenericException& error) {
        const std::string cause = log.GetLastError();
        return {name, Verdict::Problem, cause.empty() ? error.GetDescription() : Printable(cause),
                "Mend the file or remove it: the library does not start with it", ExitCode::Failed};
    }
    const std::string base = Zelmo::getZelmoFolderPath(Zelmo::FolderType_Base);
    for (const char* file : {"/zelmo.xml", "/../zelmo.xml"}) {
        if (std::filesystem::exists(base + file)) {
            return {name, Verdict::Ok, "read from " + base + file, ""};
        }
    }
    return {name, Verdict::Ok, "none, so nothing is set", ""};
}

/// The folder of binding rules. A site that has set it expects it to be there.
Check CheckRuleFolder(const Zelmo::CRuleFolderReport& report) {
    const char* const name = "rule folder";
    const std::string folder = Printable(report.folder.str());
    if (report.obstacle.empty()) {
        const std::size_t count = report.files.size();
        return {name, Verdict::Ok, std::to_string(count) + (count == 1 ? " rule file in " : " rule files in ") + folder,
                ""};
    }
    const std::string found = folder + ": " + report.obstacle.str() + ", so only the standard rules count";
    const bool isSet = std::getenv("ZELMO_CONFIG_FILE_REGISTRY_PATH") != nullptr;
    std::error_code error;
    if (!isSet && !std::filesystem::exists(report.folder.str(), error) && !error) {
        return {name, Verdict::Ok, found, ""};
    }
    return {name, Verdict::Warning, found,
            "Make it a folder that this user can read, or set ZELMO_CONFIG_FILE_REGISTRY_PATH to another one"};
}

/// The folder, and each rule file that cannot be read.
Checks CheckRules() {
    try {
        const Zelmo::CRuleFolderReport report = Zelmo::CheckRuleFolder();
        Checks checks{CheckRuleFolder(report)};
        for (const Zelmo::CRuleFileReport& file : report.files) {
            if (!file.failure.empty()) {
                checks.push_back({"rule file " + Printable(std::filesystem::path(file.path.str()).filename().string()),
                                  Verdict::Problem, Printable(file.path.str() + ": " + file.failure.str()),
                                  "Mend the file or remove it: no camera can be opened with it", ExitCode::Failed});
            }
        }
        return checks;
    } catch (const GenICam::GenericException& error) {
        return {
            {"rule folder", Verdict::Problem, error.GetDescription(), "Look at the folder's disk", ExitCode::Failed}};
    }
}

/// In the child process.
Checks Examine(Library& library, bool withPlugins, const TellStep& tell) {
    library.GetLog().SetLoadListener([&](const std::string& plugin) { tell("loading the plug-in '" + plugin + "'"); });
    Checks checks;
    Zelmo::DeviceInfoList devices;
    try {
        tell("starting the library");
        library.Start();
        if (withPlugins) {
            library.FindTransportLayers(); // loads them
            tell("using the plug-ins");
            checks = CheckPlugins(library, devices);
        }
    } catch (const ToolError& error) {
        checks.push_back(
            {"plug-ins", Verdict::Problem, "not looked at: " + std::string(error.what()), "", error.GetExitCode()});
    }
    checks.insert(checks.begin(), CheckSettings(library.GetLog()));
    const Checks rules = CheckRules();
    checks.insert(checks.end(), rules.begin(), rules.end());
    checks.push_back(CheckCacheFolder());
    const Checks network = JudgeNetwork(ReadNetworkFacts(devices));
    checks.insert(checks.end(), network.begin(), network.end());
    return checks;
}

} // namespace

Checks CheckLibrary(Library& library, Output& output) {
    const auto run = [&](bool withPlugins) {
        return RunIsolated([&](const TellStep& tell) { return ToJson(Examine(library, withPlugins, tell)); }, kLimit,
                           [&](const std::string& line) { output.LogForeignLine(line); });
    };
    IsolatedResult result = run(true);
    Checks checks;
    if (!result.failure.empty()) {
        checks.push_back({"plug-ins", Verdict::Problem, "the process that tried them failed: " + result.failure,
                          "Reinstall or remove the plug-in at fault; ZELMO_TL_PATH tells where they are looked for"});
        result = run(false);
    }
    const Checks others = FromJson(result.failure.empty() ? result.value : Json::array());
    checks.insert(checks.end(), others.begin(), others.end());
    return checks;
}

} // namespace tool
