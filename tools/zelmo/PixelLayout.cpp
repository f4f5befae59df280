// SPDX-License-Identifier: Apache-2.0
#include "PixelLayout.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace tool {
namespace {

using namespace Zelmo;

constexpr std::array<unsigned, 4> kMono{};
constexpr std::array<unsigned, 4> kRedAt00{0, 0};
constexpr std::array<unsigned, 4> kRedAt10{1, 0};
constexpr std::array<unsigned, 4> kRedAt01{0, 1};
constexpr std::array<unsigned, 4> kRedAt11{1, 1};
constexpr std::array<unsigned, 4> kRgb{0, 1, 2};
constexpr std::array<unsigned, 4> kBgr{2, 1, 0};
constexpr std::array<unsigned, 4> kYuyv{0, 2, 1, 3};
constexpr std::array<unsigned, 4> kUyvy{1, 3, 0, 2}; // GigE Vision's order of YUV422Packed

// PFNC's code of YCbCr422_8. The library has the name for the code below, but a plug-in hands on what its camera sends.
constexpr auto kYcbcr422 = static_cast<EPixelType>(0x0210003B);

constexpr PixelLayout kLayouts[] = {
    {PixelType_Mono1Packed, Packing::BitStream, 1, 1, Colour::Mono, kMono},
    {PixelType_Mono2Packed, Packing::BitStream, 2, 1, Colour::Mono, kMono},
    {PixelType_Mono4Packed, Packing::BitStream, 4, 1, Colour::Mono, kMono},
    {PixelType_Mono8, Packing::Bytes, 8, 1, Colour::Mono, kMono},
    {PixelType_Mono10, Packing::Words, 10, 1, Colour::Mono, kMono},
    {PixelType_Mono10p, Packing::BitStream, 10, 1, Colour::Mono, kMono},
    {PixelType_Mono10Packed, Packing::GroupOfTwo, 10, 1, Colour::Mono, kMono},
    {PixelType_Mono12, Packing::Words, 12, 1, Colour::Mono, kMono},
    {PixelType_Mono12p, Packing::BitStream, 12, 1, Colour::Mono, kMono},
    {PixelType_Mono12Packed, Packing::GroupOfTwo, 12, 1, Colour::Mono, kMono},
    {PixelType_Mono16, Packing::Words, 16, 1, Colour::Mono, kMono},
    {PixelType_BayerRG8, Packing::Bytes, 8, 1, Colour::Bayer, kRedAt00},
    {PixelType_BayerGR8, Packing::Bytes, 8, 1, Colour::Bayer, kRedAt10},
    {PixelType_BayerGB8, Packing::Bytes, 8, 1, Colour::Bayer, kRedAt01},
    {PixelType_BayerBG8, Packing::Bytes, 8, 1, Colour::Bayer, kRedAt11},
    {PixelType_BayerRG10, Packing::Words, 10, 1, Colour::Bayer, kRedAt00},
    {PixelType_BayerGR10, Packing::Words, 10, 1, Colour::Bayer, kRedAt10},
    {PixelType_BayerGB10, Packing::Words, 10, 1, Colour::Bayer, kRedAt01},
    {PixelType_BayerBG10, Packing::Words, 10, 1, Colour::Bayer, kRedAt11},
    {PixelType_BayerRG10p, Packing::BitStream, 10, 1, Colour::Bayer, kRedAt00},
    {PixelType_BayerGR10p, Packing::BitStream, 10, 1, Colour::Bayer, kRedAt10},
    {PixelType_BayerGB10p, Packing::BitStream, 10, 1, Colour::Bayer, kRedAt01},
    {PixelType_BayerBG10p, Packing::BitStream, 10, 1, Colour::Bayer, kRedAt11},
    {PixelType_BayerRG12, Packing::Words, 12, 1, Colour::Bayer, kRedAt00},
    {PixelType_BayerGR12, Packing::Words, 12, 1, Colour::Bayer, kRedAt10},
    {PixelType_BayerGB12, Packing::Words, 12, 1, Colour::Bayer, kRedAt01},
    {PixelType_BayerBG12, Packing::Words, 12, 1, Colour::Bayer, kRedAt11},
    {PixelType_BayerRG12p, Packing::BitStream, 12, 1, Colour::Bayer, kRedAt00},
    {PixelType_BayerGR12p, Packing::BitStream, 12, 1, Colour::Bayer, kRedAt10},
    {PixelType_BayerGB12p, Packing::BitStream, 12, 1, Colour::Bayer, kRedAt01},
    {PixelType_BayerBG12p, Packing::BitStream, 12, 1, Colour::Bayer, kRedAt11},
    {PixelType_BayerRG12Packed, Packing::GroupOfTwo, 12, 1, Colour::Bayer, kRedAt00},
    {PixelType_BayerGR12Packed, Packing::GroupOfTwo, 12, 1, Colour::Bayer, kRedAt10},
    {PixelType_BayerGB12Packed, Packing::GroupOfTwo, 12, 1, Colour::Bayer, kRedAt01},
    {PixelType_BayerBG12Packed, Packing::GroupOfTwo, 12, 1, Colour::Bayer, kRedAt11},
    {PixelType_BayerRG16, Packing::Words, 16, 1, Colour::Bayer, kRedAt00},
    {PixelType_BayerGR16, Packing::Words, 16, 1, Colour::Bayer, kRedAt10},
    {PixelType_BayerGB16, Packing::Words, 16, 1, Colour::Bayer, kRedAt01},
    {PixelType_BayerBG16, Packing::Words, 16, 1, Colour::Bayer, kRedAt11},
    {PixelType_RGB8Packed, Packing::Bytes, 8, 3, Colour::Direct, kRgb},
    {PixelType_BGR8Packed, Packing::Bytes, 8, 3, Colour::Direct, kBgr},
    {PixelType_RGBA8Packed, Packing::Bytes, 8, 4, Colour::Direct, kRgb},
    {PixelType_BGRA8Packed, Packing::Bytes, 8, 4, Colour::Direct, kBgr},
    {PixelType_RGB10Packed, Packing::Words, 10, 3, Colour::Direct, kRgb},
    {PixelType_BGR10Packed, Packing::Words, 10, 3, Colour::Direct, kBgr},
    {PixelType_RGB12Packed, Packing::Words, 12, 3, Colour::Direct, kRgb},
    {PixelType_BGR12Packed, Packing::Words, 12, 3, Colour::Direct, kBgr},
    {PixelType_RGB16Packed, Packing::Words, 16, 3, Colour::Direct, kRgb},
    {PixelType_YUV422Packed, Packing::Bytes, 8, 2, Colour::Luma422, kUyvy},
    {PixelType_YUV422_YUYV_Packed, Packing::Bytes, 8, 2, Colour::Luma422, kYuyv},
    {kYcbcr422, Packing::Bytes, 8, 2, Colour::Luma422, kYuyv},
};

std::uint16_t ReadBits(const std::uint8_t* data, std::size_t firstBit, unsigned count) {
    const std::uint8_t* byte = data + firstBit / 8;
    const unsigned shift = firstBit % 8;
    std::uint32_t word = 0;
    for (unsigned have = 0; have < shift + count; have += 8) { // never a byte behind the last one that is needed
        word |= static_cast<std::uint32_t>(*byte++) << have;
    }
    return static_cast<std::uint16_t>((word >> shift) & ((1u << count) - 1));
}

std::uint16_t ReadOfGroup(const std::uint8_t* data, std::size_t index, unsigned depth) {
    const std::uint8_t* group = data + index / 2 * 3;
    const unsigned lowBits = depth - 8;
    const unsigned mask = (1u << lowBits) - 1;
    return index % 2 == 0 ? static_cast<std::uint16_t>(group[0] << lowBits | (group[1] & mask))
                          : static_cast<std::uint16_t>(group[2] << lowBits | (group[1] >> 4 & mask));
}

} // namespace

