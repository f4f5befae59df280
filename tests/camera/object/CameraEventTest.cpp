// SPDX-License-Identifier: Apache-2.0
#include "CameraTest.h"
#include "ScriptedEvents.h"

#include <GenApi/Pointer.h>

#include <stdexcept>

using namespace Zelmo;
using GenICam::LogPriority_Error;

namespace {

class EventDiary : public CCameraEventHandler {
public:
    void OnCameraEvent(CInstantCamera& camera, long id, GenApi::INode* node) override {
        story += std::to_string(id) + ":" + GenApi::CIntegerPtr(node)->ToString().c_str() + " ";
        if (more) {
            more(camera);
        }
    }
    void OnCameraEventHandlerRegistered(CInstantCamera&, const String_t& nodeName, long id) override {
        story += std::string("+") + nodeName.c_str() + std::to_string(id) + " ";
    }
    void OnCameraEventHandlerDeregistered(CInstantCamera&, const String_t& nodeName, long id) override {
        story += std::string("-") + nodeName.c_str() + std::to_string(id) + " ";
    }
    std::string Told() { return std::exchange(story, {}); }

    std::string story;
    std::function<void(CInstantCamera&)> more;
};

class CameraEventTest : public testing::Test {
protected:
    CameraEventTest() {
        hxlog::LogEnable(true);
        m_events.nodeMap = m_device.GetNodeMap();
        m_device.eventGrabber = &m_events;
        m_device.eventAdapter = &m_events;
        m_camera.RegisterConfiguration(nullptr, RegistrationMode_ReplaceAll, Cleanup_None);
        m_camera.Attach(&m_device, Cleanup_None);
        m_camera.GrabCameraEvents.SetValue(true);
    }
    void Register(long id, const char* node = "EventValue",
                  ECameraEventAvailability availability = CameraEventAvailability_Mandatory) {
        m_camera.RegisterCameraEventHandler(&m_diary, node, id, RegistrationMode_Append, Cleanup_None, availability);
    }
    bool Look() { return m_camera.RetrieveResult(0, m_result, TimeoutHandling_Return); }

    Fakes::LogRecorder m_log{"zelmo.base.InstantCamera"};
    ScriptedEvents m_events;
    EventDiary m_diary;
    LifeDevice m_device{{}, "Life", {{"Integer", "EventSelector", 8, ""}, {"Integer", "EventValue", 9, ""}}};
    CInstantCamera m_camera;
    CGrabResultPtr m_result;
};

TEST_F(CameraEventTest, ReachTheHandlersOfTheirNodeOnTheThreadThatRetrieves) {
    Register(1);
    m_camera.StartGrabbing();
    Register(2);
    EXPECT_EQ(m_diary.Told(), "+EventValue1 +EventValue2 ");
    EXPECT_TRUE(m_events.isOpen);
    m_events.Put(7);
    m_events.Put(8);
    EXPECT_TRUE(m_camera.GetCameraEventWaitObject().Wait(0));
    EXPECT_FALSE(Look());
    EXPECT_EQ(m_diary.Told(), "1:7 2:7 1:8 2:8 ");
    std::jthread sender([this] { m_events.Put(9); });
    EXPECT_FALSE(m_camera.RetrieveResult(50, m_result, TimeoutHandling_Return)); // an event does not end the wait
    EXPECT_EQ(m_diary.Told(), "1:9 2:9 ");
    GenApi::CIntegerPtr(m_camera.GetNodeMap(), "EventValue")->SetValue(5); // no event
    EXPECT_EQ(m_diary.Told(), "");
    EXPECT_TRUE(m_camera.DeregisterCameraEventHandler(&m_diary, "EventValue"));
    EXPECT_FALSE(m_camera.DeregisterCameraEventHandler(&m_diary, "EventSelector"));
    m_events.Put(10);
    m_camera.GetExtensionInterface().ProcessCameraEvents();
    EXPECT_EQ(m_diary.Told(), "-EventValue2 1:10 ");
    m_camera.StopGrabbing();
    EXPECT_FALSE(m_events.isOpen);
    m_events.Put(11);
    m_camera.GetExtensionInterface().ProcessCameraEvents(); // nothing is grabbed
    EXPECT_EQ(m_diary.Told(), "");
}

TEST_F(CameraEventTest, FailedMessageIsToldAndTheGrabGoesOn) {
    Register(1);
    m_diary.Told();
    m_camera.StartGrabbing();
    m_events.Put(1, 5);
    m_events.Put(2);
    EXPECT_EQ(Fakes::FailureOf<>([&] { Look(); }), "Failure while event grabbing, msg = it was lost");
    m_diary.more = [](CInstantCamera&) { throw std::runtime_error("bad handler"); };
    EXPECT_FALSE(Look());
    EXPECT_EQ(m_diary.Told(), "1:2 ");
    EXPECT_EQ(m_log.Count("zelmo.base.InstantCamera", LogPriority_Error, ", rethrow=0, msg=bad handler"), 1U);
    m_device.Grabber().Deliver();
    EXPECT_TRUE(m_camera.RetrieveResult(kPatience, m_result));
}

TEST_F(CameraEventTest, NodeThatIsMissingFailsWhereItIsMandatory) {
    const char* const failure = "Node Nothing for registering camera event callback not found. The spelling of the "
                                "node's name may be wrong.";
    Register(1, "Nothing", CameraEventAvailability_Optional);
    m_camera.Open();
    EXPECT_EQ(m_diary.Told(), "+Nothing1 ");
    EXPECT_EQ(Fakes::FailureOf<>([&] { Register(2, "Nothing"); }), failure);
    EXPECT_EQ(m_diary.Told(), ""); // it never was
    m_camera.Close();
    Register(3, "Nothing");
    EXPECT_EQ(Fakes::FailureOf<>([&] { m_camera.Open(); }), failure);
    EXPECT_FALSE(m_camera.IsOpen());
    EXPECT_TRUE(m_camera.DeregisterCameraEventHandler(&m_diary, "Nothing"));
    m_camera.Open();
    EXPECT_EQ(m_diary.Told(), "+Nothing3 -Nothing3 ");
}

TEST_F(CameraEventTest, WhatAHandlerWritesIsNoEvent) {
    Register(1);
    Register(2);
    m_camera.StartGrabbing();
    m_diary.Told();
    m_diary.more = [&](CInstantCamera& camera) {
        m_diary.more = nullptr;
        GenApi::CIntegerPtr(camera.GetNodeMap(), "EventValue")->SetValue(77);
    };
    m_events.Put(1);
    m_events.Put(2);
    EXPECT_FALSE(Look());
    EXPECT_EQ(m_diary.Told(), "1:1 2:77 1:2 2:2 "); // the second one hears of the event, and finds what was written
}

TEST_F(CameraEventTest, CameraWithoutEventsOrThatFailsToOpenThemIsTold) {
    m_events.failsToOpen = true;
    EXPECT_EQ(Fakes::FailureOf<GenICam::GenericException>([&] { m_camera.StartGrabbing(); }),
              "Unexpected error! no events");
    EXPECT_FALSE(m_events.isOpen);
    m_events.failsToOpen = false;
    LifeDevice plain; // without "EventSelector"
    plain.eventGrabber = &m_events;
    m_camera.Attach(&plain, Cleanup_None);
    m_camera.StartGrabbing();
    EXPECT_FALSE(m_events.isOpen);
    EXPECT_EQ(&m_camera.GetCameraEventWaitObject(), &m_events.GetWaitObject());
    m_camera.DetachDevice();
}

} // namespace
