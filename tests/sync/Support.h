// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fakes/Failure.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <unistd.h>

using Fakes::FailureOf;

/// How long a step takes, in milliseconds. For lower bounds only.
template <typename Step>
long MillisecondsOf(Step&& step) {
    const auto begin = std::chrono::steady_clock::now();
    step();
    return static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin).count());
}

/// A wait that only ends by its timeout when something is wrong.
inline constexpr unsigned int kGenerousMs = 60000;

/// Waits until a thread of this process sleeps.
inline void AwaitBlocked(pid_t threadId) {
    for (char state = '?'; state != 'S'; std::this_thread::yield()) {
        std::ifstream file("/proc/self/task/" + std::to_string(threadId) + "/stat");
        std::string text;
        std::getline(file, text);
        const size_t name = text.rfind(')'); // the state stands behind the name
        state = name == std::string::npos || name + 2 >= text.size() ? '?' : text[name + 2];
    }
}

/// Runs a call on a thread of its own, and tells when it blocks.
class BlockingCall {
public:
    explicit BlockingCall(std::function<void()> call)
        : m_thread([this, call = std::move(call)] {
              m_threadId = gettid();
              call();
          }) {}

    void AwaitBlocked() const {
        while (m_threadId == 0) {
            std::this_thread::yield();
        }
        ::AwaitBlocked(m_threadId);
    }

private:
    std::atomic<pid_t> m_threadId = 0;
    std::jthread m_thread; // last: it touches the above
};
