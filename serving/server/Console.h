// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraReport.h"

#include <functional>

namespace Serving {

/// What can be typed while cameras are served: "fault [SERIAL] ORDER", "faults", "reset [SERIAL]", "status", "quit". A
/// line that is none of them is answered by an error and changes nothing.
/// Borrows: the cameras and the report.
/// Threads: the control thread.
class CConsole {
public:
    CConsole(CServedCameras cameras, CReport& report, std::function<void()> quit)
        : m_cameras(cameras), m_report(report), m_quit(std::move(quit)) {}

    void OnLine(const std::string& line);

private:
    void Do(const std::vector<std::string>& words);
    void SetFault(const std::vector<std::string>& words);
    void Reset(const std::vector<std::string>& words);
    /// Those with the serial number; all when it is empty. @throws CServeError.
    std::vector<CServedCamera*> Find(const std::string& serialNumber) const;

    CServedCameras m_cameras;
    CReport& m_report;
    std::function<void()> m_quit;
};

} // namespace Serving
