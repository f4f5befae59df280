// SPDX-License-Identifier: Apache-2.0
#include "ToolProcess.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

namespace {

constexpr int kPatienceMs = 60'000; // for one piece of output; more is a hang

std::vector<tool::Json> ParseLines(const std::string& text) {
    std::vector<tool::Json> objects;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        tool::Json object = tool::Json::parse(line, nullptr, false);
        EXPECT_TRUE(object.is_object()) << line;
        objects.push_back(object);
    }
    return objects;
}

[[noreturn]] void Become(const std::vector<std::string>& arguments, const ToolProcess::Settings& settings, int in,
                         int out, int err) {
    for (const char* name : {"ZELMO_TL_PATH", "ZELMO_DEVICE_FILTER", "ZELMO_LOG_FILE", "ZELMO_LOG_LEVEL", "NO_COLOR"}) {
        unsetenv(name);
    }
    setenv("ZELMO_CAMEMU", "3", 1);
    setenv("ZELMO_GIGE", "off", 1); // nothing of a test leaves this machine
    for (const auto& [name, value] : settings.environment) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    if (settings.fileSizeLimit != 0) {
        const rlimit limit{settings.fileSizeLimit, settings.fileSizeLimit};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (settings.openFileLimit != 0) {
        const rlimit limit{settings.openFileLimit, settings.openFileLimit};
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    std::vector<char*> argv{const_cast<char*>("zelmo")};
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    const int file = settings.output.empty() ? out : open(settings.output.c_str(), O_WRONLY);
    const int input = settings.input.empty() ? in : open(settings.input.c_str(), O_RDONLY);
    if (chdir(settings.folder.c_str()) == 0 && dup2(input, STDIN_FILENO) >= 0 && dup2(file, STDOUT_FILENO) >= 0 &&
        dup2(err, STDERR_FILENO) >= 0) {
        execv(ZELMO_TOOL_FILE, argv.data());
    }
    _exit(127);
}

} // namespace

tool::Json ToolResult::Document() const {
    tool::Json document = tool::Json::parse(out, nullptr, false);
    EXPECT_TRUE(document.is_object()) << out;
    EXPECT_EQ(document.value("schema", 0), 1);
    return document;
}

std::vector<tool::Json> ToolResult::Events() const {
    return ParseLines(out);
}

std::vector<tool::Json> ToolResult::Messages() const {
    return ParseLines(err);
}

tool::Json ToolResult::Error() const {
    for (const tool::Json& message : Messages()) {
        if (message["type"] == "error") {
            return message;
        }
    }
    ADD_FAILURE() << "no error among: " << err;
    return tool::Json::object();
}

ToolProcess::ToolProcess(const std::vector<std::string>& arguments, const Settings& settings) {
    int in[2];
    int out[2];
    int err[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) {
        ADD_FAILURE() << "no pipes";
        return;
    }
    m_pid = fork();
    if (m_pid == 0) {
        Become(arguments, settings, in[0], out[1], err[1]);
    }
    close(in[0]);
    close(out[1]);
    close(err[1]);
    m_in = in[1];
    m_out = out[0];
    m_err = err[0];
}

ToolProcess::~ToolProcess() {
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    for (const int fd : {m_in, m_out, m_err}) {
        if (fd >= 0) {
            close(fd);
        }
    }
}

void ToolProcess::Signal(int signal) {
    kill(m_pid, signal);
}

void ToolProcess::StopReading() {
    close(m_out);
    m_out = -1;
}

void ToolProcess::Type(const std::string& text) {
    EXPECT_EQ(write(m_in, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void ToolProcess::EndInput() {
    close(m_in);
    m_in = -1;
}

bool ToolProcess::ReadSome() {
    pollfd ends[] = {{m_out, POLLIN, 0}, {m_err, POLLIN, 0}}; // those at their end stand as -1 and are passed over
    if ((m_out < 0 && m_err < 0) || poll(ends, 2, kPatienceMs) <= 0) {
        return false;
    }
    for (auto [fd, events, happened] : ends) {
        if (happened == 0) {
            continue;
        }
        char buffer[4096];
        const ssize_t size = read(fd, buffer, sizeof buffer);
        int& end = fd == m_out ? m_out : m_err;
        if (size > 0) {
            (fd == m_out ? m_result.out : m_result.err).append(buffer, static_cast<std::size_t>(size));
        } else {
            close(end);
            end = -1;
        }
    }
    return true;
}

bool ToolProcess::WaitForOutput(const std::string& text) {
    while (m_result.out.find(text) == std::string::npos && m_result.err.find(text) == std::string::npos) {
        if (!ReadSome()) {
            return false;
        }
    }
    return true;
}

ToolResult ToolProcess::Wait() {
    while (ReadSome()) {
    }
    if (m_out >= 0 || m_err >= 0) {
        ADD_FAILURE() << "the tool hangs; so far: " << m_result.out << m_result.err;
        kill(m_pid, SIGKILL);
    }
    int status = 0;
    waitpid(m_pid, &status, 0);
    m_pid = -1;
    m_result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return m_result;
}
