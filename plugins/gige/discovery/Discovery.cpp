// SPDX-License-Identifier: Apache-2.0
#include "discovery/Discovery.h"

#include "PluginLog.h"
#include "discovery/CleanText.h"
#include "discovery/Verdict.h"

#include <Base/GCException.h>

#include <poll.h>

#include <algorithm>
#include <array>
#include <random>
#include <tuple>
#include <utility>

namespace Gige {
namespace {

using PluginKit::CNetworkInterface;

constexpr std::int64_t kMsNs = 1'000'000;
constexpr std::int64_t kRoundNs = 150 * kMsNs;   // until all are asked again
constexpr std::int64_t kSearchNs = 1100 * kMsNs; // cameras may wait for up to a second before they answer
constexpr std::int64_t kBetterNs = 200 * kMsNs;  // for an answer over a better network
constexpr std::int64_t kLateNs = 5000 * kMsNs;   // what came so long ago says nothing of now
constexpr std::size_t kMaxCamerasAnInterface = 256;
constexpr std::size_t kMaxTold = 256;
constexpr int kMaxAnswersARound = 64; // of one socket, before the others are looked at

// How good a way to a camera is.
using Rank = std::tuple<bool, bool, bool, std::uint32_t>;
Rank RankOf(bool isTimely, bool isReachable, const CNetworkInterface& interface) {
    return {isTimely, isReachable, !interface.isWireless, interface.linkMbps};
}

CRoute MakeRoute(const CNetworkInterface& interface, std::uint32_t camera) {
    const PluginKit::CInterfaceAddress* own = interface.FindNetworkOf(camera);
    if (const auto routed = own ? std::nullopt : RoutedFrom(camera)) {
        own = interface.Find(*routed);
    }
    const PluginKit::CInterfaceAddress& from = own ? *own : interface.addresses.front();
    return {{camera, GigEVision::kGvcpPort},
            from.address,
            from.mask,
            interface.name,
            interface.index,
            interface.mtu,
            interface.isLoopback};
}

void Clean(GigEVision::DiscoveryInfo& info) {
    for (std::string* const text : {&info.manufacturer, &info.model, &info.deviceVersion, &info.manufacturerInfo,
                                    &info.serialNumber, &info.userName}) {
        *text = CleanText(*text);
    }
}

// Of ids, which begin again behind their end.
bool IsBetween(std::uint16_t first, std::uint16_t id, std::uint16_t last) {
    const auto distance = [&](std::uint16_t to) { return static_cast<std::uint16_t>(to - first); };
    return distance(id) <= distance(last);
}

void Warn(const std::string& text) {
    hxlog::LogTrace(LogCategory(), hxlog::LogLevel_Warn, "%s", text.c_str());
}

} // namespace

/// One search, from its first command to its end.
class CSearchRun {
public:
    CSearchRun(CDiscovery& discovery, const CSearch& search) : m_discovery(discovery), m_search(search) {}

    std::vector<CFoundCamera> Run() {
        ChooseNetworks();
        const std::int64_t begin = MonotonicNs();
        m_endNs = m_networks.empty() ? begin : begin + kSearchNs;
        AskAll();
        ListenUntil(std::min(begin + kRoundNs, m_endNs));
        if (MonotonicNs() < m_endNs) {
            AskAll();
            ListenUntil(m_endNs);
        }
        for (CNetwork& network : m_networks) {
            // Late answers belong to the next search; but not the doubles of what ended this one.
            network.ear.firstId = m_isSettled ? GigEVision::NextRequestId(network.ear.lastId) : network.firstId;
            std::erase_if(network.ear.aloneIds, [&](std::uint16_t id) { return !network.ear.HasAsked(id); });
            m_discovery.Keep(network.interface, std::move(network.ear));
        }
        return TakeResult();
    }

private:
    struct CNetwork {
        CNetworkInterface interface;
        std::vector<std::uint32_t> broadcasts, alone; // addresses to ask
        CDiscovery::CEar ear;
        std::uint16_t firstId = 0; // of this search
        std::set<MacAddress> wanted = {}, others = {};
    };
    struct CCandidate {
        CFoundCamera camera;
        Rank rank;
    };

