// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ArrayRetrieval.h"
#include "CameraGrab.h"
#include "GrabThread.h"
#include "LinkReport.h"

#include <optional>
#include <poll.h>
#include <string>
#include <vector>

namespace tool {

class Output;

/// What grab and bench have in common: cameras that are opened, set up, grabbed from at the same time, and closed.
/// Several grab as an array, unless each is to be waited for when it is removed: then, as a single one, each has a
/// session and a thread of its own.
/// Borrows options and output. Threads: the main one.
class GrabRun {
public:
    /// Opens the cameras; signals stop them from now on.
    /// @throws ToolError when that, or a step of the set-up, is refused, or a camera cannot grab as the options ask.
    GrabRun(const std::vector<Zelmo::CDeviceInfo>& infos, const GrabOptions& options, Output& output);

    const CameraGrabs& GetCameras() const noexcept { return m_cameras; }
    const StopSignals& GetSignals() const noexcept { return m_signals; }

    /// The grab ends when nobody reads @p fd any more, as it does with standard output; @p name is for the message.
    void WatchReader(int fd, const std::string& name);

    /// Starts all cameras and returns when each has ended. Shows progress meanwhile.
    void Run();

    /// Tells what went wrong, and what is missing and why. @return the exit code for it.
    ExitCode Conclude();

private:
    void MakeThreads();
    void ShowProgress();
    void WatchOver();
    void LookAfterReaders(const std::vector<pollfd>& polled);
    ExitCode TellFailures();
    void TellLosses();
    std::vector<LinkUse> CollectLinkUses() const;
    bool TooManyMissing();

    const std::vector<Zelmo::CDeviceInfo> m_infos; // of the cameras
    const GrabOptions& m_options;
    Output& m_output;
    StopSignals m_signals;
    std::vector<pollfd> m_readers; // what has to be read as long as the grab runs
    std::vector<std::string> m_readerNames;
    std::string m_goneReader;           // its name, once one has gone
    std::optional<CameraArray> m_array; // outlives the cameras
    CameraGrabs m_cameras;
    std::vector<std::unique_ptr<GrabThread>> m_threads; // last: they touch all of the above
};

} // namespace tool
