// SPDX-License-Identifier: Apache-2.0
#include "GrabRun.h"
#include "DeviceSelector.h"
#include "InProcess.h"
#include <GenApi/GenApi.h>

#include <gmock/gmock.h>

#include <numeric>

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

class BlockIds : public tool::FrameSink {
public:
    std::unique_ptr<tool::FrameTask> Take(const Zelmo::CGrabResultData& result, std::uint64_t) override {
        ids.push_back(result.GetBlockID());
        return nullptr;
    }

    std::vector<std::uint64_t> ids;
};

std::vector<std::uint64_t> Numbers(std::size_t count) {
    std::vector<std::uint64_t> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

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

TEST_F(GrabRunTest, PulledCableEndsTheGrabOfAllAtOnceWithNineAndTheNameOfItsCamera) {
    m_options.timeoutMs = 60'000; // it must not be the silence that ends it
    for (const auto strategy : {Zelmo::GrabStrategy_OneByOne, Zelmo::GrabStrategy_UpcomingImage}) {
        m_options.strategy = strategy;
        tool::GrabRun run(tool::SelectDevices(*m_library, {}, true), m_options, m_output);
        const auto& cameras = run.GetCameras();
        cameras[0]->SendTo(std::make_unique<CableCutter>(cameras[0]->GetCamera()));
        cameras[1]->SendTo(std::make_unique<BlockIds>());
        run.Run();
        EXPECT_EQ(run.Conclude(), ExitCode::Removed);
        EXPECT_EQ(cameras[0]->GetError()->GetCode(), "removed");
        EXPECT_GE(cameras[0]->GetCounts().frames, 3u);
        EXPECT_FALSE(cameras[1]->GetError());
        EXPECT_GT(cameras[1]->GetCounts().frames, 0u);
        EXPECT_LT(cameras[1]->GetCounts().seconds, 30);
    }
}

TEST_F(GrabRunTest, CountIsOfEachCameraAndWhoHasItWaitsForTheOthers) {
    m_options.count = 20;
    tool::GrabRun run(tool::SelectDevices(*m_library, {}, true), m_options, m_output);
    const auto& cameras = run.GetCameras();
    std::vector<BlockIds*> sinks;
    for (const auto& camera : cameras) {
        const char* rate = camera == cameras[0] ? "500" : "20"; // the slow one takes a second, the other 40 ms
        camera->Configure(
            {{"Width", "32"}, {"Height", "32"}, {"ExposureTime", "1000"}, {"AcquisitionFrameRate", rate}});
        auto sink = std::make_unique<BlockIds>();
        sinks.push_back(sink.get());
        camera->SendTo(std::move(sink));
    }
    run.Run();
    EXPECT_EQ(run.Conclude(), ExitCode::Done) << m_messages.str();
    EXPECT_EQ(sinks[0]->ids.size(), 20u);
    EXPECT_THAT(sinks[1]->ids, testing::ElementsAreArray(Numbers(20))) << "the end of the other one cost an image";
    EXPECT_LT(cameras[0]->GetCounts().seconds, cameras[1]->GetCounts().seconds);
}

TEST_F(GrabRunTest, FailureOfOneCameraEndsTheGrabOfAllWithItsTextAndCode) {
    m_options.timeoutMs = 300;
    const struct {
        std::vector<tool::SetupStep> setup;
        ExitCode exitCode;
        const char* message;
    } failures[] = {
        {{{"ForceStall", "1"}}, ExitCode::Timeout, "No image from camera 0815-0001 within 300 ms after 0 images"},
        {{{"ForceFailedStart", {}}}, ExitCode::Failed, "Starting to grab from camera 0815-0001 with 10 buffers failed"},
        {{{"ForceFailedRetrieval", {}}}, ExitCode::Failed, "Grabbing from camera 0815-0001 failed: "},
    };
    for (const auto strategy : {Zelmo::GrabStrategy_OneByOne, Zelmo::GrabStrategy_UpcomingImage}) {
        m_options.strategy = strategy;
        for (const auto& failure : failures) {
            tool::GrabRun run(tool::SelectDevices(*m_library, {}, true), m_options, m_output);
            const auto& cameras = run.GetCameras();
            cameras[1]->Configure(failure.setup);
            for (const auto& camera : cameras) {
                camera->SendTo(std::make_unique<BlockIds>());
            }
            run.Run();
            EXPECT_EQ(run.Conclude(), failure.exitCode);
            EXPECT_FALSE(cameras[0]->GetError());
            ASSERT_TRUE(cameras[1]->GetError()) << failure.message;
            EXPECT_THAT(cameras[1]->GetError()->what(), HasSubstr(failure.message));
            cameras[1]->Configure({{"ForceStall", "0"}});
        }
    }
}

TEST_F(GrabRunTest, MoreCamerasThanAnArrayTakesAreRefusedWithTheWayOut) {
    try {
        tool::GrabRun run(std::vector<Zelmo::CDeviceInfo>(342), m_options, m_output);
        ADD_FAILURE();
    } catch (const tool::ToolError& error) {
        EXPECT_EQ(error.GetExitCode(), ExitCode::Usage);
        EXPECT_THAT(error.what(), testing::AllOf(HasSubstr("at most 341"), HasSubstr("--reconnect")));
    }
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
