// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraGrab.h"

namespace CLI {
class App;
}

namespace tool {

class Output;

using CameraGrabs = std::vector<std::unique_ptr<CameraGrab>>;

/// The options that grab and bench share, but for the choice of cameras.
void DefineGrabOptions(CLI::App& command, GrabOptions& options);

/// As it is typed: "one-by-one".
const char* GetStrategyName(Zelmo::EGrabStrategy strategy);

/// @throws UsageError for options that do not go together.
void CheckGrabOptions(const GrabOptions& options);

/// What grab and bench have in common: cameras that are opened, set up, grabbed from at the same time, and closed.
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
    void ShowProgress();
    void WatchOver();
    void LookAfterReaders(const std::vector<pollfd>& polled);
    ExitCode TellFailures();
    void TellLosses();
    bool TooManyMissing();

    const GrabOptions& m_options;
    Output& m_output;
    StopSignals m_signals;
    std::vector<pollfd> m_readers; // what has to be read as long as the grab runs
    std::vector<std::string> m_readerNames;
    std::string m_goneReader; // its name, once one has gone
    CameraGrabs m_cameras;
};

} // namespace tool
