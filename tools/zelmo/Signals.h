// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"

namespace tool {

/// Turns SIGINT and SIGTERM into a request to stop that any poll loop sees, as long as it lives; at most one at a time.
/// A SIGINT that follows leaves the process at once, after the partial files were removed (PartialFiles).
/// Threads: any may look; make and destroy it on the main thread.
class StopSignals {
public:
    StopSignals(); ///< @throws ToolError when no pipe can be had.
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// Readable once a signal came, and from then on: nobody consumes it. For poll(); do not read or close it.
    int GetFd() const noexcept;

    /// As if a signal had come, for those who have to stop all others; the exit code stays Done.
    void RequestStop() noexcept;

    bool StopRequested() const noexcept;

    /// Interrupted or Terminated after a signal, else Done.
    ExitCode GetExitCode() const noexcept;
};

/// SIGPIPE and SIGXFSZ are ignored from here on: the write that caused them fails with an error that can be told.
void IgnoreWriteSignals() noexcept;

} // namespace tool
