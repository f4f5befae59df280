// SPDX-License-Identifier: Apache-2.0
#include "LinkReport.h"

#include "Output.h"

#include <algorithm>
#include <map>

namespace tool {
namespace {

/// Each waits until all the others have had their turn, and a tenth longer.
std::string PauseOf(const LinkUse& use, std::size_t cameras, double linkBytesPerSecond) {
    const double seconds = 1.1 * static_cast<double>((cameras - 1) * use.packetBytes) / linkBytesPerSecond;
    return use.camera + " " + Fixed(seconds * static_cast<double>(use.ticksPerSecond), 0);
}

std::string ExplainLink(const std::vector<const LinkUse*>& uses, const HostInterface& interface) {
    constexpr double full = 0.9;
    const double linkBytesPerSecond = interface.speedMbit * 1e6 / 8;
    double sum = 0;
    bool hasLostPackets = false;
    bool isKnown = true;
    for (const LinkUse* use : uses) {
        sum += use->bytesPerSecond;
        hasLostPackets = hasLostPackets || use->hasLostPackets;
        isKnown = isKnown && use->packetBytes > 0 && use->ticksPerSecond > 0;
    }
    if (uses.size() < 2 || interface.speedMbit == 0 || (sum < full * linkBytesPerSecond && !hasLostPackets)) {
        return "";
    }
    std::string text = std::to_string(uses.size()) + " cameras share the link of " + interface.name + ": " +
                       Fixed(sum / 1e6, 1) + " of its " + Fixed(linkBytesPerSecond / 1e6, 0) +
                       " MB/s are images. A pause between packets spreads them: GevSCPD";
    for (const LinkUse* use : uses) {
        text +=
            isKnown ? (use == uses.front() ? " of " : ", of ") + PauseOf(*use, uses.size(), linkBytesPerSecond) : "";
    }
    return text;
}

} // namespace

std::vector<std::string> ExplainLinks(const std::vector<LinkUse>& uses, const std::vector<HostInterface>& interfaces) {
    std::map<std::string, std::vector<const LinkUse*>> byInterface;
    for (const LinkUse& use : uses) {
        byInterface[use.interface].push_back(&use);
    }
    std::vector<std::string> lines;
    for (const auto& [name, sharing] : byInterface) {
        const auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                        [&wanted = name](const HostInterface& one) { return one.name == wanted; });
        const std::string line = found != interfaces.end() ? ExplainLink(sharing, *found) : "";
        if (!line.empty()) {
            lines.push_back(line);
        }
    }
    return lines;
}

} // namespace tool
