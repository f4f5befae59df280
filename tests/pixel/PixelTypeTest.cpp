// SPDX-License-Identifier: Apache-2.0
#include <zelmo/PixelType.h>
#include <zelmo/PixelTypeMapper.h>
#include <zelmo/internal/PixelTypePrivate.h>

#include "fakes/Failure.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <sstream>
#include <string>

using namespace Zelmo;

namespace {

constexpr unsigned int kWidth2G = 0x80000000u;
constexpr unsigned long kBytes8E = 0x8000000000000000ul;
constexpr int kFails = -1;

struct Format {
    const char* name;
    EPixelType pixelType;
    std::int64_t code;
    int depth, samples, planes;
    const char *sfnc2, *sfnc1; // names, with commas between; the first one is that of the type
};

void PrintTo(const Format& format, std::ostream* os) {
    *os << format.name;
}

template <typename Call>
std::string FailureOf(Call call) {
    return Fakes::FailureOf<GenICam::InvalidArgumentException>(call);
}

std::string Negative(const std::string& name) {
    return "The unsigned " + name +
           " parameter value exceeds the maximum allowed value. Probably a negative value has been passed.";
}

class PixelFormat : public testing::TestWithParam<Format> {
protected:
    const EPixelType pixelType = GetParam().pixelType;
};

TEST_P(PixelFormat, HasTheTabulatedCodeDepthSamplesBitsAndPlanes) {
    EXPECT_EQ(static_cast<std::int64_t>(pixelType), GetParam().code);
    EXPECT_EQ(BitDepth(pixelType), static_cast<std::uint32_t>(GetParam().depth));
    EXPECT_EQ(BitPerPixel(pixelType), static_cast<std::uint32_t>(GetParam().code >> 16 & 0xFF));
    EXPECT_EQ(GetPlaneCount(pixelType), static_cast<std::uint32_t>(GetParam().planes));
    if (GetParam().samples == kFails) {
        EXPECT_EQ(FailureOf([&] { SamplesPerPixel(pixelType); }),
                  "Invalid pixel type. Samples per pixel not defined for pixel type " +
                      std::to_string(static_cast<int>(GetParam().code)) + ".");
    } else {
        EXPECT_EQ(SamplesPerPixel(pixelType), static_cast<std::uint32_t>(GetParam().samples));
    }
}

EPixelType ByName(const std::string& name) {
    return CPixelTypeMapper::GetZelmoPixelTypeByName(name.c_str());
}

std::string NameOf(EPixelType pixelType, int version) {
    return CPixelTypeMapper::GetNameByPixelType(pixelType, static_cast<SFNCVersion>(version));
}

std::string Changed(std::string text, int (*change)(int)) {
    std::transform(text.begin(), text.end(), text.begin(), change);
    return text;
}

TEST_P(PixelFormat, EachNameOfEitherGenerationLeadsToItAndTheFirstIsItsName) {
    std::string first[2]; // SFNC 1, 2
    for (const int generation : {1, 2}) {
        std::istringstream names(generation == 1 ? GetParam().sfnc1 : GetParam().sfnc2);
        for (std::string name; std::getline(names, name, ',');) {
            for (const std::string& spelling : {name, Changed(name, std::tolower), Changed(name, std::toupper)}) {
                EXPECT_EQ(ByName(spelling), pixelType) << spelling;
            }
            first[generation - 1] = first[generation - 1].empty() ? name : first[generation - 1];
        }
    }
    EXPECT_EQ(NameOf(pixelType, SFNCVersion_1), first[0]);
    EXPECT_EQ(NameOf(pixelType, SFNCVersion_2), first[1].empty() ? first[0] : first[1]);
    for (const int version : {150, 0, 2, -1, 201}) {
        EXPECT_EQ(NameOf(pixelType, version), "");
    }
}

TEST(PixelTypeNames, WhatIsNoNameOrNoTypeLeadsNowhere) {
    for (const char* name : {"", " ", "Mono", "Mono8 ", "Mono8x", "PixelType_Mono8", "YUV420Planar", "Undefined"}) {
        EXPECT_EQ(ByName(name), PixelType_Undefined) << name;
    }
    EXPECT_EQ(CPixelTypeMapper::GetZelmoPixelTypeByName(nullptr), PixelType_Undefined);
    for (const auto noType : {PixelType_Undefined, EPixelType{0}, EPixelType{0x01080003}}) {
        EXPECT_EQ(NameOf(noType, 1) + NameOf(noType, 200), "");
    }
}

#define FORMAT(name, ...) (Format{#name, PixelType_##name, __VA_ARGS__})

// Codes as plain numbers, so that a slip in the enumeration is found; bits 16 to 23 are the bits of a pixel.
INSTANTIATE_TEST_SUITE_P(
    All, PixelFormat,
    testing::Values(
        FORMAT(Mono8, 0x01080001, 8, 1, 1, "", "Mono8"),
        FORMAT(Mono8signed, 0x01080002, 8, 1, 1, "Mono8s", "Mono8signed"),
        FORMAT(BayerGR8, 0x01080008, 8, 1, 1, "", "BayerGR8"), FORMAT(BayerRG8, 0x01080009, 8, 1, 1, "", "BayerRG8"),
        FORMAT(BayerGB8, 0x0108000A, 8, 1, 1, "", "BayerGB8"), FORMAT(BayerBG8, 0x0108000B, 8, 1, 1, "", "BayerBG8"),
        FORMAT(Mono10p, 0x010A0046, 10, 1, 1, "Mono10p", ""),
        FORMAT(BayerBG10p, 0x010A0052, 10, 1, 1, "BayerBG10p", ""),
        FORMAT(BayerGB10p, 0x010A0054, 10, 1, 1, "BayerGB10p", ""),
        FORMAT(BayerGR10p, 0x010A0056, 10, 1, 1, "BayerGR10p", ""),
        FORMAT(BayerRG10p, 0x010A0058, 10, 1, 1, "BayerRG10p", ""),
        FORMAT(Mono10Packed, 0x010C0004, 10, 1, 1, "", "Mono10Packed"),
        FORMAT(Mono12Packed, 0x010C0006, 12, 1, 1, "", "Mono12Packed"),
        FORMAT(BayerGR12Packed, 0x010C002A, 12, 1, 1, "", "BayerGR12Packed"),
        FORMAT(BayerRG12Packed, 0x010C002B, 12, 1, 1, "", "BayerRG12Packed"),
        FORMAT(BayerGB12Packed, 0x010C002C, 12, 1, 1, "", "BayerGB12Packed"),
        FORMAT(BayerBG12Packed, 0x010C002D, 12, 1, 1, "", "BayerBG12Packed"),
        FORMAT(Mono12p, 0x010C0047, 12, 1, 1, "Mono12p", ""),
        FORMAT(BayerBG12p, 0x010C0053, 12, 1, 1, "BayerBG12p", ""),
        FORMAT(BayerGB12p, 0x010C0055, 12, 1, 1, "BayerGB12p", ""),
        FORMAT(BayerGR12p, 0x010C0057, 12, 1, 1, "BayerGR12p", ""),
        FORMAT(BayerRG12p, 0x010C0059, 12, 1, 1, "BayerRG12p", ""), FORMAT(Mono10, 0x01100003, 10, 1, 1, "", "Mono10"),
        FORMAT(Mono12, 0x01100005, 12, 1, 1, "", "Mono12"), FORMAT(Mono16, 0x01100007, 16, 1, 1, "", "Mono16"),
        FORMAT(BayerGR10, 0x0110000C, 10, 1, 1, "", "BayerGR10"),
        FORMAT(BayerRG10, 0x0110000D, 10, 1, 1, "", "BayerRG10"),
        FORMAT(BayerGB10, 0x0110000E, 10, 1, 1, "", "BayerGB10"),
        FORMAT(BayerBG10, 0x0110000F, 10, 1, 1, "", "BayerBG10"),
        FORMAT(BayerGR12, 0x01100010, 12, 1, 1, "", "BayerGR12"),
        FORMAT(BayerRG12, 0x01100011, 12, 1, 1, "", "BayerRG12"),
        FORMAT(BayerGB12, 0x01100012, 12, 1, 1, "", "BayerGB12"),
        FORMAT(BayerBG12, 0x01100013, 12, 1, 1, "", "BayerBG12"),
        FORMAT(BayerGR16, 0x0110002E, 16, 1, 1, "", "BayerGR16"),
        FORMAT(BayerRG16, 0x0110002F, 16, 1, 1, "", "BayerRG16"),
        FORMAT(BayerGB16, 0x01100030, 16, 1, 1, "", "BayerGB16"),
        FORMAT(BayerBG16, 0x01100031, 16, 1, 1, "", "BayerBG16"),
        FORMAT(YUV411Packed, 0x020C001E, 8, kFails, 1, "YCbCr411_8", "YUV411Packed"),
        FORMAT(YCbCr420_8_YY_CbCr_Semiplanar, 0x020C0112, 8, kFails, 1, "YCbCr420_8_YY_CbCr_Semiplanar", ""),
        FORMAT(YUV422Packed, 0x0210001F, 8, 2, 1, "", "YUV422Packed"),
        FORMAT(YUV422_YUYV_Packed, 0x02100032, 8, 2, 1, "YCbCr422_8", "YUV422_YUYV_Packed,YUV422_8"),
        FORMAT(YCbCr422_8_YY_CbCr_Semiplanar, 0x02100113, 8, kFails, 1, "YCbCr422_8_YY_CbCr_Semiplanar", ""),
        FORMAT(RGB8Packed, 0x02180014, 8, 3, 1, "RGB8", "RGB8Packed"),
        FORMAT(BGR8Packed, 0x02180015, 8, 3, 1, "BGR8", "BGR8Packed"),
        FORMAT(YUV444Packed, 0x02180020, 8, 3, 1, "YCbCr8", "YUV444Packed"),
        FORMAT(RGB8Planar, 0x02180021, 8, 3, 3, "RGB8_Planar", "RGB8Planar"),
        FORMAT(RGBA8Packed, 0x02200016, 8, 4, 1, "RGBa8", "RGBA8Packed"),
        FORMAT(BGRA8Packed, 0x02200017, 8, 4, 1, "BGRa8", "BGRA8Packed"),
        FORMAT(BGR10V1Packed, 0x0220001C, 10, 3, 1, "", "BGR10V1Packed"),
        FORMAT(BGR10V2Packed, 0x0220001D, 10, 3, 1, "", "BGR10V2Packed"),
        FORMAT(RGB12V1Packed, 0x02240034, 12, 3, 1, "", "RGB12V1Packed"),
        FORMAT(RGB10Packed, 0x02300018, 10, 3, 1, "RGB10", "RGB10Packed"),
        FORMAT(BGR10Packed, 0x02300019, 10, 3, 1, "BGR10", "BGR10Packed"),
        FORMAT(RGB12Packed, 0x0230001A, 12, 3, 1, "RGB12", "RGB12Packed"),
        FORMAT(BGR12Packed, 0x0230001B, 12, 3, 1, "BGR12", "BGR12Packed"),
        FORMAT(RGB10Planar, 0x02300022, 10, 3, 3, "RGB10_Planar", "RGB10Planar"),
        FORMAT(RGB12Planar, 0x02300023, 12, 3, 3, "RGB12_Planar", "RGB12Planar"),
        FORMAT(RGB16Planar, 0x02300024, 16, 3, 3, "RGB16_Planar", "RGB16Planar"),
        FORMAT(RGB16Packed, 0x02300033, 16, 3, 1, "RGB16", "RGB16Packed"),
        FORMAT(Mono1Packed, 0x8101000C, 1, 1, 1, "Mono1p", "Mono1Packed"),
        FORMAT(Mono2Packed, 0x8102000D, 2, 1, 1, "Mono2p", "Mono2Packed"),
        FORMAT(Mono4Packed, 0x8104000E, 4, 1, 1, "Mono4p", "Mono4Packed"),
        FORMAT(Double, 0x81400100, 64, 1, 1, "", "Double"), FORMAT(YUV420Planar, 0x820C0040, 8, kFails, 3, "", ""),
        FORMAT(YUV422Planar, 0x82100042, 8, kFails, 3, "", ""), FORMAT(YUV444Planar, 0x82180044, 8, 3, 3, "", "")),
    [](const auto& param) { return std::string(param.param.name); });

class InvalidPixelType : public testing::TestWithParam<std::int64_t> {};

TEST_P(InvalidPixelType, IsNamedByEachLookUpAndHasOnePlane) {
    const auto pixelType = static_cast<EPixelType>(GetParam());
    const std::string number = std::to_string(static_cast<int>(GetParam())) + ".";
    const std::string noBits = "Invalid pixel type. Pixel size in bit not defined for pixel type " + number;
    EXPECT_EQ(FailureOf([&] { BitDepth(pixelType); }),
              "Invalid pixel type. Bit depth not defined for pixel type " + number);
    EXPECT_EQ(FailureOf([&] { SamplesPerPixel(pixelType); }),
              "Invalid pixel type. Samples per pixel not defined for pixel type " + number);
    EXPECT_EQ(FailureOf([&] { BitPerPixel(pixelType); }), noBits);
    EXPECT_EQ(FailureOf([&] { ComputePaddingX(100, pixelType, 10); }), noBits);
    EXPECT_EQ(FailureOf([&] { ComputeBufferSize(pixelType, 10, 10, 0); }), noBits);
    EXPECT_EQ(GetPlaneCount(pixelType), 1u);
}

// Undefined; nothing; the right fields without a row; a row's low bits under a foreign high word; above 32 bits.
INSTANTIATE_TEST_SUITE_P(All, InvalidPixelType,
                         testing::Values(-1, 0, 0x01080003, 0x81080001, 0x02180022, 0x101080001));

struct Stride {
    EPixelType pixelType;
    unsigned int width;
    unsigned long padding;
    unsigned long expected; // 0: there is none
};

class StrideOf : public testing::TestWithParam<Stride> {};

TEST_P(StrideOf, IsWrittenOnlyWhereOneExists) {
    const unsigned long untouched = 4711;
    unsigned long stride = untouched;
    EXPECT_EQ(ComputeStride(stride, GetParam().pixelType, GetParam().width, GetParam().padding),
              GetParam().expected != 0);
    EXPECT_EQ(stride, GetParam().expected != 0 ? GetParam().expected : untouched);
}

INSTANTIATE_TEST_SUITE_P(
    All, StrideOf,
    testing::Values(Stride{PixelType_Mono12Packed, 3, 0, 0}, Stride{PixelType_Mono12Packed, 3, 1, 6},
                    Stride{PixelType_Mono12Packed, 4, 0, 6}, Stride{PixelType_RGB8Planar, 640, 0, 640},
                    Stride{PixelType_RGB8Packed, 640, 0, 1920}, Stride{PixelType_RGB12V1Packed, 1, 0, 0},
                    Stride{PixelType_RGB12V1Packed, 2, 0, 9}, Stride{PixelType_YUV444Planar, 7, 2, 9},
                    Stride{PixelType_Double, 0x7fffffff, 0, 0x3fffffff8}, Stride{PixelType_Undefined, 8, 0, 0},
                    Stride{PixelType_Undefined, kWidth2G, kBytes8E, 0}, Stride{PixelType_YUV420Planar, 8, 0, 0},
                    Stride{PixelType_YUV422Planar, kWidth2G, 0, 0},
                    Stride{PixelType_YCbCr420_8_YY_CbCr_Semiplanar, 8, kBytes8E, 0},
                    Stride{PixelType_YCbCr422_8_YY_CbCr_Semiplanar, 8, 0, 0}));

TEST(Stride, NegativePaddingIsReportedBeforeNegativeWidth) {
    unsigned long stride = 1;
    EXPECT_EQ(FailureOf([&] { ComputeStride(stride, PixelType_Mono8, kWidth2G, kBytes8E); }), Negative("paddingX"));
    EXPECT_EQ(FailureOf([&] { ComputeStride(stride, PixelType_Mono8, kWidth2G, 0); }), Negative("width"));
    EXPECT_EQ(stride, 1u);
}

TEST(PaddingX, IsWhatTheStrideHasLeft) {
    EXPECT_EQ(ComputePaddingX(640, PixelType_RGB8Planar, 640), 0u);
    EXPECT_EQ(ComputePaddingX(5, PixelType_Mono12p, 3), 0u);
    EXPECT_EQ(ComputePaddingX(8, PixelType_Mono12p, 3), 3u);
    EXPECT_EQ(ComputePaddingX(kBytes8E - 1, PixelType_Mono8, 1), kBytes8E - 2);
}

TEST(PaddingX, RefusesShortNegativeAndUnevenStrides) {
    EXPECT_EQ(FailureOf([] { ComputePaddingX(4, PixelType_Mono12p, 3); }),
              "Cannot compute paddingX. The given stride value 4 is too small. The minimum valid stride value is 5");
    EXPECT_EQ(FailureOf([] { ComputePaddingX(kBytes8E, PixelType_Undefined, 3); }), Negative("strideBytes"));
    EXPECT_EQ(FailureOf([] { ComputePaddingX(4, PixelType_Undefined, kWidth2G); }), Negative("width"));
    EXPECT_EQ(FailureOf([] { ComputePaddingX(99, PixelType_YCbCr422_8_YY_CbCr_Semiplanar, 3); }),
              "Cannot compute stride. The image planes are of different sizes.");
}

struct Size {
    EPixelType pixelType;
    unsigned int width, height;
    unsigned long padding;
    std::size_t expected;
};

class BufferSizeOf : public testing::TestWithParam<Size> {};

TEST_P(BufferSizeOf, CountsPlanesPaddingAndPartialBytes) {
    const Size& size = GetParam();
    EXPECT_EQ(ComputeBufferSize(size.pixelType, size.width, size.height, size.padding), size.expected);
}

INSTANTIATE_TEST_SUITE_P(
    All, BufferSizeOf,
    testing::Values(Size{PixelType_Mono1Packed, 3, 8, 0, 3}, Size{PixelType_Mono1Packed, 3, 8, 1, 16},
                    Size{PixelType_Mono12p, 3, 3, 0, 14}, Size{PixelType_RGB8Planar, 640, 480, 0, 640 * 3 * 480},
                    Size{PixelType_RGB8Planar, 640, 480, 2, 642 * 3 * 480}, Size{PixelType_Mono8, 0, 480, 0, 0},
                    Size{PixelType_YUV411Packed, 4, 1, 0, 6}, Size{PixelType_YUV420Planar, 5, 5, 0, 43},
                    Size{PixelType_YUV420Planar, 5, 5, 1, 48}, Size{PixelType_YUV422Planar, 5, 5, 0, 55},
                    Size{PixelType_YCbCr422_8_YY_CbCr_Semiplanar, 6, 5, 0, 60},
                    Size{PixelType_YCbCr420_8_YY_CbCr_Semiplanar, 6, 5, 0, 60},
                    // No check of the width where planes differ in size; all products wrap at 64 bits.
                    Size{PixelType_YUV422Planar, kWidth2G, 1, 0, 0x100000000},
                    Size{PixelType_Double, 0x7fffffff, 0x7fffffff, 0, 0x1ffffff800000008}));

TEST(BufferSize, RefusesNegativeHeightThenPaddingThenWidth) {
    EXPECT_EQ(FailureOf([] { ComputeBufferSize(PixelType_YUV420Planar, kWidth2G, kWidth2G, kBytes8E); }),
              Negative("height"));
    EXPECT_EQ(FailureOf([] { ComputeBufferSize(PixelType_YUV420Planar, kWidth2G, 1, kBytes8E); }),
              Negative("paddingX"));
    EXPECT_EQ(FailureOf([] { ComputeBufferSize(PixelType_Mono8, kWidth2G, 1, 0); }), Negative("width"));
    EXPECT_EQ(FailureOf([] { ComputeBufferSize(PixelType_Undefined, kWidth2G, 1, 0); }), Negative("width"));
}

} // namespace
