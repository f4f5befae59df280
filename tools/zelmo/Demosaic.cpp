// SPDX-License-Identifier: Apache-2.0
#include "Demosaic.h"

#include <algorithm>

namespace tool {
namespace {

std::size_t Before(std::size_t i, std::size_t size) {
    return i > 0 ? i - 1 : std::min<std::size_t>(1, size - 1);
}

std::size_t Behind(std::size_t i, std::size_t size) {
    return i + 1 < size ? i + 1 : i > 0 ? i - 1 : 0;
}

std::uint16_t Mean(unsigned a, unsigned b) {
    return static_cast<std::uint16_t>((a + b + 1) / 2);
}

std::uint16_t Mean(unsigned a, unsigned b, unsigned c, unsigned d) {
    return static_cast<std::uint16_t>((a + b + c + d + 2) / 4);
}

} // namespace

void Demosaic::MakeLine(std::size_t y, std::uint16_t* rgb) const {
    const std::uint16_t* above = m_samples + Before(y, m_height) * m_width;
    const std::uint16_t* line = m_samples + y * m_width;
    const std::uint16_t* below = m_samples + Behind(y, m_height) * m_width;
    const bool redRow = y % 2 == m_redY;
    // In a row of red the other colour of the row is red and blue stands above and below; in a row of blue vice versa.
    const unsigned rowColour = redRow ? 0 : 2;
    const unsigned otherColour = 2 - rowColour;
    for (std::size_t x = 0; x < m_width; ++x, rgb += 3) {
        const std::size_t left = Before(x, m_width);
        const std::size_t right = Behind(x, m_width);
        const bool green = (x % 2 == m_redX) != redRow;
        if (green) {
            rgb[1] = line[x];
            rgb[rowColour] = Mean(line[left], line[right]);
            rgb[otherColour] = Mean(above[x], below[x]);
        } else {
            rgb[rowColour] = line[x];
            rgb[1] = Mean(line[left], line[right], above[x], below[x]);
            rgb[otherColour] = Mean(above[left], above[right], below[left], below[right]);
        }
    }
}

} // namespace tool
