// SPDX-License-Identifier: Apache-2.0
#include "ImageFormat.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace CamEmu {

namespace {

static_assert(std::endian::native == std::endian::little, "words are stored as the host has them");

// Codes and names: PFNC, but for YCbCr422_8, which has the code of YUV422_8. Both have the same bytes, and many hosts,
// the library of this plug-in among them, know the name by that code only.
constexpr std::array kFormats{
    CPixelFormat{0x01080001, "Mono8", EPixelLayout::Mono, EPacking::Byte, 8},
    CPixelFormat{0x01100003, "Mono10", EPixelLayout::Mono, EPacking::Word, 10},
    CPixelFormat{0x010A0046, "Mono10p", EPixelLayout::Mono, EPacking::BitStream, 10},
    CPixelFormat{0x01100005, "Mono12", EPixelLayout::Mono, EPacking::Word, 12},
    CPixelFormat{0x010C0047, "Mono12p", EPixelLayout::Mono, EPacking::BitStream, 12},
    CPixelFormat{0x01100007, "Mono16", EPixelLayout::Mono, EPacking::Word, 16},
    CPixelFormat{0x01080008, "BayerGR8", EPixelLayout::BayerGR, EPacking::Byte, 8},
    CPixelFormat{0x01080009, "BayerRG8", EPixelLayout::BayerRG, EPacking::Byte, 8},
    CPixelFormat{0x0108000A, "BayerGB8", EPixelLayout::BayerGB, EPacking::Byte, 8},
    CPixelFormat{0x0108000B, "BayerBG8", EPixelLayout::BayerBG, EPacking::Byte, 8},
    CPixelFormat{0x01100010, "BayerGR12", EPixelLayout::BayerGR, EPacking::Word, 12},
    CPixelFormat{0x01100011, "BayerRG12", EPixelLayout::BayerRG, EPacking::Word, 12},
    CPixelFormat{0x01100012, "BayerGB12", EPixelLayout::BayerGB, EPacking::Word, 12},
    CPixelFormat{0x01100013, "BayerBG12", EPixelLayout::BayerBG, EPacking::Word, 12},
    CPixelFormat{0x02180014, "RGB8", EPixelLayout::Rgb, EPacking::Byte, 8},
    CPixelFormat{0x02180015, "BGR8", EPixelLayout::Bgr, EPacking::Byte, 8},
    CPixelFormat{0x02100032, "YCbCr422_8", EPixelLayout::YCbCr422, EPacking::Byte, 8},
};

// ITU-R BT.601 luma in 1/256.
std::uint16_t Luma(const CColour& c) {
    return static_cast<std::uint16_t>((c.red * 77u + c.green * 150u + c.blue * 29u) >> 8);
}

// Which pixel of each 2×2 cell is red: bit 0 its column, bit 1 its row; blue stands across.
std::uint16_t BayerSample(EPixelLayout layout, const CColour& c, unsigned x, unsigned y) {
    const unsigned red = layout == EPixelLayout::BayerRG   ? 0u
                         : layout == EPixelLayout::BayerGR ? 1u
                         : layout == EPixelLayout::BayerGB ? 2u
                                                           : 3u;
    const unsigned place = (x & 1u) | (y & 1u) << 1;
    if (place == red) {
        return c.red;
    }
    return place == (red ^ 3u) ? c.blue : c.green;
}

// ITU-R BT.601, full range: shares of red, green and blue in 1/65536, and what black has. Sums of bytes stay within 0
// and 255, so that nothing has to be clipped.
struct CWeights {
    int red, green, blue, zero;
};
constexpr int kHalf = 1 << 15;
constexpr CWeights kYWeights{19595, 38470, 7471, kHalf};
constexpr CWeights kCbWeights{-11059, -21709, 32768, (128 << 16) + kHalf - 1};
constexpr CWeights kCrWeights{32768, -27439, -5329, (128 << 16) + kHalf - 1};

// The byte made of the upper bytes of a colour, as a sample of 16 bits.
std::uint16_t WeighedByte(const CWeights& weights, const CColour& c) {
    const int sum = weights.red * (c.red >> 8) + weights.green * (c.green >> 8) + weights.blue * (c.blue >> 8);
    return static_cast<std::uint16_t>((sum + weights.zero) >> 16 << 8);
}

void PutPair(const CColour& first, const CColour& second, std::uint16_t* samples) {
    samples[0] = WeighedByte(kYWeights, first);
    samples[1] = WeighedByte(kCbWeights, first);
    samples[2] = WeighedByte(kYWeights, second);
    samples[3] = WeighedByte(kCrWeights, first);
}

// Four samples at a time: they fill whole bytes in streams of 10 and of 12 bits.
void EncodeBitStream(unsigned bits, std::span<const std::uint16_t> samples, std::uint8_t* bytes) {
    const unsigned shift = 16 - bits;
    const std::size_t groupBytes = bits / 2;
    for (std::size_t i = 0; i + 4 <= samples.size(); i += 4) {
        const std::uint16_t* const s = samples.data() + i;
        const std::uint64_t group = std::uint64_t{s[0]} >> shift | std::uint64_t{s[1]} >> shift << bits |
                                    std::uint64_t{s[2]} >> shift << 2 * bits | std::uint64_t{s[3]} >> shift << 3 * bits;
        std::memcpy(bytes, &group, groupBytes);
        bytes += groupBytes;
    }
}

} // namespace

