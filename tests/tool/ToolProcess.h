// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace tool {
using Json = nlohmann::ordered_json;
}

/// What a run of the tool left: 128 + signal number as exit code when a signal ended it.
struct ToolResult {
    int exitCode = -1;
    std::string out;
    std::string err;

    tool::Json Document() const; ///< Standard output as one JSON document; null and a failure when it is none.
    std::vector<tool::Json> Events() const;   ///< Standard output as one object a line.
    std::vector<tool::Json> Messages() const; ///< Standard error likewise; lines that are no objects fail the test.
    tool::Json Error() const;                 ///< The first message of type "error".
};

/// The tool as its users run it: a process of its own, with three emulated cameras unless told otherwise.
class ToolProcess {
public:
    struct Settings {
        std::map<std::string, std::string> environment;
        std::string folder = "/";        ///< Where it runs.
        unsigned long fileSizeLimit = 0; ///< RLIMIT_FSIZE in bytes; 0: none.
        unsigned openFileLimit = 0;      ///< RLIMIT_NOFILE; 0: as it is.
        std::string input;               ///< A file for standard input instead of a pipe.
        std::string output;              ///< A file for standard output instead of a pipe.
    };

    explicit ToolProcess(const std::vector<std::string>& arguments, const Settings& settings);
    ~ToolProcess(); ///< Kills it when it still runs.
    ToolProcess(const ToolProcess&) = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    void Signal(int signal);
    void StopReading();                 ///< Closes this end of its standard output.
    void Type(const std::string& text); ///< At its standard input, which is a pipe.
    void EndInput();

    /// Reads until standard output or error holds @p text, or both have ended. @return whether one does.
    bool WaitForOutput(const std::string& text);

    const ToolResult& SoFar() const { return m_result; } ///< What has been read.

    ToolResult Wait();

private:
    bool ReadSome();

    pid_t m_pid = -1;
    int m_in = -1;
    int m_out = -1;
    int m_err = -1;
    ToolResult m_result;
};

inline ToolProcess::Settings WithEnvironment(const std::map<std::string, std::string>& environment) {
    ToolProcess::Settings settings;
    settings.environment = environment;
    return settings;
}

inline ToolResult RunTool(const std::vector<std::string>& arguments, const ToolProcess::Settings& settings = {}) {
    return ToolProcess(arguments, settings).Wait();
}
