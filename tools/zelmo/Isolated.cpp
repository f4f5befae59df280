// SPDX-License-Identifier: Apache-2.0
#include "Isolated.h"

#include "Descriptor.h"
#include "Errors.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;

void Send(const Descriptor& target, const Json& message) {
    const std::string line = ToLine(message) + '\n';
    for (std::size_t sent = 0; sent < line.size();) {
        const ssize_t size = write(target.Get(), line.data() + sent, line.size() - sent);
        if (size < 0 && errno != EINTR) {
            return; // the parent has given up
        }
        sent += size > 0 ? static_cast<std::size_t>(size) : 0;
    }
}

[[noreturn]] void BeChild(const std::function<Json(const TellStep&)>& work, const Descriptor& target) {
    try {
        Send(target, {{"value", work([&](const std::string& step) { Send(target, {{"step", step}}); })}});
    } catch (const std::exception& error) {
        Send(target, {{"failure", error.what()}});
    }
    _exit(0); // what the parent will do at its end is not to be done here too
}

/// What the child tells.
struct Told {
    Json last = Json::object(); // its result
    std::string step;

    void Take(const std::string& line) {
        const Json message = Json::parse(line);
        if (message.contains("step")) {
            step = message["step"].get<std::string>();
        } else {
            last = message;
        }
    }
};

/// Reads until the child is done. @return false when the time was up first.
bool Receive(const Descriptor& messages, LineReader& told, const Descriptor& errors, LineReader& errorLines,
             Clock::time_point end) {
    pollfd sources[] = {{messages.Get(), POLLIN, 0}, {errors.Get(), POLLIN, 0}};
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        const int ready = left > 0 ? poll(sources, 2, static_cast<int>(left)) : 0;
        if (ready == 0) {
            return false;
        }
        if (ready > 0 && sources[1].revents != 0 && !errorLines.ReadSome(errors)) {
            sources[1].fd = -1; // the child has closed it
        }
        if (ready > 0 && sources[0].revents != 0 && !told.ReadSome(messages)) {
            return true;
        }
    }
}

std::string ExplainEnd(pid_t child, bool isInTime, std::chrono::milliseconds limit) {
    if (!isInTime) {
        kill(child, SIGKILL);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!isInTime) {
        return "it did not end within " + std::to_string(limit.count()) + " ms";
    }
    if (WIFSIGNALED(status)) {
        const int signal = WTERMSIG(status);
        return "it was ended by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
    }
    return "it ended by itself with exit code " + std::to_string(WEXITSTATUS(status));
}

} // namespace

IsolatedResult RunIsolated(const std::function<Json(const TellStep&)>& work, std::chrono::milliseconds limit,
                           const std::function<void(const std::string&)>& onErrorLine) {
    Pipe pipe;
    Pipe errors;
    const pid_t child = fork();
    if (child < 0) {
        throw HostError(std::string("Cannot start a process of its own for the checks: ") + std::strerror(errno));
    }
    if (child == 0) {
        pipe.readEnd.Close();
        if (onErrorLine) {
            dup2(errors.writeEnd.Get(), STDERR_FILENO);
        }
        errors.readEnd.Close();
        errors.writeEnd.Close();
        BeChild(work, pipe.writeEnd);
    }
    pipe.writeEnd.Close();
    errors.writeEnd.Close();
    Told told;
    LineReader messages([&](const std::string& line) { told.Take(line); });
    LineReader errorLines([&](const std::string& line) { onErrorLine(line); });
    const bool isInTime = Receive(pipe.readEnd, messages, errors.readEnd, errorLines, Clock::now() + limit);
    const std::string end = ExplainEnd(child, isInTime, limit);
    fcntl(errors.readEnd.Get(), F_SETFL, O_NONBLOCK); // a process that the work started may hold it open
    while (errorLines.ReadSome(errors.readEnd)) {     // what it wrote last
    }
    errorLines.Finish();
    if (told.last.contains("value")) {
        return {told.last["value"], ""};
    }
    if (told.last.contains("failure")) {
        return {{}, told.last["failure"].get<std::string>()};
    }
    return {{}, end + (told.step.empty() ? "" : " while " + told.step)};
}

} // namespace tool
