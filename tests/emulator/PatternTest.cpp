// SPDX-License-Identifier: Apache-2.0
#include "ImageProbe.h"
#include "PngBytes.h"
#include "fakes/ScarceMemory.h"

#include <core/FrameRecord.h>
#include <core/ImageReplay.h>
#include <core/PatternGenerator.h>
#include <fakes/TempFolder.h>

#include <gtest/gtest.h>

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace CamEmu;

namespace {

#include <DocumentedCheck.h> // the function IsIntact of docs/emulator.md

constexpr CSensorResponse kNoiseFree{1.0, 0.0}, kPartlyClipped{2.0, 0.0};

const CPixelFormat& FormatNamed(const std::string& name) {
    for (const CPixelFormat& format : PixelFormats()) {
        if (name == format.name) {
            return format;
        }
    }
    throw std::runtime_error("no pixel format " + name);
}

std::vector<std::uint8_t> Draw(const CImageFormat& format, ETestImage image, std::uint64_t blockId = 0,
                               const CSensorResponse& response = kNoiseFree) {
    CPatternGenerator generator(7);
    generator.Configure(format);
    std::vector<std::uint8_t> bytes(format.PayloadSize());
    generator.Render(image, blockId, response, bytes);
    return bytes;
}

constexpr unsigned kImageCount = static_cast<unsigned>(ETestImage::Count_);

// Every image in one pixel format.
class PixelFormatTest : public ::testing::TestWithParam<CPixelFormat> {
protected:
    CImageFormat Format(unsigned width, unsigned height) const { return {width, height, 6, 10, &GetParam()}; }
};

TEST_P(PixelFormatTest, ImagesFillExactlyThePayload) {
    for (const auto& [width, height] : {std::pair{kMinWidth, 1u}, {52u, 2u}, {52u, 3u}, {300u, 21u}}) {
        const CImageFormat format = Format(width, height);
        CPatternGenerator generator(0);
        generator.Configure(format);
        for (unsigned image = 0; image < kImageCount; ++image) {
            SCOPED_TRACE(testing::Message() << "image " << image << ", " << width << "x" << height);
            std::vector<std::uint8_t> zeros(format.PayloadSize() + 64, 0x00), ones(format.PayloadSize() + 64, 0xFF);
            for (auto* bytes : {&zeros, &ones}) {
                generator.Render(static_cast<ETestImage>(image), 3, kNoiseFree,
                                 std::span(*bytes).first(format.PayloadSize()));
            }
            const auto end = static_cast<std::ptrdiff_t>(format.PayloadSize());
            EXPECT_TRUE(std::equal(zeros.begin(), zeros.begin() + end, ones.begin())) << "a byte was left out";
            EXPECT_EQ(std::count(zeros.begin() + end, zeros.end(), 0x00), 64);
            EXPECT_EQ(std::count(ones.begin() + end, ones.end(), 0xFF), 64);
        }
    }
}

TEST_P(PixelFormatTest, ImagesDoNotDependOnWhatWasDrawnBefore) {
    CPatternGenerator used(7);
    used.Configure({64, 64, 0, 0, &PixelFormats()[0]});
    std::vector<std::uint8_t> other(64 * 64);
    used.Render(ETestImage::FrameCounter, 1, kNoiseFree, other);
    const CImageFormat format = Format(52, 21);
    used.Configure(format);
    std::vector<std::uint8_t> bytes(format.PayloadSize());
    for (unsigned image = 0; image < kImageCount; ++image) {
        used.Render(static_cast<ETestImage>(image), 300, {0.5, 1}, bytes);
        EXPECT_EQ(bytes, Draw(format, static_cast<ETestImage>(image), 300, {0.5, 1})) << "image " << image;
    }
}

TEST_P(PixelFormatTest, AllMemoryIsMadeBeforeDrawingAndItsLackIsOutlived) {
    const CImageFormat format = Format(52, 21);
    std::vector<std::uint8_t> bytes(format.PayloadSize());
    bool failed = true;
    for (std::size_t count = 0; failed; ++count) {
        CPatternGenerator generator(7);
        failed = ScarceMemory::Fails<std::bad_alloc>(count, [&] { generator.Configure(format); });
        EXPECT_TRUE(failed || count > 0);
        if (failed) {
            generator.Configure(format);
        }
        const std::size_t before = ScarceMemory::Allocations();
        for (unsigned image = kImageCount; image-- > 0;) {
            generator.Render(static_cast<ETestImage>(image), 3, {0.5, 1}, bytes);
        }
        EXPECT_EQ(ScarceMemory::Allocations(), before);
        EXPECT_EQ(bytes, Draw(format, ETestImage::Off, 3, {0.5, 1}));
    }
}

// The sample, as a byte, that a pixel of @p pixels has by its name, seen in RGB: @p at is the pixel, @p even the one
// that a pair begins with.
using Rgb = std::array<double, 3>;
double Expected(const std::string& pixels, const Rgb& at, const Rgb& even, unsigned x, unsigned y, unsigned channel) {
    const auto luma = [](const Rgb& c) { return 0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2]; };
    if (pixels.starts_with("Mono") || (pixels.starts_with("YCbCr") && channel == 0)) {
        return luma(at);
    }
    if (pixels.starts_with("YCbCr")) {
        return std::min(255.0, 128 + (x % 2 == 0 ? (even[2] - luma(even)) / 1.772 : (even[0] - luma(even)) / 1.402));
    }
    char colour = pixels[channel];
    if (pixels.starts_with("Bayer")) { // names the first two pixels; the next line has the other colour, across
        colour = pixels[5 + (x + y) % 2];
        if (y % 2 == 1 && colour != 'G') {
            colour = colour == 'R' ? 'B' : 'R';
        }
    }
    return at[std::string("RGB").find(colour)];
}

