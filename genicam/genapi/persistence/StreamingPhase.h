// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/INodeMap.h>

#include <string>
#include <vector>

namespace GenApi {

struct ICommand;

/// Tells the device that its settings are about to be streamed, with a pair of commands "<name>Start" and "<name>End".
/// A device without them, or that does not let Start be executed, is told nothing. Borrows the node map.
class StreamingPhase {
public:
    StreamingPhase(INodeMap& nodeMap, const char* name);
    ~StreamingPhase(); ///< Ends the phase when that was left open; a failure is logged.
    StreamingPhase(const StreamingPhase&) = delete;
    StreamingPhase& operator=(const StreamingPhase&) = delete;

    bool IsOpen() const noexcept { return m_isOpen; }

    /// Each waits up to five seconds until the device is done, and appends "<command>: <reason>" for what goes wrong.
    void Start(std::vector<std::string>& errors);
    void End(std::vector<std::string>& errors);

private:
    std::string m_name;
    ICommand* m_start;
    ICommand* m_end;
    bool m_isOpen = false;
};

} // namespace GenApi
