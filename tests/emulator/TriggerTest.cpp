// SPDX-License-Identifier: Apache-2.0
#include "Emulator.h"

#include <zelmo/Device.h>

#include <chrono>
#include <optional>
#include <thread>

using namespace Emulator;

namespace {

/// A camera without limit of its rate that streams into eight buffers, until a trigger makes it wait.
class TriggerTest : public ::testing::Test {
protected:
    TriggerTest() {
        m_camera.CountFrames();
        m_camera.Execute("AcquisitionStop");
    }

    void TurnOn(const char* trigger, const char* source = "Software") {
        m_camera.Set("TriggerSelector", trigger);
        m_camera.Set("TriggerMode", "On");
        m_camera.Set("TriggerSource", source);
    }
    void Trigger(const char* trigger) {
        m_camera.Set("TriggerSelector", trigger);
        m_camera.Execute("TriggerSoftware");
        EXPECT_TRUE(m_camera.Get<GenApi::CCommandPtr>("TriggerSoftware")->IsDone());
    }
    bool Is(const char* status) {
        m_camera.Set("AcquisitionStatusSelector", status);
        return m_camera.Text("AcquisitionStatus") == "1";
    }
    void Start() {
        m_session.emplace(m_camera, 8);
        (*m_session)->StartStreaming();
        m_session->QueueAll();
        m_camera.Execute("AcquisitionStart");
    }
    /// Takes exactly that many images and gives their buffers back.
    void ExpectImages(int count) {
        for (int i = 0; i < count; ++i) {
            const Zelmo::GrabResult result = m_session->Take();
            ASSERT_TRUE(Session::Record(result));
            m_session->Requeue(result);
        }
        ExpectNoImage();
    }
    void ExpectNoImage() { EXPECT_FALSE((*m_session)->GetWaitObject().Wait(30)) << "an image that nobody triggered"; }

    Library m_library{"1"};
    Camera m_camera;
    std::optional<Session> m_session;
};

TEST_F(TriggerTest, EachSelectorShowsItsOwnSettingsAlsoWhileStreaming) {
    Start();
    TurnOn("FrameBurstStart", "Line2");
    m_camera.Set("TriggerActivation", "FallingEdge");
    TurnOn("AcquisitionStart", "Line1");
    const auto show = [&](const char* trigger) {
        m_camera.Set("TriggerSelector", trigger);
        return m_camera.Text("TriggerMode") + " " + m_camera.Text("TriggerSource") + " " +
               m_camera.Text("TriggerActivation");
    };
    EXPECT_EQ(show("FrameStart"), "Off Software RisingEdge");
    EXPECT_EQ(show("FrameBurstStart"), "On Line2 FallingEdge");
    EXPECT_EQ(show("AcquisitionStart"), "On Line1 RisingEdge");
    m_camera.Execute("AcquisitionStop");
    m_session.reset();
    m_camera.Execute("DeviceReset");
    EXPECT_EQ(m_camera.Text("TriggerSelector"), "FrameStart");
    EXPECT_EQ(show("FrameBurstStart"), "Off Software RisingEdge");
}

TEST_F(TriggerTest, FrameTriggerLetsOneImageBeginAndTheNextOneOnlyWhenReady) {
    TurnOn("FrameStart");
    Trigger("FrameStart");
    Start();
    ExpectNoImage();
    EXPECT_TRUE(Is("FrameTriggerWait") && Is("AcquisitionTriggerWait"));
    Trigger("FrameStart");
    ExpectImages(1);
    EXPECT_EQ(m_camera.Int("TriggerMissedCount")->GetValue(), 0);
    m_camera.Set("AcquisitionFrameRateEnable", "1");
    m_camera.Set("AcquisitionFrameRate", "0.01"); // no limit of triggered images
    m_camera.Set("ExposureTime", "1000000");
    EXPECT_NEAR(m_camera.Get<GenApi::CFloatPtr>("ResultingFrameRate")->GetValue(), 1, 1e-9);
    const auto before = std::chrono::steady_clock::now();
    Trigger("FrameStart");
    EXPECT_TRUE(Is("FrameActive"));
    EXPECT_FALSE(Is("FrameTriggerWait") || Is("AcquisitionTriggerWait"));
    Trigger("FrameStart"); // while the image is exposed
    EXPECT_EQ(m_camera.Int("TriggerMissedCount")->GetValue(), 1);
    const Zelmo::GrabResult result = m_session->Take();
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::seconds(1));
    EXPECT_EQ(result.blockId, 1u);
    EXPECT_TRUE(Is("FrameTriggerWait")) << "whoever has the image may trigger the next one";
    m_camera.Set("ExposureTime", "10");
    Trigger("FrameStart");
    EXPECT_EQ(m_session->Take().blockId, 2u);
    ExpectNoImage();
}

