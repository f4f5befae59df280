// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/adapters/HexId.h"

#include <algorithm>

namespace GenApi {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view Trim(std::string_view text) noexcept {
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == text.npos ? std::string_view() : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

int DigitOf(char sign) noexcept {
    if (sign >= '0' && sign <= '9') {
        return sign - '0';
    }
    const char lower = static_cast<char>(sign | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

struct ById {
    bool operator()(const HexIndex::Entry& entry, HexId id) const noexcept { return entry.id < id; }
    bool operator()(HexId id, const HexIndex::Entry& entry) const noexcept { return id < entry.id; }
};

} // namespace

std::optional<HexId> ParseHexId(std::string_view text) noexcept {
    text = Trim(text);
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
    }
    HexId id;
    bool hasDigits = false;
    for (const char sign : text) {
        if (sign == '-' || sign == '{' || sign == '}') {
            continue;
        }
        const int digit = DigitOf(sign);
        if (digit < 0 || (id.high >> 60) != 0) {
            return std::nullopt;
        }
        id.high = (id.high << 4) | (id.low >> 60);
        id.low = (id.low << 4) | static_cast<std::uint64_t>(digit);
        hasDigits = true;
    }
    return hasDigits ? std::optional(id) : std::nullopt;
}

void HexIndex::Sort() noexcept {
    std::sort(m_entries.begin(), m_entries.end(), [](const Entry& left, const Entry& right) {
        return left.id == right.id ? left.place < right.place : left.id < right.id;
    });
}

std::span<const HexIndex::Entry> HexIndex::Find(HexId id) const noexcept {
    const auto [first, last] = std::equal_range(m_entries.begin(), m_entries.end(), id, ById());
    return {first, last};
}

} // namespace GenApi
