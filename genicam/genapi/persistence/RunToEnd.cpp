// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/persistence/RunToEnd.h"

#include <Base/GCException.h>

#include <GenApi/ICommand.h>

#include <thread>

namespace GenApi {

void RunToEnd(ICommand& command, std::chrono::milliseconds timeout) {
    command.Execute();
    WaitForEnd(command, timeout);
}

void WaitForEnd(ICommand& command, std::chrono::milliseconds timeout) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (!command.IsDone()) {
        if (std::chrono::steady_clock::now() >= end) {
            throw TIMEOUT_EXCEPTION("The device was not done with the command within %lld milliseconds.",
                                    static_cast<long long>(timeout.count()));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

} // namespace GenApi
