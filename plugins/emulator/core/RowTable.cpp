// SPDX-License-Identifier: Apache-2.0
#include "RowTable.h"

#include <numeric>

namespace CamEmu {

void CRowTable::Reserve(const CImageFormat& format) {
    Lay(format);
    m_bytes.resize(m_tableBytes * m_rows * m_shifts);
    m_samples.resize(std::size_t{m_pixels} * format.pixels->SamplesPerPixel());
}

void CRowTable::Lay(const CImageFormat& format) {
    const unsigned bits = format.pixels->BitsPerPixel();
    m_rows = format.pixels->CellHeight();
    m_shifts = std::lcm(8u / std::gcd(8u, bits), format.pixels->CellWidth());
    m_pixels = format.width + kPeriod;
    m_bytesPerStep = std::size_t{m_shifts} * bits / 8;
    m_tableBytes = std::size_t{m_pixels} * bits / 8;
}

void CRowTable::Store(const CImageFormat& format, unsigned y, unsigned shift) {
    EncodeSamples(*format.pixels, m_samples, m_bytes.data() + (y * m_shifts + shift) * m_tableBytes);
}

} // namespace CamEmu
