// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ToolLog.h"

#include <zelmo/DeviceInfo.h>

namespace tool {

/// The library, for one verb: log and filter as the options ask. One at a time.
class Library {
public:
    /// Prepares the log. @throws ToolError for a wrong --log or --log-file.
    Library(const GlobalOptions& options, Output& output);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    /// Once, before all that follows. @throws ToolError when the library does not start, and for a wrong --filter.
    void Start();

    /// All cameras that can be reached now and that the device filter admits, in the order of their index.
    Zelmo::DeviceInfoList FindDevices();
    Zelmo::TlInfoList FindTransportLayers();

    /// Tries to make the transport layer: @return false, with the cause among the plug-in failures, when that fails.
    bool CanCreate(const Zelmo::CTlInfo& info);

    /// What failed up to now.
    std::vector<PluginFailure> GetPluginFailures() const { return m_log.GetPluginFailures(); }

    ToolLog& GetLog() noexcept { return m_log; }

private:
    void SetFilter() const;

    const std::string m_filter;
    bool m_isStarted = false;
    ToolLog m_log;
};

/// What of ZELMO_DEVICE_FILTER the library passes over without a word; empty when the variable is well or not set.
std::string FindEnvironmentFilterFault();

/// Where plug-ins are looked for: ZELMO_TL_PATH or the folder of the library.
std::string GetPluginPath();

} // namespace tool
