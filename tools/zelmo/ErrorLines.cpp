// SPDX-License-Identifier: Apache-2.0
#include "ErrorLines.h"

#include <cerrno>
#include <csignal>
#include <ext/stdio_filebuf.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>
#include <utility>

namespace tool {
namespace {

int CopyOfStandardError() {
    constexpr int kLowest = 3; // the standard streams stay free, should one of them be closed
    return fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, kLowest);
}

/// Signals are for the threads of the program: one that only passes lines on and mostly sleeps takes none.
std::thread StartWithoutSignals(std::function<void()> body) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread;
    try {
        thread = std::thread(std::move(body));
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

} // namespace

ErrorStream::ErrorStream()
    : std::ostream(nullptr),
      m_buffer(std::make_unique<__gnu_cxx::stdio_filebuf<char>>(CopyOfStandardError(), std::ios::out)) {
    rdbuf(m_buffer.get());
}

ErrorStream::~ErrorStream() = default;

ErrorLines::ErrorLines(std::function<void(const std::string& line)> onLine)
    : m_reader(std::move(onLine)), m_original(CopyOfStandardError()) {
    m_thread = StartWithoutSignals([this] { Run(); });
    pthread_setname_np(m_thread.native_handle(), "error-lines");
    dup2(m_lines.writeEnd.Get(), STDERR_FILENO);
    m_lines.writeEnd.Close(); // else the pipe would never end
}

ErrorLines::~ErrorLines() {
    dup2(m_original.Get(), STDERR_FILENO);
    m_stop.writeEnd.Close(); // the pipe itself may be held open by a process that somebody started
    m_thread.join();
    m_reader.Finish();
}

void ErrorLines::Run() {
    pollfd ends[] = {{m_lines.readEnd.Get(), POLLIN, 0}, {m_stop.readEnd.Get(), POLLIN, 0}};
    for (;;) {
        if (poll(ends, 2, -1) < 0 && errno == EINTR) {
            continue;
        }
        // What stands in the pipe goes before the stop.
        if ((ends[0].revents & POLLIN) == 0 || !m_reader.ReadSome(m_lines.readEnd)) {
            return;
        }
    }
}

} // namespace tool