TEST_P(PixelFormatTest, ImagesShowWhatTheyShowInRgb8) {
    const CImageFormat format = Format(100, 41);
    CImageFormat rgb = format;
    rgb.pixels = &FormatNamed("RGB8");
    const double perByte = ((1u << format.pixels->sampleBits) - 1) / 255.0;
    for (unsigned image = 0; image < kImageCount; ++image) {
        const auto reference = Draw(rgb, static_cast<ETestImage>(image), 77, kPartlyClipped),
                   bytes = Draw(format, static_cast<ETestImage>(image), 77, kPartlyClipped);
        const ImageProbe probe(format, bytes), seen(rgb, reference);
        const auto colour = [&](unsigned x, unsigned y) {
            return Rgb{double(seen.At(x, y, 0)), double(seen.At(x, y, 1)), double(seen.At(x, y, 2))};
        };
        for (unsigned y = 1; y < format.height; ++y) { // the first line may hold a record
            for (unsigned x = 0; x < format.width; ++x) {
                for (unsigned c = 0; c < format.pixels->SamplesPerPixel(); ++c) {
                    ASSERT_NEAR(probe.At(x, y, c) / perByte,
                                Expected(format.pixels->name, colour(x, y), colour(x & ~1u, y), x, y, c), 1.5)
                        << "image " << image << " at " << x << "," << y << " channel " << c;
                }
            }
        }
    }
}

TEST_P(PixelFormatTest, AFileOfColourBarsIsShownAsColourBars) {
    const Fakes::TempFolder folder;
    const std::string path = (folder.Path() / "bars.png").string();
    const auto line = Draw({100, 1, 0, 0, &FormatNamed("RGB8")}, ETestImage::ColourBars);
    PngBytes::Write(path, PngBytes::Png(100, 1, 8, 2, '\0' + std::string(line.begin(), line.end())));
    const CImageFormat format{100, 8, 0, 0, &GetParam()};
    const CImageReplayPtr replay = CImageReplay::Load(path, format, nullptr);
    EXPECT_TRUE(std::ranges::equal(replay->Image(0), Draw(format, ETestImage::ColourBars)));
}

std::string FormatName(const ::testing::TestParamInfo<CPixelFormat>& format) {
    return format.param.name;
}
INSTANTIATE_TEST_SUITE_P(All, PixelFormatTest, ::testing::ValuesIn(PixelFormats().begin(), PixelFormats().end()),
                         FormatName);

// Two frames later a moving image has moved by two pixels; the step keeps the colours of a Bayer mosaic.
class MovingImageTest : public ::testing::TestWithParam<std::tuple<ETestImage, unsigned, unsigned>> {};

TEST_P(MovingImageTest, MovesOnePixelAFrameInEveryFormat) {
    const auto [image, dx, dy] = GetParam();
    for (const CPixelFormat& pixels : PixelFormats()) {
        const CImageFormat format{300, 9, 0, 0, &pixels};
        for (const std::uint64_t frame : {0u, 1u, 254u, 255u, 256u}) {
            const auto before = Draw(format, image, frame), after = Draw(format, image, frame + 2);
            const ImageProbe old(format, before), now(format, after);
            for (unsigned y = 0; y + 2 < format.height; ++y) {
                for (unsigned x = 0; x + 2 < format.width; ++x) {
                    for (unsigned c = 0; c < pixels.SamplesPerPixel(); ++c) {
                        ASSERT_EQ(now.At(x, y, c), old.At(x + 2 * dx, y + 2 * dy, c)) << pixels.name << x << "," << y;
                    }
                }
            }
            ASSERT_NE(before, after) << pixels.name;
        }
    }
}
INSTANTIATE_TEST_SUITE_P(All, MovingImageTest,
                         ::testing::Values(std::tuple{ETestImage::HorizontalRampMoving, 1u, 0u},
                                           std::tuple{ETestImage::VerticalRampMoving, 0u, 1u},
                                           std::tuple{ETestImage::DiagonalGradientMoving, 1u, 0u},
                                           std::tuple{ETestImage::DiagonalGradientMoving, 0u, 1u},
                                           std::tuple{ETestImage::DiagonalColourGradientMoving, 1u, 0u}));

