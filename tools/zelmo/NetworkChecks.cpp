// SPDX-License-Identifier: Apache-2.0
#include "NetworkChecks.h"

#include "DeviceSelector.h"
#include "GigECamera.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace tool {
namespace {

/// Images of a camera on Ethernet have to wait in the kernel while the receiver is not scheduled. A stream asks for up
/// to twice what is advised, as the kernel doubles it; with half of that, two images of 9 MB each find room in packets
/// of 1500 bytes.
constexpr long kAdvisedSocketBuffer = 67'108'864;
constexpr long kEnoughSocketBuffer = kAdvisedSocketBuffer / 2;

constexpr unsigned kUsualMtu = 1500;
constexpr unsigned kJumboMtu = 9000;

std::optional<long> ReadNumber(const std::string& path) {
    std::ifstream file(path);
    long number = 0;
    return file >> number ? std::optional(number) : std::nullopt;
}

/// The second number of each processor's line, hexadecimal.
std::uint64_t ReadBacklogDrops() {
    std::ifstream file("/proc/net/softnet_stat");
    std::uint64_t sum = 0;
    for (std::string line; std::getline(file, line);) {
        std::istringstream cells(line);
        std::uint64_t processed = 0;
        std::uint64_t dropped = 0;
        cells >> std::hex >> processed >> dropped;
        sum += dropped;
    }
    return sum;
}

bool HasLine(const std::string& path, const std::string& wanted) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line == wanted) {
            return true;
        }
    }
    return false;
}

/// Its rules can be read by root only; that there are some can be guessed.
std::vector<std::string> FindFirewalls() {
    const auto exists = [](const char* path) {
        std::error_code error;
        return std::filesystem::exists(path, error);
    };
    std::vector<std::string> signs;
    if (HasLine("/etc/ufw/ufw.conf", "ENABLED=yes")) {
        signs.emplace_back("ufw is enabled");
    }
    if (exists("/run/firewalld")) {
        signs.emplace_back("firewalld runs");
    }
    if (exists("/etc/systemd/system/sysinit.target.wants/nftables.service")) {
        signs.emplace_back("nftables.service is enabled");
    }
    if (exists("/sys/module/nf_tables")) {
        signs.emplace_back("nf_tables is loaded");
    }
    if (exists("/sys/module/iptable_filter")) {
        signs.emplace_back("iptable_filter is loaded");
    }
    return signs;
}

std::vector<std::string> SplitSetting(std::string setting) {
    std::replace(setting.begin(), setting.end(), ',', ' ');
    std::istringstream words(setting);
    return {std::istream_iterator<std::string>(words), {}};
}

/// The name as a part of a variable of sysctl, where a dot would begin the next part.
std::string SysctlName(std::string interface) {
    std::replace(interface.begin(), interface.end(), '.', '/');
    return interface;
}

std::string Count(std::size_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string Join(const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts) {
        joined += (joined.empty() ? "" : ", ") + text;
    }
    return joined;
}

class NetworkJudge {
public:
    explicit NetworkJudge(const NetworkFacts& facts) : m_facts(facts), m_named(SplitSetting(facts.setting)) {}

    std::vector<Check> Judge() {
        JudgeSearch();
        for (const HostInterface& interface : m_facts.interfaces) {
            if (IsOn(interface.name)) {
                JudgeInterface(interface);
            }
        }
        JudgeCameras();
        JudgeSocketBuffers();
        JudgeBacklog();
        JudgeFirewall();
        return std::move(m_checks);
    }

private:
    bool IsOff() const { return std::find(m_named.begin(), m_named.end(), "off") != m_named.end(); }
    bool IsInUse() const { return !m_facts.cameras.empty() || (!m_named.empty() && !IsOff()); }

    /// Whether cameras are looked for there.
    bool IsOn(const std::string& interface) const {
        return !IsOff() && (m_named.empty() || IsNamed(interface) || CountCameras(interface) > 0);
    }

    bool IsNamed(const std::string& interface) const {
        return std::any_of(m_named.begin(), m_named.end(), [&](const std::string& word) {
            const auto address = ParseIpv4(word);
            return word == interface || (address && Reaches(interface, *address));
        });
    }

    bool Reaches(const std::string& interface, std::uint32_t address) const {
        return std::any_of(m_facts.interfaces.begin(), m_facts.interfaces.end(), [&](const HostInterface& one) {
            return one.name == interface && one.HasAddress() && one.place.Contains(address);
        });
    }

