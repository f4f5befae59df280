#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace GenApi {

/// A fast mix of a name's bytes, eight at a time. Not for hostile flooding: tables cap their load factor and their
/// number of names.
inline std::uint64_t HashName(std::string_view name) noexcept {
    constexpr std::uint64_t factor = 0x9E3779B97F4A7C15ull;
    std::uint64_t hash = name.size() * factor;
    const char* at = name.data();
    std::size_t left = name.size();
    for (; left >= 8; at += 8, left -= 8) {
        std::uint64_t word;
        std::memcpy(&word, at, 8);
        hash = (hash ^ word) * factor;
        hash ^= hash >> 29;
    }
    std::uint64_t tail = 0;
    if (left != 0) {
        std::memcpy(&tail, at, left);
    }
    hash = (hash ^ tail) * factor;
    return hash ^ (hash >> 32);
}

} // namespace GenApi
