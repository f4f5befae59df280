// SPDX-License-Identifier: Apache-2.0
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "GigECamera.h"
#include "HostNetwork.h"
#include "InfoJson.h"
#include "Output.h"
#include "Verb.h"

#include <Base/GCException.h>
#include <zelmo/TlFactory.h>

#include <algorithm>
#include <iostream>
#include <unistd.h>

namespace tool {
namespace {

using Zelmo::CDeviceInfo;
using Zelmo::GigEIpConfiguration;

const std::vector<std::string> kActions{"show", "force", "persistent", "dhcp", "restart"};

using Ways = std::vector<std::pair<const char*, bool (CDeviceInfo::*)() const>>; // by which it gets its address

const Ways kUsed{{"persistent", &CDeviceInfo::IsPersistentIpActive},
                 {"dhcp", &CDeviceInfo::IsDhcpActive},
                 {"link_local", &CDeviceInfo::IsAutoIpActive}};
const Ways kSupported{{"persistent", &CDeviceInfo::IsPersistentIpSupported},
                      {"dhcp", &CDeviceInfo::IsDhcpSupported},
                      {"link_local", &CDeviceInfo::IsAutoIpSupported}};

std::vector<std::string> ListWays(const CDeviceInfo& info, const Ways& ways) {
    std::vector<std::string> names;
    try {
        for (const auto& [name, holds] : ways) {
            if ((info.*holds)()) {
                names.emplace_back(name);
            }
        }
    } catch (const GenICam::InvalidArgumentException&) { // it does not tell
    }
    return names;
}

std::string Joined(const std::vector<std::string>& words) {
    return words.empty() ? "-" : CLI::detail::join(words, ",");
}

/// What a camera has stored; nothing where it cannot be asked.
std::optional<GigEIpConfiguration> FindConfiguration(const GigENetwork& network, const CDeviceInfo& info) {
    try {
        return GetSubnetVerdict(info).empty() ? std::optional(network->GetIpConfiguration(info)) : std::nullopt;
    } catch (const GenICam::GenericException&) {
        return std::nullopt;
    }
}

/// The addresses of this host on the interface on which a camera was found.
std::vector<Ipv4Place> ReadPlacesBeside(const CDeviceInfo& info) {
    const std::string at = GetGigEPlace(info).interface;
    std::vector<Ipv4Place> places;
    for (const HostInterface& one : ReadHostInterfaces()) {
        if (one.HasAddress() && one.name == at) {
            places.push_back(one.place);
        }
    }
    return places;
}

/// "eth1 has 192.168.7.1/24, eth1 has 10.0.0.1/8"
std::string TellPlacesBeside(const CDeviceInfo& info) {
    const std::string at = GetGigEPlace(info).interface;
    std::string told;
    for (const Ipv4Place& place : ReadPlacesBeside(info)) {
        told += (told.empty() ? "" : ", ") + at + " has " + FormatIpv4(place);
    }
    return told.empty() ? at + " has no address" : told;
}

/// "0815-0000 (02:31:c5:6f:db:79)"
std::string NameWithMac(const CDeviceInfo& info) {
    return GetCameraName(info) + " (" + GetProperty(info, "MacAddress") + ")";
}

class IpVerb : public Verb {
public:
    std::string GetName() const override { return "ip"; }
    std::string GetSummary() const override { return "Show and set the addresses of GigE Vision cameras"; }
    std::string GetDetails() const override {
        return "show, which is meant when nothing is said, lists address, interface and the ways by which a camera may "
               "get its address, with those that are in use. force gives a camera an address until it is switched "
               "off, in whatever subnet it is now. persistent stores an address in the camera, and dhcp has it ask for "
               "one, from its next start on or from restart, by which it looks for an address anew. What takes a "
               "camera out of reach of this host, or may do so as DHCP may, is asked for first; where nobody can be "
               "asked it is refused without --yes. A camera that somebody has control of is left alone, with exit code "
               "4. A camera is chosen as by other verbs, and by its MAC or IP address.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo ip", "All GigE Vision cameras, also those in a foreign subnet"},
            {"zelmo ip force 00:11:22:33:44:55 192.168.7.20/24", "An address that it has until it is switched off"},
            {"zelmo ip persistent 0815-0000 192.168.7.20/24 --gateway 192.168.7.1", "An address that it keeps"},
            {"zelmo ip dhcp 0815-0000", "One that it asks for when it starts"},
            {"zelmo ip restart 0815-0000 --yes", "It looks for its address anew now, without a question"},
        };
    }

