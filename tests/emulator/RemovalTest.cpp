#include "Emulator.h"

#include <fakes/Failure.h>
#include <fakes/LogRecorder.h>
#include <zelmo/Device.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <stdexcept>
#include <thread>
#include <utility>

using namespace Emulator;

namespace {

/// Who is told of removals, and does something of its own then.
class Witness {
public:
    explicit Witness(std::function<void(Zelmo::IZelmoDevice*)> action = [](auto) {}) : m_action(std::move(action)) {}

    Zelmo::DeviceCallbackHandle Watch(Zelmo::IZelmoDevice& device) {
        m_device = &device;
        return Zelmo::RegisterRemovalCallback(&device, *this, &Witness::OnRemoved);
    }
    bool IsTold(int timeoutMs = 60000) const {
        return m_isTold.wait_for(std::chrono::milliseconds(timeoutMs)) == std::future_status::ready;
    }
    int Calls() const { return m_calls; }

private:
    void OnRemoved(Zelmo::IZelmoDevice* device) {
        EXPECT_EQ(device, m_device);
        EXPECT_NE(std::this_thread::get_id(), m_creator);
        ++m_calls;
        std::promise<void> told = std::move(m_told); // whoever waits may end this witness at once
        m_action(device);
        told.set_value();
    }

    const std::thread::id m_creator = std::this_thread::get_id();
    const std::function<void(Zelmo::IZelmoDevice*)> m_action;
    Zelmo::IZelmoDevice* m_device = nullptr;
    std::atomic<int> m_calls = 0;
    std::promise<void> m_told;
    const std::future<void> m_isTold = m_told.get_future();
};

class RemovalTest : public ::testing::Test {
protected:
    Zelmo::IZelmoDevice& Device() { return m_camera->Device(); }
    void Pull() { m_camera->Execute("SimulateRemoval"); }

