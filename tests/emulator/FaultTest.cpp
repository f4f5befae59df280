// SPDX-License-Identifier: Apache-2.0
#include "Emulator.h"

#include <fakes/Failure.h>
#include <zelmo/Device.h>

#include <optional>

using namespace Emulator;

namespace {

class FaultTest : public ::testing::Test {
protected:
    FaultTest() { m_camera.CountFrames(); }

    Library m_library{"2"};
    Camera m_camera;
};

TEST_F(FaultTest, OpeningFailsAsOftenAsToldWhoeverTries) {
    DevicePtr other = Create(), neighbour = Create("0815-0001");
    m_camera.Device().Close();
    GenApi::INodeMap& connection = *m_camera.Device().GetTLNodeMap();
    const GenApi::CIntegerPtr count = connection.GetNode("ForceFailedOpenCount");
    EXPECT_THROW(count->SetValue(0), GenICam::OutOfRangeException);
    EXPECT_THROW(GenApi::CIntegerPtr(connection.GetNode("ForceFailedOpenCountReg"))->SetValue(0),
                 GenICam::OutOfRangeException);
    count->SetValue(2);
    GenApi::CCommandPtr(connection.GetNode("ForceFailedOpen"))->Execute();
    EXPECT_NO_THROW(neighbour->Open(ForStreaming()));
    for (Zelmo::IZelmoDevice* const device : {other.get(), &m_camera.Device()}) {
        EXPECT_EQ(Fakes::FailureOf([&] { device->Open(ForStreaming()); }),
                  "Cannot open device 'HarlixCamEmu 0815-0000': ForceFailedOpen was executed.");
        EXPECT_FALSE(device->IsOpen());
    }
    EXPECT_NO_THROW(other->Open(ForStreaming())) << "nothing of the failed ones is left";
    EXPECT_EQ(GenApi::CIntegerPtr(other->GetTLNodeMap()->GetNode("ForceFailedOpenCount"))->GetValue(), 2);
}

TEST_F(FaultTest, StartFailsAsOftenAsToldAndCanBeRepeated) {
    m_camera.Set("ForceFailedStartCount", "2");
    m_camera.Execute("ForceFailedStart");
    Session session(m_camera, 1);
    for (int start = 0; start < 2; ++start) {
        EXPECT_EQ(Fakes::FailureOf([&] { session->StartStreaming(); }),
                  "Cannot start streaming: ForceFailedStart was executed on camera 0815-0000.");
        EXPECT_FALSE(session->IsStreaming());
    }
    session->StartStreaming();
    session.QueueAll();
    m_camera.Execute("AcquisitionStart");
    EXPECT_TRUE(Session::Record(session.Take()));
}

TEST_F(FaultTest, RetrievalFailsOnceAfterTheImagesToldAndLosesNone) {
    m_camera.Set("ForceFailedRetrievalDelay", "2");
    m_camera.Execute("ForceFailedRetrieval");
    Session session(m_camera, 1);
    session->StartStreaming();
    session.Queue(0);
    session->FlushBuffers();
    EXPECT_EQ(session.Take().status, Zelmo::GrabStatus_Canceled) << "is no image";
    session.Queue(0);
    m_camera.Execute("AcquisitionStart");
    for (std::uint64_t frame = 0; frame < 2; ++frame) {
        EXPECT_EQ(session.Take().blockId, frame);
        session.Queue(0);
    }
    ASSERT_TRUE(session->GetWaitObject().Wait(60000));
    Zelmo::GrabResult result;
    EXPECT_THROW(session->RetrieveResult(result), GenICam::RuntimeException);
    EXPECT_EQ(session->GetNumQueuedBuffers(), 1u);
    EXPECT_EQ(session.Take().blockId, 2u);
}

TEST_F(FaultTest, AStalledCameraDeliversNothingUntilReleased) {
    m_camera.Set("AcquisitionFrameRate", "1000");
    m_camera.Set("ExposureTime", "10");
    m_camera.Set("AcquisitionFrameRateEnable", "1");
    Session session(m_camera, 4);
    session->StartStreaming();
    session.QueueAll();
    m_camera.Execute("AcquisitionStart");
    session.Requeue(session.Take());
    m_camera.Set("ForceStall", "1");
    session->FlushBuffers(); // waits for the image that is drawn
    session.TakeAll();
    const auto begun = session.Parameter("StreamStartedFrameCount");
    session.QueueAll();
    EXPECT_FALSE(session->GetWaitObject().Wait(50));
    EXPECT_EQ(m_camera.Text("AcquisitionStatus"), "1") << "without a word";
    EXPECT_EQ(session.Parameter("StreamStartedFrameCount"), begun) << "nor is an image lost";
    m_camera.Set("ForceStall", "0");
    EXPECT_EQ(static_cast<std::int64_t>(session.Take().blockId), begun);
}

TEST_F(FaultTest, ResetEndsThemAll) {
    for (const char* fault : {"ForceFailedStart", "ForceFailedRetrieval"}) {
        m_camera.Execute(fault);
    }
    m_camera.Set("SimulateRemovalDelay", "1");
    m_camera.Execute("SimulateRemoval");
    m_camera.Set("ForceStall", "1");
    m_camera.Execute("DeviceReset");
    EXPECT_EQ(m_camera.Text("SimulateRemovalDelay") + m_camera.Text("ForceStall"), "00");
    m_camera.CountFrames();
    Session session(m_camera, 1);
    session->StartStreaming();
    session.QueueAll();
    m_camera.Execute("AcquisitionStart");
    for (int i = 0; i < 3; ++i) {
        session.Requeue(session.Take());
    }
    EXPECT_FALSE(m_camera.Device().IsRemoved());
}

} // namespace
