// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

namespace PluginKit {

inline constexpr std::uint16_t kCrc16Start = 0xFFFF;

/// CRC-16 with the polynomial 0x1021, the highest bit first, neither mirrored nor inverted; goes on from @p crc.
std::uint16_t Crc16(std::span<const std::uint8_t> bytes, std::uint16_t crc = kCrc16Start);

} // namespace PluginKit