std::span<const CPixelFormat> PixelFormats() {
    return kFormats;
}

const CPixelFormat* FindPixelFormat(std::uint32_t code) {
    const auto* found =
        std::find_if(kFormats.begin(), kFormats.end(), [code](const auto& f) { return f.code == code; });
    return found == kFormats.end() ? nullptr : found;
}

void PutPixel(const CPixelFormat& format, const CColour& colour, unsigned x, unsigned y, std::uint16_t* samples) {
    switch (format.layout) {
    case EPixelLayout::Mono:
        samples[0] = Luma(colour);
        break;
    case EPixelLayout::Rgb:
        samples[0] = colour.red, samples[1] = colour.green, samples[2] = colour.blue;
        break;
    case EPixelLayout::Bgr:
        samples[0] = colour.blue, samples[1] = colour.green, samples[2] = colour.red;
        break;
    case EPixelLayout::YCbCr422:
        samples[0] = WeighedByte(kYWeights, colour);
        if (x % 2 == 0) {
            samples[1] = WeighedByte(kCbWeights, colour);
            samples[3] = WeighedByte(kCrWeights, colour);
        }
        break;
    default:
        samples[0] = BayerSample(format.layout, colour, x, y);
    }
}

void PutLine(const CPixelFormat& format, std::span<const CColour> colours, unsigned y, std::uint16_t* samples) {
    if (format.layout == EPixelLayout::YCbCr422) { // the scene is drawn through here
        for (std::size_t x = 0; x + 1 < colours.size(); x += 2) {
            PutPair(colours[x], colours[x + 1], samples + 2 * x);
        }
        return;
    }
    for (unsigned x = 0; x < colours.size(); ++x) {
        PutPixel(format, colours[x], x, y, samples + std::size_t{x} * format.SamplesPerPixel());
    }
}

void EncodeSamples(const CPixelFormat& format, std::span<const std::uint16_t> samples, std::uint8_t* bytes) {
    const unsigned shift = 16u - format.sampleBits;
    switch (format.packing) {
    case EPacking::Byte:
        for (const std::uint16_t sample : samples) {
            *bytes++ = static_cast<std::uint8_t>(sample >> 8);
        }
        break;
    case EPacking::Word:
        for (const std::uint16_t sample : samples) {
            const auto word = static_cast<std::uint16_t>(sample >> shift);
            std::memcpy(bytes, &word, sizeof word);
            bytes += sizeof word;
        }
        break;
    case EPacking::BitStream:
        EncodeBitStream(format.sampleBits, samples, bytes);
        break;
    }
}

} // namespace CamEmu
