// SPDX-License-Identifier: Apache-2.0
#include "LogConfiguration.h"

#include "LogHierarchy.h"
#include "LogProperties.h"
#include "PriorityNames.h"
#include "SinkAppender.h"
#include "TextParts.h"

#include <Base/GCUtilities.h>

#include <cstdio>

namespace GenICam {

namespace {

constexpr char kLevelVariable[] = "ZELMO_LOG_LEVEL";
constexpr char kFileVariable[] = "ZELMO_LOG_FILE";
constexpr std::size_t kFileLimitBytes = 10 * 1024 * 1024;
constexpr std::size_t kKeptFiles = 3;

/// Sets one level: "LEVEL" of the root, "category=LEVEL" of a category.
void ApplyLevel(CLogHierarchy& hierarchy, std::string_view setting) {
    const auto equals = setting.find('=');
    const bool forRoot = equals == setting.npos;
    int level = 0;
    if (!ParsePriority(Trimmed(forRoot ? setting : setting.substr(equals + 1)), level)) {
        std::fprintf(stderr, "%s: '%s' names no log level and is ignored\n", kLevelVariable,
                     std::string(setting).c_str());
        return;
    }
    Logger& logger = forRoot ? hierarchy.Root() : hierarchy.Get(Trimmed(setting.substr(0, equals)));
    logger.setPriority(level);
}

/// An appender for the file, null with a line on the standard error stream if there is none to be had.
AppenderPtr OpenFile(const gcstring& path) {
    try {
        return CreateRotatingFileAppender("file", path, kFileLimitBytes, kKeptFiles);
    } catch (const RuntimeException& failure) {
        std::fprintf(stderr, "%s: %s; logging to the standard error stream instead\n", kFileVariable,
                     failure.GetDescription());
        return nullptr;
    }
}

/// What the standard's variable, or the process by SetGenICamLogConfig, names; empty without.
gcstring PropertyFile() {
    try {
        return GetGenICamLogConfig();
    } catch (const RuntimeException&) {
        return {};
    }
}

} // namespace

void ConfigureLogByDefault(CLogHierarchy& hierarchy) {
    hierarchy.Reset();
    hierarchy.Root().addAppender(CreateErrorStreamAppender("stderr"));
}

bool ConfigureLogFromEnvironment(CLogHierarchy& hierarchy) {
    gcstring levels;
    gcstring path;
    GetValueOfEnvironmentVariable(kLevelVariable, levels);
    GetValueOfEnvironmentVariable(kFileVariable, path);
    const gcstring properties = PropertyFile();
    const bool isConfigured = !properties.empty() && ConfigureLogFromFile(hierarchy, properties);
    if (levels.empty() && path.empty()) {
        return isConfigured;
    }

    if (!isConfigured) {
        ConfigureLogByDefault(hierarchy);
    }
    gcstring_vector settings;
    Tokenize(levels, settings);
    for (const gcstring& setting : settings) {
        if (const auto trimmed = Trimmed(setting.view()); !trimmed.empty()) {
            ApplyLevel(hierarchy, trimmed);
        }
    }
    if (const AppenderPtr file = path.empty() ? nullptr : OpenFile(path)) {
        hierarchy.Root().removeAllAppenders();
        hierarchy.Root().addAppender(file);
    }
    return true;
}

} // namespace GenICam
