// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace GenApi {

struct ICommand;

/// Executes a command and waits until the device is done with it. @throws TimeoutException when that takes longer, and
/// what the command raises.
void RunToEnd(ICommand& command, std::chrono::seconds timeout);

} // namespace GenApi