TEST_F(TriggerTest, BurstTriggerLetsItsImagesBegin) {
    m_camera.Set("AcquisitionBurstFrameCount", "3");
    TurnOn("FrameBurstStart");
    Start();
    for (int burst = 0; burst < 2; ++burst) {
        ExpectNoImage();
        Trigger("FrameStart"); // is off
        Trigger("FrameBurstStart");
        ExpectImages(3);
    }
    EXPECT_EQ(m_camera.Int("TriggerMissedCount")->GetValue(), 0);
    m_camera.Set("TriggerMode", "Off");
    m_session->Requeue(m_session->Take());
}

TEST_F(TriggerTest, PacedBurstKeepsTheFrameRateAndBeginsAtItsTrigger) {
    m_camera.Set("AcquisitionBurstFrameCount", "2");
    m_camera.Set("AcquisitionFrameRateEnable", "1");
    m_camera.Set("AcquisitionFrameRate", "50");
    TurnOn("FrameBurstStart");
    Start();
    for (int burst = 0; burst < 3; ++burst) {
        ExpectNoImage();
        const auto before = std::chrono::steady_clock::now().time_since_epoch();
        Trigger("FrameBurstStart");
        const Zelmo::GrabResult first = m_session->Take(), second = m_session->Take();
        EXPECT_GE(std::chrono::nanoseconds(first.timeStamp), before);
        EXPECT_EQ(second.timeStamp - first.timeStamp, 20'000'000u);
        EXPECT_TRUE(Is("AcquisitionTriggerWait"));
        m_session->Requeue(first);
        m_session->Requeue(second);
    }
    EXPECT_EQ(m_session->Parameter("StreamLostFrameCount"), 0) << "none was due while the camera waited";
    m_camera.Set("AcquisitionBurstFrameCount", "1000");
    Trigger("FrameBurstStart");
    EXPECT_FALSE(Is("AcquisitionTriggerWait")) << "images are still to come";
    EXPECT_TRUE(Is("AcquisitionActive"));
}

TEST_F(TriggerTest, TriggersAreTakenFromTheOutsideIn) {
    m_camera.Set("AcquisitionBurstFrameCount", "2");
    for (const char* trigger : {"AcquisitionStart", "FrameBurstStart", "FrameStart"}) {
        TurnOn(trigger);
    }
    Start();
    Trigger("FrameStart");
    Trigger("FrameBurstStart");
    EXPECT_EQ(m_camera.Int("TriggerMissedCount")->GetValue(), 2) << "the acquisition was not triggered";
    EXPECT_TRUE(Is("AcquisitionTriggerWait"));
    EXPECT_FALSE(Is("FrameTriggerWait"));
    Trigger("AcquisitionStart");
    Trigger("FrameBurstStart");
    ExpectNoImage();
    EXPECT_TRUE(Is("FrameTriggerWait"));
    for (int frame = 0; frame < 2; ++frame) {
        Trigger("FrameStart");
        ExpectImages(1);
    }
    EXPECT_FALSE(Is("FrameTriggerWait")) << "the burst is over";
    m_camera.Execute("AcquisitionStop");
    m_camera.Execute("AcquisitionStart");
    Trigger("FrameBurstStart");
    EXPECT_EQ(m_camera.Int("TriggerMissedCount")->GetValue(), 1) << "an acquisition is triggered anew";
}

TEST_F(TriggerTest, LinesTriggerByTheirEdges) {
    TurnOn("FrameStart", "Line2");
    Start();
    Trigger("FrameStart");                 // has another source
    m_camera.Execute("SimulateLinePulse"); // Line1
    ExpectNoImage();
    m_camera.Set("LineSelector", "Line2");
    m_camera.Execute("SimulateLinePulse");
    ExpectImages(1);
    m_camera.Set("TriggerActivation", "FallingEdge");
    m_camera.Set("SimulateLineLevel", "1");
    EXPECT_EQ(m_camera.Text("LineStatus"), "1");
    ExpectNoImage();
    m_camera.Set("SimulateLineLevel", "1");
    m_camera.Set("SimulateLineLevel", "0");
    ExpectImages(1);
    m_camera.Set("TriggerActivation", "AnyEdge");
    for (const char* level : {"1", "0"}) {
        m_camera.Set("SimulateLineLevel", level);
        ExpectImages(1);
    }
}