    std::size_t CountCameras(const std::string& interface) const {
        return static_cast<std::size_t>(
            std::count_if(m_facts.cameras.begin(), m_facts.cameras.end(),
                          [&](const CameraPlace& camera) { return camera.interface == interface; }));
    }

    /// A warning where cameras are, or were said to be, else a hint.
    void Find(const std::string& name, bool matters, const std::string& detail, const std::string& remedy) {
        m_checks.push_back({name, matters ? Verdict::Warning : Verdict::Ok, detail, remedy});
    }
    bool Matters(const HostInterface& interface) const {
        return IsNamed(interface.name) || CountCameras(interface.name) > 0;
    }

    void JudgeSearch() {
        if (IsOff()) {
            return Find("cameras on Ethernet", false, "are not looked for, as ZELMO_GIGE is 'off'", "");
        }
        const std::string where = m_named.empty() ? "all interfaces that are up" : "'" + m_facts.setting + "'";
        Find("cameras on Ethernet", false, Count(m_facts.cameras.size(), "camera") + " found on " + where, "");
        for (const std::string& word : m_named) {
            const bool isThere = std::any_of(m_facts.interfaces.begin(), m_facts.interfaces.end(),
                                             [&](const HostInterface& one) { return one.name == word; });
            if (!isThere && !ParseIpv4(word)) {
                Find("interface " + word, true, "is named by ZELMO_GIGE, but is not there or not up",
                     "ip link set " + word + " up; 'ip -brief address' lists those there are");
            }
        }
    }

    void JudgeInterface(const HostInterface& interface) {
        if (!interface.HasAddress()) {
            if (IsNamed(interface.name)) {
                Find("interface " + interface.name, true, "has no IPv4 address, so no camera can answer",
                     "ip address add 169.254.1.1/16 dev " + interface.name +
                         ", for cameras without an address of their own");
            }
            return;
        }
        const std::size_t cameras = CountCameras(interface.name);
        Find("interface " + interface.name, false,
             FormatIpv4(interface.place) + ", MTU " + std::to_string(interface.mtu) +
                 (interface.speedMbit > 0 ? ", " + std::to_string(interface.speedMbit) + " Mbit/s" : "") +
                 (cameras > 0 ? ", " + Count(cameras, "camera") : ""),
             "");
        if (!interface.isLoopback) {
            JudgeReversePathFilter(interface);
            if (Matters(interface)) {
                JudgeMtu(interface);
            }
            JudgeSubnet(interface);
        }
    }

    /// Answers from a foreign subnet pass it where the route back to them would take this interface (strict) or any.
    void JudgeReversePathFilter(const HostInterface& interface) {
        constexpr unsigned strict = 1;
        const bool passes = interface.reversePathFilter == strict ? m_facts.defaultRoutes.count(interface.name) > 0
                                                                  : !m_facts.defaultRoutes.empty();
        if (interface.reversePathFilter == 0 || passes) {
            return;
        }
        const std::string variable = "net.ipv4.conf." + SysctlName(interface.name) + ".rp_filter";
        Find("reverse-path filter of " + interface.name, Matters(interface),
             "it is " + std::string(interface.reversePathFilter == strict ? "1 (strict)" : "2 (loose)") +
                 ", so that answers of cameras outside " + FormatIpv4Subnet(interface.place) +
                 " are dropped: they are not found, and cannot be given an address",
             "As root: sysctl -w net.ipv4.conf.all.rp_filter=0 " + variable +
                 "=0, for good in /etc/sysctl.d/60-cameras.conf");
    }

    void JudgeMtu(const HostInterface& interface) {
        const std::string name = "MTU of " + interface.name;
        const std::string command = "ip link set dev " + interface.name + " mtu ";
        if (interface.mtu != 0 && interface.mtu < kUsualMtu) {
            Find(name, true,
                 std::to_string(interface.mtu) + " bytes are less than Ethernet's " + std::to_string(kUsualMtu) +
                     ": packets are small, and many",
                 "As root: " + command + std::to_string(kUsualMtu));
        } else if (interface.mtu < kJumboMtu && CountCameras(interface.name) > 0) {
            Find(name, false,
                 std::to_string(interface.mtu) + " bytes; with " + std::to_string(kJumboMtu) +
                     " images come in a sixth of the packets, where card, switch and camera can do it",
                 "As root: " + command + std::to_string(kJumboMtu));
        }
    }

