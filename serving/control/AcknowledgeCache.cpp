// SPDX-License-Identifier: Apache-2.0
#include "AcknowledgeCache.h"

#include <algorithm>

namespace Serving {

using GigEVision::Bytes;

Bytes CAcknowledgeCache::Find(const CEndpoint& from, Bytes datagram, std::int64_t nowNs) const {
    const auto found =
        std::find_if(m_entries.begin(), m_entries.end(), [&](const CEntry& entry) { return entry.from == from; });
    const bool isSame = found != m_entries.end() && nowNs - found->atNs <= kLifeNs &&
                        std::equal(datagram.begin(), datagram.end(), found->datagram.begin(), found->datagram.end());
    return isSame ? Bytes(found->acknowledge) : Bytes();
}

void CAcknowledgeCache::Put(const CEndpoint& from, Bytes datagram, Bytes acknowledge, std::int64_t nowNs,
                            const CEndpoint& kept) {
    CEntry& entry = EntryFor(from, kept);
    entry.from = from;
    entry.atNs = nowNs;
    entry.datagram.assign(datagram.begin(), datagram.end());
    entry.acknowledge.assign(acknowledge.begin(), acknowledge.end());
}

CAcknowledgeCache::CEntry& CAcknowledgeCache::EntryFor(const CEndpoint& from, const CEndpoint& kept) {
    const auto found =
        std::find_if(m_entries.begin(), m_entries.end(), [&](const CEntry& entry) { return entry.from == from; });
    if (found != m_entries.end()) {
        return *found;
    }
    if (m_entries.size() < kSources) {
        return m_entries.emplace_back();
    }
    return *std::min_element(m_entries.begin(), m_entries.end(), [&](const CEntry& a, const CEntry& b) {
        return a.from != kept && (b.from == kept || a.atNs < b.atNs);
    });
}

} // namespace Serving
