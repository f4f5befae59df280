// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace tool {

/// Fills in the two colours that a Bayer pixel lacks with the mean of its nearest neighbours of that colour (bilinear);
/// the image is mirrored at its edges, which keeps the colours of rows and columns.
class Demosaic {
public:
    /// @param redX, redY column and row of red in the 2 by 2 tile. Borrows @p samples, one a pixel.
    Demosaic(const std::uint16_t* samples, std::size_t width, std::size_t height, unsigned redX, unsigned redY)
        : m_samples(samples), m_width(width), m_height(height), m_redX(redX), m_redY(redY) {}

    /// @p rgb takes three samples a pixel.
    void MakeLine(std::size_t y, std::uint16_t* rgb) const;

private:
    const std::uint16_t* m_samples;
    std::size_t m_width;
    std::size_t m_height;
    unsigned m_redX;
    unsigned m_redY;
};

} // namespace tool