    void ChooseNetworks() {
        const CNetworkChoice& choice = m_discovery.Choice();
        if (choice.isOff) {
            return;
        }
        const std::vector<CNetworkInterface> all = UsableInterfaces();
        std::vector<CNetworkInterface> admitted = all;
        std::erase_if(admitted, [&](const CNetworkInterface& one) { return !choice.Admits(one); });
        if (m_search.address && !m_search.mac) {
            AskAlone(*m_search.address, admitted);
            if (!m_networks.empty()) {
                return;
            }
        }
        for (const CNetworkInterface& interface : admitted) {
            const std::vector<std::uint32_t> broadcasts = BroadcastsOf(interface);
            if (CNetwork* const network = broadcasts.empty() ? nullptr : AddNetwork(interface)) {
                network->broadcasts = broadcasts;
            }
        }
        for (const std::uint32_t address : choice.addresses) {
            AskAlone(address, all);
        }
        if (m_search.newAddress &&
            !choice.addresses.empty()) { // of these its own was one; by broadcast it is found anyhow
            AskAlone(*m_search.newAddress, all);
        }
        if (m_search.address) { // known from before: broadcasts may not get there
            AskAlone(*m_search.address, admitted);
        }
        TellOfMissing(choice.interfaces, admitted);
    }

    // Where several interfaces are in its subnet, the camera may be at the cable of each.
    void AskAlone(std::uint32_t address, const std::vector<CNetworkInterface>& interfaces) {
        bool isNear = false;
        for (const CNetworkInterface& one : interfaces) {
            if (one.FindNetworkOf(address)) {
                isNear = true;
                AskAloneOver(one, address);
            }
        }
        if (const CNetworkInterface* const way = isNear ? nullptr : FindWayTo(address, interfaces)) {
            AskAloneOver(*way, address);
        }
    }

    void AskAloneOver(const CNetworkInterface& interface, std::uint32_t address) {
        if (CNetwork* const network = AddNetwork(interface)) {
            network->alone.push_back(address);
        }
    }

    // Null where no socket can be had.
    CNetwork* AddNetwork(const CNetworkInterface& interface) {
        const auto found = std::find_if(m_networks.begin(), m_networks.end(),
                                        [&](const CNetwork& one) { return one.interface.index == interface.index; });
        if (found != m_networks.end()) {
            return &*found;
        }
        try {
            CNetwork& added = m_networks.emplace_back(CNetwork{interface, {}, {}, m_discovery.TakeEar(interface)});
            added.firstId = GigEVision::NextRequestId(added.ear.lastId);
            return &added;
        } catch (const GenICam::GenericException& e) {
            m_discovery.TellOnce("No camera is looked for on " + interface.name + ": " + e.GetDescription());
            return nullptr;
        }
    }

    void TellOfMissing(const std::vector<std::string>& names, const std::vector<CNetworkInterface>& admitted) {
        for (const std::string& name : names) {
            if (std::none_of(admitted.begin(), admitted.end(), [&](const auto& one) { return one.name == name; })) {
                m_discovery.TellOnce("ZELMO_GIGE names the interface '" + name +
                                     "', which is not there, is down or has no IPv4 address.");
            }
        }
    }

    void AskAll() {
        for (CNetwork& network : m_networks) {
            Ask(network, network.broadcasts);
            if (!network.alone.empty()) {
                network.ear.aloneIds.insert(Ask(network, network.alone));
            }
        }
    }

    static std::uint16_t Ask(CNetwork& network, const std::vector<std::uint32_t>& addresses) {
        GigEVision::CommandMessage message;
        message.flags = GigEVision::Flag::kAcknowledge | GigEVision::Flag::kBroadcastAcknowledge;
        message.command = static_cast<std::uint16_t>(GigEVision::Command::Discovery);
        message.requestId = network.ear.lastId = GigEVision::NextRequestId(network.ear.lastId);
        GigEVision::GvcpBuffer buffer;
        const GigEVision::Bytes datagram = GigEVision::EncodeCommand(message, buffer);
        for (const std::uint32_t address : addresses) {
            network.ear.socket.SendTo({address, GigEVision::kGvcpPort}, datagram); // a link that is down is no failure
        }
        return message.requestId;
    }

