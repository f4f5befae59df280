#include "CommonOptions.h"

namespace tool {

void DefineDeviceOptions(CLI::App& command, DeviceOptions& options) {
    command
        .add_option(
            "-d,--device", options.device,
            "Camera, by serial number, user-defined name, full name, KEY=VALUE[,KEY=VALUE...] or index of 'list'; "
            "the only one when left out")
        ->type_name("DEVICE");
    DefineChoice(command, "--nodemap", options.nodeMap, {"device", "tl", "stream", "event", "camera", "chunk"},
                 "Node map to work on; default device");
}

CLI::Option* DefineMilliseconds(CLI::App& command, const std::string& name, unsigned& valueMs,
                                const std::string& text) {
    constexpr unsigned hourMs = 3600 * 1000;
    return command.add_option(name, valueMs, text + "; default " + std::to_string(valueMs))
        ->type_name("MS")
        ->check(CLI::Range(1u, hourMs));
}

CLI::Option* DefineSeconds(CLI::App& command, const std::string& name, std::optional<double>& seconds,
                           const std::string& text) {
    constexpr double shortest = 0.001;
    constexpr double longest = 1e8; // three years; what follows still fits the clock's arithmetic
    return command.add_option(name, seconds, text)->type_name("SECONDS")->check(CLI::Range(shortest, longest));
}

CLI::Option* DefineChoice(CLI::App& command, const std::string& name, std::string& value,
                          const std::vector<std::string>& choices, const std::string& text) {
    return command.add_option(name, value, text)
        ->type_name(CLI::detail::join(choices, "|"))
        ->check(CLI::IsMember(choices));
}

} // namespace tool
