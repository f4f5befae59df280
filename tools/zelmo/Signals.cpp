// SPDX-License-Identifier: Apache-2.0
#include "Signals.h"

#include "PartialFiles.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace tool {
namespace {

// All that the handler touches: lock-free, and valid for as long as the handler is installed.
std::atomic<int> g_signal{0};
std::atomic<bool> g_stop{false};
std::atomic<int> g_writeFd{-1};
int g_readFd = -1;
struct sigaction g_oldInterrupt;
struct sigaction g_oldTerminate;

void WakeUp() noexcept {
    if (!g_stop.exchange(true)) {
        [[maybe_unused]] const auto written = write(g_writeFd.load(), "s", 1);
    }
}

extern "C" void HandleStopSignal(int signal) {
    const int savedErrno = errno;
    int none = 0;
    if (!g_signal.compare_exchange_strong(none, signal) && signal == SIGINT) {
        PartialFiles::RemoveAllFromSignalHandler();
        _exit(static_cast<int>(ExitCode::Interrupted));
    }
    WakeUp();
    errno = savedErrno;
}

} // namespace

StopSignals::StopSignals() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        throw HostError(std::string("Cannot make a pipe for signals: ") + std::strerror(errno));
    }
    g_readFd = ends[0];
    g_writeFd = ends[1];
    g_signal = 0;
    g_stop = false;
    // The thread sanitizer of clang 14 loses a signal that comes while a thread begins the first wait of its life.
    poll(nullptr, 0, 0);
    struct sigaction action {};
    action.sa_handler = HandleStopSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &g_oldInterrupt);
    sigaction(SIGTERM, &action, &g_oldTerminate);
}

StopSignals::~StopSignals() {
    sigaction(SIGINT, &g_oldInterrupt, nullptr);
    sigaction(SIGTERM, &g_oldTerminate, nullptr);
    close(g_readFd);
    close(g_writeFd.exchange(-1));
}

int StopSignals::GetFd() const noexcept {
    return g_readFd;
}

void StopSignals::RequestStop() noexcept {
    WakeUp();
}

bool StopSignals::StopRequested() const noexcept {
    return g_stop;
}

ExitCode StopSignals::GetExitCode() const noexcept {
    switch (g_signal.load()) {
    case SIGINT:
        return ExitCode::Interrupted;
    case SIGTERM:
        return ExitCode::Terminated;
    default:
        return ExitCode::Done;
    }
}

ToolError NobodyReads(const std::string& what) {
    return HostError("Nobody reads " + what + " any more: stopped");
}

void OccupyStandardStreams() noexcept {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) < 0) {
            // The lowest free number is given. The wrong direction makes each use fail.
            [[maybe_unused]] const int opened = open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

void IgnoreWriteSignals() noexcept {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace tool
