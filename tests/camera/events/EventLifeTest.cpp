// SPDX-License-Identifier: Apache-2.0

// Handlers that take away what they stand on, and threads that cross them; each with a watchdog.

#include "camera/array/ArrayTest.h"
#include "fakes/Watchdog.h"

#include <GenApi/NodeCallback.h>

#include <memory>
#include <thread>
#include <vector>

using namespace Zelmo;

namespace {

using Deed = std::function<void(CInstantCamera&)>;

/// Writes down what it hears: its name and the value.
struct Listener final : CCameraEventHandler {
    Listener(char itsName, std::string& itsStory, Deed itsDeed = {})
        : name(itsName), story(itsStory), deed(std::move(itsDeed)) {}
    ~Listener() override { story += std::string("~") + name + " "; }
    void OnCameraEvent(CInstantCamera& camera, long, GenApi::INode* node) override {
        story += name + std::string(GenApi::CValuePtr(node)->ToString().c_str()) + " ";
        if (deed) {
            const Deed mine = std::exchange(deed, nullptr); // it may end this handler
            mine(camera);
        }
    }

    const char name;
    std::string& story;
    Deed deed;
};

class EventLifeTest : public testing::Test {
protected:
    EventLifeTest() {
        m_camera.RegisterConfiguration(nullptr, RegistrationMode_ReplaceAll, Cleanup_None);
        Attach();
        m_camera.GrabCameraEvents.SetValue(true);
    }
    ~EventLifeTest() override {
        m_station.device.isGone = false;
        m_camera.DetachDevice();
        EXPECT_EQ(m_station.device.faults, 0);
        EXPECT_THAT(m_station.device.Grabber().Violations(), testing::IsEmpty());
    }

    void Attach() {
        m_station.device.isGone = false;
        m_camera.Attach(&m_station.device, Cleanup_None);
    }
    /// The camera owns it.
    Listener* Register(char name, Deed deed = {}, const char* node = "EventValue",
                       ERegistrationMode mode = RegistrationMode_Append) {
        auto* const listener = new Listener(name, m_story, std::move(deed));
        m_camera.RegisterCameraEventHandler(listener, node, 0, mode, Cleanup_Delete, CameraEventAvailability_Mandatory);
        return listener;
    }
    bool Retrieve(unsigned ms = 0) { return m_camera.RetrieveResult(ms, m_result, kReturns); }
    std::string Told() { return std::exchange(m_story, {}); }
    GenApi::CIntegerPtr Value() { return {*m_station.device.CStreamDevice::GetNodeMap(), "EventValue"}; }

