// SPDX-License-Identifier: Apache-2.0

// Sessions of camera objects with events: what becomes of each of them, and what their handlers and others do
// meanwhile.

#include "Emulator.h"

#include <fakes/Watchdog.h>

#include <zelmo/Device.h>
#include <zelmo/GrabResultData.h>
#include <zelmo/HandlerRegistration.h>
#include <zelmo/InstantCamera.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace Emulator;
using namespace Zelmo;

namespace {

std::int64_t Int(GenApi::INodeMap& map, const char* name) {
    return GenApi::CIntegerPtr(map.GetNode(name))->GetValue();
}

/// An open camera object with events of three kinds, which are counted as their handlers hear of them.
class EventCamera {
public:
    explicit EventCamera(const char* serialNumber = "0815-0000") {
        camera.GrabCameraEvents.SetValue(true);
        Attach(serialNumber);
    }

    void Attach(const char* serialNumber) {
        camera.Attach(CTlFactory::GetInstance().CreateDevice(Pattern(serialNumber)), Cleanup_Delete);
        camera.Open();
        map = &camera.GetNodeMap();
        grabber = &camera.GetEventGrabberNodeMap();
        Execute("DeviceReset");
        for (const auto& [name, value] : {std::pair{"Width", "64"},
                                          {"Height", "64"},
                                          {"TestImageSelector", "FrameCounter"},
                                          {"AcquisitionFrameRate", "100"},
                                          {"EventSelector", "EventOverrun"},
                                          {"EventNotification", "On"},
                                          {"EventSelector", "FrameStart"},
                                          {"EventNotification", "On"},
                                          {"EventSelector", "CriticalTemperature"},
                                          {"EventNotification", "On"}}) {
            Set(name, value);
        }
    }
    void Set(const char* name, const char* value) { GenApi::CValuePtr(map->GetNode(name))->FromString(value); }
    void Execute(const char* name) { GenApi::CCommandPtr(map->GetNode(name))->Execute(); }
    void Raise() { // CriticalTemperature, SimulateEventsCount times
        Execute("SimulateEvents");
        raised += static_cast<int>(Int(*map, "SimulateEventsCount"));
    }
    int Delivered() const { return hot + starts; }
    /// Since the start of the grab.
    std::int64_t Total() { return Int(*grabber, "Statistic_Total_Event_Count"); }
    std::int64_t Dropped() { return Int(*grabber, "Statistic_Failed_Event_Count"); }

    CInstantCamera camera;
    GenApi::INodeMap* map = nullptr;
    GenApi::INodeMap* grabber = nullptr; // of the events
    std::atomic<int> raised{0}, hot{0}, starts{0}, overruns{0};

private:
    CHandlerRegistration Count(const char* node, std::atomic<int>& count) {
        return OnEvent(camera, node, [&count] { ++count; });
    }
    const CHandlerRegistration m_registrations[3]{Count("EventCriticalTemperatureTimestamp", hot),
                                                  Count("EventFrameStartTimestamp", starts),
                                                  Count("EventOverrunEventTimestamp", overruns)};
};

} // namespace

TEST(EventSessionTest, EachOneIsDeliveredDroppedOrPendingAtTheStop) {
    enum EEnd { Cut, Full, Drained, Ends }; // while they come; when all have come; when all were handled as well
    constexpr int kBursts = 40, kBurst = 25, kCapacity = 16;
    const Library library("1");
    const Fakes::Watchdog watchdog;
    EventCamera given;
    given.Set("EventNotification", "Off");
    given.Set("EventSelector", "FrameStart");
    given.Set("EventNotification", "Off");
    given.Set("EventSelector", "CriticalTemperature");
    given.Set("EventNotification", "On");
    given.Set("SimulateEventsCount", std::to_string(kBurst).c_str());
    GenApi::CIntegerPtr(given.grabber->GetNode("NumBuffer"))->SetValue(kCapacity);
    std::int64_t allDropped = 0, allPending = 0;
    for (int session = 0; session < 30; ++session) {
        const auto end = static_cast<EEnd>(session % Ends);
        given.raised = given.hot = given.overruns = 0;
        given.camera.StartGrabbing();
        std::jthread raiser([&](const std::stop_token& stop) {
            for (int burst = 0; end == Cut ? !stop.stop_requested() : burst < kBursts; ++burst) {
                given.Raise();
            }
        });
        CGrabResultPtr result;
        while (end == Cut ? given.hot < 10 * kBurst : given.raised < kBursts * kBurst) {
            given.camera.RetrieveResult(1, result, TimeoutHandling_Return);
        }
        if (end == Drained) {
            given.camera.GetExtensionInterface().ProcessCameraEvents();
        }
        given.camera.StopGrabbing();
        const std::int64_t pending = given.Total() - given.Dropped() - given.hot;
        raiser.request_stop();
        raiser.join();
        EXPECT_GE(pending, 0);
        EXPECT_LE(pending, end == Drained ? 0 : kCapacity);
        if (end != Cut) {
            EXPECT_EQ(given.Total(), given.raised);
        }
        EXPECT_LE(given.overruns, given.Dropped());
        EXPECT_TRUE(end != Drained || given.Dropped() == 0 || given.overruns > 0) << "nobody told of the dropped ones";
        allDropped += given.Dropped();
        allPending += pending;
    }
    EXPECT_GT(allDropped, 0);
    EXPECT_GT(allPending, 0);
}

