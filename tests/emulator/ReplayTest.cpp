// SPDX-License-Identifier: Apache-2.0
#include "Emulator.h"
#include "PngBytes.h"

#include <fakes/Failure.h>
#include <fakes/TempFolder.h>
#include <zelmo/Device.h>

#include <vector>

using namespace Emulator;

namespace {

class ReplayTest : public ::testing::Test {
protected:
    ReplayTest() {
        for (const auto& [name, value] : {std::pair{"a.png", 10}, {"b.png", 20}, {"c.png", 30}}) {
            PngBytes::Write(At(name), PngBytes::Grey(value));
        }
        m_camera.CountFrames();
        m_camera.Set("TestImageSelector", "Off");
        m_camera.Set("ImageFilename", m_folder.Path().string());
        m_camera.Set("ImageFileMode", "On");
    }
    std::string At(const char* name) const { return (m_folder.Path() / name).string(); }

    Fakes::TempFolder m_folder;
    Library m_library{"1"};
    Camera m_camera;
};

TEST_F(ReplayTest, FilesAreShownInPlaceOfTheSceneWithTheBlockIdAsNumber) {
    Session session(m_camera, 1);
    session->StartStreaming();
    m_camera.Execute("AcquisitionStart");
    for (unsigned i = 0; i < 8; ++i) {
        if (i == 7) {
            m_camera.Set("TestImageSelector", "White");
        }
        session.Queue(0);
        session.Take();
        EXPECT_EQ(session.Memory(0)[0], i < 7 ? i % 3 * 10 + 10 : 255) << "a test image hides them";
    }
}

TEST_F(ReplayTest, AFormatChangedAfterTheStartIsThatOfTheImages) {
    m_camera.Execute("AcquisitionStart");
    m_camera.Set("PixelFormat", "Mono16");
    Session session(m_camera, 1);
    session.Queue(0);
    session->StartStreaming();
    EXPECT_EQ(session.Take().status, Zelmo::GrabStatus_Grabbed);
    EXPECT_EQ(session.Memory(0), std::vector<std::uint8_t>(64 * 64 * 2, 10));
    session->StopStreaming();
    session->FinishGrab();
    m_camera.Set("PixelFormat", "Mono8");
    std::filesystem::remove_all(m_folder.Path());
    session->PrepareGrab();
    EXPECT_THROW(session->StartStreaming(), GenICam::RuntimeException) << "nothing to make the new format of";
}

TEST_F(ReplayTest, FileThatCannotBeShownFailsTheStartByNameUntilTheReset) {
    PngBytes::Write(At("bb.png"), "broken");
    const std::string failure = Fakes::FailureOf([&] { m_camera.Execute("AcquisitionStart"); });
    EXPECT_NE(failure.find("start the acquisition: the image file '" + At("bb.png")), std::string::npos) << failure;
    EXPECT_EQ(m_camera.Text("AcquisitionStatus"), "0");
    m_camera.Execute("DeviceReset");
    EXPECT_EQ(m_camera.Text("ImageFileMode") + m_camera.Text("ImageFilename"), "Off");
    EXPECT_NO_THROW(m_camera.Execute("AcquisitionStart"));
}

} // namespace
