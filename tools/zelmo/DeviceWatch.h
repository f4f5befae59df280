// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"
#include "Library.h"
#include "Options.h"
#include "Signals.h"

#include <map>

namespace tool {

class Output;

/// Looks for cameras again and again and prints what came and what went, until a limit or a signal ends it.
class DeviceWatch {
public:
    DeviceWatch(Library& library, Output& output, const ListOptions& options);

    ExitCode Run();

private:
    using Devices = std::map<std::string, Zelmo::CDeviceInfo>; // by device class and full name

    Devices Look();
    void Report(const Devices& now);
    void Print(const char* type, const Zelmo::CDeviceInfo& info);
    bool IsOver() const;
    int GetPauseMs() const;

    Library& m_library;
    Output& m_output;
    const ListOptions& m_options;
    StopSignals m_signals;
    Devices m_known;
    unsigned m_arrivals = 0;
    unsigned m_departures = 0;
};

} // namespace tool
