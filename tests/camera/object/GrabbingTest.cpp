// SPDX-License-Identifier: Apache-2.0
#include "CameraTest.h"

#include <GenApi/NodeCallback.h>
#include <GenApi/Pointer.h>

#include <future>
#include <new>
#include <stdexcept>

using namespace Zelmo;
using GenICam::LogPriority_Error;
using GenICam::LogPriority_Notice;

namespace {

class GrabbingTest : public CameraTest {
protected:
    GrabbingTest() {
        Attach();
        m_camera.RegisterImageEventHandler(&m_diary, RegistrationMode_Append, Cleanup_None);
        m_diary.Told();
    }
    ~GrabbingTest() override {
        m_diary.on.clear();
        m_camera.StopGrabbing();
        m_camera.GetExtensionInterface().JoinGrabLoopThread();
        m_camera.DeregisterImageEventHandler(&m_diary);
    }
    void Fill(std::uint64_t frames) { // and wait until they stand in the output queue
        const auto before = m_camera.NumReadyBuffers.GetValue();
        EXPECT_EQ(m_device.Grabber().Deliver(frames), frames);
        EXPECT_TRUE(Eventually(
            [&] { return m_camera.NumReadyBuffers.GetValue() == before + static_cast<std::int64_t>(frames); }));
    }
    void StartLoop(const char* script = "source=free") {
        m_device.Grabber().SetScript(script);
        m_camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    }
    bool Ends() {
        return Eventually([&] { return !m_camera.IsGrabbing(); });
    }
};

TEST_F(GrabbingTest, DeviceIsLeftAsItWasFoundUnlessItIsOpenedMeanwhile) {
    m_camera.StartGrabbing();
    EXPECT_FALSE(GenApi::IsWritable(m_camera.MaxNumBuffer));
    EXPECT_FALSE(GenApi::IsWritable(m_camera.OutputQueueSize));
    EXPECT_FALSE(m_camera.GetGrabStopWaitObject().Wait(0));
    EXPECT_EQ(m_camera.GetQueuedBufferCount(), 10U);
    m_camera.StopGrabbing();
    EXPECT_FALSE(m_camera.IsOpen());
    EXPECT_EQ(m_diary.Told(), "open opened start started stop stopped close closed ");
    m_camera.StartGrabbing(GrabStrategy_LatestImages);
    EXPECT_TRUE(GenApi::IsWritable(m_camera.OutputQueueSize));
    m_camera.Open();
    m_camera.StopGrabbing();
    EXPECT_TRUE(m_camera.IsOpen());
    EXPECT_TRUE(m_camera.GetGrabStopWaitObject().Wait(0));
    m_camera.MaxNumBuffer.SetValue(3);
    m_camera.StartGrabbing(5);
    EXPECT_EQ(m_camera.GetQueuedBufferCount(), 3U);
    m_camera.Close();
    EXPECT_FALSE(m_camera.IsGrabbing());
}

TEST_F(GrabbingTest, ContextIsThatOfTheMomentOfRetrieval) {
    m_camera.SetCameraContext(1);
    m_camera.StartGrabbing();
    Fill(1);
    m_camera.SetCameraContext(42);
    EXPECT_TRUE(Retrieve(0));
    EXPECT_EQ(m_result->GetCameraContext(), 42);
}

// What fails on the way up

struct FailedStart {
    const char* script;
    const char* event;
    std::function<void(CInstantCamera&)> handler;
    const char* failure;
    const char* told;
    bool staysOpen;
};

class FailedStartTest : public GrabbingTest, public testing::WithParamInterface<FailedStart> {};

TEST_P(FailedStartTest, LeavesNoSessionAndSaysWhy) {
    const FailedStart& given = GetParam();
    m_device.Grabber().SetScript(given.script);
    m_diary.on[given.event] = given.handler;
    m_device.hook = [&](const std::string& call) {
        if (call == given.event) {
            throw std::bad_alloc();
        }
    };
    EXPECT_EQ(Failure([&] { m_camera.StartGrabbing(); }), given.failure);
    EXPECT_EQ(m_diary.Told(), given.told);
    m_device.hook = nullptr;
    EXPECT_EQ(m_camera.IsOpen(), given.staysOpen);
    EXPECT_FALSE(m_camera.IsGrabbing());
    EXPECT_TRUE(m_camera.GetGrabStopWaitObject().Wait(0));
    EXPECT_TRUE(GenApi::IsWritable(m_camera.MaxNumBuffer));
    EXPECT_TRUE(GenApi::IsWritable(m_camera.OutputQueueSize));
    m_diary.on.clear();
    m_device.Grabber().SetScript("");
    m_camera.StartGrabbing();
    Fill(1);
    EXPECT_TRUE(Retrieve());
}

INSTANTIATE_TEST_SUITE_P(
    Steps, FailedStartTest,
    testing::Values(
        FailedStart{"", "start", [](CInstantCamera&) { throw RUNTIME_EXCEPTION("not now"); }, "not now",
                    "open opened start ", true},
        FailedStart{"", "start", [](CInstantCamera& camera) { camera.Close(); },
                    "Cannot start grabbing: a handler has closed the device.", "open opened start close closed ",
                    false},
        FailedStart{"PrepareGrab:1:throw-access",
                    "",
                    {},
                    "Unexpected error! PrepareGrab was told to fail",
                    "open opened start ",
                    true},
        FailedStart{
            "StartStreaming:1:throw-std-alloc", "", {}, "Out of memory! std::bad_alloc", "open opened start ", true},
        FailedStart{"",
                    "AcquisitionStart",
                    {},
                    "Out of memory! std::bad_alloc",
                    "open opened start stop stopped close closed ",
                    false},
        FailedStart{"", "started", [](CInstantCamera&) { throw RUNTIME_EXCEPTION("not so"); }, "not so",
                    "open opened start started stop stopped close closed ", false}));

TEST_F(GrabbingTest, ImpossibleStartsAreRefused) {
    EXPECT_EQ(Failure([&] { m_camera.StartGrabbing(0); }), "Maximum count of images to grab cannot be 0.");
    EXPECT_THROW(m_camera.StartGrabbing(0), GenICam::OutOfRangeException);
    for (const auto& [deviceClass, name] : {std::pair("HarlixUsb", "USB"), {"HarlixMipex", "MIPEX"}}) {
        LifeDevice device({}, deviceClass);
        CInstantCamera camera(&device, Cleanup_None);
        EXPECT_EQ(Failure([&] { camera.StartGrabbing(GrabStrategy_UpcomingImage); }),
                  std::string("Grab strategy Upcoming Image is not supported for ") + name + " camera devices.");
    }
    m_camera.StartGrabbing();
    EXPECT_EQ(Failure([&] { m_camera.GrabOne(0, m_result, kRaises); }), "Grabbing has already been started.");
    EXPECT_TRUE(m_camera.IsGrabbing());
    m_camera.StopGrabbing();
    Fakes::FakeDevice none{CDeviceInfo()};
    m_camera.Attach(&none, Cleanup_None);
    EXPECT_EQ(Failure([&] { m_camera.StartGrabbing(); }), "The attached device does not support grabbing.");
    m_camera.DetachDevice();
}

// Image handlers

TEST_F(GrabbingTest, HandlersHearOfSkippedImagesAndThenOfTheResult) {
    m_camera.StartGrabbing(2, GrabStrategy_LatestImageOnly);
    m_diary.Told();
    m_device.Grabber().Deliver(4);
    ASSERT_TRUE(m_device.Grabber().WaitForQueued(9));
    m_diary.on["image"] = [](CInstantCamera& camera) { EXPECT_FALSE(camera.GetLock().IsHeldByThisThread()); };
    EXPECT_TRUE(Retrieve());
    EXPECT_EQ(m_diary.Told(), "skipped3 image1 ");
    m_diary.on["image"] = [](CInstantCamera&) { throw std::runtime_error("no such image"); };
    m_device.Grabber().Deliver();
    Diary second;
    m_camera.RegisterImageEventHandler(&second, RegistrationMode_Append, Cleanup_None);
    EXPECT_THROW(Retrieve(), std::runtime_error);
    EXPECT_TRUE(m_result.IsValid());
    EXPECT_EQ(second.Count("image"), 0U);
    EXPECT_EQ(m_diary.Told(), "image2 stop stopped close closed "); // the count is reached all the same
    EXPECT_EQ(m_log.Count(kCategory, LogPriority_Error,
                          "Exception caught while notifying event CImageEventHandler::OnImageGrabbed handler 0x"),
              1U);
    EXPECT_EQ(m_log.Count(kCategory, LogPriority_Error, ", rethrow=1, msg=no such image"), 1U);
    EXPECT_TRUE(m_camera.DeregisterImageEventHandler(&second));
}

TEST_F(GrabbingTest, HandlerOfAFailureMayStartAgain) {
    m_device.Grabber().SetScript("RetrieveResult:1:throw-access");
    m_diary.on["error"] = [&](CInstantCamera& camera) {
        camera.StopGrabbing();
        m_device.Grabber().SetScript("");
        camera.StartGrabbing();
    };
    m_camera.StartGrabbing();
    m_device.Grabber().Deliver();
    EXPECT_EQ(Failure([&] { Retrieve(); }), "RetrieveResult was told to fail");
    EXPECT_TRUE(m_camera.IsGrabbing());
    Fill(1);
    EXPECT_TRUE(Retrieve());
}

TEST_F(GrabbingTest, CallbackThatStopsTheStartFailsIt) {
    AttachAndOpen();
    GenApi::INode* const node = m_camera.GetNodeMap().GetNode("AcquisitionStart");
    const GenApi::CallbackHandleType handle = GenApi::Register(
        node, [&](GenApi::INode*) { m_camera.StopGrabbing(); }, GenApi::cbPostOutsideLock);
    for (const EGrabLoop loop : {GrabLoop_ProvidedByUser, GrabLoop_ProvidedByInstantCamera}) {
        EXPECT_EQ(Failure([&] { m_camera.StartGrabbing(GrabStrategy_OneByOne, loop); }),
                  "Unexpected error! Grabbing was stopped while it was being started.");
        EXPECT_FALSE(m_camera.IsGrabbing());
        EXPECT_TRUE(GenApi::IsWritable(m_camera.MaxNumBuffer));
    }
    node->DeregisterCallback(handle);
}

/// A derived class takes part in what the camera does by itself.
TEST(DerivedCameraTest, OverridesAreCalledFromInside) {
    struct Derived final : CInstantCamera {
        explicit Derived(IZelmoDevice* device) { CInstantCamera::Attach(device, Cleanup_None); }
        void Open() override {
            calls += "open ";
            CInstantCamera::Open();
        }
        void Close() override {
            calls += "close ";
            CInstantCamera::Close();
        }
        void StopGrabbing() override {
            calls += "stop ";
            CInstantCamera::StopGrabbing();
        }
        CGrabResultData* CreateDeviceSpecificGrabResultData() override {
            ++records;
            return CInstantCamera::CreateDeviceSpecificGrabResultData();
        }
        std::string calls;
        int records = 0;
    };
    LifeDevice device("source=free");
    Derived camera(&device);
    CGrabResultPtr result;
    EXPECT_TRUE(camera.GrabOne(kPatience, result));
    EXPECT_EQ(camera.calls, "open stop close ");
    EXPECT_EQ(camera.records, 1);
    device.Grabber().SetScript("RetrieveResult:1:throw-runtime");
    camera.StartGrabbing();
    device.Grabber().Deliver();
    EXPECT_THROW(camera.RetrieveResult(kPatience, result), GenICam::GenericException);
    EXPECT_EQ(camera.calls, "open stop close open stop close ");
}

// Time-outs

TEST_F(GrabbingTest, GrabOneSaysHowItWent) {
    EXPECT_EQ(Failure([&] { m_camera.GrabOne(1, m_result, kRaises); }), "Grab timed out.");
    EXPECT_FALSE(m_camera.GrabOne(1, m_result, kReturns));
    m_device.Grabber().SetScript("source=free;Frame:2:fail");
    EXPECT_TRUE(m_camera.GrabOne(kPatience, m_result, kRaises));
    EXPECT_FALSE(m_camera.IsOpen());
    EXPECT_TRUE(m_result->GrabSucceeded());
    EXPECT_FALSE(m_camera.GrabOne(kPatience, m_result, kRaises));
    EXPECT_EQ(m_result->GetErrorDescription(), "lines are missing");
    m_diary.on["image"] = [](CInstantCamera&) { throw 1; };
    EXPECT_THROW(m_camera.GrabOne(kPatience, m_result, kRaises), int);
    EXPECT_FALSE(m_camera.IsGrabbing());
}

/// A camera that tells its state, with a selector.
std::vector<Fakes::CFeature> StatusFeatures(const char* triggerWait = "AcquisitionTriggerWait") {
    return {{"Enumeration", "AcquisitionStatusSelector", 8,
             std::string("<EnumEntry Name='AcquisitionActive'><Value>0</Value></EnumEntry><EnumEntry Name='") +
                 triggerWait + "'><Value>1</Value></EnumEntry><EnumEntry Name='FrameTriggerWait'><Value>2</Value>" +
                 "</EnumEntry>"},
            {"Boolean", "AcquisitionStatus", 9, ""}};
}

TEST(TimeoutTest, SaysWhatIsKnownOfTheCauseAndRestoresTheSelector) {
    for (const char* triggerWait : {"AcquisitionTriggerWait", "Other"}) {
        LifeDevice device({}, "Life", StatusFeatures(triggerWait));
        CInstantCamera camera(&device, Cleanup_None);
        camera.RegisterConfiguration(nullptr, RegistrationMode_ReplaceAll, Cleanup_None);
        const bool isTold = std::string(triggerWait) != "Other";
        const auto timeout = [&] {
            return Fakes::FailureOf<GenICam::TimeoutException>([&] {
                CGrabResultPtr result;
                camera.RetrieveResult(1, result);
            });
        };
        camera.StartGrabbing();
        EXPECT_EQ(timeout(), isTold ? "Grab timed out. The acquisition is not started." : "Grab timed out.");
        device.SetValue(4, 1);
        EXPECT_EQ(timeout(), isTold ? "Grab timed out. The acquisition is not started. In 'SingleFrame' acquisition "
                                      "mode the acquisition has to be started for every frame, see also GrabOne()."
                                    : "Grab timed out.");
        device.SetValue(9, 1);
        EXPECT_EQ(timeout(), "Grab timed out.");
        EXPECT_EQ(device.Value(8), 0);
        camera.StopGrabbing();
    }
}

TEST(FrameTriggerTest, ReadinessIsThatOfTheStatusElseOfTheCommand) {
    LifeDevice device({}, "Life", StatusFeatures());
    CInstantCamera camera(&device, Cleanup_None);
    camera.RegisterConfiguration(nullptr, RegistrationMode_ReplaceAll, Cleanup_None);
    EXPECT_TRUE(camera.CanWaitForFrameTriggerReady());
    EXPECT_FALSE(camera.WaitForFrameTriggerReady(1, kReturns));
    EXPECT_EQ(device.Value(8), 2);
    EXPECT_EQ(Fakes::FailureOf<GenICam::TimeoutException>([&] { camera.WaitForFrameTriggerReady(0); }),
              "Waiting for frame trigger ready timed out.");
    device.SetValue(9, 1);
    EXPECT_TRUE(camera.WaitForFrameTriggerReady(0));
    EXPECT_EQ(Fakes::FailureOf<>([&] { camera.ExecuteSoftwareTrigger(); }), "Grabbing has not been started.");
    camera.StartGrabbing(1);
    camera.ExecuteSoftwareTrigger();
    CGrabResultPtr result;
    EXPECT_TRUE(camera.RetrieveResult(kPatience, result));
    camera.DetachDevice();
    EXPECT_EQ(Fakes::FailureOf<>([&] { camera.WaitForFrameTriggerReady(0); }),
              "The camera device does not support waiting for frame trigger ready.");
    LifeDevice plain; // its command is done at once
    camera.Attach(&plain, Cleanup_None);
    EXPECT_TRUE(camera.CanWaitForFrameTriggerReady());
    EXPECT_TRUE(camera.WaitForFrameTriggerReady(0));
    plain.hasNodeMap = false;
    camera.Attach(&plain, Cleanup_None);
    EXPECT_FALSE(camera.CanWaitForFrameTriggerReady());
    camera.DetachDevice(); // which goes first
}

// The loop of the camera

TEST_F(GrabbingTest, LoopThreadTellsWhatEndsItAndIsFollowedByAnother) {
    m_camera.GrabLoopThreadUseTimeout.SetValue(true);
    m_camera.GrabLoopThreadTimeout.SetValue(1);
    StartLoop("");
    EXPECT_TRUE(Ends());
    EXPECT_THAT(m_diary.error, testing::StartsWith("Grab timed out."));
    m_camera.GrabLoopThreadUseTimeout.SetValue(false);
    m_diary.on["image3"] = [](CInstantCamera&) { throw std::runtime_error("enough"); };
    StartLoop();
    EXPECT_TRUE(Ends());
    EXPECT_EQ(m_diary.error, "enough");
    m_diary.on["image3"] = [](CInstantCamera&) { throw 1; };
    StartLoop();
    EXPECT_TRUE(Ends());
    EXPECT_EQ(m_diary.error, "Unknown exception caught in grab loop thread.");
    m_diary.on.clear();
    StartLoop("RetrieveResult:2:throw-runtime");
    m_device.Grabber().Deliver(2);
    EXPECT_TRUE(Ends());
    m_camera.GetExtensionInterface().JoinGrabLoopThread();
    EXPECT_EQ(m_diary.Count("error"), 4U); // once for each
    EXPECT_EQ(m_diary.error, "RetrieveResult was told to fail");
    EXPECT_EQ(m_diary.Count("started"), 4U);
    EXPECT_EQ(m_diary.Count("stopped"), 4U);
}

TEST_F(GrabbingTest, SessionOfALoopThreadIsRetrievedByThatOne) {
    StartLoop("");
    EXPECT_EQ(Failure([&] { Retrieve(0); }), "There is already a thread waiting for a result.");
    m_camera.StopGrabbing();
    EXPECT_FALSE(Retrieve(0));
    m_camera.StartGrabbing();
    Fill(1);
    EXPECT_TRUE(Retrieve(0));
}

TEST_F(GrabbingTest, LoopThreadThatStopsAndStartsLeavesTheNextSessionAlone) {
    for (const char* event : {"image2", "stopped"}) {
        std::atomic<int> restarts{0};
        m_diary.on[event] = [&](CInstantCamera& camera) {
            if (++restarts <= 20) {
                camera.StopGrabbing();
                camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
            }
            if (restarts == 21) {
                m_diary.on.erase("image2");
                camera.StopGrabbing();
            }
        };
        StartLoop();
        if (std::string(event) == "stopped") {
            for (int round = 0; round < 21; ++round) {
                m_camera.StopGrabbing();
            }
        }
        EXPECT_TRUE(Eventually([&] { return restarts >= 21 && !m_camera.IsGrabbing(); })) << event << restarts;
        m_diary.on.clear();
        m_camera.GetExtensionInterface().JoinGrabLoopThread();
        EXPECT_EQ(m_diary.Count("error"), 0U);
    }
    EXPECT_EQ(m_log.Count(kCategory, LogPriority_Notice, Line("Grab loop thread started")),
              m_log.Count(kCategory, LogPriority_Notice, Line("Grab loop thread joined")));
}

TEST_F(GrabbingTest, StartWithTheLockHeldNeitherJoinsNorHangs) {
    m_diary.on["image1"] = [](CInstantCamera& camera) {
        camera.StopGrabbing();
        GenICam::AutoLock lock(camera.GetLock()); // as it uses the camera
    };
    for (int round = 0; round < 50; ++round) {
        StartLoop();
        EXPECT_TRUE(Ends());
        GenICam::AutoLock lock(m_camera.GetLock());
        m_camera.StartGrabbing();
        m_camera.StopGrabbing();
    }
}

// Locks

TEST_F(GrabbingTest, CountIsReachedWhileTheLockOfTheFeaturesIsHeldAndSomebodyStops) {
    AttachAndOpen();
    for (int round = 0; round < 50; ++round) {
        m_camera.StartGrabbing(2);
        GenICam::AutoLock cameraLock(m_camera.GetLock()); // first: that is the order
        GenICam::AutoLock lock(m_camera.GetNodeMap().GetLock());
        m_device.Grabber().Deliver(2); // the engine wants to stop the acquisition
        m_camera.StopGrabbing();
    }
    EXPECT_EQ(m_diary.Count("stopped"), 50U);
}

TEST_F(GrabbingTest, AcquisitionIsStoppedOnceHoweverSoonTheCountIsReached) {
    m_device.Grabber().SetScript("source=free");
    AttachAndOpen();
    std::string commands;
    std::mutex lock;
    m_device.hook = [&](const std::string& call) {
        if (call.starts_with("Acquisition")) {
            const std::lock_guard guard(lock);
            commands += call == "AcquisitionStart" ? "+" : "-";
        }
    };
    std::string expected;
    for (int session = 0; session < 300; ++session) {
        EXPECT_TRUE(m_camera.GrabOne(kPatience, m_result, kRaises));
        expected += "+-";
    }
    EXPECT_EQ(commands, expected);
}

/// Without one order of the camera's lock and the node map's, the two threads soon wait for each other.
TEST_F(GrabbingTest, NodeCallbacksAskInsideTheLockAndCallOutsideOfItWhileSessionsComeAndGo) {
    m_device.Grabber().SetScript("source=free");
    AttachAndOpen();
    std::atomic<int> calls{0};
    GenApi::INode* const node = m_camera.GetNodeMap().GetNode("Height");
    const GenApi::CallbackHandleType inside = GenApi::Register(
        node, [&](GenApi::INode*) { calls += m_camera.IsGrabbing() ? 1 : 0; }, GenApi::cbPostInsideLock);
    const GenApi::CallbackHandleType outside = GenApi::Register(
        node, [&](GenApi::INode*) { m_camera.StopGrabbing(); }, GenApi::cbPostOutsideLock);
    {
        std::jthread writer([&](const std::stop_token& stop) {
            for (std::int64_t height = 16; !stop.stop_requested(); height ^= 8) {
                GenApi::CIntegerPtr(node)->SetValue(height);
                std::this_thread::yield();
            }
        });
        for (int session = 0; session < 100 || calls == 0; ++session) {
            m_camera.StartGrabbing();
            Retrieve();
            m_camera.StopGrabbing();
        }
    }
    node->DeregisterCallback(inside);
    node->DeregisterCallback(outside);
}

TEST_F(GrabbingTest, CallbackOnALockNodeMayAskThroughManySessions) {
    m_device.Grabber().SetScript("source=free");
    AttachAndOpen();
    std::atomic<int> calls{0};
    GenApi::INode* const node = m_camera.GetInstantCameraNodeMap().GetNode("GrabParamsLocked");
    const GenApi::CallbackHandleType handle = GenApi::Register(
        node, [&](GenApi::INode*) { calls += m_camera.IsGrabbing() ? 0 : 1; }, GenApi::cbPostInsideLock);
    for (int session = 0; session < 1000; ++session) {
        m_camera.StartGrabbing(1);
        ASSERT_TRUE(Retrieve());
    }
    EXPECT_EQ(calls, 2000); // set and cleared while nothing is grabbed
    node->DeregisterCallback(handle);
}

TEST_F(GrabbingTest, WaiterIsEndedByAStopAndByAHandlerThatStops) {
    m_camera.StartGrabbing();
    auto waiter = std::async(std::launch::async, [this] { return Retrieve(0xFFFFFFFF); });
    EXPECT_EQ(waiter.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    m_camera.DetachDevice();
    EXPECT_FALSE(waiter.get());
    Attach();
    m_diary.on["removed"] = [](CInstantCamera& camera) { camera.StopGrabbing(); };
    m_camera.StartGrabbing();
    m_device.Fire();
    EXPECT_FALSE(Retrieve(0xFFFFFFFF));
}

} // namespace
