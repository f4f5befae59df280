// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>

namespace CamEmu {

/// A font of decimal digits, five pixels wide and seven high, with one empty column between digits.
inline constexpr unsigned kDigitHeight = 7;
inline constexpr unsigned kDigitPitch = 6;

/// Whether the pixel in column @p x and row @p y (below digitHeight) of the drawn digits is set; digits beyond the
/// text are empty.
bool DigitPixel(std::string_view digits, unsigned x, unsigned y);

} // namespace CamEmu
