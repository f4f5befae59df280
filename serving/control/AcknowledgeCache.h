// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Endpoint.h"

#include <gigevision/Bytes.h>

#include <cstdint>
#include <vector>

namespace Serving {

/// The last acknowledge to each source, so that a command that comes again, because the acknowledge was lost, is
/// answered and not executed again. Bounded: the oldest makes room.
/// Threads: the control thread.
class CAcknowledgeCache {
public:
    static constexpr std::size_t kSources = 64;
    static constexpr std::int64_t kLifeNs = 1'000'000'000;

    /// The acknowledge of the very same datagram; empty for none.
    GigEVision::Bytes Find(const CEndpoint& from, GigEVision::Bytes datagram, std::int64_t nowNs) const;
    /// @p kept is a source whose entry makes no room for those of others.
    void Put(const CEndpoint& from, GigEVision::Bytes datagram, GigEVision::Bytes acknowledge, std::int64_t nowNs,
             const CEndpoint& kept);

private:
    struct CEntry {
        CEndpoint from;
        std::int64_t atNs = 0;
        std::vector<std::uint8_t> datagram, acknowledge;
    };

    CEntry& EntryFor(const CEndpoint& from, const CEndpoint& kept);

    std::vector<CEntry> m_entries;
};

} // namespace Serving
