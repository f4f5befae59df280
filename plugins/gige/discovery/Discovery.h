// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Mutex.h"
#include "discovery/FoundCamera.h"
#include "discovery/MacAddress.h"
#include "discovery/NetworkChoice.h"
#include "net/UdpSocket.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Gige {

/// What is looked for. With any of these the search ends as soon as such a camera has answered; with none it goes on to
/// its end, 1.1 s.
struct CSearch {
    std::optional<MacAddress> mac;
    std::optional<std::uint32_t> address; ///< is asked alone where the system knows the way to it
    std::string serialNumber;
    /// Where it may be by now: is asked alone, too, where the choice is one of addresses.
    std::optional<std::uint32_t> newAddress = {};
};

/// Finds cameras: asks by broadcast on every interface that the choice admits, twice, and alone the addresses that it
/// names. All networks are listened to at once, on the caller's thread.
/// One camera is found once, over the best of the ways that it answered on: its subnet first, then by wire, then the
/// faster one. At most 256 on an interface, and as many that are what is looked for.
/// Owns:    the sockets between two searches, so that answers that come late count for the next one.
/// Threads: any, several at a time.
/// Locks:   that of what lasts from search to search, a leaf.
class CDiscovery {
public:
    explicit CDiscovery(CNetworkChoice choice) : m_choice(std::move(choice)) {}

    const CNetworkChoice& Choice() const { return m_choice; }

    /// In the order of their MAC addresses. What is wrong with a network is logged.
    /// @throws std::system_error when the interfaces cannot be listed
    std::vector<CFoundCamera> Look(const CSearch& search = {});

private:
    friend class CSearchRun;

    /// A socket, and the ids of the commands that it has sent and that are still answered.
    struct CEar {
        bool HasAsked(std::uint16_t id) const;

        CUdpSocket socket;
        std::uint16_t firstId = 0, lastId = 0;
        std::set<std::uint16_t> aloneIds = {}; ///< of these, those of commands to one address
        std::int64_t quietSinceNs = 0;
    };

    void DropLate(); ///< Ears that were quiet for too long.
    CEar TakeEar(const PluginKit::CNetworkInterface& interface);
    void Keep(const PluginKit::CNetworkInterface& interface, CEar ear);
    bool WasAmbiguous(const MacAddress& mac);
    void Remember(std::set<MacAddress> ambiguous);
    void TellOnce(const std::string& text);

    const CNetworkChoice m_choice;
    PluginKit::CMutex m_lock;
    std::map<unsigned, CEar> m_kept PLUGIN_GUARDED_BY(m_lock);  // by interface
    std::set<MacAddress> m_ambiguous PLUGIN_GUARDED_BY(m_lock); // shared an address when all were looked for
    std::set<std::string> m_told PLUGIN_GUARDED_BY(m_lock);     // what is wrong here
};

} // namespace Gige
