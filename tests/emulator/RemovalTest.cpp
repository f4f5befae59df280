// SPDX-License-Identifier: Apache-2.0
#include "Emulator.h"
#include "plugins/Witness.h"

#include <fakes/Failure.h>
#include <fakes/LogRecorder.h>
#include <zelmo/Device.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

using namespace Emulator;

namespace {

class RemovalTest : public ::testing::Test {
protected:
    Zelmo::IZelmoDevice& Device() { return m_camera->Device(); }
    void Pull() { m_camera->Execute("SimulateRemoval"); }

    Library m_library{"2"};
    std::optional<Camera> m_camera{std::in_place};
};

TEST_F(RemovalTest, EveryDeviceObjectOfTheCameraLearnsOfItOnce) {
    const Fakes::LogRecorder log;
    DevicePtr monitor = Create();
    monitor->Open(Zelmo::AccessModeSet());
    Witness bad([](auto) { throw RUNTIME_EXCEPTION("bad witness"); }), good, ofMonitor, gone, late;
    bad.Watch(Device());
    good.Watch(Device());
    ofMonitor.Watch(*monitor);
    Device().DeregisterRemovalCallback(gone.Watch(Device()));
    Pull();
    Await([&] { return good.calls && ofMonitor.calls; });
    late.Watch(Device());
    Await([&] { return late.calls > 0; }); // who comes late, is told at once
    EXPECT_THROW(Pull(), GenICam::RuntimeException);
    Device().Close(); // no more callbacks
    EXPECT_EQ(good.calls + gone.calls + late.calls, 2);
    EXPECT_EQ(log.Count("zelmo.camemu", GenICam::LogPriority_Error, "bad witness"), 1u);
    EXPECT_TRUE(Device().IsRemoved()) << "until it is opened again";
}

TEST_F(RemovalTest, TheCameraIsGoneUntilNobodyHasItOpenAndSomebodyLooks) {
    GenApi::INodeMap& connection = *Device().GetTLNodeMap();
    const auto show = [&](const char* name) { return GenApi::CValuePtr(connection.GetNode(name))->ToString(); };
    DevicePtr monitor = Create();
    monitor->Open(Zelmo::AccessModeSet());
    Device().Close();
    Device().Open(ForStreaming());
    m_camera->Execute("AcquisitionStop");
    Pull();
    EXPECT_THROW(m_camera->Execute("AcquisitionStop"), GenICam::RuntimeException);
    EXPECT_THROW(m_camera->Text("AcquisitionStatus"), GenICam::RuntimeException);
    Zelmo::String_t url, bytes;
    EXPECT_THROW(dynamic_cast<Zelmo::IDescriptionSource&>(Device()).GetDescription(url, bytes),
                 GenICam::RuntimeException);
    Device().Close();
    EXPECT_EQ(show("DeviceAccessStatus"), "NoAccess");
    EXPECT_EQ(show("Statistic_Write_Operations_Count"), "3");
    EXPECT_EQ(show("Statistic_Write_Operations_Failed_Count"), "1");
    EXPECT_EQ(show("Statistic_Read_Operations_Failed_Count"), "1");
    EXPECT_EQ(m_library.Devices().size(), 1u);
    EXPECT_THROW(Create(), GenICam::RuntimeException);
    monitor->Close();
    auto reason = Zelmo::DeviceAccessibility_Unknown;
    EXPECT_FALSE(Zelmo::CTlFactory::GetInstance().IsDeviceAccessible(Pattern("0815-0000"), Zelmo::Control, &reason));
    EXPECT_EQ(reason, Zelmo::DeviceAccessibility_NotReachable);
    EXPECT_EQ(Fakes::FailureOf([&] { Device().Open(ForStreaming()); }),
              "Cannot open device 'HarlixCamEmu 0815-0000': it was removed, and is not back yet.");
    EXPECT_EQ(m_library.Devices().size(), 2u);
    Device().Open(ForStreaming());
    EXPECT_FALSE(Device().IsRemoved());
}

TEST_F(RemovalTest, StreamingEndsAndEveryBufferComesBack) {
    m_camera->CountFrames();
    Session session(*m_camera, 4);
    session->StartStreaming();
    session.QueueAll();
    m_camera->Execute("AcquisitionStart");
    session.Requeue(session.Take());
    Pull();
    session->FlushBuffers();
    EXPECT_EQ(session.TakeAll().size(), 4u);
    const auto begun = session.Parameter("StreamStartedFrameCount");
    session.Queue(0);
    EXPECT_FALSE(session->GetWaitObject().Wait(50)) << "nobody fills it";
    session->StopStreaming();
    EXPECT_EQ(session.Parameter("StreamDeliveredFrameCount"), begun);
    EXPECT_THROW(session->StartStreaming(), GenICam::RuntimeException);
    session->FlushBuffers();
    EXPECT_EQ(session.Take().status, Zelmo::GrabStatus_Canceled);
    EXPECT_NO_THROW(session->DeregisterBuffer(session.Handle(0)));
    EXPECT_NO_THROW(session->FinishGrab());
    EXPECT_THROW(session.Parameter("PayloadSize"), GenICam::RuntimeException);
    EXPECT_THROW(session->PrepareGrab(), GenICam::RuntimeException);
    session->Close();
    EXPECT_THROW(session->Open(), GenICam::RuntimeException);
}

TEST_F(RemovalTest, ItComesAfterAsManyImagesOfTheStreamAsTold) {
    Witness witness;
    witness.Watch(Device());
    m_camera->CountFrames();
    m_camera->Set("SimulateRemovalDelay", "3");
    Pull();
    Session session(*m_camera, 8);
    session->StartStreaming();
    session.QueueAll();
    session->FlushBuffers(); // what comes back so is no image
    session.TakeAll();
    session.QueueAll();
    m_camera->Execute("AcquisitionStart");
    for (std::uint64_t frame = 0; frame < 3; ++frame) {
        EXPECT_EQ(session.Take().blockId, frame);
    }
    Await([&] { return witness.calls > 0; });
    EXPECT_TRUE(Device().IsRemoved());
    session->StopStreaming();
    session->FlushBuffers();
    EXPECT_EQ(session.TakeAll().size(), 5u);
    EXPECT_EQ(session.Parameter("StreamStartedFrameCount"), 3);
}

TEST_F(RemovalTest, TheCameraIsAwayAsLongAsTold) {
    m_camera->Set("SimulateRemovalDuration", "300");
    const auto before = std::chrono::steady_clock::now();
    Pull();
    Device().Close();
    Await([&] { return m_library.Devices().size() == 2; });
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(300));
    Device().Open(ForStreaming());
    EXPECT_EQ(m_camera->Text("SimulateRemovalDuration"), "300") << "settings are kept";
    m_camera->Set("SimulateRemovalDuration", "-1");
    Pull();
    Device().Close();
    EXPECT_EQ(m_library.Devices().size(), 1u);
    EXPECT_THROW(Device().Open(ForStreaming()), GenICam::RuntimeException);
    EXPECT_THROW(Create(), GenICam::RuntimeException);
}

