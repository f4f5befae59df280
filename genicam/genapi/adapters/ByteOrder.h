// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace GenApi {

/// Unsigned numbers at any address, byte by byte in the order of a transport; compilers make one load of each.
template <class Number>
Number LoadBigEndian(const std::uint8_t* bytes) noexcept {
    Number number = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        number = static_cast<Number>((std::uint64_t(number) << 8) | bytes[i]);
    }
    return number;
}

template <class Number>
Number LoadLittleEndian(const std::uint8_t* bytes) noexcept {
    Number number = 0;
    for (std::size_t i = sizeof(Number); i-- > 0;) {
        number = static_cast<Number>((std::uint64_t(number) << 8) | bytes[i]);
    }
    return number;
}

} // namespace GenApi
