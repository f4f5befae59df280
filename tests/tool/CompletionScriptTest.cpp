// SPDX-License-Identifier: Apache-2.0
#include "TemporaryFolder.h"
#include "ToolProcess.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <fstream>

namespace {

struct ShellRun {
    int status;
    std::string output; // both streams
};

ShellRun RunShell(const std::string& command) {
    ShellRun run{-1, ""};
    FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
    for (int c = 0; pipe != nullptr && (c = std::fgetc(pipe)) != EOF;) {
        run.output += static_cast<char>(c);
    }
    run.status = pclose(pipe);
    return run;
}

class CompletionScriptTest : public testing::Test {
protected:
    std::string Script(const std::string& shell) const {
        const std::string file = m_folder / ("zelmo." + shell);
        std::ofstream(file) << RunTool({"generate", shell}).out;
        return file;
    }

    TemporaryFolder m_folder;
};

TEST_F(CompletionScriptTest, BashOffersWordsFeaturesDevicesAndFiles) {
    std::ofstream(m_folder / "line 3.txt") << "x";
    std::ofstream(m_folder / "run") << "source " << Script("bash") << "\n"
                                    << R"(export ZELMO_CAMEMU=2; cd "${0%/*}"; COMP_LINE="$1"; COMP_POINT=${#1}
_zelmo; printf '%s\n' "${COMPREPLY[@]}")";
    const std::pair<const char*, const char*> cases[] = {
        {"fea", "features\n"},
        {"features --vis", "--visibility\n"},
        {"info ", "0815-0000\n0815-0001\n"},
        {"get -d 0 ExposureTi", "ExposureTime\n"},
        {"exec -d 0 DeviceRes", "DeviceReset\n"},
        {"set -d 0 PixelFormat=RGB", "RGB8\n"}, // readline puts it behind the '='
        {"load li", "line 3.txt\n"},
        {"grab -n ", "\n"},
    };
    for (const auto& [line, offered] : cases) {
        const ShellRun run = RunShell("bash '" + (m_folder / "run") + "' '" ZELMO_TOOL_FILE " " + line + "'");
        EXPECT_EQ(run.output, offered) << line;
    }
}

TEST_F(CompletionScriptTest, EachShellReadsItsScript) {
    for (const char* shell : {"bash", "zsh", "fish"}) {
        if (RunShell(std::string("command -v ") + shell).status == 0) {
            EXPECT_EQ(RunShell(std::string(shell) + " -n " + Script(shell)).output, "") << shell;
        }
    }
}

} // namespace