    void ListenUntil(std::int64_t untilNs) {
        std::vector<pollfd> sockets;
        for (const CNetwork& network : m_networks) {
            sockets.push_back({network.ear.socket.Number(), POLLIN, 0});
        }
        for (;;) {
            const std::int64_t leftNs = std::min(untilNs, m_endNs) - MonotonicNs();
            if (leftNs <= 0) {
                return;
            }
            poll(sockets.data(), sockets.size(), static_cast<int>((leftNs + kMsNs - 1) / kMsNs));
            for (CNetwork& network : m_networks) {
                HearSome(network);
            }
        }
    }

    void HearSome(CNetwork& network) {
        std::array<std::uint8_t, 2048> buffer;
        for (int i = 0; i < kMaxAnswersARound; ++i) {
            const auto received = network.ear.socket.Receive(buffer, 0);
            if (!received) {
                return;
            }
            Hear(network, *received);
        }
    }

    void Hear(CNetwork& network, const CUdpSocket::CReceived& received) {
        const auto message = GigEVision::DecodeAcknowledge(received.bytes);
        constexpr auto kExpected =
            GigEVision::AcknowledgeOf(static_cast<std::uint16_t>(GigEVision::Command::Discovery));
        if (!message || message->acknowledge != kExpected || GigEVision::IsError(message->status) ||
            !network.ear.HasAsked(message->id)) {
            return;
        }
        auto info = GigEVision::DecodeDiscoveryAck(message->payload);
        if (!info) {
            return;
        }
        const MacAddress mac = info->mac;
        Clean(*info);
        // What answered alone is reached there, behind a router whatever it tells of itself.
        const bool wasAskedAlone = network.ear.aloneIds.contains(message->id);
        const std::uint32_t address = wasAskedAlone || info->address == 0 ? received.from.address : info->address;
        CFoundCamera camera{std::move(*info), MakeRoute(network.interface, address), {}};
        if (!Admit(network, camera)) {
            return;
        }
        if (!wasAskedAlone || network.interface.FindNetworkOf(address)) {
            camera.subnetVerdict = SubnetVerdict({address, camera.info.mask}, camera.info.gateway, network.interface);
        }
        const bool isTimely = IsBetween(network.firstId, message->id, network.ear.lastId);
        const Rank rank = RankOf(isTimely, camera.subnetVerdict.empty(), network.interface);
        Take(std::move(camera), rank);
        if (isTimely) {
            EndIfWanted(m_found.at(mac));
        }
    }

    // Others must not take the place of what is looked for.
    bool Admit(CNetwork& network, const CFoundCamera& camera) {
        std::set<MacAddress>& admitted = IsWanted(camera) ? network.wanted : network.others;
        if (admitted.contains(camera.info.mac)) {
            return true;
        }
        if (admitted.size() == kMaxCamerasAnInterface) {
            return false;
        }
        admitted.insert(camera.info.mac);
        if (admitted.size() == kMaxCamerasAnInterface) {
            m_discovery.TellOnce("There are at least 256 cameras on " + network.interface.name +
                                 "; no more are listed.");
        }
        return true;
    }

    void Take(CFoundCamera camera, const Rank& rank) {
        auto [place, isNew] = m_found.try_emplace(camera.info.mac, CCandidate{camera, rank});
        if (!isNew && rank > place->second.rank) {
            place->second = {std::move(camera), rank};
        }
    }

