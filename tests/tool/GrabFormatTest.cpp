// SPDX-License-Identifier: Apache-2.0
#include "DecodePng.h"
#include "InProcess.h"
#include "TemporaryFolder.h"
#include <zelmo/TlFactory.h>

#include <gmock/gmock.h>

#include <fstream>

namespace {

using tool::ExitCode;
using tool::Image;

class GrabFormatTest : public InProcess {
protected:
    /// Sets the camera up for small images, as fast as they come.
    void Prepare(const std::string& pixelFormat, const std::string& testImage) {
        ASSERT_EQ(Run({"set", "Width=256", "Height=8", "AcquisitionFrameRateEnable=0", "PixelFormat=" + pixelFormat,
                       "TestImageSelector=" + testImage}),
                  ExitCode::Done)
            << m_messages.str();
    }

    Image GrabOne() {
        EXPECT_EQ(Run({"grab", "-n", "1", "-o", m_folder / "a.png"}), ExitCode::Done) << m_thrown << m_messages.str();
        return DecodePng(m_folder / "a.png");
    }

    std::string Content(const std::string& name) const {
        std::ifstream file(m_folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TemporaryFolder m_folder;
};

class ColourFormatTest : public GrabFormatTest, public testing::WithParamInterface<const char*> {};

TEST_P(ColourFormatTest, ColourBarsHaveTheirColours) {
    Prepare(GetParam(), "ColorBar");
    const Image image = GrabOne();
    EXPECT_EQ(image.channels, 3u);
    EXPECT_EQ(image.bits, 8u);
    const std::vector<std::vector<unsigned>> bars{{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                                                  {255, 0, 255},   {255, 0, 0},   {0, 0, 255},   {0, 0, 0}};
    for (unsigned bar = 0; bar < bars.size(); ++bar) {
        const unsigned x = bar * 32 + 16;
        const auto pixel = image.bytes.begin() + static_cast<std::ptrdiff_t>(4 * image.GetRowBytes() + 3 * x);
        EXPECT_EQ(std::vector<unsigned>(pixel, pixel + 3), bars[bar]) << "bar " << bar;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, ColourFormatTest,
                         testing::Values("RGB8", "BGR8", "BayerRG8", "BayerGR8", "BayerGB8", "BayerBG8"));

TEST_F(GrabFormatTest, RawFileHoldsTheBufferAsItIsAndTheSidecarTellsHow) {
    Prepare("Mono12p", "White");
    ASSERT_EQ(Run({"grab", "--raw", "-o", m_folder / "a.raw"}), ExitCode::Done) << m_thrown;
    EXPECT_EQ(Content("a.raw"), std::string(256 * 8 * 12 / 8, '\xFF'));
    tool::Json sidecar = tool::Json::parse(Content("a.raw.json"));
    EXPECT_EQ(sidecar["pixel_format"], "Mono12p");
    EXPECT_EQ(sidecar["pixel_type"], 0x010C0047);
    EXPECT_EQ(sidecar["padding_x_bytes"], 0);
    EXPECT_EQ(sidecar["size_bytes"], 256 * 8 * 12 / 8);
    EXPECT_EQ(sidecar["file"], "a.raw");
    const tool::Json frame = Events("frame").front();
    for (const char* key : {"width", "height", "timestamp_ticks", "block_id", "pixel_format", "size_bytes"}) {
        EXPECT_EQ(sidecar[key], frame[key]) << key;
    }
}

TEST_F(GrabFormatTest, EachFileHoldsTheImageOfItsEvent) {
    Prepare("Mono8", "FrameCounter");
    ASSERT_EQ(Run({"grab", "-n", "12", "-o", m_folder / "%02d.png"}), ExitCode::Done) << m_thrown;
    const auto frames = Events("frame");
    ASSERT_EQ(frames.size(), 12u);
    for (const auto& frame : frames) {
        const Image image = DecodePng(frame["file"]);
        std::uint64_t blockId = 0;
        for (unsigned i = 0; i < 8; ++i) { // bytes 16 to 23 of the record, little endian
            blockId |= std::uint64_t{image.bytes[16 + i]} << 8 * i;
        }
        EXPECT_EQ(blockId, frame["block_id"]);
        EXPECT_EQ(frame["status"], "grabbed");
    }
    EXPECT_EQ(Summary()["frames"], 12);
    EXPECT_EQ(Summary()["lost"].get<std::uint64_t>(),
              frames.back()["block_id"].get<std::uint64_t>() - frames.front()["block_id"].get<std::uint64_t>() - 11);
}

TEST_F(GrabFormatTest, ControlThatIsTakenLeavesLookingAndIsToldByAllOthers) {
    ASSERT_EQ(Run({"save", m_folder / "a"}), ExitCode::Done);
    Zelmo::CTlFactory& factory = Zelmo::CTlFactory::GetInstance();
    Zelmo::IZelmoDevice* other = factory.CreateFirstDevice(Zelmo::CDeviceInfo());
    other->Open(Zelmo::Control | Zelmo::Stream);
    const std::vector<std::vector<std::string>> looking{
        {"features", "--values"}, {"get", "Width"}, {"describe", "Width"}, {"info"}, {"xml"}};
    for (const auto& words : looking) {
        EXPECT_EQ(Run(words), ExitCode::Done) << words[0] << m_thrown;
        const bool opens = words[0] != "info" && words[0] != "xml";
        EXPECT_EQ(m_messages.str().find("control of camera 0815-0000") != std::string::npos, opens) << words[0];
    }
    const std::vector<std::vector<std::string>> changing{
        {"set", "Width=64"},      {"exec", "DeviceReset"}, {"grab"}, {"bench"}, {"load", m_folder / "a"},
        {"save", m_folder / "a"}, {"diff", m_folder / "a"}};
    for (const auto& words : changing) {
        EXPECT_EQ(Run(words), ExitCode::Access) << words[0];
        EXPECT_THAT(m_thrown, testing::HasSubstr("camera 0815-0000"));
        EXPECT_THAT(m_thrown, testing::HasSubstr("another program, which has control"));
    }
    EXPECT_THAT(m_thrown, testing::HasSubstr("comparing sets selectors"));
    EXPECT_EQ(Run({"info"}), ExitCode::Done);
    EXPECT_THAT(m_data.str(), testing::AllOf(testing::HasSubstr("\"accessible\": false"),
                                             testing::HasSubstr("\"monitor_accessible\": true")));
    other->Close();
    other->Open(Zelmo::Exclusive);
    EXPECT_EQ(Run({"get", "Width"}), ExitCode::Access) << "no look beside an exclusive one";
    factory.DestroyDevice(other);
    EXPECT_EQ(Run({"get", "Width"}), ExitCode::Done);
    EXPECT_EQ(m_messages.str(), "");
}

} // namespace