TEST_F(RemovalTest, TheCameraComesBackWithItsDefaultsWhereTold) {
    m_camera->Set("DeviceUserID", "left eye");
    for (const char* settings : {"Keep", "Default"}) {
        m_camera->Set("Width", "64");
        m_camera->Set("SimulateRemovalSettings", settings);
        Pull();
        Device().Close();
        EXPECT_EQ(m_library.Devices().size(), 2u);
        Device().Open(ForStreaming());
        EXPECT_EQ(m_camera->Text("Width"), settings == std::string("Keep") ? "64" : "1024");
        EXPECT_EQ(m_camera->Text("DeviceUserID"), "left eye");
    }
    EXPECT_EQ(m_camera->Text("SimulateRemovalSettings"), "Keep");
}

TEST_F(RemovalTest, DeregisteringAndClosingWaitForTheCallback) {
    for (const bool deregisters : {true, false}) {
        std::atomic<bool> isRunning = false;
        Witness slow([&](auto) {
            isRunning = true;
            for (int i = 0; i < 1000; ++i) {
                std::this_thread::yield();
            }
        });
        const auto handle = slow.Watch(Device());
        Pull();
        Await([&] { return isRunning.load(); });
        deregisters ? Device().DeregisterRemovalCallback(handle) : Device().Close();
        EXPECT_EQ(slow.calls, 1);
        m_camera.emplace();
    }
}

