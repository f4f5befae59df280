// SPDX-License-Identifier: Apache-2.0
#include "CameraTest.h"

using namespace Zelmo;
using GenICam::LogPriority_Notice;
using GenICam::LogPriority_Warn;

namespace {

TEST_F(CameraTest, RemovalIsToldOnceOnAThreadOfTheLibraryWithTheLockHeld) {
    const std::thread::id here = std::this_thread::get_id();
    m_diary.on["removed"] = [&](CInstantCamera& camera) {
        EXPECT_NE(std::this_thread::get_id(), here);
        EXPECT_TRUE(camera.GetLock().IsHeldByThisThread());
        throw 1; // is swallowed
    };
    AttachAndOpen();
    EXPECT_FALSE(m_camera.IsCameraDeviceRemoved());
    {
        GenICam::AutoLock lock(m_camera.GetLock());
        m_device.Fire();
        EXPECT_TRUE(Eventually([&] { return m_camera.IsCameraDeviceRemoved(); }));
        EXPECT_EQ(m_diary.Count("removed"), 0U);
    }
    ASSERT_TRUE(Eventually([&] { return m_diary.Count("removed") == 1; }));
    m_device.lastCallback(&m_device); // once more
    for (const auto& step :
         std::vector<std::function<void()>>{[&] { m_camera.Open(); }, [&] { m_camera.StartGrabbing(); },
                                            [&] { m_camera.GetNodeMap(); }, [&] { m_camera.GetDevice(); }}) {
        EXPECT_EQ(Failure(step), "The camera device has been physically removed.");
    }
    EXPECT_EQ(m_camera.GetDeviceInfo().GetFullName(), "Life 1");
    m_camera.Close();
    EXPECT_TRUE(m_camera.IsCameraDeviceRemoved());
    m_camera.DetachDevice();
    EXPECT_FALSE(m_camera.IsCameraDeviceRemoved());
    EXPECT_EQ(m_diary.Count("removed"), 1U);
    EXPECT_EQ(m_log.Count(kCategory, LogPriority_Notice, ": OnCameraDeviceRemoved"), 1U);
}

TEST_F(CameraTest, RemovalOfADeviceThatWasLetGoOfIsToldToNobody) {
    LifeDevice other;
    for (int round = 0; round < 50; ++round) {
        Attach();
        m_camera.Open();
        {
            GenICam::AutoLock lock(m_camera.GetLock());
            m_device.lastCallback(&m_device);
            if (round % 2 == 0) {
                std::this_thread::yield(); // the forwarding thread may have come as far as the lock
            }
            m_camera.Close();
            m_camera.Attach(&other, Cleanup_None);
            m_camera.Open();
        }
        EXPECT_FALSE(m_camera.IsCameraDeviceRemoved());
        m_camera.Close();
    }
    m_camera.DetachDevice();
    EXPECT_EQ(m_diary.Count("removed"), 0U);
    EXPECT_EQ(m_log.Count(kCategory, LogPriority_Notice, ": Device removal forwarding thread started"), 1U);
}

TEST_F(CameraTest, CallbackDuringOpenIsTold) {
    Attach();
    m_device.hook = [this](const std::string& call) {
        if (call == "GetNodeMap" && m_device.Callbacks() == 1 && !m_device.IsRemoved()) {
            m_device.hook = nullptr;
            m_device.Fire();
        }
    };
    m_camera.Open();
    EXPECT_TRUE(Eventually([&] { return m_diary.Count("removed") == 1; }));
    m_camera.Close();
}

TEST_F(CameraTest, DeviceWithoutRemovalOrThatRefusesIsStillACamera) {
    m_device.hasRemoval = false;
    AttachAndOpen();
    m_camera.Close();
    EXPECT_EQ(m_log.Count(kCategory, LogPriority_Notice, ": Device removal forwarding thread started"), 0U);
    m_device.hook = [](const std::string& call) {
        if (call == "RegisterRemovalCallback") {
            throw RUNTIME_EXCEPTION("no");
        }
    };
    m_camera.Open();
    EXPECT_TRUE(WasLogged(LogPriority_Warn,
                          Line("Could not register removal callback at transport layer. Removal event will not be "
                               "triggered. (no)")));
    EXPECT_TRUE(m_camera.IsOpen());
}

TEST_F(CameraTest, DeviceThatClosedItselfIsSetUpAnew) {
    for (int round = 0; round < 3; ++round) {
        Attach();
        m_camera.Open();
        m_device.FakeDevice::Close(); // as one that drops out without a word
        m_camera.Open();
        EXPECT_EQ(m_device.Callbacks(), 1U);
        m_device.FakeDevice::Close();
        m_camera.DetachDevice();
        EXPECT_EQ(m_device.Callbacks(), 0U);
        EXPECT_TRUE(IsUnlocked());
    }
}

TEST_F(CameraTest, HandlerThatOpensAgainAndAgainDoesNotKeepADeviceThatIsDestroyed) {
    m_diary.on["closed"] = [](CInstantCamera& camera) { camera.Open(); };
    AttachAndOpen();
    m_camera.DestroyDevice();
    EXPECT_FALSE(m_camera.IsZelmoDeviceAttached());
    EXPECT_FALSE(m_device.FakeDevice::IsOpen());
    EXPECT_EQ(m_device.Callbacks(), 0U);
    EXPECT_TRUE(IsUnlocked());
}

TEST_F(CameraTest, CallbackOfADeviceThatWouldNotForgetItFindsNobody) {
    AttachAndOpen();
    m_device.hook = [](const std::string& call) {
        if (call == "DeregisterRemovalCallback") {
            throw RUNTIME_EXCEPTION("no");
        }
    };
    m_camera.DetachDevice();
    m_device.hook = nullptr;
    LifeDevice other;
    m_camera.Attach(&other, Cleanup_None);
    m_device.lastCallback(&m_device);
    EXPECT_FALSE(m_camera.IsCameraDeviceRemoved());
    m_camera.DetachDevice();
    m_device.DeregisterRemovalCallback(1);
}

/// How a device is once it is gone.
enum class EGone { StaysOpen, ClosesItself, IsOpenThrows, FiresTwice };

class RemovalSweep : public CameraTest, public testing::WithParamInterface<EGone> {};

/// The removal comes at the n-th call of the contract, n rising over a whole life.
TEST_P(RemovalSweep, WhereverItComesItIsToldAtMostOnceAndTheNextDeviceGrabs) {
    const EGone gone = GetParam();
    const std::thread::id thread = std::this_thread::get_id();
    LifeDevice next("source=free");
    unsigned calls = 0;
    for (unsigned at = 1; at <= calls + 1; ++at) {
        SCOPED_TRACE(at);
        const std::size_t before = m_diary.Count("removed");
        calls = 0;
        {
            LifeDevice device("source=free");
            device.isClosedByRemoval = gone == EGone::ClosesItself;
            bool isIn = false;
            device.hook = [&](const std::string& call) {
                if (std::this_thread::get_id() != thread || isIn) {
                    return;
                }
                isIn = true;
                if (++calls == at) {
                    device.Fire();
                    if (gone == EGone::FiresTwice && device.Callbacks() != 0) {
                        device.lastCallback(&device);
                    }
                }
                isIn = false;
                if (gone == EGone::IsOpenThrows && call == "IsOpen" && calls >= at) {
                    throw RUNTIME_EXCEPTION("the device is gone");
                }
            };
            try {
                m_camera.Attach(&device, Cleanup_None);
                m_camera.StartGrabbing(3);
                for (int image = 0; image < 3; ++image) {
                    Retrieve(5);
                }
            } catch (const GenICam::GenericException&) {
            }
            m_camera.StopGrabbing();
            m_camera.Close();
            m_camera.DetachDevice();
            device.hook = nullptr;
            EXPECT_EQ(device.Callbacks(), 0U);
            device.isGone = true;
            EXPECT_TRUE(IsUnlocked());
            m_camera.Attach(&next, Cleanup_None);
            EXPECT_TRUE(m_camera.GrabOne(kPatience, m_result, kRaises));
            EXPECT_FALSE(m_camera.IsCameraDeviceRemoved());
            m_camera.DetachDevice();
            EXPECT_EQ(device.faults, 0);
            device.FakeDevice::Close();
        }
        EXPECT_LE(m_diary.Count("removed"), before + 1);
    }
    EXPECT_GT(calls, 20U);
    EXPECT_GT(m_diary.Count("removed"), 0U);
}

INSTANTIATE_TEST_SUITE_P(Ways, RemovalSweep,
                         testing::Values(EGone::StaysOpen, EGone::ClosesItself, EGone::IsOpenThrows,
                                         EGone::FiresTwice));

} // namespace
