// SPDX-License-Identifier: Apache-2.0
#include "ToolLog.h"

#include "Errors.h"
#include "Output.h"

#include <Log/CLog.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <optional>

namespace tool {
namespace {

constexpr const char* kFactoryCategory = "zelmo.base.TlFactory";

std::optional<int> ParseLevel(std::string name) {
    static const std::pair<const char*, int> kLevels[] = {
        {"OFF", -1},
        {"FATAL", GenICam::LogPriority_Fatal},
        {"CRIT", GenICam::LogPriority_Crit},
        {"ERROR", GenICam::LogPriority_Error},
        {"WARN", GenICam::LogPriority_Warn},
        {"NOTICE", GenICam::LogPriority_Notice},
        {"INFO", GenICam::LogPriority_Info},
        {"DEBUG", GenICam::LogPriority_Debug},
    };
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::toupper(c); });
    for (const auto& [text, level] : kLevels) {
        if (name == text) {
            return level;
        }
    }
    return std::nullopt;
}

const char* NameOfPriority(int priority) {
    return priority <= GenICam::LogPriority_Crit     ? "critical"
           : priority <= GenICam::LogPriority_Error  ? "error"
           : priority <= GenICam::LogPriority_Warn   ? "warning"
           : priority <= GenICam::LogPriority_Notice ? "notice"
           : priority <= GenICam::LogPriority_Info   ? "info"
                                                     : "debug";
}

void SetCategoryLevel(const std::string& text) {
    const std::size_t equals = text.find('=');
    const auto level = ParseLevel(equals == std::string::npos ? text : text.substr(equals + 1));
    if (!level || equals == 0) {
        throw UsageError(
            "--log '" + text +
            "': expected CATEGORY=LEVEL, or LEVEL alone for all, with the levels off, fatal, crit, error, warn, "
            "notice, info and debug; for example zelmo.base=debug");
    }
    const std::string category = equals == std::string::npos ? "" : text.substr(0, equals);
    GenICam::CLog::GetLogger(category.c_str()).setPriority(*level);
}

void SetLevels(const GlobalOptions& options) {
    GenICam::Logger& root = GenICam::CLog::GetRootLogger();
    if (options.verbosity > 0) {
        root.setPriority(options.verbosity > 1 ? GenICam::LogPriority_Debug : GenICam::LogPriority_Info);
    } else if (options.quiet) {
        root.setPriority(GenICam::LogPriority_Error);
    }
    for (const std::string& text : options.logLevels) {
        SetCategoryLevel(text);
    }
}

/// The log would make the folder: a name with a slip of the pen must not leave folders behind.
void CheckLogFolder(const std::string& file) {
    const auto folder = std::filesystem::absolute(file).parent_path();
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error)) {
        throw HostError("--log-file '" + file + "': there is no folder '" + folder.string() +
                        "'. Make it with: mkdir -p '" + folder.string() + "'");
    }
}

bool TakeBetween(std::string_view message, std::string_view before, std::string_view behind, std::string& text,
                 std::string_view& rest) {
    if (message.substr(0, before.size()) != before) {
        return false;
    }
    message.remove_prefix(before.size());
    const std::size_t end = message.find(behind);
    if (end == std::string_view::npos) {
        return false;
    }
    text = message.substr(0, end);
    rest = message.substr(end + behind.size());
    return true;
}

} // namespace

bool ParsePluginFailure(std::string_view message, PluginFailure& failure) {
    std::string_view rest;
    if (TakeBetween(message, "Could not load TL lib '", "' : ", failure.plugin, rest) ||
        TakeBetween(message, "Exception in GetTLInfoList of TL lib '", "': ", failure.plugin, rest) ||
        TakeBetween(message, "Trying to create TL '", "' - ", failure.plugin, rest)) {
        failure.reason = rest;
        return true;
    }
    std::string device;
    if (TakeBetween(message, "Device '", "' of transport layer '", device, rest) &&
        TakeBetween(rest, "", "' cannot be used: ", failure.plugin, rest)) {
        failure.reason = "its device '" + device + "' cannot be used: " + std::string(rest);
        return true;
    }
    if (TakeBetween(message, "TL lib '", "' cannot be used beside ", failure.plugin, rest)) {
        failure.reason = "it cannot be used beside " + std::string(rest);
        return true;
    }
    if (TakeBetween(message, "Could not find required exports in TL lib '", "'", failure.plugin, rest)) {
        failure.reason = "it lacks one of the exports GetTLInfoList, Create and Destroy";
        return true;
    }
    if (TakeBetween(message, "Exception while enumerating ", " devices. Error: ", failure.plugin, rest)) {
        failure.reason = "looking for devices failed: " + std::string(rest);
        return true;
    }
    if (TakeBetween(message, "Unknown error while enumerating ", " devices.", failure.plugin, rest)) {
        failure.reason = "looking for devices failed for an unknown reason";
        return true;
    }
    return false;
}

