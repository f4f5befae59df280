// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Gige {

using MacAddress = std::array<std::uint8_t, 6>;

std::string Text(const MacAddress& mac);     ///< "00:11:22:aa:bb:cc"
std::uint64_t Number(const MacAddress& mac); ///< 0x001122AABBCC
/// Twelve hexadecimal digits, in pairs that ":" or "-" may part; nullopt for any other text.
std::optional<MacAddress> ParseMac(std::string_view text);

} // namespace Gige