    void Define(CLI::App& command) override {
        command.add_option(CLI::detail::join(kActions, "|"), m_action, "What to do; default show")
            ->type_name("")
            ->check(CLI::IsMember(kActions));
        command
            .add_option("DEVICE", m_device,
                        "Camera, by MAC or IP address, serial number, user-defined name, full name, "
                        "KEY=VALUE[,KEY=VALUE...] or index of 'list'")
            ->type_name("")
            ->check(NotEmpty());
        command.add_option("ADDRESS/PREFIX", m_place, "Address and subnet of force and persistent, as 192.168.7.20/24")
            ->type_name("")
            ->check([](const std::string& text) { return CheckPlace(text); });
        command.add_option("--gateway", m_gateway, "Router of force and persistent; default none")
            ->type_name("ADDRESS")
            ->check([](const std::string& text) {
                return ParseIpv4(text) ? std::string() : "'" + text + "' is no address such as 192.168.7.1";
            });
        command.add_flag("-y,--yes", m_isAgreed, "Do it without asking");
    }

    ExitCode Run(Library& library, Output& output) override {
        CheckArguments();
        const Zelmo::DeviceInfoList devices = library.FindDevices();
        if (m_action == "show") {
            Show(library, devices, output);
            return ExitCode::Done;
        }
        const CDeviceInfo info = Select(library, devices);
        if (SetsPlace()) {
            RequireUnused(devices, info);
        }
        const GigENetwork network;
        const std::string attempted = "Setting the address of camera " + NameWithMac(info);
        try {
            Change(network, info, output);
        } catch (const GenICam::InvalidArgumentException& error) {
            throw UsageError(attempted + " failed: " + error.GetDescription());
        } catch (const GenICam::GenericException& error) {
            throw FromLibrary(error, attempted);
        }
        return ExitCode::Done;
    }

private:
    static std::string CheckPlace(const std::string& text) {
        const auto place = ParseIpv4Place(text);
        if (!place) {
            return "'" + text + "' is no address with a prefix from 1 to 30, such as 192.168.7.20/24";
        }
        return place->IsOfHost() ? "" : "'" + text + "' is no address that a camera can have in that subnet";
    }

    static std::vector<CDeviceInfo> FindCameras(const Zelmo::DeviceInfoList& devices, const char* key,
                                                const std::string& value) {
        std::vector<CDeviceInfo> found;
        for (const CDeviceInfo& info : devices) {
            if (IsGigECamera(info) && CLI::detail::to_lower(GetProperty(info, key)) == CLI::detail::to_lower(value)) {
                found.push_back(info);
            }
        }
        return found;
    }

    static std::string ListCameras(const std::vector<CDeviceInfo>& cameras) {
        std::string text;
        for (const CDeviceInfo& info : cameras) {
            text += "\n  " + NameWithMac(info) + " on " + GetGigEPlace(info).interface;
        }
        return text;
    }

    /// @throws ToolError when another camera has the wanted address: neither could be opened any more.
    void RequireUnused(const Zelmo::DeviceInfoList& devices, const CDeviceInfo& info) const {
        const std::string address = FormatIpv4(ParseIpv4Place(m_place)->address);
        for (const CDeviceInfo& other : FindCameras(devices, "IpAddress", address)) {
            const bool isBeside = GetGigEPlace(other).interface == GetGigEPlace(info).interface;
            if (isBeside && GetProperty(other, "MacAddress") != GetProperty(info, "MacAddress")) {
                throw UsageError(address + " is the address of camera " + NameWithMac(other));
            }
        }
    }

    bool SetsPlace() const { return m_action == "force" || m_action == "persistent"; }

    void CheckArguments() const {
        const std::string verb = "zelmo ip " + m_action;
        if (m_action != "show" && m_device.empty()) {
            throw UsageError("A camera is missing behind '" + verb + "'; 'zelmo ip' lists them");
        }
        if (SetsPlace() == m_place.empty()) {
            throw UsageError(SetsPlace()
                                 ? "An address is missing, such as '" + verb + " " + m_device + " 192.168.7.20/24'"
                                 : "'" + verb + "' takes no address");
        }
        if (!SetsPlace() && !m_gateway.empty()) {
            throw UsageError("'" + verb + "' takes no --gateway");
        }
    }

