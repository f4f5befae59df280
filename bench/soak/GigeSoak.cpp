// SPDX-License-Identifier: Apache-2.0

// Grabs from one camera on the network and tells what became of its images, as one line of JSON: scripts/soak-gige.py
// compares that with what the served camera says that it sent.

#include "GigeGrab.h"
#include "ProcessUse.h"

#include <CLI/CLI.hpp>

#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>

namespace soak {
namespace {

Json ToJson(const ProcessUse& use) {
    Json json;
    for (std::size_t i = 0; i < use.values.size(); ++i) {
        json[ProcessUse::kNames[i]] = use.values[i];
    }
    return json;
}

// "count", "restart" with the number of lives that have ended, and "end", a line each; the end of input is an end, too.
void Follow(GigeGrab& grab, const std::stop_token& stop) {
    std::ios::sync_with_stdio(false); // else nobody knows what was read ahead
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    while (!stop.stop_requested()) {
        if (std::cin.rdbuf()->in_avail() <= 0 && poll(&input, 1, 100) <= 0) {
            continue;
        }
        std::string line;
        if (!std::getline(std::cin, line) || line == "end") {
            grab.WantEnd();
            return;
        }
        constexpr std::string_view kRestart = "restart ";
        line.starts_with(kRestart) ? grab.WantRestart(std::strtoull(line.c_str() + kRestart.size(), nullptr, 10))
                                   : grab.TellCount();
    }
}

int Run(const GigeOptions& options) {
    const Zelmo::ZelmoScope library;
    GigeGrab grab(options);
    std::jthread follower;
    if (options.isFollowing) {
        follower = std::jthread([&grab](const std::stop_token& stop) { Follow(grab, stop); });
    }
    const ProcessUse before = ProcessUse::Now(0);
    grab.Run();
    Json report = grab.tally.ToJson();
    report["seconds"] = grab.seconds;
    report["statistics"] = grab.Statistics();
    report["before"] = ToJson(before);
    report["after"] = ToJson(ProcessUse::Now(0));
    grab.Close();
    report["longest_close_ms"] = grab.tally.longestCloseMs;
    std::puts(report.dump().c_str());
    return 0;
}

} // namespace
} // namespace soak

int main(int argc, char** argv) {
    soak::GigeOptions options;
    CLI::App app("Grabs from a camera on the network and tells what became of its images, as one line of JSON.");
    app.add_option("--address", options.address, "The camera's IP address")->required();
    app.add_option("--images", options.images, "To be taken in each session");
    app.add_option("--seconds", options.seconds, "Ends after so many at the latest");
    app.add_option("--idle", options.idleSeconds, "So many seconds without an image are a failure");
    app.add_option("--drain", options.drainSeconds, "So many seconds without an image end a session");
    app.add_option("--connection", options.connection, "Name=Value of the connection, before it is opened");
    app.add_option("--set", options.camera, "Name=Value of the camera; may be given several times");
    app.add_option("--stream", options.stream, "Name=Value of the stream grabber");
    app.add_option("--buffers", options.buffers);
    app.add_flag("--latest", options.isLatestOnly, "Only the latest image is wanted");
    app.add_option("--removals", options.removals, "Goes on with the camera that returns, so many times");
    app.add_option("--starts", options.starts, "Sessions one after the other");
    app.add_option("--hammers", options.hammers, "So many threads access registers all the time");
    app.add_flag("--follow", options.isFollowing,
                 "Prints what happens, a line each, and takes lines: count, restart, end");
    CLI11_PARSE(app, argc, argv);
    try {
        return soak::Run(options);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "gige_soak: %s\n", e.what());
        return 1;
    }
}
