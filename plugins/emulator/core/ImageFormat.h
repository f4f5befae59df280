// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace CamEmu {

/// Where the colours of a pixel stand in memory. YCbCr422 is full-range ITU-R BT.601, in the order Y Cb Y Cr; a pair of
/// pixels has the chroma of its first one.
enum class EPixelLayout : std::uint8_t { Mono, BayerRG, BayerGR, BayerGB, BayerBG, Rgb, Bgr, YCbCr422 };

/// How the samples of a line become bytes: one byte each, two bytes little endian, or a little-endian bit stream.
enum class EPacking : std::uint8_t { Byte, Word, BitStream };

/// What there is to know of one pixel format.
struct CPixelFormat {
    std::uint32_t code; ///< PFNC code; its bits 16 to 23 are the bits of a pixel.
    const char* name;   ///< PFNC name.
    EPixelLayout layout;
    EPacking packing;
    std::uint8_t sampleBits;

    unsigned BitsPerPixel() const { return (code >> 16) & 0xFFu; }
    unsigned SamplesPerPixel() const {
        return layout < EPixelLayout::Rgb ? 1 : layout < EPixelLayout::YCbCr422 ? 3 : 2;
    }
    bool IsBayer() const { return layout >= EPixelLayout::BayerRG && layout <= EPixelLayout::BayerBG; }

    /// Pixels, and lines, after which the meaning of the samples repeats.
    unsigned CellWidth() const { return IsBayer() || layout == EPixelLayout::YCbCr422 ? 2 : 1; }
    unsigned CellHeight() const { return IsBayer() ? 2 : 1; }
};

/// All formats of the camera; the first is the default.
std::span<const CPixelFormat> PixelFormats();

/// @return null when the camera has no format of that code.
const CPixelFormat* FindPixelFormat(std::uint32_t code);

/// A colour in full scale: 65535 is white in every pixel format.
struct CColour {
    std::uint16_t red, green, blue;
};
static_assert(sizeof(CColour) == 3 * sizeof(std::uint16_t), "a line of colours is also a line of RGB samples");
inline constexpr CColour kBlack{0, 0, 0};
inline constexpr CColour kWhite{65535, 65535, 65535};

/// Limits of the sensor, in pixels. Every width is a multiple of widthStep, so that lines end on a whole byte and a
/// whole pair of pixels in all formats, and the smallest image still holds a frame record.
inline constexpr std::uint32_t kSensorWidth = 2048;
inline constexpr std::uint32_t kSensorHeight = 2048;
inline constexpr std::uint32_t kMinWidth = 32;
inline constexpr std::uint32_t kMinHeight = 1;
inline constexpr std::uint32_t kWidthStep = 4;
inline constexpr std::uint32_t kOffsetStep = 2; ///< keeps the colours of a Bayer mosaic in their place

/// The window of the sensor that is read out, in pixels, and how.
struct CImageFormat {
    std::uint32_t width = 0, height = 0, offsetX = 0, offsetY = 0;
    const CPixelFormat* pixels = nullptr;

    std::size_t BytesPerLine() const { return std::size_t{width} * pixels->BitsPerPixel() / 8; }
    std::size_t PayloadSize() const { return BytesPerLine() * height; }
    bool operator==(const CImageFormat&) const = default;
};

/// The samples of one pixel at (@p x, @p y) that shows @p colour; writes SamplesPerPixel() values of 16 bit. The pixels
/// of a line are put from left to right: the first one of a YCbCr422 pair writes the chroma of both.
void PutPixel(const CPixelFormat& format, const CColour& colour, unsigned x, unsigned y, std::uint16_t* samples);

/// The same for all pixels of line @p y.
void PutLine(const CPixelFormat& format, std::span<const CColour> colours, unsigned y, std::uint16_t* samples);

/// Packs samples of 16 bit into the bytes of the format. Their number is a multiple of widthStep.
void EncodeSamples(const CPixelFormat& format, std::span<const std::uint16_t> samples, std::uint8_t* bytes);

} // namespace CamEmu
