// SPDX-License-Identifier: Apache-2.0

// A camera that goes away while it is open: its process is stopped, which is a cut cable to its clients, or killed.

#include "GigE.h"
#include "plugins/Witness.h"

#include <fakes/Descriptors.h>
#include <zelmo/zelmo.h>

#include <chrono>

using namespace GigE;
using namespace Zelmo;

namespace {

using Clock = std::chrono::steady_clock;

class GigERemovalTest : public testing::Test {
protected:
    void Reopen() {
        m_camera.reset();
        m_camera.emplace(CreateImpatient(), ForStreaming());
    }
    IZelmoDevice& Device() { return m_camera->Device(); }

    std::optional<Served> m_served{std::in_place};
    const Library m_library;
    std::optional<OpenCamera> m_camera{std::in_place, CreateImpatient(), ForStreaming()};
};

TEST_F(GigERemovalTest, SilenceIsToldOnceAndBoundsAllThatFollows) {
    auto told = Clock::duration::max(), closed = told;
    const auto lose = [&] {
        Reopen();
        Witness witness, late;
        witness.Watch(Device());
        Session session(*m_camera, 4);
        session->StartStreaming();
        session.QueueAll();
        m_camera->Execute("AcquisitionStart");
        session.Requeue(session.Take());
        const auto cut = Clock::now();
        m_served->Stop();
        Await([&] { return witness.calls > 0; });
        told = std::min(told, Clock::now() - cut);
        EXPECT_TRUE(Device().IsRemoved());
        EXPECT_EQ(AccessStatus(Device()), "NoAccess");
        late.Watch(Device());
        Await([&] { return late.calls > 0; });
        EXPECT_THROW(m_camera->Text("AcquisitionStatus"), GenICam::RuntimeException);
        const auto closing = Clock::now();
        session->StopStreaming();
        session->FlushBuffers();
        EXPECT_EQ(session.TakeAll().size(), 4u);
        EXPECT_NO_THROW(session->FinishGrab());
        session->Close();
        Device().Close();
        closed = std::min(closed, Clock::now() - closing);
        EXPECT_EQ(witness.calls + late.calls, 2);
    };
    constexpr std::chrono::milliseconds kTold{1500}, kClosed{100};
    for (int attempt = 0; attempt < 5 && (told > kTold || closed > kClosed); ++attempt) { // on a busy machine
        lose();
        EXPECT_TRUE(Device().IsRemoved()) << "until it is opened again";
        EXPECT_THROW(Device().Open(ForStreaming()), GenICam::RuntimeException);
        EXPECT_TRUE(Devices().empty());
        m_served->Continue();
        Await([] { return Devices().size() == 1; });
        Device().Open(ForStreaming());
        EXPECT_FALSE(Device().IsRemoved());
        EXPECT_NE(m_camera->Text("AcquisitionStatus"), "");
    }
    EXPECT_LE(told, kTold);
    EXPECT_LE(closed, kClosed);
    printf("told %g closed %g\n", told.count() / 1e6, closed.count() / 1e6);
}

TEST_F(GigERemovalTest, AShortSilenceIsNone) {
    m_camera.reset();
    m_camera.emplace(Create(), ForStreaming()); // with 3 s of patience
    Witness witness;
    witness.Watch(Device());
    m_served->Stop();
    std::this_thread::sleep_for(std::chrono::milliseconds(800));
    m_served->Continue();
    m_camera->Set("Width", "128");
    std::this_thread::sleep_for(std::chrono::milliseconds(1500)); // a heartbeat or two
    EXPECT_EQ(witness.calls, 0);
    EXPECT_EQ(m_camera->Text("Width"), "128");
}

TEST_F(GigERemovalTest, ACameraThatStartedAnewIsAnotherSession) {
    Witness witness;
    witness.Watch(Device());
    m_camera->Set("Width", "128");
    m_served->Kill();
    m_served.emplace(); // has not heard of anybody who controls it
    Await([&] { return witness.calls > 0; });
    Device().Close();
    Reopen();
    EXPECT_NE(m_camera->Text("Width"), "128");
    EXPECT_EQ(witness.calls, 1);
}

TEST_F(GigERemovalTest, TheCallbackMayDestroyTheDevice) {
    Witness last, destroyer([&](auto) { m_camera.reset(); });
    destroyer.Watch(Device());
    last.Watch(Device());
    m_served->Kill();
    Await([&] { return destroyer.calls > 0; });
    EXPECT_EQ(last.calls, 0) << "the device that it would be told of is gone";
}

TEST_F(GigERemovalTest, OpeningAgainAndAgainLeavesNothing) {
    m_camera.reset();
    int descriptors = 0;
    for (int cycle = 0; cycle < 60; ++cycle) {
        CInstantCamera camera(Create().release(), Cleanup_Delete);
        camera.GrabCameraEvents.SetValue(true);
        camera.Open();
        camera.StartGrabbing(1);
        CGrabResultPtr result;
        ASSERT_TRUE(camera.RetrieveResult(60000, result));
        camera.Close();
        descriptors = cycle == 10 ? Fakes::OpenDescriptors() : descriptors; // what lasts is there by now
        ASSERT_TRUE(cycle < 10 || Fakes::OpenDescriptors() == descriptors) << cycle;
    }
}

// Wherever between creation and destruction the network goes, all comes back and nobody is told twice.
TEST_F(GigERemovalTest, WheneverTheNetworkIsCutAllIsAccountedFor) {
    m_camera.reset();
    for (int delayMs = 0; delayMs <= 200; delayMs += 40) {
        SCOPED_TRACE(delayMs);
        std::jthread cutter([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
            m_served->Stop();
        });
        Witness witness;
        std::optional<CInstantCamera> camera;
        bool wasOpen = false;
        try {
            camera.emplace(CreateImpatient().release(), Cleanup_Delete);
            witness.Watch(*camera->GetDevice());
            camera->Open();
            wasOpen = true;
            camera->StartGrabbing();
            for (CGrabResultPtr result; camera->IsGrabbing();) {
                camera->RetrieveResult(100, result, TimeoutHandling_Return);
                if (witness.calls > 0) {
                    camera->StopGrabbing();
                    EXPECT_EQ(camera->GetQueuedBufferCount(), 0u);
                }
            }
        } catch (const GenICam::GenericException&) { // the camera is gone before, or while it is opened or started
        }
        Await([&] { return !wasOpen || witness.calls > 0; });
        camera.reset();
        EXPECT_LE(witness.calls, 1);
        cutter.join();
        m_served->Continue();
        Await([] { return Devices().size() == 1; });
    }
    EXPECT_NO_THROW(Reopen()) << "nothing was left behind";
}

} // namespace