unsigned PixelLayout::GetBitsPerSample() const {
    switch (packing) {
    case Packing::Bytes:
        return 8;
    case Packing::Words:
        return 16;
    case Packing::BitStream:
        return depth;
    case Packing::GroupOfTwo:
        break;
    }
    return 12;
}

const PixelLayout* FindPixelLayout(EPixelType pixelType) {
    const auto* found = std::find_if(std::begin(kLayouts), std::end(kLayouts),
                                     [pixelType](const PixelLayout& row) { return row.pixelType == pixelType; });
    return found == std::end(kLayouts) ? nullptr : found;
}

std::size_t GetNeededBytes(const PixelLayout& layout, std::size_t width, std::size_t lines, std::size_t paddingX) {
    constexpr std::size_t endless = std::numeric_limits<std::size_t>::max();
    const std::size_t lineBits = width * layout.samplesPerPixel * layout.GetBitsPerSample();
    if (lines > endless / (lineBits + 8 * paddingX + 8)) {
        return endless; // whoever tells such a size is wrong
    }
    // An odd number of samples leaves the last group open: its low bits still stand in the middle byte.
    const std::size_t group = layout.packing == Packing::GroupOfTwo ? 24 : 8;
    const auto bytes = [group](std::size_t bits) {
        const std::size_t open = bits % group;
        return bits / group * (group / 8) + (open + 7) / 8;
    };
    return paddingX == 0 ? bytes(lineBits * lines) : ((lineBits + 7) / 8 + paddingX) * lines;
}

void UnpackLine(const PixelLayout& layout, const std::uint8_t* data, std::size_t width, std::size_t line,
                std::size_t paddingX, std::uint16_t* samples) {
    const std::size_t count = width * layout.samplesPerPixel;
    const std::size_t strideBytes = (count * layout.GetBitsPerSample() + 7) / 8 + paddingX;
    const std::uint8_t* base = paddingX == 0 ? data : data + line * strideBytes;
    const std::size_t first = paddingX == 0 ? line * count : 0;
    const auto mask = static_cast<std::uint16_t>((1u << layout.depth) - 1);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t index = first + i;
        switch (layout.packing) {
        case Packing::Bytes:
            samples[i] = base[index];
            break;
        case Packing::Words:
            samples[i] = static_cast<std::uint16_t>((base[2 * index] | base[2 * index + 1] << 8) & mask);
            break;
        case Packing::BitStream:
            samples[i] = ReadBits(base, index * layout.depth, layout.depth);
            break;
        case Packing::GroupOfTwo:
            samples[i] = ReadOfGroup(base, index, layout.depth);
            break;
        }
    }
}

} // namespace tool