TEST(EventSessionTest, AdapterThatConnectsIsNoEvent) {
    const Library library("1");
    EventCamera given;
    int changes = 0;
    GenApi::INode* const node = given.map->GetNode("EventCriticalTemperatureTimestamp");
    const auto handle = GenApi::Register(
        node, [&](GenApi::INode*) { ++changes; }, GenApi::cbPostOutsideLock);
    given.camera.StartGrabbing();
    EXPECT_NE(given.camera.GetDevice()->CreateEventAdapter(), nullptr);
    EXPECT_GT(changes, 0);
    EXPECT_EQ(given.Delivered() + given.overruns, 0);
    node->DeregisterCallback(handle);
}

TEST(EventSessionTest, HandlerMayEndWhatCallsIt) {
    using Deed = void (CInstantCamera::*)();
    const Library library("1");
    const Fakes::Watchdog watchdog;
    for (const EGrabLoop loop : {GrabLoop_ProvidedByUser, GrabLoop_ProvidedByInstantCamera}) {
        for (const Deed deed : {Deed(&CInstantCamera::StopGrabbing), Deed(&CInstantCamera::Close),
                                Deed(&CInstantCamera::DetachDevice), Deed(&CInstantCamera::DestroyDevice)}) {
            EventCamera given;
            int calls = 0;
            IZelmoDevice* const device = given.camera.GetDevice();
            const CHandlerRegistration handler = OnEvent(given.camera, "EventCriticalTemperatureData", [&] {
                ++calls;
                (given.camera.*deed)();
                EXPECT_FALSE(given.camera.IsGrabbing());
            });
            // By the thread that handles it: another would be raising it while its node map ends.
            bool raised = false;
            const CHandlerRegistration first = OnImage(given.camera, [&](const CGrabResultPtr&) {
                if (!std::exchange(raised, true)) {
                    given.Raise();
                }
            });
            given.camera.StartGrabbing(GrabStrategy_OneByOne, loop);
            CGrabResultPtr result;
            while (loop == GrabLoop_ProvidedByUser && given.camera.RetrieveResult(5000, result)) {
            }
            EXPECT_TRUE(given.camera.GetGrabStopWaitObject().Wait(5000));
            given.camera.GetExtensionInterface().JoinGrabLoopThread();
            EXPECT_EQ(calls, 1);
            EXPECT_EQ(given.camera.IsOpen(), deed == &CInstantCamera::StopGrabbing);
            if (deed == &CInstantCamera::DetachDevice) {
                CTlFactory::GetInstance().DestroyDevice(device);
            }
            given.Attach("0815-0000");
            given.camera.StartGrabbing(1);
            EXPECT_TRUE(given.camera.RetrieveResult(5000, result));
        }
    }
}

