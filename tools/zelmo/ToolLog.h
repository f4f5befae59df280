// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Options.h"

#include <Log/Appender.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tool {

class Output;

/// A plug-in that is not used, or only in part, and why.
struct PluginFailure {
    std::string plugin; ///< File, or the name of the transport layer.
    std::string reason;
};

/// What the library logs: shown as the options ask, and searched for plug-ins that failed, as the library tells their
/// causes nowhere else. Made before the library starts and destroyed after it stopped.
class ToolLog {
public:
    /// @throws ToolError for a wrong --log or a --log-file that cannot be written.
    ToolLog(const GlobalOptions& options, Output& output);
    ~ToolLog();
    ToolLog(const ToolLog&) = delete;
    ToolLog& operator=(const ToolLog&) = delete;

    /// In the order of their first appearance, each once.
    std::vector<PluginFailure> GetPluginFailures() const;

    /// The last line of an error or worse; empty without.
    std::string GetLastError() const;

    /// Hears of each plug-in before it is loaded, which may end the process. Set before the library starts.
    void SetLoadListener(std::function<void(const std::string& plugin)> onLoad);

private:
    class Listener;
    std::shared_ptr<Listener> m_listener;
};

/// The plug-in and the reason that a log line of the factory tells of; false for other lines.
bool ParsePluginFailure(std::string_view message, PluginFailure& failure);

} // namespace tool
