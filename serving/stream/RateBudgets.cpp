// SPDX-License-Identifier: Apache-2.0
#include "RateBudgets.h"

#include <algorithm>

namespace Serving {

namespace {

constexpr std::size_t kMaxDestinations = 256; // then the one that is free soonest is forgotten

} // namespace

CRateBudgets::CRateBudgets(std::uint64_t bytesPerSecond) : m_bytesPerSecond(bytesPerSecond) {
    const PluginKit::CLockGuard lock(m_lock);
    m_destinations.reserve(kMaxDestinations);
}

std::int64_t CRateBudgets::Reserve(std::uint32_t address, std::size_t bytes, std::int64_t nowNs) {
    if (!IsLimited()) {
        return nowNs;
    }
    const auto costNs =
        static_cast<std::int64_t>(static_cast<double>(bytes) * 1e9 / static_cast<double>(m_bytesPerSecond));
    const PluginKit::CLockGuard lock(m_lock);
    CDestination& destination = Find(address);
    const bool isLate = destination.freeNs > nowNs - costNs; // by less than a burst: made up for
    const std::int64_t dueNs = isLate ? destination.freeNs : nowNs;
    destination.freeNs = dueNs + costNs;
    return dueNs;
}

CRateBudgets::CDestination& CRateBudgets::Find(std::uint32_t address) {
    const auto found = std::find_if(m_destinations.begin(), m_destinations.end(),
                                    [address](const CDestination& known) { return known.address == address; });
    if (found != m_destinations.end()) {
        return *found;
    }
    if (m_destinations.size() < kMaxDestinations) {
        return m_destinations.emplace_back(CDestination{address, 0});
    }
    CDestination& replaced = *std::min_element(m_destinations.begin(), m_destinations.end(),
                                               [](const auto& a, const auto& b) { return a.freeNs < b.freeNs; });
    replaced.address = address; // its time is kept, so that many addresses are no way around the limit
    return replaced;
}

} // namespace Serving
