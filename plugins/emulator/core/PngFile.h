// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ImageFormat.h"

#include <cstdint>
#include <string>
#include <vector>

namespace CamEmu {

/// An image in memory, line by line from the top.
struct CColourImage {
    std::uint32_t width = 0, height = 0; ///< In pixels.
    std::vector<CColour> pixels;

    const CColour* Line(std::uint32_t y) const { return pixels.data() + std::size_t{y} * width; }
};

/// Larger images are refused before memory is taken for them.
inline constexpr std::uint64_t kMaxPngPixels = 64u << 20;

/// Reads a PNG file of any kind, whatever its depth, palette or interlacing. Transparency and gamma are left out: the
/// numbers in the file are those of the image. The memory of @p image is used again.
/// @throws std::runtime_error that names the file and the cause, std::bad_alloc; @p image is then of no use.
void ReadPng(const std::string& path, CColourImage& image);

} // namespace CamEmu
