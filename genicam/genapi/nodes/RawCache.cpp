#include "genicam/genapi/nodes/RawCache.h"

#include <algorithm>
#include <limits>

namespace GenApi {

namespace {

// Addresses that depend on selectors can be many; then everything is forgotten at once.
constexpr std::size_t maxEntries = 100000;
constexpr std::size_t maxBytes = std::size_t(256) << 20;

} // namespace

RawCache::Entry& RawCache::At(std::int64_t address, std::int64_t length) {
    const auto found = m_entries.find({address, length});
    if (found != m_entries.end()) {
        return found->second;
    }
    if (m_entries.size() >= maxEntries || m_bytes + static_cast<std::size_t>(length) > maxBytes) {
        m_entries.clear();
        m_bytes = 0;
        m_longest = 0;
        ++m_generation;
    }
    Entry& entry = m_entries[{address, length}];
    m_bytes += static_cast<std::size_t>(length); // as it will have
    m_longest = std::max(m_longest, length);
    return entry;
}

void RawCache::Drop(std::int64_t address, std::int64_t length) noexcept {
    const auto found = m_entries.find({address, length});
    if (found != m_entries.end()) {
        found->second.isValid = false;
    }
}

void RawCache::DropOverlapping(std::int64_t address, std::int64_t length) noexcept {
    // no entry that begins earlier than the longest one is long can reach the place
    const std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    const std::int64_t first = address < lowest + m_longest ? lowest : address - m_longest;
    const auto distance = static_cast<std::uint64_t>(length);
    for (auto entry = m_entries.lower_bound({first, 0}); entry != m_entries.end(); ++entry) {
        const std::uint64_t ahead =
            static_cast<std::uint64_t>(entry->first.first) - static_cast<std::uint64_t>(address);
        if (entry->first.first >= address) {
            if (ahead >= distance) {
                break;
            }
            entry->second.isValid = false;
        } else if (static_cast<std::uint64_t>(entry->first.second) > std::uint64_t(0) - ahead) {
            entry->second.isValid = false;
        }
    }
}

void RawCache::DropAll() noexcept {
    for (auto& entry : m_entries) {
        entry.second.isValid = false;
    }
}

} // namespace GenApi
