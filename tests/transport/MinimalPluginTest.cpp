// SPDX-License-Identifier: Apache-2.0

// The plug-in of docs/writing-a-plugin.md keeps the contract of a stream.

#include "PluginTest.h"
#include <GenApi/GenApi.h>
#include <zelmo/Device.h>
#include <zelmo/EventGrabber.h>
#include <zelmo/GrabResultData.h>
#include <zelmo/GrabResultPtr.h>
#include <zelmo/HandlerRegistration.h>
#include <zelmo/InstantCamera.h>
#include <zelmo/StreamGrabber.h>
#include <zelmo/WaitObject.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

using namespace Zelmo;

namespace {

constexpr unsigned int kLongEnoughMs = 20000;

class MinimalPluginTest : public PluginTest {
protected:
    void SetUp() override {
        Start({"minimal"});
        CDeviceInfo info;
        m_device = Factory().CreateDevice(info.SetSerialNumber("0001"));
        m_device->Open(Control | Stream);
        m_grabber = m_device->GetStreamGrabber(0);
    }
    void TearDown() override {
        Factory().DestroyDevice(m_device);
        m_library.reset();
    }

    /// Up to streaming, with all buffers queued; each buffer's context is its number.
    void StartGrabbing(std::size_t bufferCount) {
        m_grabber->Open();
        const auto payloadSize = static_cast<std::size_t>(Number("PayloadSize")->GetValue());
        StreamNode("MaxBufferSize")->SetValue(static_cast<std::int64_t>(payloadSize));
        StreamNode("MaxNumBuffer")->SetValue(static_cast<std::int64_t>(bufferCount));
        m_grabber->PrepareGrab();
        m_buffers.assign(bufferCount, std::vector<std::uint8_t>(payloadSize));
        for (auto& buffer : m_buffers) {
            m_handles.push_back(m_grabber->RegisterBuffer(buffer.data(), buffer.size()));
        }
        m_grabber->StartStreaming();
        for (std::size_t i = 0; i < bufferCount; ++i) {
            m_grabber->QueueBuffer(m_handles[i], &m_buffers[i]);
        }
        Command("AcquisitionStart")->Execute();
    }

    /// Down again. @return how many buffers came back cancelled.
    std::size_t StopGrabbing() {
        m_grabber->StopStreaming();
        m_grabber->FlushBuffers();
        std::size_t cancelled = 0;
        for (GrabResult result; m_grabber->RetrieveResult(result);) {
            cancelled += result.status == GrabStatus_Canceled;
        }
        for (const StreamBufferHandle handle : m_handles) {
            m_grabber->DeregisterBuffer(handle);
        }
        m_grabber->FinishGrab();
        m_grabber->Close();
        return cancelled;
    }

    GrabResult NextResult() {
        EXPECT_TRUE(m_grabber->GetWaitObject().Wait(kLongEnoughMs));
        GrabResult result;
        EXPECT_TRUE(m_grabber->RetrieveResult(result));
        return result;
    }

    GenApi::CCommandPtr Command(const char* name) { return m_device->GetNodeMap()->GetNode(name); }
    GenApi::CIntegerPtr Number(const char* name) { return m_device->GetNodeMap()->GetNode(name); }
    GenApi::CIntegerPtr StreamNode(const char* name) { return m_grabber->GetNodeMap()->GetNode(name); }

