// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace GenApi {

struct ICommand;

/// Executes a command and waits until the device is done with it. @throws TimeoutException when that takes longer, and
/// what the command raises. Not under the lock of the node map: others use the device meanwhile.
void RunToEnd(ICommand& command, std::chrono::milliseconds timeout);

/// The second half of it, for a command that was executed under the lock together with what it acts on.
void WaitForEnd(ICommand& command, std::chrono::milliseconds timeout);

} // namespace GenApi
