// SPDX-License-Identifier: Apache-2.0
#include "CommonOptions.h"
#include "Errors.h"
#include "Output.h"
#include "Verb.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace tool {
namespace {

/// The program beside this one, in the build tree and where both are installed.
std::string FindProgram() {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        throw HostError("Cannot find out where this program is: " + error.message());
    }
    return (self.parent_path() / ZELMO_LIBEXEC_FROM_BIN / "zelmo-serve").lexically_normal().string();
}

class ServeVerb : public Verb {
public:
    std::string GetName() const override { return "serve"; }
    std::string GetSummary() const override { return "Put emulated cameras on a network, as GigE Vision"; }
    std::string GetDetails() const override {
        return "Serves until a signal comes or the line 'quit' on standard input. Without --interface the cameras are "
               "at 127.0.0.2 and on, where only this machine reaches them. A fault is "
               "NAME[=RATE[,PARAMETER]][@PLACE...][xTIMES], such as packet-loss=0.01, trailer-loss@17@20 or "
               "silence,2000x1: RATE is a probability, 1 when left out; PLACE a BLOCK, a BLOCK:PACKET or, of what goes "
               "wrong with commands, the number of one; --list-faults tells the names. While it serves, standard input "
               "takes the lines 'fault [SERIAL] FAULT', 'faults', 'reset [SERIAL]', 'status' "
               "and 'quit'. The exit code is 130 or 143 after SIGINT or SIGTERM, and 4 when an address is in use by "
               "another program or a privilege is missing.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo serve --cameras 2", "Two cameras, at 127.0.0.2 and 127.0.0.3"},
            {"zelmo serve --fault packet-loss=0.01 --seed 7", "Loses each packet with 1 %, the same ones each time"},
            {"zelmo serve --interface eth1 --address 192.168.7.20 --manage-addresses",
             "For other machines; the address is added to eth1 and taken away at the end"},
            {"zelmo serve --list-faults", "What can go wrong on demand"},
            {"zelmo serve --json", "An object for each camera, and one with counts at the end"},
        };
    }

    void Define(CLI::App& command) override {
        constexpr unsigned mostCameras = 1000;
        command.add_option("--cameras", m_cameras, "Number of cameras; default 1, or as many as addresses")
            ->type_name("N")
            ->check(WholeNumber(1, mostCameras));
        command
            .add_option("--address", m_addresses,
                        "Address of a camera, one for each; default 127.0.0.2 and on, or "
                        "those of --interface")
            ->type_name("ADDRESS")
            ->allow_extra_args(false)
            ->check(NotEmpty());
        command
            .add_option("--interface", m_interface, "Network interface; default lo, which other machines cannot reach")
            ->type_name("INTERFACE")
            ->check(NotEmpty());
        command
            .add_option("--rate", m_rate, "Most bytes a second to one destination, 1000 to 10^10; default 125000000")
            ->type_name("BYTES");
        command.add_option("--fault", m_faults, "What goes wrong on all cameras; may be given several times")
            ->type_name("FAULT")
            ->allow_extra_args(false)
            ->check(NotEmpty());
        command
            .add_option("--seed", m_seed,
                        "Seed of the faults, 0 to 2^32 - 1; the same one, the same packets; default 1")
            ->type_name("SEED")
            ->check(WholeNumber(0, ~0u));
        DefineChoice(command, "--schema", m_schema, {"1.0", "1.1"},
                     "Schema of the description, which decides how clients read features; default 1.1");
        command.add_flag("--manage-addresses", m_manageAddresses,
                         "Add addresses to the interface and take them away again, for --address and for cameras that "
                         "are told another one; as root");
        command.add_flag("--allow-redirect", m_allowRedirect,
                         "Let streams and messages go to others than the client that has control");
        command.add_flag("--list-faults", m_listFaults, "Print the faults with their parameters, and end");
    }

    bool NeedsLibrary() const override { return false; }

    /// The program takes the place of this process: signals and standard streams are its own from here on.
    ExitCode Run(Library&, Output& output) override {
        const std::string program = FindProgram();
        std::vector<std::string> arguments = MakeArguments(output);
        std::vector<char*> argv;
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        throw HostError("Cannot run " + program + ": " + std::strerror(errno));
    }

private:
    std::vector<std::string> MakeArguments(const Output& output) const {
        std::vector<std::string> arguments{"zelmo-serve"};
        const auto add = [&](const char* option, const std::string& value) {
            if (!value.empty()) {
                arguments.insert(arguments.end(), {option, value});
            }
        };
        const auto addFlag = [&](const char* option, bool isOn) {
            if (isOn) {
                arguments.emplace_back(option);
            }
        };
        add("--cameras", m_cameras ? std::to_string(*m_cameras) : "");
        for (const std::string& address : m_addresses) {
            add("--address", address);
        }
        add("--interface", m_interface);
        add("--rate", m_rate);
        for (const std::string& fault : m_faults) {
            add("--fault", fault);
        }
        add("--seed", m_seed);
        add("--schema", m_schema);
        addFlag("--manage-addresses", m_manageAddresses);
        addFlag("--allow-redirect", m_allowRedirect);
        addFlag("--list-faults", m_listFaults);
        addFlag("--json", output.IsJson());
        addFlag("--quiet", output.IsQuiet());
        return arguments;
    }

    std::optional<unsigned> m_cameras;
    std::vector<std::string> m_addresses;
    std::string m_interface;
    std::string m_rate;
    std::vector<std::string> m_faults;
    std::string m_seed;
    std::string m_schema = "1.1";
    bool m_manageAddresses = false;
    bool m_allowRedirect = false;
    bool m_listFaults = false;
};

} // namespace

std::unique_ptr<Verb> MakeServeVerb() {
    return std::make_unique<ServeVerb>();
}

} // namespace tool
