// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PixelLayout.h"

#include <vector>

namespace tool {

/// An image as a stream grabber delivers it. Borrows the buffer.
struct Frame {
    const std::uint8_t* data = nullptr;
    std::size_t sizeBytes = 0;
    Zelmo::EPixelType pixelType = Zelmo::PixelType_Undefined;
    unsigned width = 0;       ///< In pixels.
    unsigned height = 0;      ///< In lines.
    std::size_t paddingX = 0; ///< Bytes behind each line.
};

/// An image as PNG wants it: rows from the top, 16-bit samples big endian.
struct Image {
    unsigned width = 0;
    unsigned height = 0;
    unsigned channels = 1; ///< 1 grey, 3 red, green, blue.
    unsigned bits = 8;     ///< 8 or 16 a sample.
    std::vector<std::uint8_t> bytes;

    std::size_t GetRowBytes() const { return std::size_t{width} * channels * (bits / 8); }
};

/// Turns frames into images: 8 bits stay, fewer are spread to 8, 10 and 12 to 16, so that the darkest and the brightest
/// value stay so; Bayer is demosaiced; YCbCr 4:2:2 becomes RGB by the full-range matrix of ITU-R BT.601. Keeps its
/// memory from frame to frame. Threads: one.
class PixelConverter {
public:
    /// @throws ToolError for a pixel type without a PixelLayout, and when the buffer is too small for the size that it
    /// tells.
    void Convert(const Frame& frame, Image& image);

private:
    void MakeLine(const PixelLayout& layout, const Frame& frame, std::size_t y);

    std::vector<std::uint16_t> m_samples; // one line; the whole image for Bayer
    std::vector<std::uint16_t> m_line;    // of the image: samples times channels, still at the depth of the frame
};

} // namespace tool
