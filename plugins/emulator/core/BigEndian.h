// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace CamEmu {

/// Unsigned numbers as networks have them: the highest byte first.
template <typename T>
void PutBigEndian(T value, std::uint8_t* bytes) {
    for (std::size_t i = sizeof value; i-- > 0; value = static_cast<T>(value >> 8)) {
        bytes[i] = static_cast<std::uint8_t>(value);
    }
}

inline std::uint32_t GetBigEndian32(const std::uint8_t* bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
}

} // namespace CamEmu
