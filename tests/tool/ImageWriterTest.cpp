// SPDX-License-Identifier: Apache-2.0
#include "ImageWriter.h"
#include "DecodePng.h"
#include "Errors.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

namespace {

using tool::Image;

Image MakeRamp(unsigned width, unsigned height, unsigned channels, unsigned bits) {
    Image image{width, height, channels, bits, {}};
    image.bytes.resize(image.GetRowBytes() * height);
    for (std::size_t i = 0; i < image.bytes.size(); ++i) {
        image.bytes[i] = static_cast<std::uint8_t>(i * 7);
    }
    return image;
}

class ImageWriterTest : public testing::TestWithParam<std::tuple<unsigned, unsigned>> {
protected:
    TemporaryFolder m_folder;
};

TEST_P(ImageWriterTest, WritesWhatAReaderGetsBack) {
    const auto [channels, bits] = GetParam();
    const Image image = MakeRamp(13, 5, channels, bits);
    tool::ImageWriter().WritePng(m_folder / "a.png", image);
    const Image decoded = DecodePng(m_folder / "a.png");
    EXPECT_EQ(decoded.width, 13u);
    EXPECT_EQ(decoded.height, 5u);
    EXPECT_EQ(decoded.channels, channels);
    EXPECT_EQ(decoded.bits, bits);
    EXPECT_EQ(decoded.bytes, image.bytes);
    EXPECT_THAT(m_folder.List(), testing::ElementsAre("a.png"));
}

INSTANTIATE_TEST_SUITE_P(Shapes, ImageWriterTest, testing::Combine(testing::Values(1u, 3u), testing::Values(8u, 16u)));

TEST_F(ImageWriterTest, ReplacesAnOlderFileAndKeepsItWhenTheNewOneFails) {
    tool::ImageWriter writer;
    const Image first = MakeRamp(4, 4, 1, 8);
    writer.WritePng(m_folder / "a.png", first);
    EXPECT_THROW(writer.WritePng(m_folder / "a.png", Image{}), tool::ToolError) << "an image without pixels is no PNG";
    EXPECT_EQ(DecodePng(m_folder / "a.png").bytes, first.bytes);
    const Image second = MakeRamp(8, 2, 3, 8);
    writer.WritePng(m_folder / "a.png", second);
    EXPECT_EQ(DecodePng(m_folder / "a.png").bytes, second.bytes);
}

} // namespace