struct PixelCase {
    const char* format;
    ETestImage image;
    unsigned x, y;
    std::vector<unsigned> samples;
};

class KnownPixelTest : public ::testing::TestWithParam<PixelCase> {};

TEST_P(KnownPixelTest, HasTheValueOfThePattern) {
    const auto& [name, image, x, y, samples] = GetParam();
    const CImageFormat format{512, 300, 0, 0, &FormatNamed(name)};
    const auto bytes = Draw(format, image);
    for (unsigned c = 0; c < samples.size(); ++c) {
        EXPECT_EQ(ImageProbe(format, bytes).At(x, y, c), samples[c]) << "channel " << c;
    }
}
INSTANTIATE_TEST_SUITE_P(
    All, KnownPixelTest,
    ::testing::Values(PixelCase{"Mono8", ETestImage::HorizontalRamp, 300, 7, {44}},
                      PixelCase{"Mono8", ETestImage::VerticalRamp, 5, 260, {4}},
                      PixelCase{"Mono8", ETestImage::DiagonalGradient, 200, 100, {44}},
                      PixelCase{"Mono12p", ETestImage::HorizontalRamp, 255, 1, {4095}},
                      PixelCase{"Mono12p", ETestImage::HorizontalRamp, 129, 1, {0x818}},
                      PixelCase{"Mono10p", ETestImage::DiagonalGradient, 129, 128, {4}}, // phase 257, and so 1
                      PixelCase{"Mono16", ETestImage::White, 0, 0, {65535}},
                      PixelCase{"Mono12", ETestImage::White, 511, 299, {4095}},
                      PixelCase{"RGB8", ETestImage::Black, 9, 9, {0, 0, 0}},
                      PixelCase{"RGB8", ETestImage::ColourBars, 330, 1, {255, 0, 0}}, // white yellow cyan green
                      PixelCase{"BGR8", ETestImage::ColourBars, 330, 1, {0, 0, 255}}, // magenta red blue black
                      PixelCase{"RGB8", ETestImage::DiagonalColourGradientMoving, 40, 30, {140, 201, 29}}));

// ---- the scene

struct ResponseCase {
    double exposureUs, gainDb, factor;
};
class SceneResponseTest : public ::testing::TestWithParam<ResponseCase> {};

TEST_P(SceneResponseTest, MeanFollowsExposureTimeAndGain) {
    const CImageFormat format{256, 256, 512, 512, &FormatNamed("Mono16")};
    const auto mean = [&](double exposureUs, double gainDb) {
        const auto bytes = Draw(format, ETestImage::Off, 5, SensorResponse(exposureUs, gainDb));
        return ImageProbe(format, bytes).Mean();
    };
    const double reference = mean(kDefaultExposureUs, 0);
    EXPECT_NEAR(mean(GetParam().exposureUs, GetParam().gainDb) / reference, GetParam().factor,
                0.02 * GetParam().factor);
}
INSTANTIATE_TEST_SUITE_P(All, SceneResponseTest,
                         ::testing::Values(ResponseCase{5000, 0, 0.5}, ResponseCase{1000, 0, 0.1},
                                           ResponseCase{1000, 20, 1.0}, ResponseCase{10000, 3.0103, 1.4142},
                                           ResponseCase{2500, 6.0206, 0.5}));

TEST(SceneTest, OverexposureClipsAtFullScale) {
    const CImageFormat format{128, 64, 0, 0, &FormatNamed("Mono16")};
    const auto bytes = Draw(format, ETestImage::Off, 0, {1000, 1});
    EXPECT_EQ(ImageProbe(format, bytes).At(100, 63), 65535u);
}

