// SPDX-License-Identifier: Apache-2.0
#include "GrabRun.h"
#include "DeviceSelector.h"
#include "ImageSink.h"
#include "InProcess.h"
#include <GenApi/GenApi.h>

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using tool::ExitCode;

/// Pulls the cable as soon as the third image is there.
class CableCutter : public tool::FrameSink {
public:
    explicit CableCutter(tool::Camera& camera) : m_camera(camera) {}
    std::unique_ptr<tool::FrameTask> Take(const Zelmo::CGrabResultData&, std::uint64_t number) override {
        if (number == 3) {
            GenApi::CCommandPtr(m_camera.GetNodeMap("device").GetNode("SimulateRemoval"))->Execute();
        }
        return nullptr;
    }

private:
    tool::Camera& m_camera;
};

class GrabRunTest : public InProcess {
protected:
    GrabRunTest() : InProcess({}, "2") {}

    tool::GrabOptions m_options;
    tool::Output m_output{Json(), m_data, m_messages};

private:
    static tool::GlobalOptions Json() {
        tool::GlobalOptions options;
        options.json = true;
        return options;
    }
};

TEST_F(GrabRunTest, PulledCableEndsItsCameraWithNineAndNotTheOther) {
    m_options.count = 50;
    m_options.strategy = Zelmo::GrabStrategy_UpcomingImage; // waits inside the library
    m_options.setup = {{"AcquisitionFrameRateEnable", "0"}};
    tool::GrabRun run(tool::SelectDevices(*m_library, {}, true), m_options, m_output);
    for (const auto& camera : run.GetCameras()) {
        camera->SendTo(std::make_unique<CableCutter>(camera->GetCamera()));
    }
    run.GetCameras()[1]->SendTo(
        std::make_unique<tool::ImageSink>(run.GetCameras()[1]->GetCamera(), std::nullopt, false, m_output));
    run.Run();
    EXPECT_EQ(run.Conclude(), ExitCode::Removed);
    EXPECT_EQ(run.GetCameras()[0]->GetError()->GetCode(), "removed");
    EXPECT_EQ(run.GetCameras()[0]->GetCounts().frames, 3u);
    EXPECT_EQ(run.GetCameras()[1]->GetCounts().frames, 50u);
}

TEST_F(GrabRunTest, UpcomingImageIsRefusedForUsbAndMipexBeforeACameraOpens) {
    for (const auto& [deviceClass, name] : {std::pair("HarlixUsb", "USB"), std::pair("HarlixMipex", "MIPEX")}) {
        Zelmo::CDeviceInfo info; // of no camera: to open it would fail otherwise
        info.SetDeviceClass(deviceClass).SetFullName("x");
        m_options.strategy = Zelmo::GrabStrategy_UpcomingImage;
        try {
            tool::GrabRun run({info}, m_options, m_output);
            ADD_FAILURE() << deviceClass;
        } catch (const tool::ToolError& error) {
            EXPECT_EQ(error.GetExitCode(), ExitCode::Feature);
            EXPECT_THAT(error.what(), testing::AllOf(HasSubstr("upcoming-image"), HasSubstr(name)));
        }
    }
}

} // namespace
