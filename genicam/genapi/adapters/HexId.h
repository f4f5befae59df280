// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace GenApi {

/// The id of a chunk or an event, as a number of up to 16 bytes.
struct HexId {
    std::uint64_t high = 0, low = 0;
    friend constexpr bool operator==(const HexId&, const HexId&) = default;
    friend constexpr bool operator<(const HexId& left, const HexId& right) noexcept {
        return left.high != right.high ? left.high < right.high : left.low < right.low;
    }
};

/// Reads hexadecimal digits: "0x" may stand in front, braces and hyphens of a GUID between. Leading zeros and letter
/// case do not matter. Nothing for a text without digits, with other signs, or of more than 16 bytes.
std::optional<HexId> ParseHexId(std::string_view text) noexcept;

/// Who has which id: a small sorted array.
class HexIndex {
public:
    struct Entry {
        HexId id;
        std::uint32_t place;
    };

    void Reserve(std::size_t count) { m_entries.reserve(count); }
    void Clear() noexcept { m_entries.clear(); }
    void Add(HexId id, std::uint32_t place) { m_entries.push_back({id, place}); }
    void Sort() noexcept;                                 ///< after the last Add
    std::span<const Entry> Find(HexId id) const noexcept; ///< all of this id

private:
    std::vector<Entry> m_entries;
};

} // namespace GenApi
