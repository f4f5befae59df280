// SPDX-License-Identifier: Apache-2.0
#include "ByteStream.h"

#include "Signals.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace tool {
namespace {

int DescriptorOf(const std::string& name) {
    return name == "-" ? STDOUT_FILENO : FindDescriptor(name);
}

} // namespace

bool ByteStream::IsNamedBy(const std::string& name) {
    return DescriptorOf(name) >= 0 || IsSpecialFile(name);
}

ByteStream::ByteStream(const std::string& name, unsigned timeoutMs, const StopSignals& signals)
    : m_name(name == "-" ? "standard output" : name), m_isStandardOutput(DescriptorOf(name) == STDOUT_FILENO),
      m_file(Open(name, timeoutMs, signals)) {}

int ByteStream::Open(const std::string& name, unsigned timeoutMs, const StopSignals& signals) {
    const int descriptor = DescriptorOf(name);
    if (descriptor >= 0) {
        // A copy, as it is closed here and others go on with the descriptor.
        const int copy = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
        if (copy < 0) {
            throw CannotWrite(name, errno);
        }
        return copy;
    }
    // Without O_NONBLOCK a pipe would wait for its reader without end.
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    int fd = -1;
    while ((fd = open(name.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK)) < 0) {
        if (errno != ENXIO) {
            throw CannotWrite(name, errno);
        }
        if (std::chrono::steady_clock::now() >= end) {
            throw ToolError(ExitCode::Timeout, "timeout",
                            "Cannot write '" + name + "': nobody opened it for reading within " +
                                std::to_string(timeoutMs) + " ms; --timeout sets the limit");
        }
        constexpr int kPauseMs = 20;
        pollfd stop{signals.GetFd(), POLLIN, 0};
        if (poll(&stop, 1, kPauseMs) > 0) {
            throw ToolError(signals.GetExitCode(), "interrupted",
                            "Cannot write '" + name + "': stopped while it had no reader");
        }
    }
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    return fd;
}

void ByteStream::Write(const std::uint8_t* data, std::size_t size) {
    if (!m_file.Write(data, size)) {
        throw errno == EPIPE ? HostError("Nobody reads " + m_name + " any more") : CannotWrite(m_name, errno);
    }
}

} // namespace tool