    IZelmoDevice* m_device = nullptr;
    IStreamGrabber* m_grabber = nullptr;
    std::vector<std::vector<std::uint8_t>> m_buffers;
    std::vector<StreamBufferHandle> m_handles;
};

TEST_F(MinimalPluginTest, StreamsFramesIntoQueuedBuffers) {
    StartGrabbing(3);
    std::uint64_t expectedBlockId = 0;
    for (int frame = 0; frame < 10; ++frame) {
        const GrabResult result = NextResult();
        ASSERT_EQ(result.status, GrabStatus_Grabbed);
        EXPECT_GE(result.blockId, expectedBlockId) << "frames come in order";
        expectedBlockId = result.blockId + 1;
        EXPECT_EQ(result.sizeX * result.sizeY, result.payloadSize);
        const auto& buffer = *static_cast<std::vector<std::uint8_t>*>(result.context);
        EXPECT_EQ(result.buffer, buffer.data());
        EXPECT_EQ(buffer.front(), static_cast<std::uint8_t>(result.blockId));
        EXPECT_EQ(buffer.back(), static_cast<std::uint8_t>(result.blockId + 63));
        m_grabber->QueueBuffer(result.handle, result.context);
    }
    StopGrabbing();
    EXPECT_FALSE(m_grabber->IsOpen());
}

TEST_F(MinimalPluginTest, FramesWithoutAQueuedBufferAreLostAndCounted) {
    StartGrabbing(1);
    const GrabResult first = NextResult();
    WaitObject::Sleep(50); // several frames of the camera
    m_grabber->QueueBuffer(first.handle, first.context);
    EXPECT_GT(NextResult().blockId, first.blockId + 1);
    EXPECT_FALSE(m_grabber->GetWaitObject().Wait(0)) << "nothing is pending any more";
    EXPECT_EQ(StopGrabbing(), 0u);
}

TEST_F(MinimalPluginTest, EveryQueuedBufferComesBackAndTheGrabberCanStartAgain) {
    for (int session = 0; session < 2; ++session) {
        m_handles.clear();
        StartGrabbing(4);
        const GrabResult result = NextResult();
        const std::size_t others = m_grabber->GetNumQueuedBuffers();
        EXPECT_EQ(others, 3u);
        EXPECT_LE(StopGrabbing(), others);
        EXPECT_EQ(result.status, GrabStatus_Grabbed);
        EXPECT_EQ(m_grabber->GetNumQueuedBuffers(), 0u);
    }
}

TEST_F(MinimalPluginTest, ClosedGrabberHasItsParametersAndTakesTheCallsThatUndoAFailedStart) {
    ASSERT_NE(m_grabber->GetNodeMap(), nullptr);
    EXPECT_EQ(StreamNode("MaxNumBuffer")->GetValue(), 16);
    EXPECT_EQ(StopGrabbing(), 0u);
    StartGrabbing(1);
    EXPECT_EQ(NextResult().status, GrabStatus_Grabbed);
    StopGrabbing();
}

TEST_F(MinimalPluginTest, BuffersOutsideOfTheContractAreRefused) {
    StartGrabbing(1);
    std::array<std::uint8_t, 4> small{};
    EXPECT_THROW(m_grabber->RegisterBuffer(small.data(), small.size()), GenICam::InvalidArgumentException);
    EXPECT_THROW(m_grabber->QueueBuffer(&small, nullptr), GenICam::InvalidArgumentException);
    EXPECT_THROW(m_grabber->Open(), GenICam::LogicalErrorException);
    StopGrabbing();
}

TEST_F(MinimalPluginTest, FeaturesAndDescriptionAreThoseOfTheCamera) {
    const GenApi::CIntegerPtr width = m_device->GetNodeMap()->GetNode("Width");
    EXPECT_EQ(width->GetValue(), 64);
    EXPECT_THROW(width->SetValue(32), GenICam::AccessException);
    String_t url;
    String_t bytes;
    dynamic_cast<IDescriptionSource&>(*m_device).GetDescription(url, bytes);
    EXPECT_THAT(bytes.c_str(), testing::HasSubstr("<Integer Name=\"Width\">"));
    m_device->Close();
    EXPECT_EQ(m_device->GetNodeMap(), nullptr);
}

TEST_F(MinimalPluginTest, MonitorReadsOnlyAndASecondControllerIsRefused) {
    CDeviceInfo info;
    IZelmoDevice* const other = Factory().CreateDevice(info.SetSerialNumber("0001"));
    EXPECT_THROW(other->Open(Control), GenICam::AccessException);
    EXPECT_FALSE(Factory().IsDeviceAccessible(info, Control));
    other->Open(AccessModeSet());
    EXPECT_THROW(GenApi::CIntegerPtr(other->GetNodeMap()->GetNode("Brightness"))->SetValue(1),
                 GenICam::AccessException);
    EXPECT_THROW(other->GetStreamGrabber(0)->Open(), GenICam::LogicalErrorException);
    Factory().DestroyDevice(other);
}

TEST_F(MinimalPluginTest, FeaturesAreLockedWhileAGrabIsPreparedAndCommandsClearThemselves) {
    const GenApi::CIntegerPtr brightness = m_device->GetNodeMap()->GetNode("Brightness");
    brightness->SetValue(7);
    StartGrabbing(1);
    EXPECT_TRUE(Command("AcquisitionStart")->IsDone());
    EXPECT_THROW(brightness->SetValue(8), GenICam::AccessException);
    const GrabResult result = NextResult();
    EXPECT_EQ(*static_cast<std::uint8_t*>(result.buffer), static_cast<std::uint8_t>(result.blockId + 7));
    StopGrabbing();
    EXPECT_NO_THROW(brightness->SetValue(0));
}

/// Gives its device back in the removal callback, as an application may.
class Quitter {
public:
    Quitter(IZelmoDevice& device, WaitObjectEx done)
        : m_done(std::move(done)), m_handle(RegisterRemovalCallback(&device, *this, &Quitter::OnRemoved)) {}

private:
    void OnRemoved(IZelmoDevice* device) {
        WaitObjectEx done = m_done; // this object may go as soon as it is signaled
        device->DeregisterRemovalCallback(m_handle);
        CTlFactory::GetInstance().DestroyDevice(device);
        done.Signal();
    }

