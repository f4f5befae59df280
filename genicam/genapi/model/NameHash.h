// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace GenApi {

/// Two numbers that decide how names are mixed. Whoever does not know them cannot make up names that collide.
struct HashKey {
    std::uint64_t first = 0x9E3779B97F4A7C15ull;
    std::uint64_t second = 0xD1B54A32D192ED03ull;
};

HashKey SecretHashKey() noexcept; ///< Drawn once a process.

namespace NameHashing {

__extension__ typedef unsigned __int128 Wide;

inline std::uint64_t Fold(std::uint64_t a, std::uint64_t b) noexcept {
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

template <typename Word>
std::uint64_t Load(const char* at) noexcept {
    Word word;
    std::memcpy(&word, at, sizeof(word));
    return word;
}

} // namespace NameHashing

/// A fast mix of a name's bytes, sixteen at a time; the last ones may be taken twice.
inline std::uint64_t HashName(std::string_view name, const HashKey& key) noexcept {
    using namespace NameHashing;
    const char* at = name.data();
    std::size_t left = name.size();
    std::uint64_t state = left;
    for (; left > 16; at += 16, left -= 16) {
        state = Fold(Load<std::uint64_t>(at) ^ key.first ^ state, Load<std::uint64_t>(at + 8) ^ key.second);
    }
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    if (left >= 8) {
        head = Load<std::uint64_t>(at);
        tail = Load<std::uint64_t>(at + left - 8);
    } else if (left >= 4) {
        head = Load<std::uint32_t>(at);
        tail = Load<std::uint32_t>(at + left - 4);
    } else if (left > 0) {
        head = Load<std::uint8_t>(at);
        tail = Load<std::uint8_t>(at + left / 2) << 8 | Load<std::uint8_t>(at + left - 1);
    }
    return Fold(Fold(head ^ key.first ^ state, tail ^ key.second), key.first);
}

} // namespace GenApi
