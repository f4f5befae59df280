// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ToolLog.h"

#include <zelmo/DeviceInfo.h>

namespace tool {

/// The library, started for one verb: log and filter as the options ask. One at a time.
class Library {
public:
    /// @throws ToolError when the library does not start.
    Library(const GlobalOptions& options, Output& output);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    /// All cameras that can be reached now and that the device filter admits, in the order of their index.
    Zelmo::DeviceInfoList FindDevices();
    Zelmo::TlInfoList FindTransportLayers();

    /// Tries to make the transport layer: @return false, with the cause among the plug-in failures, when that fails.
    bool CanCreate(const Zelmo::CTlInfo& info);

    /// What failed up to now.
    std::vector<PluginFailure> GetPluginFailures() const { return m_log.GetPluginFailures(); }

private:
    ToolLog m_log;
};

/// Where plug-ins are looked for: ZELMO_TL_PATH or the folder of the library.
std::string GetPluginPath();

} // namespace tool
