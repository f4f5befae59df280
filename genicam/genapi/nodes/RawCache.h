// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <utility>
#include <vector>

namespace GenApi {

/// The bytes of registers as they were last read or written through one port, by address and length. Registers of the
/// same place share an entry; a write to a place makes all entries void that overlap it. Entries stay where they are
/// until the generation changes, so registers keep a pointer to theirs.
class RawCache {
public:
    struct Entry {
        std::vector<std::uint8_t> bytes;
        std::uint64_t stamp =
            0; ///< odd: of these bytes and no others; else void, and of the claim on it, if there is one

        bool IsValid() const noexcept { return stamp % 2 != 0; }
        void Drop() noexcept { stamp = 0; }
    };
    /// Of an access that is going to fill an entry. Lost when somebody else drops, claims or fills the entry first.
    struct Claim {
        Entry* entry; ///< null: none
        std::uint32_t generation;
        std::uint64_t stamp;
    };

    Entry& At(std::int64_t address, std::int64_t length); ///< made if it is not there; may start a new generation
    Claim Begin(Entry& entry) noexcept;                   ///< The entry is void until Keep.
    bool Keep(const Claim& claim,
              std::span<const std::uint8_t> bytes); ///< @return false if there is none or it was lost
    std::uint32_t Generation() const noexcept { return m_generation; }
    void Drop(std::int64_t address, std::int64_t length) noexcept; ///< the entry of exactly this place, if there is one
    /// The access's own @p claim stays.
    void DropOverlapping(std::int64_t address, std::int64_t length, const Claim& claim = {}) noexcept;
    void DropAll() noexcept;

private:
    using Key = std::pair<std::int64_t, std::int64_t>; // address, length

    /// Entries of about one length: a write looks as far ahead of its place as the longest one reaches.
    struct Lane {
        std::map<Key, Entry> entries;
        std::int64_t longest = 0;

        void DropOverlapping(std::int64_t address, std::int64_t length, std::uint64_t spared) noexcept;
    };
    Lane& LaneOf(std::int64_t length) noexcept { return length <= kShortLength ? m_short : m_long; }

    static constexpr std::int64_t kShortLength = 16; // of numbers; texts and tables reach further

    Lane m_short;
    Lane m_long;
    std::size_t m_bytes = 0;
    std::uint32_t m_generation = 1;
    std::uint64_t m_lastStamp = 0; // of a claim: even
};

} // namespace GenApi