/// Four cameras send images with chunks, and events; threads read and write their features, register handlers and make
/// events happen, until all four are pulled at once. Whatever came whole until then reaches the application.
TEST(EventSessionTest, NothingIsLostBetweenFourCamerasAndTheApplicationUntilTheyArePulled) {
    constexpr int kCameras = 4, kImages = 60;
    const Library library("4");
    const Fakes::Watchdog watchdog;
    struct Station : EventCamera {
        explicit Station(const std::string& serialNumber) : EventCamera(serialNumber.c_str()) {
            Set("ChunkModeActive", "1");
            for (const char* const chunk : {"Framecounter", "Timestamp", "Width", "PayloadCRC16"}) {
                Set("ChunkSelector", chunk);
                Set("ChunkEnable", "1");
            }
            Set("SimulateEventsCount", "3");
            GenApi::CIntegerPtr(grabber->GetNode("NumBuffer"))->SetValue(32);
            camera.MaxNumBuffer.SetValue(30);
            stream = &camera.GetStreamGrabberNodeMap();
        }
        void Retrieve() { // until no more comes of a camera that was pulled
            CGrabResultPtr result;
            for (bool isOver = false; !isOver;) {
                isOver = isPulled;
                while (camera.RetrieveResult(300, result, TimeoutHandling_Return)) {
                    isOver = false;
                    Check(*result.GetPtr());
                }
            }
        }
        void Check(CGrabResultData& result) {
            EXPECT_EQ(result.GetImageNumber(), ++images);
            if (!result.GrabSucceeded()) {
                ++failed;
                return;
            }
            EXPECT_TRUE(result.CheckCRC());
            EXPECT_EQ(Int(result.GetChunkDataNodeMap(), "ChunkTimestamp"),
                      static_cast<std::int64_t>(result.GetTimeStamp()));
        }

        GenApi::INodeMap* stream = nullptr;
        std::atomic<int> images{0}, failed{0}, told{0};
        std::atomic<bool> isPulled{false};
        const CHandlerRegistration onRemoved = OnRemoved(camera, [this] {
            ++told;
            isPulled = true;
        });
    };
    std::vector<std::unique_ptr<Station>> stations;
    for (int i = 0; i < kCameras; ++i) {
        stations.push_back(std::make_unique<Station>("0815-000" + std::to_string(i)));
        stations.back()->camera.StartGrabbing();
    }
    const auto areAll = [&](auto&& test) {
        return std::all_of(stations.begin(), stations.end(), [&](auto& station) { return test(*station); });
    };
    std::atomic<bool> isPulling{false};
    const auto untilPulled = [&](const std::function<void(Station&)>& step) { // at each camera in turn
        while (!areAll([](Station& station) { return station.isPulled.load(); })) {
            for (auto& station : stations) {
                try {
                    step(*station);
                } catch (const GenICam::GenericException& failure) {
                    EXPECT_TRUE(isPulling) << failure.GetDescription();
                }
            }
        }
    };
    {
        std::vector<std::jthread> threads;
        for (auto& station : stations) {
            threads.emplace_back([&station] { station->Retrieve(); });
        }
        const std::function<void(Station&)> steps[]{
            [](Station& station) { station.Raise(); },
            [](Station& station) {
                station.Set("Gain", "1.5");
                EXPECT_EQ(Int(*station.map, "Width"), 64);
                station.camera.NumReadyBuffers.GetValue();
            },
            [](Station& station) { OnEvent(station.camera, "EventFrameStartData", [] {}).End(); }};
        for (const auto& step : steps) {
            threads.emplace_back([&] { untilPulled(step); });
        }
        while (!areAll([](Station& station) { return station.images >= kImages; })) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        isPulling = true;
        for (auto& station : stations) {
            threads.emplace_back([&station] { station->Execute("SimulateRemoval"); });
        }
    }
    for (auto& station : stations) {
        const auto count = [&](const char* name) { return Int(*station->stream, name); };
        EXPECT_EQ(station->told, 1);
        EXPECT_EQ(count("StreamDeliveredFrameCount"), station->images - station->failed);
        EXPECT_EQ(count("Statistic_Failed_Buffer_Count"), station->failed);
        EXPECT_EQ(count("StreamStartedFrameCount"), station->images + count("StreamLostFrameCount"));
        EXPECT_EQ(station->Total(), station->Delivered() + station->Dropped());
        EXPECT_GE(station->Total(), station->raised);
        EXPECT_GT(station->starts, 0);
        EXPECT_GT(station->raised, 0);
        EXPECT_TRUE(station->Dropped() == 0 || station->overruns > 0);
    }
}