TEST_F(TriggerTest, OneEdgeIsTakenByTheTriggersThatWereReadyForIt) {
    TurnOn("AcquisitionStart", "Line1");
    TurnOn("FrameStart", "Line1");
    Start();
    m_camera.Execute("SimulateLinePulse");
    ExpectNoImage();
    EXPECT_TRUE(Is("FrameTriggerWait"));
    EXPECT_EQ(m_camera.Int("TriggerMissedCount")->GetValue(), 1);
    m_camera.Execute("SimulateLinePulse");
    ExpectImages(1);
}

TEST_F(TriggerTest, ATriggeredAcquisitionEndsAfterItsFramesAndTakesNoMore) {
    m_camera.Set("AcquisitionMode", "MultiFrame");
    m_camera.Set("AcquisitionFrameCount", "2");
    TurnOn("FrameStart");
    Start();
    for (int frame = 0; frame < 2; ++frame) {
        Trigger("FrameStart");
        ExpectImages(1);
    }
    EXPECT_FALSE(Is("AcquisitionActive") || Is("AcquisitionTriggerWait") || Is("FrameTriggerWait"));
    Trigger("FrameStart");
    ExpectNoImage();
}

TEST_F(TriggerTest, NoTriggeredImageIsLostWithoutALimitAndOneWithoutABufferIsWithIt) {
    TurnOn("FrameStart");
    m_session.emplace(m_camera, 1);
    (*m_session)->StartStreaming();
    m_camera.Execute("AcquisitionStart");
    Trigger("FrameStart");
    EXPECT_FALSE(Is("FrameTriggerWait"));
    m_session->QueueAll();
    ExpectImages(1);
    (*m_session)->FlushBuffers();
    m_session->TakeAll();
    m_camera.Set("ExposureTime", "10");
    m_camera.Set("AcquisitionFrameRateEnable", "1");
    Trigger("FrameStart");
    while (m_session->Parameter("StreamLostFrameCount") == 0) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(Is("FrameTriggerWait"));
}

TEST_F(TriggerTest, SwitchedOffATriggerHoldsNoImageAndOnAgainItIsMissing) {
    for (const char* trigger : {"FrameStart", "FrameBurstStart", "AcquisitionStart"}) {
        SCOPED_TRACE(trigger);
        m_camera.Set("AcquisitionBurstFrameCount", "1000");
        TurnOn(trigger);
        Start();
        ExpectNoImage();
        m_camera.Execute("TriggerSoftware");
        m_session->Requeue(m_session->Take());
        m_camera.Set("TriggerMode", "Off");
        for (int i = 0; i < 20; ++i) {
            m_session->Requeue(m_session->Take());
        }
        m_camera.Set("TriggerMode", "On");
        (*m_session)->FlushBuffers(); // waits for the image that is drawn
        for (const Zelmo::GrabResult& result : m_session->TakeAll()) {
            m_session->Requeue(result);
        }
        ExpectNoImage();
        m_camera.Set("TriggerMode", "Off");
        m_session.reset();
    }
}

TEST_F(TriggerTest, SoftwareTriggersFromOneThreadMeetTheStatusOnAnother) {
    TurnOn("FrameStart");
    Start();
    std::jthread poller([&](const std::stop_token& stop) {
        const GenApi::CPortPtr port = m_camera.Device().GetNodeMap()->GetNode("Device");
        for (std::uint32_t values[4]; !stop.stop_requested();) {
            port->Read(values, 0x0690, sizeof values);
            EXPECT_EQ(values[0], 1u);
        }
    });
    for (std::uint64_t frame = 0; frame < 500; ++frame) {
        m_camera.Execute("TriggerSoftware");
        const Zelmo::GrabResult result = m_session->Take();
        ASSERT_EQ(result.blockId, frame);
        m_session->Requeue(result);
    }
    EXPECT_EQ(m_camera.Int("TriggerMissedCount")->GetValue(), 0) << "with the image in hand the camera is ready";
}

} // namespace
