// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Errors.h"

#include <poll.h>

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

/// True once nobody can read any more what is written to @p polled.fd: of an entry without events that poll() has
/// looked at, so also while there is nothing to write.
inline bool HasHungUp(const pollfd& polled) noexcept {
    return polled.fd >= 0 && (polled.revents & (POLLERR | POLLHUP)) != 0;
}

/// What is said then.
ToolError NobodyReads(const std::string& what = "standard output");

/// Opens descriptors 0 to 2 where the caller has closed them, or the next files would take their places and get what
/// is printed. Writing to them fails as before.
void OccupyStandardStreams() noexcept;

/// SIGPIPE and SIGXFSZ are ignored from here on: the write that caused them fails with an error that can be told.
void IgnoreWriteSignals() noexcept;

} // namespace tool
