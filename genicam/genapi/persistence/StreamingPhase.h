// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/INodeMap.h>

#include <chrono>
#include <string>
#include <vector>

namespace GenApi {

struct ICommand;

/// Tells the device that its settings are about to be streamed, with a pair of commands "<name>Start" and "<name>End".
/// A device without them, or that does not let Start be executed, is told nothing. Borrows the node map, whose lock is
/// not held: nobody else has to wait for the device's answer.
class StreamingPhase {
public:
    StreamingPhase(INodeMap& nodeMap, const char* name, std::chrono::milliseconds timeout);
    ~StreamingPhase(); ///< Ends the phase when that was left open; a failure is logged.
    StreamingPhase(const StreamingPhase&) = delete;
    StreamingPhase& operator=(const StreamingPhase&) = delete;

    bool IsOpen() const noexcept { return m_isOpen; }

    /// Each waits at most for the time-out until the device is done, and appends "<command>: <reason>" for what goes
    /// wrong.
    void Start(std::vector<std::string>& errors);
    void End(std::vector<std::string>& errors);

private:
    std::string m_name;
    ICommand* m_start;
    ICommand* m_end;
    std::chrono::milliseconds m_timeout;
    bool m_isOpen = false;
};

} // namespace GenApi