    void EndIfWanted(const CCandidate& candidate) {
        if (IsWanted(candidate.camera) && !m_discovery.WasAmbiguous(candidate.camera.info.mac)) {
            const std::int64_t now = MonotonicNs();
            const bool isUnique = m_search.mac || m_search.address; // another one may have this serial number, too
            m_endNs = std::min(m_endNs, isUnique && !MayBeBettered(candidate) ? now : now + kBetterNs);
            m_isSettled = true;
        }
    }

    bool IsWanted(const CFoundCamera& camera) const {
        if (m_search.mac) {
            return camera.info.mac == *m_search.mac;
        }
        if (m_search.address) {
            return camera.route.device.address == *m_search.address;
        }
        return !m_search.serialNumber.empty() && SerialNumberOf(camera.info) == m_search.serialNumber;
    }

    bool MayBeBettered(const CCandidate& candidate) const {
        if (!candidate.camera.subnetVerdict.empty()) {
            return m_networks.size() > 1;
        }
        const std::uint32_t address = candidate.camera.route.device.address;
        return std::any_of(m_networks.begin(), m_networks.end(), [&](const CNetwork& other) {
            return RankOf(true, other.interface.FindNetworkOf(address) != nullptr, other.interface) > candidate.rank;
        });
    }

    std::vector<CFoundCamera> TakeResult() {
        std::vector<CFoundCamera> result;
        for (auto& [mac, candidate] : m_found) {
            result.push_back(std::move(candidate.camera));
        }
        const std::set<MacAddress> ambiguous = JudgeAmbiguity(result);
        if (!m_search.mac && !m_search.address && m_search.serialNumber.empty()) {
            m_discovery.Remember(ambiguous);
        }
        return result;
    }

    CDiscovery& m_discovery;
    const CSearch& m_search;
    std::vector<CNetwork> m_networks;
    std::map<MacAddress, CCandidate> m_found;
    std::int64_t m_endNs = 0;
    bool m_isSettled = false; // what was looked for has answered
};

std::vector<CFoundCamera> CDiscovery::Look(const CSearch& search) {
    DropLate();
    return CSearchRun(*this, search).Run();
}

bool CDiscovery::CEar::HasAsked(std::uint16_t id) const {
    return IsBetween(firstId, id, lastId);
}

CDiscovery::CEar CDiscovery::TakeEar(const CNetworkInterface& interface) {
    {
        const PluginKit::CLockGuard lock(m_lock);
        if (auto kept = m_kept.extract(interface.index)) {
            return std::move(kept.mapped());
        }
    }
    CEar fresh{CUdpSocket::ForBroadcast(interface.name)};
    fresh.lastId = static_cast<std::uint16_t>(std::random_device()());
    fresh.firstId = GigEVision::NextRequestId(fresh.lastId);
    return fresh;
}

// Those of interfaces that are gone, too, which nobody would take any more.
void CDiscovery::DropLate() {
    const std::int64_t now = MonotonicNs();
    const PluginKit::CLockGuard lock(m_lock);
    std::erase_if(m_kept, [&](const auto& kept) { return now - kept.second.quietSinceNs >= kLateNs; });
}

// Another search may have kept its own meanwhile: one is enough.
void CDiscovery::Keep(const CNetworkInterface& interface, CEar ear) {
    ear.quietSinceNs = MonotonicNs();
    const PluginKit::CLockGuard lock(m_lock);
    m_kept.insert_or_assign(interface.index, std::move(ear));
}

bool CDiscovery::WasAmbiguous(const MacAddress& mac) {
    const PluginKit::CLockGuard lock(m_lock);
    return m_ambiguous.contains(mac);
}

void CDiscovery::Remember(std::set<MacAddress> ambiguous) {
    const PluginKit::CLockGuard lock(m_lock);
    m_ambiguous = std::move(ambiguous);
}

void CDiscovery::TellOnce(const std::string& text) {
    const auto isNew = [&] {
        const PluginKit::CLockGuard lock(m_lock);
        if (m_told.size() == kMaxTold) { // names of interfaces come and go
            m_told.clear();
        }
        return m_told.insert(text).second;
    };
    if (isNew()) {
        Warn(text);
    }
}

} // namespace Gige