/// Threads: Append by all that log; the list has its lock, and Output its own.
class ToolLog::Listener : public GenICam::Appender {
public:
    Listener(Output& output, bool show) : Appender("zelmo-tool"), m_output(output), m_show(show) {}

    void LimitFactoryTo(int priority) { m_factoryLimit = priority; }

    void Append(const GenICam::LogRecord& record) override {
        const bool ofFactory = record.category == kFactoryCategory;
        if (ofFactory) {
            Remember(record.message);
        }
        RememberError(record);
        if (m_show && (!ofFactory || record.priority <= m_factoryLimit)) {
            m_output.LogLine(NameOfPriority(record.priority), std::string(record.category),
                             std::string(record.message));
        }
    }

    std::vector<PluginFailure> GetFailures() const {
        std::lock_guard lock(m_mutex);
        return m_failures;
    }

    std::string GetLastError() const {
        std::lock_guard lock(m_mutex);
        return m_lastError;
    }

    void SetLoadListener(std::function<void(const std::string&)> onLoad) { m_onLoad = std::move(onLoad); }

private:
    void RememberError(const GenICam::LogRecord& record) {
        if (record.priority <= GenICam::LogPriority_Error) {
            std::lock_guard lock(m_mutex);
            m_lastError = record.message;
        }
    }

    void Remember(std::string_view message) {
        PluginFailure failure;
        std::string_view rest;
        if (m_onLoad && TakeBetween(message, "Trying to load TL lib '", "'", failure.plugin, rest)) {
            m_onLoad(failure.plugin);
        }
        if (!ParsePluginFailure(message, failure)) {
            return;
        }
        std::lock_guard lock(m_mutex);
        const bool known = std::any_of(m_failures.begin(), m_failures.end(), [&](const PluginFailure& other) {
            return other.plugin == failure.plugin && other.reason == failure.reason;
        });
        if (!known) {
            m_failures.push_back(failure);
        }
    }

    Output& m_output;
    const bool m_show;
    int m_factoryLimit = GenICam::LogPriority_Warn;   // set before any thread logs
    std::function<void(const std::string&)> m_onLoad; // likewise
    mutable std::mutex m_mutex;
    std::string m_lastError;
    std::vector<PluginFailure> m_failures;
};

ToolLog::ToolLog(const GlobalOptions& options, Output& output) {
    GenICam::CLog::Initialize();
    try {
        GenICam::Logger& root = GenICam::CLog::GetRootLogger();
        const char* environmentFile = std::getenv("ZELMO_LOG_FILE");
        const bool toFile = !options.logFile.empty() || (environmentFile != nullptr && *environmentFile != '\0');
        if (!toFile || !options.logFile.empty()) {
            root.removeAllAppenders();
        }
        if (!options.logFile.empty()) {
            CheckLogFolder(options.logFile);
            root.addAppender(GenICam::CLog::CreateFileAppender("log-file", options.logFile.c_str(), true));
        }
        SetLevels(options);
        m_listener = std::make_shared<Listener>(output, !toFile);
        // Why a plug-in failed is told as low as at this level; below the user's level it is only listened to.
        GenICam::Logger& factory = GenICam::CLog::GetLogger(kFactoryCategory);
        m_listener->LimitFactoryTo(factory.getChainedPriority());
        if (factory.getChainedPriority() < GenICam::LogPriority_Notice) {
            factory.setPriority(GenICam::LogPriority_Notice);
        }
        root.addAppender(m_listener);
    } catch (const GenICam::GenericException& error) {
        GenICam::CLog::ShutDown();
        throw HostError("--log-file '" + options.logFile + "': " + error.GetDescription());
    } catch (...) {
        GenICam::CLog::ShutDown();
        throw;
    }
}

ToolLog::~ToolLog() {
    GenICam::CLog::RemoveAppender(GenICam::CLog::GetRootLogger(), m_listener);
    GenICam::CLog::ShutDown();
}

std::vector<PluginFailure> ToolLog::GetPluginFailures() const {
    return m_listener->GetFailures();
}

std::string ToolLog::GetLastError() const {
    return m_listener->GetLastError();
}

void ToolLog::SetLoadListener(std::function<void(const std::string& plugin)> onLoad) {
    m_listener->SetLoadListener(std::move(onLoad));
}

} // namespace tool