TEST(SceneTest, OffsetsMoveTheWindowOverTheScene) {
    for (const char* name : {"Mono8", "BayerRG8", "RGB8"}) {
        const CImageFormat whole{512, 300, 100, 200, &FormatNamed(name)};
        CImageFormat part{128, 40, 100 + 222, 200 + 254, whole.pixels};
        const auto wholeBytes = Draw(whole, ETestImage::Off), partBytes = Draw(part, ETestImage::Off);
        for (unsigned y = 0; y < part.height; ++y) {
            for (unsigned x = 0; x < part.width; ++x) {
                ASSERT_EQ(ImageProbe(part, partBytes).At(x, y), ImageProbe(whole, wholeBytes).At(x + 222, y + 254))
                    << name << " " << x << "," << y;
            }
        }
    }
}

TEST(SceneTest, NoiseIsSmallDiffersFromFrameToFrameAndCanBeRepeated) {
    const CImageFormat format{128, 128, 0, 0, &FormatNamed("Mono16")};
    const auto still = Draw(format, ETestImage::Off, 1), first = Draw(format, ETestImage::Off, 1, {1, 1}),
               second = Draw(format, ETestImage::Off, 2, {1, 1});
    EXPECT_NE(first, second);
    EXPECT_EQ(first, Draw(format, ETestImage::Off, 1, {1, 1}));
    double squares = 0;
    for (unsigned y = 0; y < format.height; ++y) {
        for (unsigned x = 0; x < format.width; ++x) {
            const double noise = static_cast<double>(ImageProbe(format, first).At(x, y)) -
                                 static_cast<double>(ImageProbe(format, still).At(x, y));
            squares += noise * noise;
        }
    }
    EXPECT_NEAR(std::sqrt(squares / (128 * 128)), 150, 15);
}

// ---- the frame counter

TEST(FrameCounterTest, RecordTellsCameraBlockAndSize) {
    for (const CPixelFormat& pixels : PixelFormats()) {
        const CImageFormat format{64, 48, 0, 0, &pixels};
        const auto image = Draw(format, ETestImage::FrameCounter, 0x123456789ABC);
        CFrameRecord record;
        ASSERT_EQ(CheckFrame(image, record), EFrameCheck::Intact) << pixels.name;
        EXPECT_EQ(record.cameraNumber, 7u);
        EXPECT_EQ(record.blockId, 0x123456789ABCu);
        EXPECT_EQ(record.payloadSize, format.PayloadSize());
        std::uint64_t documented = 0;
        EXPECT_TRUE(IsIntact(image.data(), image.size(), documented));
        EXPECT_EQ(documented, record.blockId);
    }
}

TEST(FrameCounterTest, SmallestImageIsAllRecord) {
    const auto image = Draw({kMinWidth, kMinHeight, 0, 0, &FormatNamed("Mono8")}, ETestImage::FrameCounter, 5);
    ASSERT_EQ(image.size(), CFrameRecord::kSizeBytes);
    CFrameRecord record;
    EXPECT_EQ(CheckFrame(image, record), EFrameCheck::Intact);
    EXPECT_EQ(record.blockId, 5u);
}

TEST(FrameCounterTest, AnyChangedByteAndAnImageMadeOfTwoAreFound) {
    const CImageFormat format{64, 48, 0, 0, &FormatNamed("Mono8")};
    const auto good = Draw(format, ETestImage::FrameCounter, 41), after = Draw(format, ETestImage::FrameCounter, 42);
    CFrameRecord record;
    for (std::size_t i = CFrameRecord::kSizeBytes; i < good.size(); i += 37) {
        auto bad = good, torn = good;
        bad[i] ^= 0x10;
        std::copy(after.begin() + static_cast<std::ptrdiff_t>(i), after.end(),
                  torn.begin() + static_cast<std::ptrdiff_t>(i));
        ASSERT_EQ(CheckFrame(bad, record), EFrameCheck::Torn) << "byte " << i;
        ASSERT_EQ(CheckFrame(torn, record), EFrameCheck::Torn) << "cut at " << i;
        ASSERT_FALSE(IsIntact(bad.data(), bad.size(), record.blockId)) << "byte " << i;
    }
}

TEST(FrameCounterTest, WhatIsNoRecordIsToldFromWhatIsCutOff) {
    const CImageFormat format{64, 48, 0, 0, &FormatNamed("Mono8")};
    const auto image = Draw(format, ETestImage::FrameCounter, 1);
    CFrameRecord record;
    EXPECT_EQ(CheckFrame(std::span(image).first(31), record), EFrameCheck::NoRecord);
    EXPECT_EQ(CheckFrame(Draw(format, ETestImage::HorizontalRamp), record), EFrameCheck::NoRecord);
    EXPECT_EQ(CheckFrame(std::span(image).first(image.size() - 1), record), EFrameCheck::Truncated);
    auto padded = image;
    padded.resize(image.size() + 100);
    EXPECT_EQ(CheckFrame(padded, record), EFrameCheck::Intact) << "a buffer may be larger than the image";
}

} // namespace
