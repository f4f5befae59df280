// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/PixelType.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace tool {

/// How samples lie in the buffer.
enum class Packing {
    Bytes,      ///< One byte a sample.
    Words,      ///< Two bytes, little endian; the upper bits are not used by 10 and 12 bit formats.
    BitStream,  ///< PFNC "p" formats: sample follows sample, least significant bit first.
    GroupOfTwo, ///< GigE Vision "Packed": three bytes hold two samples, the middle one their low bits.
};

enum class Colour { Mono, Bayer, Direct, Luma422 };

/// What a pixel type is made of, as far as it can be written as PNG.
struct PixelLayout {
    Zelmo::EPixelType pixelType;
    Packing packing;
    unsigned depth;           ///< Bits that carry the value of a sample.
    unsigned samplesPerPixel; ///< As they lie in the buffer: 4 with an alpha channel.
    Colour colour;
    /// Bayer: column and row of red in the 2 by 2 tile. Direct: places of red, green and blue in the pixel. Luma422:
    /// places of the first and second luma, Cb and Cr in the group of two pixels.
    std::array<unsigned, 4> place;

    unsigned GetOutputBits() const { return depth <= 8 ? 8 : 16; }
    unsigned GetOutputChannels() const { return colour == Colour::Mono ? 1 : 3; }
    unsigned GetBitsPerSample() const; ///< In the buffer, averaged over a group.
};

/// Null for a type that cannot be written as PNG.
const PixelLayout* FindPixelLayout(Zelmo::EPixelType pixelType);

/// Bytes that @p lines of @p width pixels take, each followed by @p paddingX bytes; without padding they follow each
/// other bit by bit. The highest number there is, where no buffer can hold them. The numbers have 32 bits.
std::size_t GetNeededBytes(const PixelLayout& layout, std::size_t width, std::size_t lines, std::size_t paddingX);

/// Takes the samples of one line out of the buffer. @p data holds what GetNeededBytes tells, @p samples
/// width times samplesPerPixel.
void UnpackLine(const PixelLayout& layout, const std::uint8_t* data, std::size_t width, std::size_t line,
                std::size_t paddingX, std::uint16_t* samples);

} // namespace tool