    CDeviceInfo Select(Library& library, const Zelmo::DeviceInfoList& devices) const {
        for (const char* key : {"MacAddress", "IpAddress"}) {
            const std::vector<CDeviceInfo> found = FindCameras(devices, key, m_device);
            if (found.size() > 1) {
                throw ToolError(ExitCode::NoDevice, "ambiguous_device",
                                std::to_string(found.size()) + " cameras match '" + m_device +
                                    "'; choose one by its MAC address:" + ListCameras(found));
            }
            if (!found.empty()) {
                return found.front();
            }
        }
        const CDeviceInfo info = SelectDevice(library, devices, m_device);
        if (!IsGigECamera(info)) {
            throw FeatureError("", "no_address",
                               "Camera " + GetCameraName(info) + " is no GigE Vision camera but " +
                                   GetProperty(info, "DeviceClass") + ": it has no address");
        }
        return info;
    }

    void Show(Library& library, const Zelmo::DeviceInfoList& devices, Output& output) const {
        Zelmo::DeviceInfoList cameras;
        if (!m_device.empty()) {
            cameras.push_back(Select(library, devices));
        } else {
            for (const CDeviceInfo& info : devices) {
                if (IsGigECamera(info)) {
                    cameras.push_back(info);
                }
            }
        }
        Json list = Json::array();
        std::vector<std::vector<std::string>> rows{
            {"CAMERA", "MAC", "ADDRESS", "GATEWAY", "INTERFACE", "IN USE", "SUPPORTED", "STORED"}};
        if (!cameras.empty()) {
            const GigENetwork network;
            for (const CDeviceInfo& info : cameras) {
                Add(info, GetGigEPlace(info), FindConfiguration(network, info), list, rows);
            }
        }
        output.Document({{"cameras", list}});
        if (cameras.empty()) {
            output.Note("No GigE Vision camera found.\n" + ExplainNoCamera(library));
            return;
        }
        output.Table(rows);
        TellVerdicts(cameras, output);
    }

    static void Add(const CDeviceInfo& info, const GigEPlace& place,
                    const std::optional<GigEIpConfiguration>& configuration, Json& list,
                    std::vector<std::vector<std::string>>& rows) {
        const std::string gateway = GetProperty(info, "DefaultGateway");
        const std::vector<std::string> used = ListWays(info, kUsed);
        const std::vector<std::string> supported = ListWays(info, kSupported);
        Json json = {{"device", GetCameraName(info)}};
        json.update(place.ToJson());
        json.update({{"gateway", gateway}, {"configuration_used", used}, {"configuration_supported", supported}});
        std::string stored = "-";
        if (configuration) {
            json["stored"] = {{"ip_address", configuration->persistentAddress.c_str()},
                              {"subnet_mask", configuration->persistentMask.c_str()},
                              {"gateway", configuration->persistentGateway.c_str()}};
            const auto address = ParseIpv4(configuration->persistentAddress.str());
            stored = address.value_or(0) == 0 ? "-" : Printable(configuration->persistentAddress.str());
        }
        list.push_back(json);
        rows.push_back({GetCameraName(info), place.mac, place.GetAddress(), gateway, place.interface, Joined(used),
                        Joined(supported), stored});
    }

    void Change(const GigENetwork& network, const CDeviceInfo& info, Output& output) const {
        if (m_action == "force") {
            Force(network, info, output);
        } else if (m_action == "restart") {
            Restart(network, info, output);
        } else {
            Store(network, info, output);
        }
    }

    void Force(const GigENetwork& network, const CDeviceInfo& info, Output& output) const {
        const Ipv4Place place = *ParseIpv4Place(m_place);
        Confirm(output, ExplainReach(info, place, "Camera "));
        const std::string address = FormatIpv4(place.address);
        if (!network->ForceIp(GetProperty(info, "MacAddress").c_str(), address.c_str(), FormatIpv4(place.mask).c_str(),
                              GetGateway().c_str())) {
            throw ToolError(ExitCode::Timeout, "timeout",
                            "Camera " + NameWithMac(info) + " was told to be at " + m_place +
                                ", but was not found there within 5 s. 'zelmo ip' shows where it is; a camera that "
                                "somebody has control of keeps its address");
        }
        Tell(output, info,
             "is at " + m_place + " now, until it is switched off; 'zelmo ip persistent' stores an address");
    }

