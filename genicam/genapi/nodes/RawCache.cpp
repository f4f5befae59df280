// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/RawCache.h"

#include <algorithm>
#include <limits>

namespace GenApi {

namespace {

// Addresses that depend on selectors can be many; then everything is forgotten at once.
constexpr std::size_t kMaxEntries = 100000;
constexpr std::size_t kMaxBytes = std::size_t(256) << 20;

} // namespace

RawCache::Entry& RawCache::At(std::int64_t address, std::int64_t length) {
    Lane& lane = LaneOf(length);
    const auto found = lane.entries.find({address, length});
    if (found != lane.entries.end()) {
        return found->second;
    }
    if (m_short.entries.size() + m_long.entries.size() >= kMaxEntries ||
        m_bytes + static_cast<std::size_t>(length) > kMaxBytes) {
        m_short = {};
        m_long = {};
        m_bytes = 0;
        ++m_generation;
    }
    Entry& entry = lane.entries[{address, length}];
    m_bytes += static_cast<std::size_t>(length); // as it will have
    lane.longest = std::max(lane.longest, length);
    return entry;
}

RawCache::Claim RawCache::Begin(Entry& entry) noexcept {
    m_lastStamp += 2;
    entry.stamp = m_lastStamp;
    return {&entry, m_generation, m_lastStamp};
}

bool RawCache::Keep(const Claim& claim, std::span<const std::uint8_t> bytes) {
    // the generation first: entries of an earlier one are gone
    if (claim.entry == nullptr || claim.generation != m_generation || claim.entry->stamp != claim.stamp) {
        return false;
    }
    claim.entry->bytes.assign(bytes.begin(), bytes.end());
    claim.entry->stamp = claim.stamp + 1;
    return true;
}

void RawCache::Drop(std::int64_t address, std::int64_t length) noexcept {
    Lane& lane = LaneOf(length);
    const auto found = lane.entries.find({address, length});
    if (found != lane.entries.end()) {
        found->second.Drop();
    }
}

void RawCache::DropOverlapping(std::int64_t address, std::int64_t length, const Claim& claim) noexcept {
    m_short.DropOverlapping(address, length, claim.stamp);
    m_long.DropOverlapping(address, length, claim.stamp);
}

void RawCache::Lane::DropOverlapping(std::int64_t address, std::int64_t length, std::uint64_t spared) noexcept {
    const auto drop = [spared](Entry& entry) {
        if (entry.stamp != spared) {
            entry.Drop();
        }
    };
    // no entry that begins earlier than the longest one is long can reach the place
    const std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    const std::int64_t first = address < lowest + longest ? lowest : address - longest;
    const auto distance = static_cast<std::uint64_t>(length);
    for (auto entry = entries.lower_bound({first, 0}); entry != entries.end(); ++entry) {
        const std::uint64_t ahead =
            static_cast<std::uint64_t>(entry->first.first) - static_cast<std::uint64_t>(address);
        if (entry->first.first >= address) {
            if (ahead >= distance) {
                break;
            }
            drop(entry->second);
        } else if (static_cast<std::uint64_t>(entry->first.second) > std::uint64_t(0) - ahead) {
            drop(entry->second);
        }
    }
}

void RawCache::DropAll() noexcept {
    for (Lane* lane : {&m_short, &m_long}) {
        for (auto& entry : lane->entries) {
            entry.second.Drop();
        }
    }
}

} // namespace GenApi
