// SPDX-License-Identifier: Apache-2.0
#include "common/Crc16.h"

#include <array>
#include <cstddef>

namespace PluginKit {

namespace {

constexpr std::uint16_t kPolynomial = 0x1021;

constexpr std::uint16_t Shift(std::uint16_t crc) {
    return static_cast<std::uint16_t>((crc & 0x8000u) != 0 ? (crc << 1) ^ kPolynomial : crc << 1);
}

// kTables[n][b]: what byte b makes of the CRC when n bytes of zero follow it.
using Tables = std::array<std::array<std::uint16_t, 256>, 4>;

constexpr Tables MakeTables() {
    Tables tables{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        auto crc = static_cast<std::uint16_t>(byte << 8);
        for (auto& table : tables) {
            for (int bit = 0; bit < 8; ++bit) {
                crc = Shift(crc);
            }
            table[byte] = crc;
        }
    }
    return tables;
}

constexpr Tables kTables = MakeTables();

} // namespace

std::uint16_t Crc16(std::span<const std::uint8_t> bytes, std::uint16_t crc) {
    std::size_t i = 0;
    for (; i + 4 <= bytes.size(); i += 4) { // four at a time: no step waits for the one before
        crc = static_cast<std::uint16_t>(kTables[3][(crc >> 8) ^ bytes[i]] ^ kTables[2][(crc & 0xFFu) ^ bytes[i + 1]] ^
                                         kTables[1][bytes[i + 2]] ^ kTables[0][bytes[i + 3]]);
    }
    for (; i < bytes.size(); ++i) {
        crc = static_cast<std::uint16_t>((crc << 8) ^ kTables[0][(crc >> 8) ^ bytes[i]]);
    }
    return crc;
}

} // namespace PluginKit