    Library m_library{"2"};
    std::optional<Camera> m_camera{std::in_place};
};

TEST_F(RemovalTest, EveryDeviceObjectOfTheCameraLearnsOfItOnce) {
    const Fakes::LogRecorder log;
    Camera other("0815-0001");
    DevicePtr monitor = Create(), closed = Create();
    monitor->Open(Zelmo::AccessModeSet());
    Witness bad([](auto) { throw std::runtime_error("bad witness"); }), good, ofMonitor, ofOther, ofClosed, gone, late;
    bad.Watch(Device());
    good.Watch(Device());
    ofMonitor.Watch(*monitor);
    ofOther.Watch(other.Device());
    ofClosed.Watch(*closed);
    Device().DeregisterRemovalCallback(gone.Watch(Device()));
    EXPECT_FALSE(Device().IsRemoved());
    Pull();
    EXPECT_TRUE(good.IsTold() && ofMonitor.IsTold());
    late.Watch(Device());
    EXPECT_TRUE(late.IsTold()) << "who comes late, is told at once";
    EXPECT_THROW(Pull(), GenICam::RuntimeException);
    Device().Close(); // no more callbacks
    EXPECT_EQ(bad.Calls() + good.Calls() + late.Calls(), 3);
    EXPECT_EQ(gone.Calls() + ofOther.Calls() + ofClosed.Calls(), 0);
    EXPECT_EQ(log.Count("zelmo.camemu", GenICam::LogPriority_Error, "bad witness"), 1u);
    EXPECT_TRUE(Device().IsRemoved()) << "until it is opened again";
    EXPECT_FALSE(other.Device().IsRemoved());
}

TEST_F(RemovalTest, TheCameraIsGoneUntilNobodyHasItOpenAndSomebodyLooks) {
    const GenApi::CValuePtr status = Device().GetTLNodeMap()->GetNode("DeviceAccessStatus");
    DevicePtr monitor = Create();
    monitor->Open(Zelmo::AccessModeSet());
    m_camera->Set("Gain", "3");
    Pull();
    EXPECT_THROW(m_camera->Set("Gain", "4"), GenICam::RuntimeException);
    EXPECT_THROW(m_camera->Text("AcquisitionStatus"), GenICam::RuntimeException);
    EXPECT_EQ(status->ToString(), "NoAccess");
    Device().Close();
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
    EXPECT_EQ(m_camera->Text("Gain"), "3") << "the camera itself was not touched";
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
    session.Queue(0); // nobody fills it
    session->StopStreaming();
    EXPECT_EQ(session.Parameter("StreamDeliveredFrameCount"), begun);
    EXPECT_THROW(session->StartStreaming(), GenICam::RuntimeException);
    session->FlushBuffers();
    EXPECT_EQ(session.Take().status, Zelmo::GrabStatus_Canceled);
    EXPECT_FALSE(session->GetWaitObject().Wait(0));
    EXPECT_NO_THROW(session->DeregisterBuffer(session.Handle(0)));
    EXPECT_NO_THROW(session->FinishGrab());
    EXPECT_THROW(session.Parameter("PayloadSize"), GenICam::RuntimeException);
    EXPECT_THROW(session->PrepareGrab(), GenICam::RuntimeException);
    session->Close();
    EXPECT_THROW(session->Open(), GenICam::RuntimeException);
}

TEST_F(RemovalTest, DeregisteringAndClosingWaitForTheCallback) {
    for (const bool deregisters : {true, false}) {
        std::atomic<bool> isRunning = false, isDone = false;
        Witness slow([&](auto) {
            isRunning = true;
            for (int i = 0; i < 1000; ++i)
                std::this_thread::yield();
            isDone = true;
        });
        const auto handle = slow.Watch(Device());
        Pull();
        while (!isRunning)
            std::this_thread::yield();
        deregisters ? Device().DeregisterRemovalCallback(handle) : Device().Close();
        EXPECT_TRUE(isDone);
        m_camera.reset();
        m_camera.emplace();
    }
}

TEST_F(RemovalTest, TheCallbackMayDeregisterItselfAndDestroyTheDevice) {
    std::atomic<bool> isPulled = false;
    Zelmo::DeviceCallbackHandle handle = 0;
    Witness last, destroyer([&](auto device) {
        while (!isPulled)
            std::this_thread::yield();
        device->DeregisterRemovalCallback(handle);
        m_camera.reset();
    });
    handle = destroyer.Watch(Device());
    last.Watch(Device());
    Pull();
    isPulled = true;
    EXPECT_TRUE(destroyer.IsTold());
    EXPECT_EQ(last.Calls(), 0) << "the device that it would be told of is gone";
    EXPECT_EQ(m_library.Devices().size(), 2u);
}

TEST(RemovalStressTest, AllIsAccountedForWhateverIsOpenedReadStreamedAndPulledAtTheSameTime) {
    Library library("1");
    std::atomic<int> sessions = 0;
    const auto streamUntilRemoved = [&] {
        Camera camera;
        camera.CountFrames();
        Witness witness;
        const auto handle = witness.Watch(camera.Device());
        Session session(camera, 4);
        session->StartStreaming();
        session.QueueAll();
        camera.Execute("AcquisitionStart");
        std::thread reader([&] {
            while (session.Parameter("StreamDeliveredFrameCount") < 5)
                EXPECT_LE(session.Parameter("StreamInputBufferCount"), 4);
            camera.Execute("SimulateRemoval");
        });
        int frames = 0;
        for (; !witness.IsTold(0); session->GetWaitObject().Wait(1))
            for (const auto& result : session.TakeAll()) {
                session.Requeue(result);
                ++frames;
            }
        reader.join();
        session->StopStreaming();
        session->FlushBuffers();
        for (const auto& result : session.TakeAll())
            frames += result.status == Zelmo::GrabStatus_Grabbed;
        EXPECT_EQ(session.Parameter("StreamStartedFrameCount"), frames);
        EXPECT_EQ(session.Parameter("StreamDeliveredFrameCount"), frames);
        camera.Device().DeregisterRemovalCallback(handle);
        EXPECT_EQ(witness.Calls(), 1);
        ++sessions;
    };
    const auto watch = [&] {
        Witness witness;
        DevicePtr monitor = Create();
        monitor->Open(Zelmo::AccessModeSet());
        witness.Watch(*monitor);
        GenApi::CValuePtr(monitor->GetTLNodeMap()->GetNode("DeviceAccessStatus"))->ToString();
        GenApi::CValuePtr(monitor->GetNodeMap()->GetNode("AcquisitionStatus"))->ToString();
    }; // goes while registered: no callback comes later
    std::vector<std::thread> threads;
    for (const auto& step :
         std::vector<std::function<void()>>{streamUntilRemoved, streamUntilRemoved, watch, [&] { library.Devices(); }})
        threads.emplace_back([&sessions, step] {
            while (sessions < 60)
                try {
                    step();
                } catch (const GenICam::GenericException&) { // somebody else has the camera, or it is gone
                    std::this_thread::yield();
                }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(library.Devices().size(), 1u);
    EXPECT_NO_THROW(Camera()) << "nobody was left behind";
}

} // namespace