    void Store(const GigENetwork& network, const CDeviceInfo& info, Output& output) const {
        GigEIpConfiguration configuration = network->GetIpConfiguration(info);
        configuration.isPersistent = m_action == "persistent";
        configuration.isDhcp = !configuration.isPersistent;
        if (configuration.isPersistent) {
            const Ipv4Place place = *ParseIpv4Place(m_place);
            Confirm(output, ExplainReach(info, place, "From its next start on camera "));
            configuration.persistentAddress = FormatIpv4(place.address);
            configuration.persistentMask = FormatIpv4(place.mask);
            configuration.persistentGateway = GetGateway();
        } else {
            Confirm(output, ExplainSearch(info, "From its next start on camera "));
        }
        network->SetIpConfiguration(info, configuration);
        Tell(output, info,
             (configuration.isPersistent ? "will be at " + m_place : std::string("will ask for an address by DHCP")) +
                 " from its next start on, or from 'zelmo ip restart'");
    }

    void Restart(const GigENetwork& network, const CDeviceInfo& info, Output& output) const {
        const auto configuration = FindConfiguration(network, info);
        if (configuration && configuration->isPersistent) {
            const auto address = ParseIpv4(configuration->persistentAddress.str());
            const auto mask = ParseIpv4(configuration->persistentMask.str());
            Confirm(output, address && mask ? ExplainReach(info, {*address, *mask}, "Camera ") : "");
        } else if (GetSubnetVerdict(info).empty()) { // else it is out of reach already
            Confirm(output, ExplainSearch(info, "Camera "));
        }
        network->RestartIpConfiguration(GetProperty(info, "MacAddress").c_str());
        Tell(output, info, "looks for an address anew, which may take some seconds; 'zelmo ip' shows it then");
    }

    std::string GetGateway() const { return m_gateway.empty() ? "0.0.0.0" : m_gateway; }

    void Tell(Output& output, const CDeviceInfo& info, const std::string& what) const {
        Json json = {
            {"device", GetCameraName(info)}, {"mac_address", GetProperty(info, "MacAddress")}, {"action", m_action}};
        if (SetsPlace()) {
            const Ipv4Place place = *ParseIpv4Place(m_place);
            json.update({{"ip_address", FormatIpv4(place.address)},
                         {"subnet_mask", FormatIpv4(place.mask)},
                         {"gateway", GetGateway()}});
        }
        output.Document(json);
        output.Line("Camera " + NameWithMac(info) + " " + what);
    }

    /// Empty when this host and the camera at @p place reach each other over the interface on which it was found.
    /// @throws ToolError for an address of this host.
    static std::string ExplainReach(const CDeviceInfo& info, const Ipv4Place& place, const std::string& beginning) {
        for (const HostInterface& one : ReadHostInterfaces()) {
            if (one.HasAddress() && one.place.address == place.address) {
                throw UsageError(FormatIpv4(place.address) + " is an address of this host, on " + one.name);
            }
        }
        for (const Ipv4Place& own : ReadPlacesBeside(info)) {
            if (own.Contains(place.address) && place.Contains(own.address)) {
                return "";
            }
        }
        return beginning + NameWithMac(info) + " would be out of reach of this host at " + FormatIpv4(place) + ": " +
               TellPlacesBeside(info);
    }

    /// Of a camera that looks for an address without a stored one: empty when this host is where it ends without DHCP.
    static std::string ExplainSearch(const CDeviceInfo& info, const std::string& beginning) {
        constexpr Ipv4Place kLinkLocal{0xA9FE0000, 0xFFFF0000};
        for (const Ipv4Place& own : ReadPlacesBeside(info)) {
            if (own.mask == kLinkLocal.mask && kLinkLocal.Contains(own.address)) {
                return "";
            }
        }
        return beginning + NameWithMac(info) +
               " may be out of reach of this host: it will be where DHCP puts it, else in " +
               FormatIpv4Subnet(kLinkLocal) + ", and " + TellPlacesBeside(info);
    }

    /// Has somebody agree to a risk, unless there is none. @throws ToolError when nobody does.
    void Confirm(const Output& output, const std::string& risk) const {
        if (risk.empty() || m_isAgreed) {
            return;
        }
        if (output.IsJson() || isatty(STDIN_FILENO) != 1 || isatty(STDERR_FILENO) != 1) {
            throw UsageError(risk + ". Nothing was changed: --yes does it all the same");
        }
        std::cerr << Printable(risk) << ".\nGo on? [y/N] " << std::flush;
        std::string answer;
        std::getline(std::cin, answer);
        if (answer != "y" && answer != "Y" && answer != "yes") {
            throw ToolError(ExitCode::Failed, "declined", "Nothing was changed");
        }
    }

    std::string m_action = "show";
    std::string m_device;
    std::string m_place;
    std::string m_gateway;
    bool m_isAgreed = false;
};

} // namespace

std::unique_ptr<Verb> MakeIpVerb() {
    return std::make_unique<IpVerb>();
}

} // namespace tool
