// SPDX-License-Identifier: Apache-2.0

// The events of emulated cameras: their messages, read here without the library.

#include "Emulator.h"

#include <zelmo/Device.h>
#include <zelmo/EventGrabber.h>

#include <gmock/gmock.h>

#include <algorithm>

using namespace Emulator;
using namespace Zelmo;
using testing::ElementsAre;

namespace {

enum : unsigned { kExposureEnd = 0x9001, kFrameStart, kOvertrigger, kCriticalTemperature, kOverrun };

struct Message {
    unsigned id;
    std::uint64_t frame, timestamp;
};

std::uint64_t Number(const std::uint8_t* bytes, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

AccessModeSet ForEvents() {
    return ForStreaming() | Event;
}

class EventTest : public testing::Test {
protected:
    IEventGrabber& Grabber() { return *m_camera.Device().GetEventGrabber(); }
    std::int64_t Count(const char* name) {
        return GenApi::CIntegerPtr(Grabber().GetNodeMap()->GetNode(name))->GetValue();
    }
    void SetNumBuffer(std::int64_t value) {
        GenApi::CIntegerPtr(Grabber().GetNodeMap()->GetNode("NumBuffer"))->SetValue(value);
    }
    void Notify(const std::vector<const char*>& events) {
        for (const char* event : events) {
            m_camera.Set("EventSelector", event);
            m_camera.Set("EventNotification", "On");
        }
    }
    void Simulate(const char* event, int count) {
        m_camera.Set("EventSelector", event);
        m_camera.Set("SimulateEventsCount", std::to_string(count));
        m_camera.Execute("SimulateEvents");
    }
    /// All that wait; each is checked for the layout of its message.
    std::vector<Message> Take() {
        std::vector<Message> messages;
        while (Grabber().GetWaitObject().Wait(0)) {
            EventResult result;
            std::fill(std::begin(result.buffer), std::end(result.buffer), std::uint8_t{0xEE});
            EXPECT_TRUE(Grabber().RetrieveEvent(result));
            EXPECT_EQ(result.status, 0);
            EXPECT_EQ(Number(result.buffer, 6), 0x421000C00018u); // magic, extended ids, event command, 24 bytes
            EXPECT_NE(Number(result.buffer + 6, 2), 0u);
            EXPECT_TRUE(std::all_of(result.buffer + 32, std::end(result.buffer), [](auto byte) { return byte == 0; }));
            messages.push_back({static_cast<unsigned>(Number(result.buffer + 10, 2)), Number(result.buffer + 16, 8),
                                Number(result.buffer + 24, 8)});
        }
        EventResult none;
        EXPECT_FALSE(Grabber().RetrieveEvent(none));
        return messages;
    }
    std::vector<unsigned> TakeIds() {
        std::vector<unsigned> ids;
        for (const Message& message : Take()) {
            ids.push_back(message.id);
        }
        return ids;
    }

    const Library m_library{"1"};
    Camera m_camera{"0815-0000", ForEvents()};
};

} // namespace

TEST_F(EventTest, ImagesAreAccompaniedByTheirStartAndTheEndOfTheirExposure) {
    Notify({"FrameStart", "ExposureEnd"});
    m_camera.Set("Width", "64");
    m_camera.Set("Height", "64");
    m_camera.Set("AcquisitionFrameRate", "100");
    m_camera.Set("ExposureTime", "2000");
    Grabber().Open();
    Session session(m_camera, 3);
    session.QueueAll();
    session->StartStreaming();
    m_camera.Execute("AcquisitionStart");
    const std::vector<GrabResult> images{session.Take(), session.Take()};
    m_camera.Execute("AcquisitionStop");
    const std::vector<Message> messages = Take();
    ASSERT_GE(messages.size(), 4u);
    for (std::size_t i = 0; i < images.size(); ++i) {
        const Message &start = messages[2 * i], &end = messages[2 * i + 1];
        EXPECT_EQ(start.id, kFrameStart);
        EXPECT_EQ(end.id, kExposureEnd);
        EXPECT_EQ(start.frame, images[i].blockId);
        EXPECT_EQ(end.frame, images[i].blockId);
        EXPECT_EQ(start.timestamp, images[i].timeStamp);
        EXPECT_EQ(end.timestamp - start.timestamp, 2000000u);
    }
}

TEST_F(EventTest, ATriggerThatComesTooEarlyIsToldAndOneThatIsTakenStartsItsFrameAtOnce) {
    Notify({"FrameStart", "FrameStartOvertrigger", "ExposureEnd"});
    m_camera.Set("TriggerMode", "On");
    m_camera.Set("ExposureTime", "1000000");
    Grabber().Open();
    Session session(m_camera, 1);
    session.QueueAll();
    session->StartStreaming();
    m_camera.Execute("TriggerSoftware"); // without an acquisition it means nothing
    m_camera.Execute("AcquisitionStart");
    EXPECT_THAT(TakeIds(), ElementsAre());
    m_camera.Execute("TriggerSoftware");
    EXPECT_THAT(TakeIds(), ElementsAre(kFrameStart));
    m_camera.Execute("TriggerSoftware");
    const std::vector<Message> early = Take();
    ASSERT_EQ(early.size(), 1u);
    EXPECT_EQ(early[0].id, kOvertrigger);
    EXPECT_EQ(early[0].frame, 0u);
    EXPECT_EQ(m_camera.Int("TriggerMissedCount")->GetValue(), 1);
    m_camera.Set("ExposureTime", "1000"); // ends at once
    const GrabResult image = session.Take();
    EXPECT_THAT(TakeIds(), ElementsAre(kExposureEnd));
    m_camera.Execute("TriggerSoftware");
    const std::vector<Message> next = Take();
    ASSERT_FALSE(next.empty());
    EXPECT_EQ(next[0].id, kFrameStart);
    EXPECT_EQ(next[0].frame, image.blockId + 1);
}

TEST_F(EventTest, AFullQueueDropsTheOldestAndTellsItOnce) {
    SetNumBuffer(4);
    Notify({"CriticalTemperature", "EventOverrun"});
    Grabber().Open();
    EXPECT_THROW(SetNumBuffer(5), GenICam::AccessException);
    Simulate("CriticalTemperature", 7);
    EXPECT_EQ(Count("Statistic_Total_Event_Count"), 7);
    EXPECT_EQ(Count("Statistic_Failed_Event_Count"), 3);
    EXPECT_EQ(Count("Statistic_Last_Failed_Event_Buffer_Status"), 1);
    const std::vector<Message> messages = Take();
    ASSERT_EQ(messages.size(), 5u);
    EXPECT_EQ(messages[0].id, kOverrun);
    EXPECT_EQ(messages[0].frame, 0u); // of the first that was dropped
    for (std::size_t i = 1; i < messages.size(); ++i) {
        EXPECT_EQ(messages[i].id, kCriticalTemperature);
        EXPECT_EQ(messages[i].frame, i + 2);
    }
    Simulate("CriticalTemperature", 5);
    EXPECT_EQ(Take().size(), 5u);
    m_camera.Set("EventSelector", "EventOverrun");
    m_camera.Set("EventNotification", "Off");
    Simulate("CriticalTemperature", 6);
    EXPECT_EQ(TakeIds(), std::vector<unsigned>(4, kCriticalTemperature));
    EXPECT_EQ(Count("Statistic_Failed_Event_Count"), 6);
}

TEST_F(EventTest, OnlyAnOpenGrabberThatWasPermittedCollectsAndOneAtATime) {
    Notify({"CriticalTemperature"});
    Simulate("CriticalTemperature", 2);
    EXPECT_THAT(TakeIds(), ElementsAre());
    Grabber().Open();
    EXPECT_TRUE(Grabber().IsOpen());
    EXPECT_EQ(Count("Statistic_Total_Event_Count"), 0);
    EXPECT_THROW(Grabber().Open(), GenICam::LogicalErrorException);
    Simulate("FrameStart", 3); // nobody wants them
    Simulate("CriticalTemperature", 2);
    {
        const DevicePtr monitor = Create();
        monitor->Open(AccessModeSet(Event));
        EXPECT_THROW(monitor->GetEventGrabber()->Open(), GenICam::RuntimeException);
        const DevicePtr other = Create();
        other->Open(AccessModeSet());
        EXPECT_THROW(other->GetEventGrabber()->Open(), GenICam::LogicalErrorException);
    }
    Grabber().Close();
    EXPECT_FALSE(Grabber().GetWaitObject().Wait(0));
    EXPECT_EQ(Count("Statistic_Total_Event_Count"), 2);
    Simulate("CriticalTemperature", 2);
    Grabber().Open();
    EXPECT_THAT(TakeIds(), ElementsAre());
    Simulate("CriticalTemperature", 1);
    EXPECT_THAT(TakeIds(), ElementsAre(unsigned{kCriticalTemperature}));
    m_camera.Execute("DeviceReset");
    Simulate("CriticalTemperature", 1);
    EXPECT_THAT(TakeIds(), ElementsAre());
    m_camera.Execute("SimulateRemoval");
    Grabber().Close();
    EXPECT_THROW(Grabber().Open(), GenICam::RuntimeException);
}
