// SPDX-License-Identifier: Apache-2.0
#include "CommonOptions.h"

#include <charconv>
#include <iomanip>
#include <sstream>

namespace tool {

namespace {

/// Empty when the text is a number from @p lowest to @p highest (and not NaN), else what is expected.
template <class Number>
std::string CheckNumber(const std::string& text, Number lowest, Number highest, const char* kind) {
    Number value{};
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec == std::errc() && result.ptr == end && value >= lowest && value <= highest) {
        return {};
    }
    std::ostringstream expected;
    expected << "'" << text << "' is no " << kind << " from " << lowest << " to " << std::setprecision(10) << highest;
    return expected.str();
}

} // namespace

CLI::Validator NotEmpty() {
    return {[](std::string& text) { return text.empty() ? "the text is empty" : std::string(); }, ""};
}

CLI::Validator WholeNumber(unsigned lowest, unsigned highest) {
    return {[=](std::string& text) { return CheckNumber(text, lowest, highest, "whole number"); }, ""};
}

void DefineDeviceOptions(CLI::App& command, DeviceOptions& options) {
    command
        .add_option(
            "-d,--device", options.device,
            "Camera, by serial number, user-defined name, full name, KEY=VALUE[,KEY=VALUE...] or index of 'list'; "
            "the only one when left out")
        ->type_name("DEVICE")
        ->check(NotEmpty());
    DefineChoice(command, "--nodemap", options.nodeMap, {"device", "tl", "stream", "event", "camera", "chunk"},
                 "Node map to work on; default device. chunk is that of one image, which is grabbed for it: with the "
                 "camera's ChunkModeActive off, all its chunks are switched on for that image and put back");
    DefineMilliseconds(command, "--image-timeout", options.imageTimeoutMs,
                       "Longest time to wait for the image of --nodemap chunk");
}

void DefineDeviceArgument(CLI::App& command, std::string& device) {
    command
        .add_option(
            "DEVICE", device,
            "Serial number, user-defined name, full name, KEY=VALUE[,KEY=VALUE...] or index of 'list'; the only "
            "camera when left out")
        ->type_name("")
        ->check(NotEmpty());
}

CLI::Option* DefineMilliseconds(CLI::App& command, const std::string& name, unsigned& valueMs,
                                const std::string& text) {
    constexpr unsigned hourMs = 3600 * 1000;
    return command.add_option(name, valueMs, text + "; default " + std::to_string(valueMs))
        ->type_name("MS")
        ->check(WholeNumber(1, hourMs));
}

CLI::Option* DefineSeconds(CLI::App& command, const std::string& name, std::optional<double>& seconds,
                           const std::string& text) {
    constexpr double shortest = 0.001;
    constexpr double longest = 1e8; // three years; what follows still fits the clock's arithmetic
    return command.add_option(name, seconds, text)->type_name("SECONDS")->check([](const std::string& value) {
        return CheckNumber(value, shortest, longest, "number");
    });
}

CLI::Option* DefineList(CLI::App& command, const std::string& name, std::vector<std::string>& words,
                        const std::string& text) {
    return command.add_option(name, words, text)->delimiter(',')->allow_extra_args(false)->check(NotEmpty());
}

CLI::Option* DefineChoice(CLI::App& command, const std::string& name, std::string& value,
                          const std::vector<std::string>& choices, const std::string& text) {
    return command.add_option(name, value, text)
        ->type_name(CLI::detail::join(choices, "|"))
        ->check(CLI::IsMember(choices));
}

} // namespace tool