    const Fakes::Watchdog m_watchdog;
    std::string m_story;
    Station m_station{""};
    CInstantCamera m_camera;
    CGrabResultPtr m_result;
};

// In a handler

struct HandlerCase {
    const char* name;
    bool isOpenBefore;
    std::function<void(EventLifeTest&, CInstantCamera&, CCameraEventHandler*)> deed;
    const char* told; ///< Of the messages 1 and 2, by the handlers a, whose deed it is, and b.
};

class InHandlerTest : public EventLifeTest, public testing::WithParamInterface<HandlerCase> {
public:
    static void Replace(EventLifeTest& test, CInstantCamera&, CCameraEventHandler*) {
        static_cast<InHandlerTest&>(test).Register('c', {}, "EventValue", RegistrationMode_ReplaceAll);
    }
    static void LetGo(EventLifeTest& test, CInstantCamera& camera, void (CInstantCamera::*step)()) {
        (camera.*step)();
        static_cast<InHandlerTest&>(test).m_station.device.isGone = true;
    }
};

TEST_P(InHandlerTest, WhatItStandsOnMayGo) {
    const HandlerCase& given = GetParam();
    for (int round = 0; round < 2; ++round) { // all is as before for the next one
        Listener* self = nullptr;
        self = Register('a', [&](CInstantCamera& camera) { given.deed(*this, camera, self); });
        Register('b');
        if (given.isOpenBefore) {
            m_camera.Open();
        }
        m_camera.StartGrabbing();
        m_station.events.Put(1);
        m_station.events.Put(2);
        EXPECT_FALSE(Retrieve());
        EXPECT_EQ(Told(), given.told);
        Attach();
        m_camera.RegisterCameraEventHandler(nullptr, "", 0, RegistrationMode_ReplaceAll, Cleanup_None);
        Register('d');
        m_camera.StartGrabbing();
        Told();
        Retrieve(); // what is left of the two
        Told();
        m_station.events.Put(3);
        EXPECT_FALSE(Retrieve());
        EXPECT_EQ(Told(), "d3 ");
        m_camera.Close();
        m_camera.RegisterCameraEventHandler(nullptr, "", 0, RegistrationMode_ReplaceAll, Cleanup_None);
        Told();
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, InHandlerTest,
    testing::Values(HandlerCase{"Deregister", false,
                                [](auto&, CInstantCamera& camera, CCameraEventHandler* self) {
                                    camera.DeregisterCameraEventHandler(self, "EventValue");
                                },
                                "a1 ~a b1 b2 "},
                    HandlerCase{"ReplaceAll", false, &InHandlerTest::Replace, "a1 ~a ~b c2 "},
                    HandlerCase{"ReplaceAllByNone", false,
                                [](auto&, CInstantCamera& camera, auto*) {
                                    camera.RegisterCameraEventHandler(nullptr, "", 0, RegistrationMode_ReplaceAll,
                                                                      Cleanup_None);
                                },
                                "a1 ~a ~b "},
                    HandlerCase{"StopGrabbing", true,
                                [](auto&, CInstantCamera& camera, auto*) { camera.StopGrabbing(); }, "a1 b1 "},
                    HandlerCase{"StopGrabbingThatCloses", false,
                                [](auto&, CInstantCamera& camera, auto*) { camera.StopGrabbing(); }, "a1 "},
                    HandlerCase{"Close", true, [](auto&, CInstantCamera& camera, auto*) { camera.Close(); }, "a1 "},
                    HandlerCase{"DetachDevice", true,
                                [](auto& test, CInstantCamera& camera, auto*) {
                                    InHandlerTest::LetGo(test, camera, &CInstantCamera::DetachDevice);
                                },
                                "a1 "},
                    HandlerCase{"DestroyDevice", true,
                                [](auto& test, CInstantCamera& camera, auto*) {
                                    InHandlerTest::LetGo(test, camera, &CInstantCamera::DestroyDevice);
                                },
                                "a1 "}),
    [](const auto& given) { return std::string(given.param.name); });

// In a callback of the node map, while the adapter writes

TEST_F(EventLifeTest, EventsOfOneMessageReachTheHandlersOfTheirNodes) {
    Register('a');
    Register('b', {}, "EventOther");
    Register('c');
    m_camera.StartGrabbing();
    m_station.events.Put({{1, false}, {2, true}});
    EXPECT_FALSE(Retrieve());
    EXPECT_EQ(Told(), "a1 c1 b2 ");
    m_station.events.Put({{3, false}, {4, false}}); // behind the adapter: both calls find what came last
    EXPECT_FALSE(Retrieve());
    EXPECT_EQ(Told(), "a4 c4 a4 c4 ");
}

TEST_F(EventLifeTest, CallbackThatThrowsCostsNoHandlerItsEvent) {
    Register('a');
    m_camera.StartGrabbing();
    const auto handle = GenApi::Register(
        Value()->GetNode(), [](GenApi::INode*) { throw RUNTIME_EXCEPTION("bad callback"); }, GenApi::cbPostOutsideLock);
    m_station.events.Put(1);
    EXPECT_EQ(Fakes::FailureOf<GenICam::GenericException>([this] { Retrieve(); }), "bad callback");
    EXPECT_EQ(Told(), "a1 ");
    Value()->GetNode()->DeregisterCallback(handle);
    m_station.events.Put(2);
    EXPECT_FALSE(Retrieve());
    EXPECT_EQ(Told(), "a2 ");
}

TEST_F(EventLifeTest, CallbackThatFetchesOrStopsLeavesTheMessageWhole) {
    Register('a');
    Register('b', {}, "EventOther");
    m_camera.Open();
    m_camera.StartGrabbing();
    const std::function<void()> deeds[]{[this] { m_camera.GetExtensionInterface().ProcessCameraEvents(); },
                                        [this] { m_camera.StopGrabbing(); }};
    for (const auto& deed : deeds) {
        const auto handle = GenApi::Register(
            Value()->GetNode(), [&](GenApi::INode*) { deed(); }, GenApi::cbPostOutsideLock);
        m_station.events.Put({{1, false}, {2, true}});
        m_station.events.Put({{3, true}});
        EXPECT_FALSE(Retrieve());
        Value()->GetNode()->DeregisterCallback(handle);
        EXPECT_EQ(Told(), m_camera.IsGrabbing() ? "a1 b2 b3 " : "a1 b2 ");
    }
}

TEST_F(EventLifeTest, OpeningThatFailsInASessionWhoseDeviceHasClosedItselfEndsTheEvents) {
    Register('a');
    m_station.device.hasRemoval = false;
    m_station.device.isClosedByRemoval = true;
    m_camera.StartGrabbing();
    m_station.device.Fire();
    m_station.device.hook = [](const std::string& call) {
        if (call == "Open") {
            throw RUNTIME_EXCEPTION("not there");
        }
    };
    EXPECT_EQ(Fakes::FailureOf<GenICam::GenericException>([this] { m_camera.Open(); }), "not there");
    m_station.events.Put(1);
    EXPECT_FALSE(Retrieve());
    EXPECT_FALSE(m_station.events.isOpen);
    EXPECT_EQ(Told(), "");
    m_station.device.hook = nullptr;
}

// Other threads

TEST_F(EventLifeTest, WritesOfTheApplicationAreNoEventsWhileEventsCome) {
    constexpr int kCount = 2000;
    std::atomic<int> told{0}, ofOthers{0};
    const auto handler = OnEvent(m_camera, "EventValue", [&, self = std::this_thread::get_id()] {
        ++told;
        ofOthers += std::this_thread::get_id() != self ? 1 : 0;
    });
    m_camera.StartGrabbing();
    {
        std::vector<std::jthread> threads;
        const auto repeat = [&](std::function<void(int)> step) {
            threads.emplace_back([step = std::move(step)] {
                for (int i = 0; i < kCount; ++i) {
                    step(i);
                }
            });
        };
        repeat([this](int i) { m_station.events.Put(i); });
        repeat([this](int i) { Value()->SetValue(-i); });
        while (told < kCount) {
            Retrieve(100);
        }
    }
    Retrieve();
    EXPECT_EQ(told, kCount);
    EXPECT_EQ(ofOthers, 0);
}

/// A handler goes as soon as its registration has ended, be it by a replacement of the other thread's.
TEST_F(EventLifeTest, RegistrationsCrossAStorm) {
    std::atomic<int> calls{0};
    struct Counter final : CCameraEventHandler {
        explicit Counter(std::atomic<int>& itsCalls) : calls(itsCalls) {}
        void OnCameraEvent(CInstantCamera&, long, GenApi::INode*) override { ++calls; }
        std::atomic<int>& calls;
    };
    const auto add = [this](CCameraEventHandler* handler, ERegistrationMode mode, ECleanup cleanup) {
        m_camera.RegisterCameraEventHandler(handler, "EventValue", 0, mode, cleanup, CameraEventAvailability_Mandatory);
    };
    const std::function<void()> steps[]{[&] {
                                            Counter mine(calls);
                                            add(&mine, RegistrationMode_Append, Cleanup_None);
                                            m_camera.DeregisterCameraEventHandler(&mine, "EventValue");
                                        },
                                        [&] { add(new Counter(calls), RegistrationMode_ReplaceAll, Cleanup_Delete); }};
    m_station.events.isEndless = true;
    m_camera.StartGrabbing();
    m_station.events.Put(1);
    std::atomic<std::size_t> busy{std::size(steps)};
    std::vector<std::jthread> threads;
    for (const auto& step : steps) {
        threads.emplace_back([&] {
            for (int round = 0; round < 200 || calls < 20000; ++round) {
                step();
            }
            --busy;
        });
    }
    while (busy > 0) {
        Retrieve(1);
    }
    threads.clear();
    m_camera.RegisterCameraEventHandler(nullptr, "", 0, RegistrationMode_ReplaceAll, Cleanup_None);
}

/// The engine thread stops the acquisition at the last image, which changes a watched node, while somebody stops the
/// session and somebody else writes.
TEST_F(EventLifeTest, StopMeetsTheEndOfTheImages) {
    std::atomic<int> stops{0};
    m_station.device.hook = [&](const std::string& call) { stops += call == "AcquisitionStop" ? 1 : 0; };
    Register('s', {}, "AcquisitionStop");
    std::atomic<int> changes{0};
    GenApi::INode* const stopNode = m_station.device.CStreamDevice::GetNodeMap()->GetNode("AcquisitionStop");
    const auto handle = GenApi::Register(
        stopNode, [&](GenApi::INode*) { ++changes; }, GenApi::cbPostOutsideLock);
    m_camera.Open();
    std::jthread writer([this](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            Value()->SetValue(0);
        }
    });
    for (int round = 1; round <= 200; ++round) {
        Listener* const listener = Register('a', [](CInstantCamera& camera) { camera.StopGrabbing(); });
        m_camera.StartGrabbing(2);
        m_station.device.Grabber().Deliver();
        std::jthread last([this] { m_station.device.Grabber().Deliver(); });
        if (round % 2 == 0) {
            m_station.events.Put(1);
        }
        std::jthread stopper([&, round] {
            if (round % 2 != 0) {
                m_camera.StopGrabbing();
            }
        });
        while (m_camera.IsGrabbing()) {
            Retrieve(100);
        }
        m_camera.DeregisterCameraEventHandler(listener, "EventValue");
        EXPECT_EQ(stops, round);
    }
    EXPECT_GE(changes, 200);
    EXPECT_EQ(Told().find('s'), std::string::npos);
    stopNode->DeregisterCallback(handle);
    m_station.device.hook = nullptr;
}

} // namespace
