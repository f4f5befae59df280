// SPDX-License-Identifier: Apache-2.0
#include "CameraSource.h"
#include "CommandLine.h"
#include "ErrorLines.h"
#include "Errors.h"
#include "Library.h"
#include "Output.h"
#include "Signals.h"
#include "Version.h"

#include <Base/GCException.h>

#include <cstring>
#include <iostream>
#include <optional>

namespace {

using namespace tool;

/// One word a line, or ":files" where the shell completes names of files.
void PrintCompletion(const CommandLine& commandLine) {
    CameraSource source;
    const Completion completion = commandLine.GetCompletion(source);
    if (completion.files) {
        std::cout << ":files\n";
    }
    for (const std::string& word : completion.words) {
        std::cout << word << '\n';
    }
}

ExitCode RunRequest(CommandLine& commandLine, CommandLine::Request request, Output& output) {
    switch (request) {
    case CommandLine::Request::Help:
        std::cout << commandLine.GetHelp();
        return ExitCode::Done;
    case CommandLine::Request::Document:
        std::cout << commandLine.GetDocument();
        return ExitCode::Done;
    case CommandLine::Request::Complete:
        PrintCompletion(commandLine);
        return ExitCode::Done;
    case CommandLine::Request::Version:
    case CommandLine::Request::RunVerb:
        break;
    }
    std::optional<ErrorLines> foreignLines; // what is no object must not stand between objects
    if (output.IsJson()) {
        foreignLines.emplace([&](const std::string& line) { output.LogForeignLine(line); });
    }
    Library library(commandLine.GetGlobalOptions(), output);
    const bool isVersion = request == CommandLine::Request::Version;
    if (!isVersion && !commandLine.GetVerb().NeedsLibrary()) {
        foreignLines.reset(); // nothing foreign in this process, which may fork: no thread must run then
    } else {
        library.Start();
        if (const std::string fault = FindEnvironmentFilterFault(); !fault.empty()) {
            output.Note(fault);
        }
    }
    if (isVersion) {
        PrintVersion(library, output);
        return ExitCode::Done;
    }
    return commandLine.GetVerb().Run(library, output);
}

ExitCode Fail(Output& output, const ToolError& error) {
    output.Error(error);
    return error.GetExitCode();
}

/// Runs @p action; whatever goes wrong becomes an error message and its exit code.
template <class Action>
ExitCode Guarded(Output& output, Action action) {
    try {
        return action();
    } catch (const ToolError& error) {
        return Fail(output, error);
    } catch (const GenICam::GenericException& error) {
        return Fail(output, FromLibrary(error, "The command"));
    } catch (const std::bad_alloc&) {
        return Fail(output, HostError("Out of memory"));
    } catch (const std::exception& error) {
        return Fail(output, HostError(std::string("Unexpected failure: ") + error.what()));
    }
}

/// Errors in the options have to look right before the options are known.
bool AsksForJson(int argc, char** argv) {
    for (int i = 1; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
        if (std::strcmp(argv[i], "--json") == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

int main(int argc, char** argv) {
    OccupyStandardStreams();
    IgnoreWriteSignals();
    ErrorStream errors;
    GlobalOptions early;
    early.json = AsksForJson(argc, argv);
    Output messages(early, std::cout, errors);
    CommandLine commandLine;
    CommandLine::Request request{};
    ExitCode code = Guarded(messages, [&] {
        request = commandLine.Parse(argc, argv);
        return ExitCode::Done;
    });
    if (code != ExitCode::Done) {
        return static_cast<int>(code);
    }
    Output output(commandLine.GetGlobalOptions(), std::cout, errors);
    code = Guarded(output, [&] { return RunRequest(commandLine, request, output); });
    const ExitCode flushed = Guarded(output, [&] {
        output.Flush();
        return ExitCode::Done;
    });
    return static_cast<int>(code == ExitCode::Done ? flushed : code);
}
