// SPDX-License-Identifier: Apache-2.0
#include "ServeOptions.h"

#include "ServeError.h"

#include <serving/Endpoint.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <stdexcept>

namespace Serving {
namespace {

/// As they are typed.
struct CTyped {
    std::vector<std::string> addresses, faults;
    std::string schema = "1.1";
};

void Define(CLI::App& app, CServeOptions& options, CTyped& typed) {
    app.add_option("--cameras", options.cameras, "Number of cameras")
        ->check(CLI::Range(std::uint32_t{1}, CServeOptions::kMaxCameras));
    app.add_option("--address", typed.addresses, "Address of a camera, one each");
    app.add_option("--interface", options.interface, "Network interface")->type_name("NAME");
    app.add_option("--rate", options.rateBytesPerS, "Bytes a second to one destination")
        ->check(CLI::Range(std::uint64_t{1000}, std::uint64_t{10'000'000'000}));
    app.add_option("--fault", typed.faults, "NAME[=RATE[,PARAMETER]][@PLACE...][xTIMES]")->allow_extra_args(false);
    app.add_option("--seed", options.seed, "Of faults and random delays");
    app.add_option("--schema", typed.schema, "Of the description")->check(CLI::IsMember({"1.0", "1.1"}));
    app.add_flag("--manage-addresses", options.manageAddresses, "Add addresses to the interface");
    app.add_flag("--allow-redirect", options.allowRedirect, "Streams may go to others than who has control");
    app.add_flag("--list-faults", options.listFaults, "Print the faults there are");
    app.add_flag("--json", options.json, "Print JSON");
    app.add_flag("-q,--quiet", options.quiet, "No notes");
}

std::vector<std::uint32_t> ParseAddresses(const std::vector<std::string>& texts) {
    std::vector<std::uint32_t> addresses;
    for (const std::string& text : texts) {
        const auto address = ParseAddress(text);
        if (!address) {
            throw UsageError("--address: '" + text + "' is no IPv4 address such as 127.0.0.2");
        }
        if (std::find(addresses.begin(), addresses.end(), *address) != addresses.end()) {
            throw UsageError("--address: " + text + " is given twice; each camera needs its own");
        }
        addresses.push_back(*address);
    }
    return addresses;
}

std::vector<CFaultOrder> ParseFaults(const std::vector<std::string>& texts) {
    std::vector<CFaultOrder> orders;
    for (const std::string& text : texts) {
        try {
            orders.push_back(ParseFault(text));
        } catch (const std::invalid_argument& error) {
            throw UsageError(std::string("--fault: ") + error.what() + "; 'zelmo serve --list-faults' lists them");
        }
    }
    return orders;
}

void Check(const CServeOptions& options) {
    if (!options.addresses.empty() && options.cameras && *options.cameras != options.addresses.size()) {
        throw UsageError("--cameras " + std::to_string(*options.cameras) + " does not agree with " +
                         std::to_string(options.addresses.size()) + " times --address; each camera needs one");
    }
    const bool isElsewhere =
        std::any_of(options.addresses.begin(), options.addresses.end(), [](auto one) { return !IsLoopback(one); });
    if (isElsewhere && !options.interface) {
        throw UsageError("An address outside 127.0.0.0/8 is reached from other machines: it also takes --interface");
    }
}

} // namespace

std::optional<CServeOptions> ParseServeOptions(int argc, const char* const* argv, std::string& help) {
    CServeOptions options;
    CTyped typed;
    CLI::App app("Serve emulated cameras as GigE Vision devices", "zelmo-serve");
    Define(app, options, typed);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        help = app.help();
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw UsageError(std::string(error.what()) + ". 'zelmo serve --help' explains the options");
    }
    options.isSchema11 = typed.schema == "1.1";
    options.addresses = ParseAddresses(typed.addresses);
    options.faults = ParseFaults(typed.faults);
    Check(options);
    return options;
}

} // namespace Serving
