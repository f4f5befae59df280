// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CommandLine.h"
#include "Errors.h"
#include "Library.h"
#include "Output.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

/// Runs verbs in the test's own process, so that one command finds the camera as another one left it: an emulated
/// camera lives as long as the library is started.
class InProcess : public testing::Test {
protected:
    explicit InProcess(const std::string& pluginPath = {}, const char* emulatedCameras = "1") {
        setenv("ZELMO_CAMEMU", emulatedCameras, 1);
        setenv("ZELMO_GIGE", "off", 1);
        unsetenv("ZELMO_TL_PATH");
        if (!pluginPath.empty()) {
            setenv("ZELMO_TL_PATH", pluginPath.c_str(), 1);
        }
        tool::GlobalOptions quiet;
        quiet.quiet = true;
        m_silent = std::make_unique<tool::Output>(quiet, m_log, m_log);
        m_library = std::make_unique<tool::Library>(quiet, *m_silent);
        m_library->Start();
    }

    /// Runs a command; its output is in m_data, its messages in m_messages.
    tool::ExitCode Run(std::vector<std::string> words, const std::vector<std::string>& more = {"--json"}) {
        words.insert(words.begin(), "zelmo");
        words.insert(words.end(), more.begin(), more.end());
        std::vector<const char*> argv;
        for (const std::string& word : words) {
            argv.push_back(word.c_str());
        }
        tool::CommandLine line;
        m_data.str("");
        m_messages.str("");
        try {
            line.Parse(static_cast<int>(argv.size()), argv.data());
            tool::Output output(line.GetGlobalOptions(), m_data, m_messages);
            return line.GetVerb().Run(*m_library, output);
        } catch (const tool::ToolError& error) {
            m_thrown = error.what();
            return error.GetExitCode();
        }
    }

    std::vector<tool::Json> Events(const std::string& type) const {
        std::vector<tool::Json> events;
        std::istringstream lines(m_data.str());
        for (std::string line; std::getline(lines, line);) {
            tool::Json event = tool::Json::parse(line);
            if (event["type"] == type) {
                events.push_back(event);
            }
        }
        return events;
    }

    tool::Json Summary() const {
        const auto summaries = Events("summary");
        return summaries.size() == 1 ? summaries.front() : tool::Json::object();
    }

    std::ostringstream m_data;
    std::ostringstream m_messages;
    std::string m_thrown; // what ended the last command before its own report

private:
    std::ostringstream m_log;
    std::unique_ptr<tool::Output> m_silent;

protected:
    std::unique_ptr<tool::Library> m_library;
};