    /// Told once for each pair.
    void JudgeSubnet(const HostInterface& interface) {
        for (const HostInterface& other : m_facts.interfaces) {
            const Ipv4Place& place = other.place;
            if (!other.HasAddress() || other.isLoopback || other.name <= interface.name ||
                !(place.Contains(interface.place.address) || interface.place.Contains(place.address))) {
                continue;
            }
            Find("subnet of " + interface.name, Matters(interface) || Matters(other),
                 FormatIpv4Subnet(interface.place) + " is on " + other.name +
                     " too: other programs, and the host's own answers, take one of both for all cameras",
                 "Give each interface a subnet of its own. As root: ip address del " + FormatIpv4(place) + " dev " +
                     other.name + " && ip address add 192.168.217.1/24 dev " + other.name);
        }
    }

    void JudgeCameras() {
        for (const CameraPlace& camera : m_facts.cameras) {
            if (!camera.subnetVerdict.empty()) {
                Find("camera " + camera.name, true, "cannot be opened: " + camera.subnetVerdict,
                     "zelmo ip force '" + camera.name + "' ADDRESS/PREFIX");
            }
        }
    }

    void JudgeSocketBuffers() {
        const char* const name = "socket buffers";
        if (!m_facts.receiveBufferMax) {
            return Find(name, IsInUse(), "net.core.rmem_max cannot be read",
                        "Only cameras on Ethernet need large socket buffers; check net.core.rmem_max on the host");
        }
        std::string detail = "net.core.rmem_max is " + std::to_string(*m_facts.receiveBufferMax) + " bytes";
        if (m_facts.receiveBufferUsual) {
            detail += ", net.core.rmem_default " + std::to_string(*m_facts.receiveBufferUsual);
        }
        const std::string advised = std::to_string(kAdvisedSocketBuffer);
        if (*m_facts.receiveBufferMax >= kAdvisedSocketBuffer) {
            return Find(name, false, detail, "");
        }
        Find(name, IsInUse() && *m_facts.receiveBufferMax < kEnoughSocketBuffer,
             detail + "; streams of cameras on Ethernet ask for up to " + advised,
             "As root: sysctl -w net.core.rmem_max=" + advised + ", for good in /etc/sysctl.d/60-cameras.conf");
    }

    void JudgeBacklog() {
        if (m_facts.backlogDrops > 0) {
            Find("receive queue", IsInUse(),
                 std::to_string(m_facts.backlogDrops) +
                     " packets were dropped since the host was started, before any program could get them",
                 "As root: sysctl -w net.core.netdev_max_backlog=10000, for good in /etc/sysctl.d/60-cameras.conf");
        }
    }

    /// A firewall takes answers to a broadcast, and a stream, for what nobody has asked for.
    void JudgeFirewall() {
        if (m_facts.firewalls.empty() || IsOff()) {
            return;
        }
        const bool isSuspect = IsInUse() && m_facts.cameras.empty();
        Find("firewall", isSuspect, Join(m_facts.firewalls) + ": it may drop the answers of cameras, and their images",
             "As root: 'nft list ruleset' or 'iptables -S' shows it. To let cameras on eth1 in: nft insert rule inet "
             "filter input iifname eth1 meta l4proto udp accept; or ufw allow in on eth1 proto udp from any");
    }

    const NetworkFacts& m_facts;
    const std::vector<std::string> m_named; // by ZELMO_GIGE
    std::vector<Check> m_checks;
};

} // namespace

NetworkFacts ReadNetworkFacts(const Zelmo::DeviceInfoList& devices) {
    const char* const setting = std::getenv("ZELMO_GIGE");
    NetworkFacts facts;
    facts.setting = setting != nullptr ? setting : "";
    facts.interfaces = ReadHostInterfaces();
    facts.defaultRoutes = ReadDefaultRoutes();
    facts.receiveBufferMax = ReadNumber("/proc/sys/net/core/rmem_max");
    facts.receiveBufferUsual = ReadNumber("/proc/sys/net/core/rmem_default");
    facts.backlogDrops = ReadBacklogDrops();
    facts.firewalls = FindFirewalls();
    for (const Zelmo::CDeviceInfo& info : devices) {
        if (IsGigECamera(info)) {
            const GigEPlace place = GetGigEPlace(info);
            facts.cameras.push_back({GetCameraName(info), place.interface, place.verdict});
        }
    }
    return facts;
}

std::vector<Check> JudgeNetwork(const NetworkFacts& facts) {
    return NetworkJudge(facts).Judge();
}

} // namespace tool
