// SPDX-License-Identifier: Apache-2.0
#include "PixelConversion.h"
#include "Errors.h"

#include <gmock/gmock.h>

namespace {

using namespace tool;
using namespace Zelmo;
using Bytes = std::vector<std::uint8_t>;

Image Converted(EPixelType type, unsigned width, unsigned height, const Bytes& bytes, std::size_t paddingX = 0) {
    PixelConverter converter;
    Image image;
    converter.Convert({bytes.data(), bytes.size(), type, width, height, paddingX}, image);
    EXPECT_EQ(image.width, width);
    EXPECT_EQ(image.height, height);
    return image;
}

struct Case {
    const char* name;
    EPixelType type;
    unsigned width;
    unsigned height;
    std::size_t paddingX;
    Bytes bytes;
    unsigned channels;
    unsigned bits;
    Bytes pixels; // as PNG wants them
};

std::ostream& operator<<(std::ostream& stream, const Case& one) {
    return stream << one.name;
}

class PixelConversionTest : public testing::TestWithParam<Case> {};

TEST_P(PixelConversionTest, TurnsBytesIntoPixels) {
    const Case& one = GetParam();
    const Image image = Converted(one.type, one.width, one.height, one.bytes, one.paddingX);
    EXPECT_EQ(image.channels, one.channels);
    EXPECT_EQ(image.bits, one.bits);
    EXPECT_EQ(image.bytes, one.pixels);
}

const Bytes kRed16{255, 255, 0, 0, 0, 0, 255, 255, 0, 0, 0, 0, 255, 255, 0, 0, 0, 0, 255, 255, 0, 0, 0, 0};

// 0x3FF and 0xFFF, the brightest of 10 and 12 bits, become 0xFFFF; 0x200 and 0x800, the middle, 0x8020 and 0x8008.
const Case kCases[] = {
    {"Mono1Packed", PixelType_Mono1Packed, 9, 1, 0, {0b10000001, 0b1}, 1, 8, {255, 0, 0, 0, 0, 0, 0, 255, 255}},
    {"Mono2Packed", PixelType_Mono2Packed, 4, 1, 0, {0b11100100}, 1, 8, {0, 0x55, 0xAA, 0xFF}},
    {"Mono4Packed", PixelType_Mono4Packed, 2, 1, 0, {0xA3}, 1, 8, {0x33, 0xAA}},
    {"Mono4PackedLinesShareAByte", PixelType_Mono4Packed, 1, 2, 0, {0xA3}, 1, 8, {0x33, 0xAA}},
    {"Mono8", PixelType_Mono8, 2, 2, 0, {1, 2, 3, 255}, 1, 8, {1, 2, 3, 255}},
    {"Mono8Padded", PixelType_Mono8, 2, 2, 1, {1, 2, 99, 3, 4, 99}, 1, 8, {1, 2, 3, 4}},
    {"Mono10", PixelType_Mono10, 2, 1, 0, {0x00, 0x02, 0xFF, 0x03}, 1, 16, {0x80, 0x20, 0xFF, 0xFF}},
    {"Mono10IgnoresUnusedBits", PixelType_Mono10, 1, 1, 0, {0x00, 0xFE}, 1, 16, {0x80, 0x20}},
    {"Mono12", PixelType_Mono12, 2, 1, 0, {0x00, 0x08, 0xFF, 0x0F}, 1, 16, {0x80, 0x08, 0xFF, 0xFF}},
    {"Mono16", PixelType_Mono16, 2, 1, 0, {0x34, 0x12, 0xFF, 0xFF}, 1, 16, {0x12, 0x34, 0xFF, 0xFF}},
    // Four samples 1, 2, 0x200, 0x3FF in five bytes, least significant bit first.
    {"Mono10p", PixelType_Mono10p, 4, 1, 0, {1, 8, 0, 0xE0, 0xFF}, 1, 16, {0, 0x40, 0, 0x80, 0x80, 0x20, 0xFF, 0xFF}},
    // Two samples 0xABC, 0x123 in three bytes.
    {"Mono12p", PixelType_Mono12p, 2, 1, 0, {0xBC, 0x3A, 0x12}, 1, 16, {0xAB, 0xCA, 0x12, 0x31}},
    // Odd width without padding: the second line begins inside a byte.
    {"Mono12pOddWidth", PixelType_Mono12p, 1, 2, 0, {0xBC, 0x3A, 0x12}, 1, 16, {0xAB, 0xCA, 0x12, 0x31}},
    // With padding each line begins on a byte.
    {"Mono12pPadded", PixelType_Mono12p, 1, 2, 1, {0xBC, 0x0A, 0x99, 0x23, 1, 0x99}, 1, 16, {0xAB, 0xCA, 0x12, 0x31}},
    // High bytes outside, low bits in the middle one: 0xABC, 0x123 and 0x2AD, 0x04A.
    {"Mono12Packed", PixelType_Mono12Packed, 2, 1, 0, {0xAB, 0x3C, 0x12}, 1, 16, {0xAB, 0xCA, 0x12, 0x31}},
    {"Mono12PackedOddCount", PixelType_Mono12Packed, 1, 1, 0, {0xAB, 0x0C}, 1, 16, {0xAB, 0xCA}},
    {"Mono10Packed", PixelType_Mono10Packed, 2, 1, 0, {0xAB, 0x21, 0x12}, 1, 16, {0xAB, 0x6A, 0x12, 0x84}},
    {"RGB8", PixelType_RGB8Packed, 2, 1, 0, {1, 2, 3, 4, 5, 6}, 3, 8, {1, 2, 3, 4, 5, 6}},
    {"BGR8", PixelType_BGR8Packed, 2, 1, 0, {1, 2, 3, 4, 5, 6}, 3, 8, {3, 2, 1, 6, 5, 4}},
    {"RGBA8LosesAlpha", PixelType_RGBA8Packed, 2, 1, 0, {1, 2, 3, 99, 4, 5, 6, 99}, 3, 8, {1, 2, 3, 4, 5, 6}},
    {"BGRA8LosesAlpha", PixelType_BGRA8Packed, 1, 1, 0, {1, 2, 3, 99}, 3, 8, {3, 2, 1}},
    {"RGB10", PixelType_RGB10Packed, 1, 1, 0, {0xFF, 0x03, 0, 0x02, 0, 0}, 3, 16, {0xFF, 0xFF, 0x80, 0x20, 0, 0}},
    {"BGR12", PixelType_BGR12Packed, 1, 1, 0, {0xFF, 0x0F, 0, 0x08, 0, 0}, 3, 16, {0, 0, 0x80, 0x08, 0xFF, 0xFF}},
    {"RGB16", PixelType_RGB16Packed, 1, 1, 0, {1, 2, 3, 4, 5, 6}, 3, 16, {2, 1, 4, 3, 6, 5}},
    // Grey has both chroma values at 128; Cr 255 is the strongest red.
    {"YUYVGrey", PixelType_YUV422_YUYV_Packed, 2, 1, 0, {10, 128, 200, 128}, 3, 8, {10, 10, 10, 200, 200, 200}},
    {"YUYVRed", PixelType_YUV422_YUYV_Packed, 2, 1, 0, {76, 85, 76, 255}, 3, 8, {254, 0, 0, 254, 0, 0}},
    {"YCbCr422", static_cast<EPixelType>(0x0210003B), 2, 1, 0, {76, 85, 29, 255}, 3, 8, {254, 0, 0, 207, 0, 0}},
    {"UYVYRed", PixelType_YUV422Packed, 2, 1, 0, {85, 76, 255, 76}, 3, 8, {254, 0, 0, 254, 0, 0}},
    // Four pixels of a red scene. GrabFormatTest sees the other colours, in 8 bits.
    {"BayerRG10", PixelType_BayerRG10, 2, 2, 0, {255, 3, 0, 0, 0, 0, 0, 0}, 3, 16, kRed16},
    {"BayerGR12", PixelType_BayerGR12, 2, 2, 0, {0, 0, 255, 15, 0, 0, 0, 0}, 3, 16, kRed16},
    {"BayerBG16", PixelType_BayerBG16, 2, 2, 0, {0, 0, 0, 0, 0, 0, 255, 255}, 3, 16, kRed16},
    {"YUYVOddWidth", PixelType_YUV422_YUYV_Packed, 1, 2, 0, {10, 128, 20, 128}, 3, 8, {10, 10, 10, 20, 20, 20}},
};

INSTANTIATE_TEST_SUITE_P(Formats, PixelConversionTest, testing::ValuesIn(kCases),
                         [](const auto& one) { return one.param.name; });

class RefusedFormatTest : public testing::TestWithParam<EPixelType> {};

TEST_P(RefusedFormatTest, IsRefusedWithTheExitCodeOfValues) {
    EXPECT_EQ(FindPixelLayout(GetParam()), nullptr);
    const Bytes bytes(1024);
    try {
        Converted(GetParam(), 4, 4, bytes);
        FAIL() << "was converted";
    } catch (const ToolError& error) {
        EXPECT_EQ(error.GetExitCode(), ExitCode::Feature);
        EXPECT_THAT(error.what(), testing::HasSubstr("--raw"));
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, RefusedFormatTest,
                         testing::Values(PixelType_Undefined, PixelType_Mono8signed, PixelType_YUV411Packed,
                                         PixelType_RGB8Planar, PixelType_Double, PixelType_BGR10V1Packed));

TEST(PixelConverterTest, BufferThatIsTooSmallIsIncomplete) {
    for (const auto type :
         {PixelType_Mono8, PixelType_Mono12p, PixelType_Mono12Packed, PixelType_BayerRG8, PixelType_RGB8Packed}) {
        const PixelLayout& layout = *FindPixelLayout(type);
        const Bytes whole(GetNeededBytes(layout, 5, 3, 0));
        EXPECT_NO_THROW(Converted(type, 5, 3, whole));
        const Bytes cut(whole.size() - 1);
        try {
            Converted(type, 5, 3, cut);
            FAIL() << "converted a cut image of type " << type;
        } catch (const ToolError& error) {
            EXPECT_EQ(error.GetCode(), "incomplete");
        }
    }
}

TEST(PixelConverterTest, ImageWithoutPixelsOrWithMoreThanCanBeIsIncomplete) {
    EXPECT_THROW(Converted(PixelType_RGB16Packed, 1U << 31, 1U << 31, Bytes(16)), ToolError); // 0 bytes in 64 bits
    EXPECT_THROW(Converted(PixelType_Mono8, 4, 1U << 31, Bytes(16), std::size_t{1} << 31), ToolError);
    EXPECT_THROW(Converted(PixelType_Mono8, 0, 4, Bytes(16)), ToolError);
    EXPECT_THROW(Converted(PixelType_Mono8, 4, 0, Bytes(16)), ToolError);
}

TEST(PixelConverterTest, KeepsNothingOfTheImageBefore) {
    PixelConverter converter;
    Image image;
    const Bytes large(64, 7);
    const Bytes small{1, 2, 3};
    converter.Convert({large.data(), large.size(), PixelType_BayerRG8, 8, 8, 0}, image);
    converter.Convert({small.data(), small.size(), PixelType_Mono8, 3, 1, 0}, image);
    EXPECT_EQ(image.bytes, small);
    EXPECT_EQ(image.channels, 1u);
}

} // namespace
