// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "HostNetwork.h"

#include <string>
#include <vector>

namespace tool {

/// What one camera asks of the link that it shares with others.
struct LinkUse {
    std::string camera;
    std::string interface;         ///< Empty: not on Ethernet.
    double bytesPerSecond = 0;     ///< Of images.
    std::uint64_t packetBytes = 0; ///< 0: not known, likewise the next one.
    std::uint64_t ticksPerSecond = 0;
    bool hasLostPackets = false; ///< Also those that came when they were asked for again.
};

/// For people: a line for each link that several cameras fill, or on which they lose packets, with the pause between
/// packets that spreads them.
std::vector<std::string> ExplainLinks(const std::vector<LinkUse>& uses, const std::vector<HostInterface>& interfaces);

} // namespace tool
