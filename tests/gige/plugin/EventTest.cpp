// SPDX-License-Identifier: Apache-2.0

// The message channel, and what the library makes of its messages and of chunks.

#include "GigE.h"
#include "serving/Client.h"

#include <gigevision/Registers.h>
#include <zelmo/EventGrabber.h>
#include <zelmo/zelmo.h>

#include <gmock/gmock.h>

#include <algorithm>

using namespace GigE;
using namespace Zelmo;
using testing::ElementsAre;
namespace Register = GigEVision::Register;

namespace {

constexpr unsigned kCriticalTemperature = 0x9004;

std::uint64_t Number(const std::uint8_t* bytes, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

class GigEEventTest : public testing::Test {
protected:
    IEventGrabber& Grabber() { return *m_camera->Device().GetEventGrabber(); }
    std::int64_t Count(const char* name) {
        return GenApi::CIntegerPtr(Grabber().GetNodeMap()->GetNode(name))->GetValue();
    }
    void Set(const char* name, std::int64_t value) {
        GenApi::CIntegerPtr(Grabber().GetNodeMap()->GetNode(name))->SetValue(value);
    }
    void Simulate(int count) {
        m_camera->Set("EventSelector", "CriticalTemperature");
        m_camera->Set("EventNotification", "On");
        m_camera->Set("SimulateEventsCount", std::to_string(count));
        m_camera->Execute("SimulateEvents");
    }
    void AwaitTotal(std::int64_t total) {
        while (Count("Statistic_Total_Event_Count") < total) {
            std::this_thread::yield();
        }
    }
    /// The ids of all that wait.
    std::vector<unsigned> TakeIds() {
        std::vector<unsigned> ids;
        for (EventResult result; Grabber().RetrieveEvent(result);) {
            ids.push_back(static_cast<unsigned>(Number(result.buffer + 10, 2)));
        }
        return ids;
    }
    /// From the camera's address, but not by the camera.
    void Send(const Serving::ByteList& message) {
        const PluginKit::CDescriptor forger(socket(AF_INET, SOCK_DGRAM, 0));
        sockaddr_in from = {}, to = {};
        from.sin_family = to.sin_family = AF_INET;
        from.sin_addr.s_addr = htonl(AddressNumberOf(0));
        to.sin_addr.s_addr = htonl(static_cast<std::uint32_t>(m_camera->Int("GevMCDA")->GetValue()));
        to.sin_port = htons(static_cast<std::uint16_t>(m_camera->Int("GevMCPHostPort")->GetValue()));
        ASSERT_EQ(bind(forger.Number(), reinterpret_cast<sockaddr*>(&from), sizeof from), 0);
        ASSERT_GT(
            sendto(forger.Number(), message.data(), message.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to), 0);
        std::uint8_t answer[64];
        pollfd waited = {forger.Number(), POLLIN, 0};
        ASSERT_EQ(poll(&waited, 1, 60'000), 1) << "each one is acknowledged";
        EXPECT_EQ(recv(forger.Number(), answer, sizeof answer, 0), 8);
        EXPECT_EQ(Number(answer + 2, 2), Number(message.data() + 2, 2) + 1);
        EXPECT_EQ(Number(answer + 6, 2), Number(message.data() + 6, 2));
    }

    Served m_served;
    const Library m_library;
    std::optional<OpenCamera> m_camera{std::in_place, Create(), ForStreaming() | Event};
};

TEST_F(GigEEventTest, EachComesOnceHoweverOftenTheCameraSendsIt) {
    Grabber().Open();
    EXPECT_EQ(m_camera->Int("GevMCTT")->GetValue(), 500);
    Simulate(3);
    AwaitTotal(3);
    EXPECT_TRUE(Grabber().GetWaitObject().Wait(60000));
    EXPECT_EQ(TakeIds(), std::vector<unsigned>(3, kCriticalTemperature));
    EXPECT_FALSE(Grabber().GetWaitObject().Wait(0));
    Serving::ByteList message = {0x42, 0x01, 0x00, 0xC0, 0, 16, 0x12, 0x34, 0, 0, 0x90, 0x02, 0xFF, 0xFF, 0, 1};
    message.resize(24);
    Send(message);
    Send(message); // as after a lost acknowledge
    EXPECT_THAT(TakeIds(), ElementsAre(0x9002u));
    message[7] = 0x35;
    Send(message); // the next one, of the same content
    EXPECT_THAT(TakeIds(), ElementsAre(0x9002u));
    EXPECT_EQ(Count("Statistic_Total_Event_Count"), 5);
    EXPECT_EQ(Count("Statistic_Failed_Event_Count"), 0);
}

TEST_F(GigEEventTest, MalformedOnesAreCountedAndReachNobody) {
    Grabber().Open();
    const Serving::ByteList bad[] = {
        {0x42, 0x01, 0x00, 0xC0, 0, 0, 0, 1},                                                      // no item
        {0x42, 0x01, 0x00, 0xC0, 0, 4, 0, 2, 0, 0, 0x90, 2},                                       // a part of one
        {0x42, 0x11, 0x00, 0xC2, 0, 16, 0, 3, 0, 16, 0x90, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, // of extended ids
        {0x42, 0x01, 0x00, 0xC0, 0, 16, 0, 4, 0, 99, 0x90, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, // larger than it is
        {0x42, 0x01, 0x00, 0xC0, 0, 99, 0, 5, 0, 0, 0x90, 2,
         0,    0,    0,    0,    0, 0,  0, 0, 0, 0, 0,    0}, // of a length beyond it
    };
    for (const auto& message : bad) {
        Send(message);
    }
    EXPECT_EQ(Count("Statistic_Failed_Event_Count"), 5);
    EXPECT_EQ(Count("Statistic_Last_Failed_Event_Buffer_Status"), 2);
    Simulate(1);
    AwaitTotal(6);
    EXPECT_THAT(TakeIds(), ElementsAre(kCriticalTemperature));
}

TEST_F(GigEEventTest, AFullQueueDropsTheOldest) {
    const auto status = [this] { return GenApi::CValuePtr(Grabber().GetNodeMap()->GetNode("Status"))->ToString(); };
    EXPECT_EQ(status(), "Closed");
    Set("NumBuffer", 4);
    Grabber().Open();
    EXPECT_EQ(status(), "Open");
    EXPECT_THROW(Set("NumBuffer", 5), GenICam::AccessException);
    Simulate(7);
    AwaitTotal(7);
    EXPECT_EQ(Count("Statistic_Failed_Event_Count"), 3);
    EXPECT_EQ(Count("Statistic_Last_Failed_Event_Buffer_Status"), 1);
    EXPECT_EQ(TakeIds().size(), 4u);
    Simulate(1);
    Grabber().Close();
    EXPECT_EQ(status(), "Closed");
    EXPECT_FALSE(Grabber().GetWaitObject().Wait(0));
    EXPECT_EQ(m_camera->Int("GevMCPHostPort")->GetValue(), 0);
    Grabber().Open();
    EXPECT_TRUE(TakeIds().empty());
}

TEST_F(GigEEventTest, OnlyWhoHasControlAndAskedForThemGetsEvents) {
    m_camera.reset();
    m_camera.emplace(Create(), ForStreaming());
    EXPECT_THROW(Grabber().Open(), GenICam::LogicalErrorException);
    OpenCamera monitor(Create(), AccessModeSet(Event));
    EXPECT_THROW(monitor.Device().GetEventGrabber()->Open(), GenICam::RuntimeException);
}

// The library's camera object on top: images with chunks, and nodes that events write.
TEST_F(GigEEventTest, TheLibraryReadsEventsAndChunks) {
    m_camera.reset();
    CInstantCamera camera(Create().release(), Cleanup_Delete);
    camera.GrabCameraEvents.SetValue(true);
    camera.Open();
    GenApi::INodeMap& map = camera.GetNodeMap();
    const auto set = [&](const char* name, const char* value) {
        GenApi::CValuePtr(map.GetNode(name))->FromString(value);
    };
    for (const auto& [name, value] :
         {std::pair{"Width", "64"}, std::pair{"Height", "64"}, std::pair{"ChunkModeActive", "1"},
          std::pair{"ChunkSelector", "Timestamp"}, std::pair{"ChunkEnable", "1"},
          std::pair{"ChunkSelector", "PayloadCRC16"}, std::pair{"ChunkEnable", "1"},
          std::pair{"EventSelector", "ExposureEnd"}, std::pair{"EventNotification", "On"}}) {
        set(name, value);
    }
    camera.StartGrabbing(10);
    int images = 0;
    std::int64_t last = 0;
    for (CGrabResultPtr result; camera.IsGrabbing(); ++images) {
        ASSERT_TRUE(camera.RetrieveResult(60000, result));
        ASSERT_TRUE(result->GrabSucceeded()) << result->GetErrorDescription();
        ASSERT_TRUE(result->IsChunkDataAvailable());
        EXPECT_TRUE(result->HasCRC() && result->CheckCRC());
        const auto stamp = GenApi::CIntegerPtr(result->GetChunkDataNodeMap().GetNode("ChunkTimestamp"))->GetValue();
        EXPECT_GT(stamp, last);
        last = stamp;
    }
    EXPECT_EQ(images, 10);
    const GenApi::CIntegerPtr frame(map.GetNode("EventExposureEndFrameID"));
    ASSERT_TRUE(frame.IsValid());
    EXPECT_GT(frame->GetValue(), 0);
}

} // namespace