TEST_F(RemovalTest, TheCallbackMayDeregisterItselfAndDestroyTheDevice) {
    std::atomic<Zelmo::DeviceCallbackHandle> handle = 0;
    Witness last, destroyer([&](auto device) {
        Await([&] { return handle != 0; }); // SimulateRemoval is done
        device->DeregisterRemovalCallback(handle);
        m_camera.reset();
    });
    const auto registered = destroyer.Watch(Device());
    last.Watch(Device());
    Pull();
    handle = registered;
    Await([&] { return destroyer.calls > 0; });
    EXPECT_EQ(last.calls, 0) << "the device that it would be told of is gone";
}

TEST(RemovalStressTest, AllIsAccountedForWhateverIsOpenedReadStreamedAndPulledAtTheSameTime) {
    Library library("1");
    std::atomic<int> sessions = 0;
    const auto streamUntilRemoved = [&] {
        Camera camera;
        camera.CountFrames();
        Witness witness;
        witness.Watch(camera.Device());
        Session session(camera, 4);
        session->StartStreaming();
        session.QueueAll();
        const bool comesOfTheStream = sessions % 2 == 1;
        if (comesOfTheStream) {
            camera.Set("SimulateRemovalDelay", "5");
            camera.Execute("SimulateRemoval");
        }
        camera.Execute("AcquisitionStart");
        std::thread reader([&] {
            Await([&] { return session.Parameter("StreamDeliveredFrameCount") >= 5; });
            if (!comesOfTheStream) {
                camera.Execute("SimulateRemoval");
            }
        });
        int frames = 0;
        for (; witness.calls == 0; session->GetWaitObject().Wait(1)) {
            for (const auto& result : session.TakeAll()) {
                session.Requeue(result);
                ++frames;
            }
        }
        reader.join();
        session->StopStreaming();
        session->FlushBuffers();
        for (const auto& result : session.TakeAll()) {
            frames += result.status == Zelmo::GrabStatus_Grabbed;
        }
        EXPECT_EQ(session.Parameter("StreamStartedFrameCount"), frames);
        EXPECT_EQ(session.Parameter("StreamDeliveredFrameCount"), frames);
        camera.Device().Close();
        EXPECT_EQ(witness.calls, 1);
        ++sessions;
    };
    const auto watch = [&] {
        Witness witness;
        DevicePtr monitor = Create(); // goes while the witness is registered: no callback comes later
        monitor->Open(Zelmo::AccessModeSet());
        witness.Watch(*monitor);
        GenApi::CValuePtr(monitor->GetTLNodeMap()->GetNode("DeviceAccessStatus"))->ToString();
    };
    std::vector<std::jthread> threads;
    const std::function<void()> steps[] = {streamUntilRemoved, streamUntilRemoved, watch, [&] { library.Devices(); }};
    for (const auto& step : steps) {
        threads.emplace_back([&sessions, &step] {
            while (sessions < 60) {
                try {
                    step();
                } catch (const GenICam::GenericException&) { // somebody else has the camera, or it is gone
                    std::this_thread::yield();
                }
            }
        });
    }
    threads.clear(); // joins them
    EXPECT_NO_THROW(Camera()) << "nobody was left behind";
}

} // namespace
