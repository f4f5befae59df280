// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <pthread.h>
#include <signal.h>
#include <thread>
#include <time.h>

namespace Fakes {

/// Interrupts the thread that makes it, again and again while it lives: system calls of that thread end with EINTR.
class Interrupter {
public:
    Interrupter() {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGUSR1, &action, nullptr); // without SA_RESTART
        m_thread = std::jthread([target = pthread_self()](const std::stop_token& stop) {
            const timespec pause{0, 2000000};
            while (!stop.stop_requested()) {
                pthread_kill(target, SIGUSR1);
                nanosleep(&pause, nullptr);
            }
        });
    }

private:
    std::jthread m_thread;
};

} // namespace Fakes