    WaitObjectEx m_done;
    DeviceCallbackHandle m_handle;
};

TEST_F(MinimalPluginTest, RemovalIsToldAndTheDeviceMayBeDestroyedInTheCallback) {
    IZelmoDevice* const monitor = Factory().CreateDevice(m_device->GetDeviceInfo());
    monitor->Open(AccessModeSet());
    const WaitObjectEx done = WaitObjectEx::Create();
    const Quitter quitter(*monitor, done);
    StartGrabbing(1);
    Command("SimulateRemoval")->Execute();
    EXPECT_TRUE(done.Wait(kLongEnoughMs));
    StopGrabbing();
    DeviceInfoList devices;
    EXPECT_EQ(Factory().EnumerateDevices(devices), 0) << "one device is open still";
    m_device->Close();
    EXPECT_EQ(Factory().EnumerateDevices(devices), 1) << "it is back";
}

TEST_F(MinimalPluginTest, ClosedDevicesHaveTheirConnectionParameters) {
    m_device->Close();
    const GenApi::CIntegerPtr period = m_device->GetTLNodeMap()->GetNode("FramePeriod");
    EXPECT_EQ(period->GetValue(), 10);
    EXPECT_TRUE(period->GetNode()->IsStreamable());
}

TEST_F(MinimalPluginTest, EventsReachOneGrabberOfADeviceThatIsOpenForThem) {
    IEventGrabber& events = *m_device->GetEventGrabber();
    EXPECT_THROW(events.Open(), GenICam::LogicalErrorException) << "not open for Event";
    m_device->Close();
    m_device->Open(Control | Event);
    events.Open();
    IZelmoDevice* const monitor = Factory().CreateDevice(m_device->GetDeviceInfo());
    monitor->Open(Event);
    EXPECT_THROW(monitor->GetEventGrabber()->Open(), GenICam::LogicalErrorException);
    Factory().DestroyDevice(monitor);

    Command("TestEventGenerate")->Execute();
    EXPECT_FALSE(events.GetWaitObject().Wait(0)) << "the notification is off";
    GenApi::CEnumerationPtr(m_device->GetNodeMap()->GetNode("EventNotification"))->FromString("On");
    for (int raised = 0; raised < 100; ++raised) {
        Command("TestEventGenerate")->Execute();
    }
    int pending = 0;
    for (EventResult event; events.RetrieveEvent(event);) {
        ++pending;
    }
    EXPECT_EQ(pending, 64) << "the oldest are dropped";
    EXPECT_FALSE(events.GetWaitObject().Wait(0));
    Command("TestEventGenerate")->Execute();
    events.Close();
    EXPECT_FALSE(events.GetWaitObject().Wait(0)) << "what was pending is gone";
}

TEST_F(MinimalPluginTest, CameraObjectGetsChunksAndEvents) {
    m_device->Close();
    CInstantCamera camera(Factory().CreateFirstDevice(m_device->GetDeviceInfo()));
    camera.GrabCameraEvents.SetValue(true);
    camera.Open();
    GenApi::INodeMap& features = camera.GetNodeMap();
    GenApi::CBooleanPtr(features.GetNode("ChunkModeActive"))->SetValue(true);
    GenApi::CEnumerationPtr(features.GetNode("EventNotification"))->FromString("On");
    const GenApi::CIntegerPtr raised = features.GetNode("EventTestTimestamp");
    std::vector<std::int64_t> times;
    const CHandlerRegistration registration =
        OnEvent(camera, "EventTestData", [&] { times.push_back(raised->GetValue()); });

    camera.StartGrabbing();
    CGrabResultPtr first;
    ASSERT_TRUE(camera.RetrieveResult(kLongEnoughMs, first));
    GenApi::CCommandPtr(features.GetNode("TestEventGenerate"))->Execute();
    CGrabResultPtr second;
    ASSERT_TRUE(camera.RetrieveResult(kLongEnoughMs, second));
    for (const CGrabResultPtr& image : {first, second}) {
        EXPECT_EQ(image->GetPayloadType(), PayloadType_ChunkData);
        EXPECT_EQ(image->GetImageSize(), 64u * 48);
        const GenApi::CIntegerPtr taken(&image->GetChunkDataNodeMap(), "ChunkTimestamp");
        EXPECT_EQ(static_cast<std::uint64_t>(taken->GetValue()), image->GetTimeStamp());
    }
    EXPECT_THROW(GenApi::CBooleanPtr(features.GetNode("ChunkModeActive"))->SetValue(false), GenICam::AccessException)
        << "it changes the size of the images";
    ASSERT_EQ(times.size(), 1u);
    EXPECT_GT(static_cast<std::uint64_t>(times.front()), first->GetTimeStamp());
}

class MinimalFilterTest : public PluginTest, public testing::WithParamInterface<std::pair<const char*, int>> {};

TEST_P(MinimalFilterTest, HidesCamerasThatTheProcessDoesNotWant) {
    setenv("ZELMO_DEVICE_FILTER", GetParam().first, 1);
    Start({"minimal"});
    DeviceInfoList devices;
    EXPECT_EQ(Factory().EnumerateDevices(devices), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Filters, MinimalFilterTest,
                         testing::Values(std::pair{"SerialNumber=0001", 1}, std::pair{"SerialNumber=0002", 0},
                                         std::pair{"DeviceClass=Other||SerialNumber=0001", 0}));

} // namespace
