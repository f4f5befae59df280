// SPDX-License-Identifier: Apache-2.0
#include "Server.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <iostream>

namespace {

using namespace Serving;

/// Errors in the options have to look right before the options are known.
bool AsksFor(int argc, char** argv, const char* flag, const char* shortFlag = "") {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], flag) == 0 || (*shortFlag != '\0' && std::strcmp(argv[i], shortFlag) == 0)) {
            return true;
        }
    }
    return false;
}

/// Opens descriptors 0 to 2 where the caller has closed them, or sockets would take their places.
void OccupyStandardStreams() {
    for (int fd = open("/dev/null", O_RDWR); fd >= 0; fd = open("/dev/null", O_RDWR)) {
        if (fd > STDERR_FILENO) {
            close(fd);
            return;
        }
    }
}

EExit Serve(int argc, char** argv, CReport& report) {
    std::string help;
    const auto options = ParseServeOptions(argc, argv, help);
    if (!options) {
        std::cout << help << std::flush;
        return EExit::Done;
    }
    if (options->listFaults) {
        ReportFaultList(report);
        return EExit::Done;
    }
    BlockStopSignals();
    return CServer(*options, report).Run();
}

EExit Fail(CReport& report, const CServeError& error) {
    report.Error(error);
    return error.Exit();
}

} // namespace

int main(int argc, char** argv) {
    OccupyStandardStreams();
    std::signal(SIGPIPE, SIG_IGN);
    CReport report(AsksFor(argc, argv, "--json") ? EFormat::Json : EFormat::Text,
                   AsksFor(argc, argv, "--quiet", "-q") ? ENotes::Silent : ENotes::Told);
    EExit code = EExit::Done;
    try {
        code = Serve(argc, argv, report);
    } catch (const CServeError& error) {
        code = Fail(report, error);
    } catch (const std::bad_alloc&) {
        code = Fail(report, HostError("Out of memory"));
    } catch (const std::exception& error) {
        code = Fail(report, HostError(std::string("Unexpected failure: ") + error.what()));
    }
    return static_cast<int>(code);
}
