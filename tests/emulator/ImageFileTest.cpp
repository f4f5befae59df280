// SPDX-License-Identifier: Apache-2.0
#include "PngBytes.h"

#include <core/ImageReplay.h>
#include <core/PngFile.h>
#include <fakes/TempFolder.h>

#include <gmock/gmock.h>

#include <stdexcept>
#include <vector>

using namespace CamEmu;
using namespace PngBytes;
using namespace std::string_literals;

namespace {

const CPixelFormat& mono8 = PixelFormats()[0];
const CPixelFormat& rgb8 = *FindPixelFormat(0x02180014);

class ImageFileTest : public ::testing::Test {
protected:
    std::string At(const std::string& name) const { return (m_folder.Path() / name).string(); }
    /// Why @p path, which is named, cannot be shown.
    static std::string Failure(const std::string& path, const CPixelFormat& pixels = mono8) {
        try {
            CImageReplay::Load(path, {2048, 2048, 0, 0, &pixels}, nullptr);
        } catch (const std::runtime_error& e) {
            return e.what();
        }
        return "no failure";
    }

    Fakes::TempFolder m_folder;
    const std::string m_path = m_folder.Path().string();
};

TEST_F(ImageFileTest, AnyKindOfPngBecomesColoursOf16Bits) {
    constexpr unsigned a = 10 * 257, b = 20 * 257, c = 30 * 257, w = 65535;
    const std::string palette = Chunk("\0\0\0\x0A\x14\x1E"s, "PLTE");
    const std::pair<std::string, std::vector<unsigned>> kinds[] = {
        {Png(2, 1, 1, 0, "\0\x40"s), {0, 0, 0, w, w, w}},
        {Png(2, 1, 8, 0, "\0\x0A\0\x14"s, "", 1), {a, a, a, b, b, b}}, // interlaced
        {Png(1, 1, 16, 4, "\0\x12\x34\0\0"s), {0x1234, 0x1234, 0x1234}},
        {Png(1, 1, 8, 2, "\0\x0A\x14\x1E"s), {a, b, c}},
        {Png(1, 1, 16, 6, "\0\1\2\3\4\5\6\7\x08"s), {0x102, 0x304, 0x506}},
        {Png(1, 1, 1, 3, "\0\x80"s, palette + Chunk("\0\0"s, "tRNS")), {a, b, c}}};
    CColourImage image;
    for (const auto& [bytes, samples] : kinds) {
        Write(At("a.png"), bytes);
        ReadPng(At("a.png"), image);
        const std::uint16_t* const first = &image.pixels.data()->red;
        EXPECT_THAT(std::vector(first, first + 3 * image.pixels.size()), testing::ElementsAreArray(samples))
            << bytes.substr(16, 13);
    }
}

TEST_F(ImageFileTest, WhatCannotBeShownIsNamedWithTheCause) {
    EXPECT_THAT(Failure(m_path), testing::HasSubstr(m_path + "', which ImageFilename names, holds no .png file"));
    EXPECT_THAT(Failure(At("none")), testing::HasSubstr(At("none") + "' cannot be read: No such file"));
    EXPECT_THAT(Failure("/dev/null"), testing::HasSubstr("neither a folder nor a file"));
    EXPECT_THAT(Failure(""), testing::HasSubstr("ImageFilename is empty"));
    const std::string good = Grey(1);
    std::string flipped = good;
    flipped[good.find("IDAT") + 8] ^= 1;
    for (const auto& [bytes, cause] : {std::pair{""s, "the file is cut off"},
                                       {"no image at all"s, "Not a PNG"},
                                       {flipped, "IDAT"},
                                       {good.substr(0, good.size() - 20), "cut off"},
                                       {Png(8, 9, 8, 0, "\0x"s), "Not enough"},
                                       {Png(100000, 100000, 8, 0, "\0x"s), "it has 100000 x 100000 pixels"}}) {
        Write(At("bad.png"), bytes);
        EXPECT_THAT(Failure(m_path), testing::HasSubstr(At("bad.png") + "' cannot be read: "));
        EXPECT_THAT(Failure(m_path), testing::HasSubstr(cause));
    }
    for (int i = 0; i < 85; ++i) {
        Write(At(std::to_string(i) + ".png"), "");
    }
    EXPECT_THAT(Failure(m_path, rgb8), testing::HasSubstr("86 images of 12582912 bytes"));
}

TEST_F(ImageFileTest, ImagesComeInTheOrderOfTheirNamesAgainAndAgain) {
    const CImageFormat format{64, 64, 0, 0, &mono8};
    for (const auto& [name, value] : {std::pair{"b.png", 2}, {"c.png", 3}, {"a.PNG", 1}}) {
        Write(At(name), Grey(value));
    }
    for (const char* other : {".a.png", "note.txt", "png"}) {
        Write(At(other), "no image");
    }
    const CImageReplayPtr replay = CImageReplay::Load(m_path, format, nullptr);
    for (std::uint64_t i = 0; i < 7; ++i) {
        EXPECT_THAT(replay->Image(i), testing::Each(i % 3 + 1)) << i;
    }
    EXPECT_EQ(CImageReplay::Load(m_path, format, replay), replay) << "nothing changed: not read again";
    EXPECT_NE(CImageReplay::Load(m_path, {64, 63, 0, 0, &mono8}, replay), replay);
    EXPECT_THAT(CImageReplay::Load(At("c.png"), format, nullptr)->Image(5), testing::Each(3)) << "a single file";
    Write(At("a.PNG"), Png(3, 2, 8, 0, "\0\1\2\3\0\4\5\6"s)); // is repeated over the sensor
    const CImageReplayPtr changed = CImageReplay::Load(m_path, {64, 64, 4, 2, &mono8}, replay);
    for (unsigned i = 0; i < 64 * 64; ++i) {
        ASSERT_EQ(changed->Image(0)[i], (i / 64 + 2) % 2 * 3 + (i % 64 + 4) % 3 + 1) << i;
    }
}

} // namespace
