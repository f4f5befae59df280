// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ImageFormat.h"

#include <cstdint>
#include <vector>

namespace CamEmu {

/// The ready-made bytes of all lines of a pattern that repeats along the line: a line that begins anywhere in the
/// period is one copy out of the table. Formats whose pixels share bytes, or alternate in meaning, have one copy of the
/// table for each way in which a line can begin.
class CRowTable {
public:
    static constexpr unsigned kPeriod = 256; ///< in pixels

    /// Makes room for lines of that format, so that Fill does not allocate.
    void Reserve(const CImageFormat& format);

    /// @p colourAt gives the colour of each phase from 0 to period - 1.
    template <typename ColourAt>
    void Fill(const CImageFormat& format, ColourAt colourAt) {
        Lay(format);
        for (unsigned y = 0; y < m_rows; ++y) {
            for (unsigned shift = 0; shift < m_shifts; ++shift) {
                for (unsigned x = 0; x < m_pixels; ++x) {
                    PutPixel(*format.pixels, colourAt((x + shift) % kPeriod), x, y,
                             m_samples.data() + std::size_t{x} * format.pixels->SamplesPerPixel());
                }
                Store(format, y, shift);
            }
        }
    }

    /// The bytes of line @p y when its first pixel has that phase.
    const std::uint8_t* Line(unsigned y, unsigned phase) const {
        phase %= kPeriod;
        const unsigned table = (y % m_rows) * m_shifts + phase % m_shifts;
        return m_bytes.data() + table * m_tableBytes + std::size_t{phase / m_shifts} * m_bytesPerStep;
    }

private:
    void Lay(const CImageFormat& format);
    void Store(const CImageFormat& format, unsigned y, unsigned shift);

    unsigned m_pixels = 0;          // of one table: a line and one period
    unsigned m_rows = 1;            // lines that differ in colour order
    unsigned m_shifts = 1;          // pixels after which a line begins on a byte, and with the same sample, again
    std::size_t m_bytesPerStep = 0; // of that many pixels
    std::size_t m_tableBytes = 0;
    std::vector<std::uint8_t> m_bytes;
    std::vector<std::uint16_t> m_samples;
};

} // namespace CamEmu
