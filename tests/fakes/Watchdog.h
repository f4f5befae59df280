// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>

namespace Fakes {

/// Ends the process when its owner has not come to its end within two minutes: the test hangs.
class Watchdog {
public:
    Watchdog() = default;
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog() { m_done.set_value(); }

private:
    std::promise<void> m_done;
    std::jthread m_thread{[done = m_done.get_future()] {
        if (done.wait_for(std::chrono::minutes(2)) == std::future_status::timeout) {
            std::fputs("The test hangs.\n", stderr);
            std::abort();
        }
    }};
};

} // namespace Fakes
