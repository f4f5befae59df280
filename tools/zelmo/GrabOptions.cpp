// SPDX-License-Identifier: Apache-2.0
#include "GrabOptions.h"

#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "Errors.h"
#include "Output.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>

namespace tool {
namespace {

struct Strategy {
    const char* name;
    Zelmo::EGrabStrategy value;
};

constexpr Strategy kStrategies[] = {{"one-by-one", Zelmo::GrabStrategy_OneByOne},
                                    {"latest-image-only", Zelmo::GrabStrategy_LatestImageOnly},
                                    {"latest-images", Zelmo::GrabStrategy_LatestImages},
                                    {"upcoming-image", Zelmo::GrabStrategy_UpcomingImage}};

std::string JoinStrategies() {
    std::string text;
    for (const Strategy& one : kStrategies) {
        text += (text.empty() ? "" : "|") + std::string(one.name);
    }
    return text;
}

/// One spelling for "latest-images", "LatestImages" and "GrabStrategy_LatestImages".
std::string ReduceStrategyName(const std::string& name) {
    const std::string prefix = "grabstrategy";
    std::string letters;
    for (const unsigned char c : name) {
        if (c != '-' && c != '_') {
            letters += static_cast<char>(std::tolower(c));
        }
    }
    return letters.rfind(prefix, 0) == 0 ? letters.substr(prefix.size()) : letters;
}

void DefineStrategy(CLI::App& command, Zelmo::EGrabStrategy& strategy) {
    const auto parse = [&strategy](const std::string& text) {
        for (const Strategy& one : kStrategies) {
            if (ReduceStrategyName(text) == ReduceStrategyName(one.name)) {
                strategy = one.value;
                return;
            }
        }
        throw CLI::ValidationError("--strategy", "'" + text + "' is none of " + JoinStrategies());
    };
    command
        .add_option_function<std::string>(
            "--strategy", parse,
            "What becomes of images that come faster than they are taken: all wait (default), the latest one or ones "
            "are kept, or each image is taken only when it is asked for (not with USB and MIPEX cameras)")
        ->type_name(JoinStrategies());
}

/// --set and --exec share one list, as their order is that in which they are done.
void DefineSetup(CLI::App& command, std::vector<SetupStep>& setup) {
    const auto set = [&setup](const std::string& text) {
        const Assignment one = ParseAssignment(text);
        setup.push_back({one.feature, one.value});
    };
    const auto execute = [&setup](const std::string& name) { setup.push_back({name, std::nullopt}); };
    command
        .add_option_function<std::string>(
            "--set", set,
            "Set a feature before the camera starts; may be given several times. stream:NAME is "
            "a parameter of the stream grabber, tl:NAME one of the connection")
        ->type_name("NAME=VALUE")
        ->trigger_on_parse();
    command
        .add_option_function<std::string>(
            "--exec", execute,
            "Run a command before the camera starts; may be given several times, --set and --exec are done in the "
            "order given")
        ->type_name("COMMAND")
        ->trigger_on_parse();
}

/// @return nothing for a text that is no number above 0, whole
std::optional<double> ParsePositive(const std::string& text) {
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    const bool isOne = !text.empty() && *end == '\0' && number > 0 && std::isfinite(number);
    return isOne ? std::optional(number) : std::nullopt;
}

/// software or software:HZ
TriggerOptions ParseTrigger(const std::string& text) {
    const std::string word = "software";
    if (text == word) {
        return {true, std::nullopt};
    }
    const std::size_t length = word.size() + 1;
    const std::optional<double> hertz =
        text.substr(0, length) == word + ":" ? ParsePositive(text.substr(length)) : std::nullopt;
    if (!hertz || *hertz > 100'000) {
        throw CLI::ValidationError("--trigger", "'" + text + "' is neither software nor software:HZ, as software:10");
    }
    return {true, hertz};
}

/// Nothing, or the longest time to wait in seconds. Parsed here, as the parser makes a 0 of a number that is not there.
ReconnectOptions ParseReconnect(const std::string& text) {
    const std::optional<double> seconds = ParsePositive(text);
    if (!seconds && !text.empty()) {
        throw CLI::ValidationError("--reconnect", "'" + text + "' is no number of seconds above 0");
    }
    return {true, seconds};
}

void DefineTriggerAndReconnect(CLI::App& command, GrabOptions& options) {
    command
        .add_option_function<std::string>(
            "--trigger", [&options](const std::string& text) { options.trigger = ParseTrigger(text); },
            "Trigger each image by software: when the camera is ready for it, or HZ times a second, ready or not; its "
            "trigger settings are put back afterwards")
        ->type_name("software[:HZ]");
    command
        .add_option_function<std::string>(
            "--reconnect", [&options](const std::string& text) { options.reconnect = ParseReconnect(text); },
            "When a camera is removed, wait for it to come back, with SECONDS that long at most, restore its settings "
            "and go on, while the others do; without this, a removal ends the grab of all with exit code 9")
        ->type_name("SECONDS")
        ->expected(0, 1);
}

} // namespace

void DefineGrabOptions(CLI::App& command, GrabOptions& options) {
    DefineSetup(command, options.setup);
    DefineSeconds(command, "--duration", options.durationSeconds,
                  options.durationSeconds ? "Length; default " + Fixed(*options.durationSeconds, 0)
                                          : "End after that time");
    DefineStrategy(command, options.strategy);
    DefineTriggerAndReconnect(command, options);
    command.add_option("--buffers", options.buffers, "Buffers for each camera; default 10")
        ->type_name("N")
        ->check(WholeNumber(1, 10'000));
    command
        .add_option("--queue-size", options.queueSize,
                    "Images that latest-images keeps, fewer than there are buffers; default 5, or two fewer than there "
                    "are buffers")
        ->type_name("N")
        ->check(WholeNumber(1, 9'999));
    DefineMilliseconds(command, "--timeout", options.timeoutMs,
                       "Longest time to wait for each image, and for each command of --exec, else exit code 5");
    command
        .add_option("--max-lost", options.maxLost,
                    "Exit code 6 when more images than that, of all cameras, are lost (gaps in the camera's count), "
                    "skipped (by the strategy) or failed")
        ->type_name("N")
        ->check(WholeNumber(0, 4'000'000'000));
}

const char* GetStrategyName(Zelmo::EGrabStrategy strategy) {
    return std::find_if(std::begin(kStrategies), std::end(kStrategies),
                        [&](const Strategy& one) { return one.value == strategy; })
        ->name;
}

void CheckGrabOptions(const GrabOptions& options) {
    if (options.queueSize && options.strategy != Zelmo::GrabStrategy_LatestImages) {
        throw UsageError("--queue-size: only --strategy latest-images keeps several images");
    }
    if (options.queueSize && *options.queueSize >= options.buffers) {
        throw UsageError("--queue-size " + std::to_string(*options.queueSize) + ": has to be less than --buffers (" +
                         std::to_string(options.buffers) + "), as the camera needs one to fill");
    }
}

void CheckStrategy(const Zelmo::CDeviceInfo& info, Zelmo::EGrabStrategy strategy) {
    const std::string deviceClass = info.GetDeviceClass().c_str();
    if (strategy == Zelmo::GrabStrategy_UpcomingImage && (deviceClass == "HarlixUsb" || deviceClass == "HarlixMipex")) {
        throw FeatureError("", "strategy_refused",
                           "--strategy upcoming-image: camera " + GetCameraName(info) + " is a " +
                               (deviceClass == "HarlixUsb" ? "USB" : "MIPEX") + " camera (" + deviceClass +
                               "), and those do not support it; latest-image-only comes closest");
    }
}

} // namespace tool
