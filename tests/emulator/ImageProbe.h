// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <core/ImageFormat.h>

#include <cstdint>
#include <cstring>
#include <span>

/// Reads samples out of a received image: little-endian runs of bits, whatever the packing.
class ImageProbe {
public:
    ImageProbe(const CamEmu::CImageFormat& format, std::span<const std::uint8_t> bytes)
        : m_format(format), m_bytes(bytes) {}

    /// Sample @p channel of the pixel, in the depth of the format.
    unsigned At(unsigned x, unsigned y, unsigned channel = 0) const {
        const unsigned perSample = m_format.pixels->BitsPerPixel() / m_format.pixels->SamplesPerPixel();
        const std::size_t bit = y * m_format.BytesPerLine() * 8 +
                                (std::size_t{x} * m_format.pixels->SamplesPerPixel() + channel) * perSample;
        unsigned value = 0;
        for (unsigned i = 0; i < perSample; ++i) {
            value |= (m_bytes[(bit + i) / 8] >> ((bit + i) % 8) & 1u) << i;
        }
        return value;
    }

    double Mean() const {
        double sum = 0;
        for (unsigned y = 0; y < m_format.height; ++y) {
            for (unsigned x = 0; x < m_format.width; ++x) {
                sum += At(x, y);
            }
        }
        return sum / m_format.width / m_format.height;
    }

private:
    CamEmu::CImageFormat m_format;
    std::span<const std::uint8_t> m_bytes;
};
