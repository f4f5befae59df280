// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Json.h"

#include <chrono>
#include <functional>
#include <string>

namespace tool {

/// What came of work in a child process.
struct IsolatedResult {
    Json value;          ///< What the work returned; null when it failed.
    std::string failure; ///< How it failed: "it was ended by signal 11 (Segmentation fault) while ..."; else empty.
};

/// Says what comes next, so that a failure can name it.
using TellStep = std::function<void(const std::string& step)>;

/// Runs @p work in a child process, so that nothing that it loads can end, block or change this one.
/// @p onErrorLine gets what it writes to standard error; without it that goes where ours does.
/// Call it while this process has no other thread, and nothing to write that it holds back.
/// @throws ToolError when there is no child to be had.
IsolatedResult RunIsolated(const std::function<Json(const TellStep&)>& work, std::chrono::milliseconds limit,
                           const std::function<void(const std::string&)>& onErrorLine = {});

} // namespace tool
