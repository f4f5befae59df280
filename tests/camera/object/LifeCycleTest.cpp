// SPDX-License-Identifier: Apache-2.0
#include "CameraTest.h"
#include "fakes/VirtualSlots.h"

#include <GenApi/NodeCallback.h>
#include <GenApi/NodeMapRef.h>
#include <GenApi/Pointer.h>
#include <zelmo/AcquireContinuousConfiguration.h>

#include <stdexcept>
#include <tuple>

using namespace Zelmo;
using GenICam::LogPriority_Error;
using GenICam::LogPriority_Notice;

namespace {

TEST(VirtualOrderTest, OfTheCameraAndItsEventHandlersStands) {
    using Camera = CInstantCamera;
    EXPECT_THAT(Fakes::Slots(
                    &Camera::Attach, &Camera::IsZelmoDeviceAttached, &Camera::IsCameraDeviceRemoved,
                    &Camera::HasOwnership, &Camera::DestroyDevice, &Camera::DetachDevice, &Camera::Open,
                    &Camera::IsOpen, &Camera::Close,
                    static_cast<void (Camera::*)(EGrabStrategy, EGrabLoop)>(&Camera::StartGrabbing),
                    static_cast<void (Camera::*)(unsigned long, EGrabStrategy, EGrabLoop)>(&Camera::StartGrabbing),
                    &Camera::RetrieveResult, &Camera::StopGrabbing, &Camera::IsGrabbing, &Camera::GrabOne,
                    &Camera::GetQueuedBufferCount, &Camera::GetGrabResultWaitObject, &Camera::GetGrabStopWaitObject,
                    &Camera::GetCameraEventWaitObject, &Camera::RegisterConfiguration, &Camera::DeregisterConfiguration,
                    &Camera::RegisterImageEventHandler, &Camera::DeregisterImageEventHandler,
                    &Camera::RegisterCameraEventHandler, &Camera::DeregisterCameraEventHandler,
                    &Camera::WaitForFrameTriggerReady, &Camera::CanWaitForFrameTriggerReady,
                    &Camera::ExecuteSoftwareTrigger, &Camera::SetCameraContext, &Camera::GetCameraContext,
                    &Camera::GetDeviceInfo, &Camera::GetNodeMap, &Camera::GetTLNodeMap,
                    &Camera::GetStreamGrabberNodeMap, &Camera::GetEventGrabberNodeMap, &Camera::GetInstantCameraNodeMap,
                    &Camera::SetBufferFactory, &Camera::Is1394, &Camera::IsGigE, &Camera::IsUsb, &Camera::IsCameraLink,
                    &Camera::IsCxp, &Camera::GetDevice, &Camera::CreateDeviceSpecificGrabResultData, &Camera::IsMipex),
                testing::ElementsAreArray([] {
                    std::vector<std::size_t> slots(45);
                    for (std::size_t i = 0; i < slots.size(); ++i) {
                        slots[i] = i + 2; // behind the destructor
                    }
                    return slots;
                }()));
    using Handler = CCameraEventHandler;
    EXPECT_EQ(Fakes::Slots(&Handler::OnCameraEvent, &Handler::OnCameraEventHandlerRegistered,
                           &Handler::OnCameraEventHandlerDeregistered, &Handler::DestroyCameraEventHandler),
              (std::vector<std::size_t>{0, 1, 2, 3}));
    using Extensions = IInstantCameraExtensions;
    EXPECT_EQ(Fakes::Slots(&Extensions::ProcessCameraEvents, &Extensions::SetLockOverride,
                           &Extensions::SetExtensionFlag, &Extensions::JoinGrabLoopThread),
              (std::vector<std::size_t>{0, 1, 2, 3}));
}

TEST_F(CameraTest, WholeLifeIsToldInOrderAndLogged) {
    Attach();
    m_camera.StartGrabbing(1);
    EXPECT_EQ(m_device.Grabber().Deliver(), 1U);
    EXPECT_TRUE(Retrieve());
    m_camera.DetachDevice();
    EXPECT_EQ(m_diary.Told(), "attach attached open opened start started stop stopped close closed detach detached ");
    EXPECT_EQ(m_device.life, "open13 register deregister close ");
    for (const char* line : {"OnAttach", "OnAttached", "OnOpen", "OnOpened", "OnGrabStart", "OnGrabStarted",
                             "OnGrabStop", "OnGrabStopped", "OnClose", "OnClosed", "OnDetach", "OnDetached"}) {
        EXPECT_TRUE(WasLogged(LogPriority_Notice, Line(line))) << line;
    }
    char address[32];
    std::snprintf(address, sizeof address, "%p", static_cast<void*>(&m_device));
    EXPECT_TRUE(WasLogged(LogPriority_Notice,
                          Line(std::string("Device ") + address + " attached, name=Life 1, cleanupProcedure=0")));
    EXPECT_TRUE(WasLogged(LogPriority_Notice,
                          Line("Start grabbing with strategy=0 buffers=1, queued=50, results=1, chunks=0, chunknm=1, "
                               "events=0, priority=")));
    EXPECT_EQ(m_log.Count(kCategory, LogPriority_Error), 0U);
    EXPECT_TRUE(m_result->GrabSucceeded()); // it outlives the device
}

TEST_F(CameraTest, NothingIsDoneTwiceAndNothingWithoutADevice) {
    m_camera.Attach(nullptr, Cleanup_Delete);
    m_camera.Close();
    m_camera.DestroyDevice();
    m_camera.DetachDevice();
    m_camera.StopGrabbing();
    EXPECT_EQ(m_diary.Told(), "");
    EXPECT_EQ(Failure([&] { m_camera.Open(); }), "No device attached.");
    EXPECT_EQ(Failure([&] { m_camera.StartGrabbing(); }), "No device attached.");
    EXPECT_EQ(Failure([&] { m_camera.GetNodeMap(); }), "No device attached.");
    EXPECT_EQ(Failure([&] { m_camera.GetSfncVersion(); }), "No device attached.");
    EXPECT_FALSE(m_camera.GetDeviceInfo().IsFullNameAvailable());
    EXPECT_FALSE(m_camera.IsOpen());
    EXPECT_FALSE(Retrieve(0));
    EXPECT_TRUE(m_camera.GetGrabStopWaitObject().Wait(0));
    Attach();
    EXPECT_EQ(Failure([&] { m_camera.GetStreamGrabberNodeMap(); }),
              "Cannot get the stream grabber from a closed device.");
    EXPECT_EQ(Failure([&] { m_camera.GetEventGrabberNodeMap(); }),
              "Cannot get the event grabber from a closed device.");
    EXPECT_EQ(Failure([&] { m_camera.GetCameraEventWaitObject(); }), "The device is not open.");
    m_camera.Open();
    m_camera.Open();
    m_camera.Close();
    m_camera.Close();
    EXPECT_EQ(m_diary.Told(), "attach attached open opened close closed ");
}

TEST_F(CameraTest, EmptyNodeMapStandsForThoseThatTheDeviceDoesNotHave) {
    m_device.hasNodeMap = false;
    AttachAndOpen();
    GenApi::INodeMap& empty = m_camera.GetEmptyNodeMap();
    EXPECT_EQ(&m_camera.GetNodeMap(), &empty);
    EXPECT_EQ(&m_camera.GetTLNodeMap(), &empty);
    EXPECT_EQ(&m_camera.GetEventGrabberNodeMap(), &empty);
    EXPECT_NE(&m_camera.GetStreamGrabberNodeMap(), &empty);
    EXPECT_EQ(empty.GetNode("Width"), nullptr);
    EXPECT_EQ(m_camera.GetSfncVersion(), SfncVersion());
    EXPECT_FALSE(m_camera.GetCameraEventWaitObject().Wait(0));
}

TEST_F(CameraTest, DefaultConfigurationSetsAcquisitionUpAndFailsTheOpeningWhereItCannot) {
    CInstantCamera camera; // with its own configuration
    camera.Attach(&m_device, Cleanup_None);
    m_device.SetValue(4, 1); // AcquisitionMode SingleFrame
    camera.Open();
    EXPECT_EQ(m_device.Value(4), 0);
    camera.Close();
    m_device.hasNodeMap = false;
    EXPECT_THAT(Failure([&] { camera.Open(); }),
                testing::StartsWith("Could not apply configuration. Zelmo::GenericException caught in OnOpened method "
                                    "msg="));
    EXPECT_FALSE(camera.IsOpen());
    EXPECT_EQ(m_device.Callbacks(), 0U);
}

TEST(AcquireContinuousConfigurationTest, SwitchesEachTriggerAndCompressionOff) {
    GenApi::CNodeMapRef map;
    map._LoadXMLFromString(R"(<RegisterDescription>
<Enumeration Name="TriggerSelector"><EnumEntry Name="A"><Value>0</Value></EnumEntry>
<EnumEntry Name="B"><Value>1</Value></EnumEntry><pValue>Selected</pValue></Enumeration>
<Integer Name="Selected"><Value>0</Value></Integer><Integer Name="OfA"><Value>1</Value></Integer>
<Integer Name="OfB"><Value>1</Value></Integer><Integer Name="Mode"><pIndex>Selected</pIndex>
<pValueIndexed Index="0">OfA</pValueIndexed><pValueIndexed Index="1">OfB</pValueIndexed><ValueDefault>0</ValueDefault></Integer>
<Enumeration Name="TriggerMode"><EnumEntry Name="Off"><Value>0</Value></EnumEntry><pValue>Mode</pValue></Enumeration>
<Enumeration Name="ImageCompressionMode"><EnumEntry Name="Off"><Value>0</Value></EnumEntry><Value>1</Value></Enumeration>
<Enumeration Name="AcquisitionMode"><EnumEntry Name="Continuous"><Value>2</Value></EnumEntry><Value>0</Value></Enumeration>
</RegisterDescription>)");
    CAcquireContinuousConfiguration::ApplyConfiguration(*map._Ptr());
    for (const char* const off : {"OfA", "OfB"}) {
        EXPECT_EQ(GenApi::CIntegerPtr(*map._Ptr(), off)->GetValue(), 0) << off;
    }
    for (const char* const name : {"ImageCompressionMode", "AcquisitionMode"}) {
        EXPECT_NE(GenApi::CEnumerationPtr(*map._Ptr(), name)->ToString(), "") << name; // it had no entry
    }
}

TEST_F(CameraTest, ParametersDecideHowADeviceIsOpenedAndAreLockedMeanwhile) {
    Attach();
    m_camera.GrabCameraEvents.SetValue(true);
    m_camera.MonitorModeActive.SetValue(true);
    m_camera.Open();
    EXPECT_EQ(m_device.life, "open34 register ");
    EXPECT_FALSE(GenApi::IsWritable(m_camera.MonitorModeActive));
    m_camera.DetachDevice(); // as it is
    EXPECT_TRUE(m_device.FakeDevice::IsOpen());
    EXPECT_TRUE(IsUnlocked());
    m_camera.GrabCameraEvents.SetValue(false);
    m_camera.MonitorModeActive.SetValue(false);
    Attach();
    EXPECT_TRUE(m_camera.GrabCameraEvents.GetValue());
    EXPECT_TRUE(m_camera.MonitorModeActive.GetValue());
    EXPECT_FALSE(GenApi::IsWritable(m_camera.GrabCameraEvents));
    m_camera.StartGrabbing();
    m_camera.StopGrabbing();
    EXPECT_TRUE(m_camera.IsOpen()); // it was so before
    m_camera.Close();
    EXPECT_TRUE(IsUnlocked());
}

TEST_F(CameraTest, SfncVersionIsReadOnceAnOpeningAndOnlyWhole) {
    using Fakes::CFeature;
    LifeDevice device({}, "Life",
                      {{"Integer", "DeviceSFNCVersionMajor", 8, ""},
                       {"Integer", "DeviceSFNCVersionMinor", 9, ""},
                       {"Integer", "DeviceSFNCVersionSubMinor", 10, ""}});
    device.SetValue(8, 2);
    device.SetValue(9, 0x100000003);
    CInstantCamera camera(&device, Cleanup_None);
    camera.RegisterConfiguration(nullptr, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.Open();
    EXPECT_EQ(camera.GetSfncVersion().minor, 3U);
    device.SetValue(8, 7);
    EXPECT_EQ(camera.GetSfncVersion().major, 2U);
    camera.Close();
    camera.Open();
    EXPECT_EQ(camera.GetSfncVersion().major, 7U);
    LifeDevice part({}, "Life", {{"Integer", "DeviceSFNCVersionMajor", 8, ""}});
    camera.Attach(&part, Cleanup_None);
    EXPECT_EQ(Failure([&] { camera.GetSfncVersion(); }), "Failed to read SFNC version from camera device node map.");
    camera.DetachDevice(); // which goes first
}

TEST(DeviceKindTest, IsThatOfTheDeviceClass) {
    using Kind = bool (CInstantCamera::*)() const;
    const std::pair<const char*, Kind> kinds[]{{"HarlixGigE", &CInstantCamera::IsGigE},
                                               {"HarlixUsb", &CInstantCamera::IsUsb},
                                               {"Harlix1394", &CInstantCamera::Is1394},
                                               {"HarlixCameraLink", &CInstantCamera::IsCameraLink},
                                               {"HarlixMipex", &CInstantCamera::IsMipex},
                                               {"HarlixGTC/Maker", nullptr},
                                               {"HarlixGigE2", nullptr},
                                               {"", nullptr}};
    for (const auto& [deviceClass, expected] : kinds) {
        SCOPED_TRACE(deviceClass);
        LifeDevice device({}, deviceClass);
        CInstantCamera camera(&device, Cleanup_None);
        for (const Kind test : {&CInstantCamera::IsGigE, &CInstantCamera::IsUsb, &CInstantCamera::Is1394,
                                &CInstantCamera::IsCameraLink, &CInstantCamera::IsMipex}) {
            EXPECT_EQ((camera.*test)(), test == expected);
        }
        EXPECT_FALSE(camera.IsCxp());
        camera.DetachDevice();
        EXPECT_FALSE(camera.IsGigE());
    }
}

// What fails on the way up is undone

TEST_F(CameraTest, FailedAttachLeavesTheDeviceWithTheCaller) {
    m_device.FakeDevice::Open(AccessModeSet(Control));
    m_device.hook = [](const std::string& call) {
        if (call == "RegisterRemovalCallback") {
            throw std::runtime_error("no callbacks");
        }
    };
    EXPECT_THROW(m_camera.Attach(&m_device, Cleanup_Delete), std::runtime_error);
    EXPECT_FALSE(m_camera.IsZelmoDeviceAttached());
    EXPECT_TRUE(m_device.FakeDevice::IsOpen());
    EXPECT_TRUE(IsUnlocked());
    EXPECT_EQ(m_diary.Told(), "attach ");
    EXPECT_EQ(m_log.Count(kCategory, LogPriority_Notice, " has failed, name=Life 1"), 1U);
    m_device.hook = nullptr;
    m_device.FakeDevice::Close();
}

class FailedOpenTest : public CameraTest, public testing::WithParamInterface<std::tuple<const char*, const char*>> {};

TEST_P(FailedOpenTest, LeavesACloseDeviceAndSaysWhy) {
    const auto [where, told] = GetParam();
    Attach();
    m_diary.Told();
    m_device.hook = [where = std::string(where)](const std::string& call) {
        if (call == where) {
            throw RUNTIME_EXCEPTION("%s was told to fail", call.c_str());
        }
    };
    m_diary.on[where] = [](CInstantCamera&) { throw RUNTIME_EXCEPTION("the handler was told to fail"); };
    EXPECT_THAT(Failure([&] { m_camera.Open(); }), testing::EndsWith("was told to fail"));
    EXPECT_FALSE(m_device.FakeDevice::IsOpen());
    EXPECT_TRUE(IsUnlocked());
    EXPECT_EQ(m_device.Callbacks(), 0U);
    EXPECT_EQ(m_diary.Told(), told);
    m_diary.on.clear();
    m_device.hook = nullptr;
    m_camera.StartGrabbing(); // as if nothing had been
    m_camera.StopGrabbing();
    EXPECT_FALSE(m_camera.IsOpen());
}

INSTANTIATE_TEST_SUITE_P(Steps, FailedOpenTest,
                         testing::Values(std::tuple("open", "open "), std::tuple("GetTLNodeMap", "open "),
                                         std::tuple("Open", "open "), std::tuple("GetNodeMap", "open "),
                                         std::tuple("opened", "open opened close closed ")));

TEST_F(CameraTest, DownwardPathsGoOnWhateverFails) {
    m_diary.on = {{"stop", [](CInstantCamera&) { throw 1; }},
                  {"close", [](CInstantCamera&) { throw std::runtime_error("close"); }},
                  {"detach", [](CInstantCamera&) { throw RUNTIME_EXCEPTION("detach"); }}};
    AttachAndOpen();
    m_camera.StartGrabbing();
    m_diary.Told();
    m_device.hook = [](const std::string& call) {
        if (call == "AcquisitionStop" || call == "Close") {
            throw RUNTIME_EXCEPTION("%s was told to fail", call.c_str());
        }
        if (call == "DeregisterRemovalCallback") {
            throw 1;
        }
    };
    m_camera.Close();
    m_camera.DetachDevice();
    m_device.hook = nullptr;
    m_device.DeregisterRemovalCallback(1);
    m_device.FakeDevice::Close();
    EXPECT_EQ(m_diary.Told(), "stop stopped close closed detach detached ");
    for (const char* text :
         {"Exception caught while executing acquisition stop, msg='AcquisitionStop was told to fail'",
          "Exception caught while closing the device, msg='Close was told to fail'",
          "Unknown exception caught while deregistering device removal callback.",
          "Unknown exception caught while notifying event CConfigurationEventHandler::OnGrabStop",
          "Exception caught while notifying event CConfigurationEventHandler::OnClose handler ",
          "Exception caught while notifying event CConfigurationEventHandler::OnDetach handler "}) {
        EXPECT_EQ(m_log.Count(kCategory, LogPriority_Error, text), 1U) << text;
    }
    EXPECT_TRUE(IsUnlocked());
}

TEST_F(CameraTest, DestroyGoesOnWhereTheFactoryDoesNot) {
    m_camera.Attach(&m_device, Cleanup_Delete);
    EXPECT_TRUE(m_camera.HasOwnership());
    m_camera.Open();
    m_diary.Told();
    m_camera.DestroyDevice(); // the library was not started: there is no factory
    EXPECT_EQ(m_diary.Told(), "close closed destroy destroyed ");
    EXPECT_EQ(
        m_log.Count(kCategory, LogPriority_Error, "Exception caught while destroying device in DestroyDevice, msg='"),
        1U);
    EXPECT_FALSE(m_camera.IsZelmoDeviceAttached());
}

TEST_F(CameraTest, AnotherDeviceTakesThePlaceAndTheSameOneIsDetachedFirst) {
    m_camera.Attach(&m_device, Cleanup_Delete);
    m_camera.Open();
    m_camera.Attach(&m_device, Cleanup_Delete);
    EXPECT_EQ(m_diary.Told(), "attach attached open opened detach detached attach attached ");
    EXPECT_TRUE(m_camera.IsOpen());
    LifeDevice other;
    m_camera.Attach(&other, Cleanup_None);
    EXPECT_EQ(m_diary.Told(), "close closed destroy destroyed attach attached ");
    EXPECT_EQ(m_camera.GetDevice(), &other);
    m_camera.DetachDevice();
}

TEST_F(CameraTest, EndOfTheCameraIsToldAndNothingCanBeAttachedByThen) {
    LifeDevice other;
    Diary diary;
    {
        CInstantCamera camera(&m_device, Cleanup_None);
        camera.RegisterConfiguration(&diary, RegistrationMode_ReplaceAll, Cleanup_None);
        camera.Open();
        diary.on["detached"] = [&](CInstantCamera& ended) { ended.Attach(&other, Cleanup_Delete); };
        diary.on["deregistered"] = [&](CInstantCamera& ended) {
            ended.RegisterConfiguration(&diary, RegistrationMode_Append, Cleanup_None);
        };
    }
    EXPECT_EQ(diary.Told(), "registered open opened detach detached deregistered ");
    EXPECT_EQ(m_log.Count(kCategory, LogPriority_Notice, ": Blocked attaching device "), 1U);
    EXPECT_EQ(m_log.Count(kCategory, LogPriority_Notice, ": Configuration registration blocked, cookie="), 1U);
    EXPECT_EQ(m_log.Count(kCategory, LogPriority_Notice, ": Device removal forwarding thread joined"), 1U);
    EXPECT_TRUE(m_device.FakeDevice::IsOpen()); // the caller's
    m_device.FakeDevice::Close();
}

TEST_F(CameraTest, LockOverrideStandsInForTheLock) {
    struct Counted final : ILockOverride {
        void Lock() override { ++locks; }
        void Unlock() override { ++unlocks; }
        int locks = 0;
        int unlocks = 0;
    } counted;
    m_camera.GetExtensionInterface().SetLockOverride(&counted);
    m_camera.SetCameraContext(7);
    EXPECT_EQ(m_camera.GetCameraContext(), 7);
    m_camera.GetExtensionInterface().SetLockOverride(nullptr);
    EXPECT_EQ(counted.locks, 2);
    EXPECT_EQ(counted.unlocks, 2);
    EXPECT_EQ(&m_camera.GetLock(), &m_camera.GetInstantCameraNodeMap().GetLock());
}

// Each call of the life cycle from each handler of it

using Call = std::pair<const char*, void (*)(CInstantCamera&, LifeDevice&)>;
const Call kCalls[]{{"Open", [](CInstantCamera& camera, LifeDevice&) { camera.Open(); }},
                    {"Close", [](CInstantCamera& camera, LifeDevice&) { camera.Close(); }},
                    {"StartGrabbing", [](CInstantCamera& camera, LifeDevice&) { camera.StartGrabbing(); }},
                    {"StopGrabbing", [](CInstantCamera& camera, LifeDevice&) { camera.StopGrabbing(); }},
                    {"DetachDevice", [](CInstantCamera& camera, LifeDevice&) { camera.DetachDevice(); }},
                    {"DestroyDevice", [](CInstantCamera& camera, LifeDevice&) { camera.DestroyDevice(); }},
                    {"Attach", [](CInstantCamera& camera, LifeDevice& other) { camera.Attach(&other, Cleanup_None); }},
                    {"throw", [](CInstantCamera&, LifeDevice&) { throw RUNTIME_EXCEPTION("told to fail"); }}};
const char* const kEvents[]{"attach",  "attached", "open",   "opened", "start",    "started", "stop",
                            "stopped", "close",    "closed", "detach", "detached", "destroy", "destroyed"};

class ReentrantTest : public CameraTest, public testing::WithParamInterface<std::tuple<const char*, Call>> {};

TEST_P(ReentrantTest, NothingIsUsedThatIsGoneAndNothingStaysLocked) {
    const std::string event = std::get<0>(GetParam());
    const Call call = std::get<1>(GetParam());
    LifeDevice other;
    bool isDone = false;
    for (const bool isDestroyed : {false, true}) {
        m_diary.on = {{event, [&](CInstantCamera& camera) {
                           m_diary.on.clear(); // once
                           isDone = true;
                           try {
                               call.second(camera, other);
                           } catch (const GenICam::GenericException&) {
                               if (std::string(call.first) == "throw") {
                                   throw;
                               }
                           }
                           // what the camera has let go of is not used any more
                           m_device.isGone =
                               event != "attach" && camera.IsZelmoDeviceAttached() && camera.GetDevice() == &other;
                           // and what it says is true
                           if (event != "started") { // where the start is not over yet
                               EXPECT_NE(camera.GetGrabStopWaitObject().Wait(0), camera.IsGrabbing());
                           }
                       }}};
        try {
            m_device.isGone = false;
            Attach();
            m_camera.StartGrabbing();
            EXPECT_TRUE(m_camera.IsGrabbing() != m_camera.GetGrabStopWaitObject().Wait(0));
            m_camera.StopGrabbing();
            m_camera.Close();
            isDestroyed ? m_camera.DestroyDevice() : m_camera.DetachDevice();
        } catch (const GenICam::GenericException&) { // from handlers, and of operations that have lost their device
        }
        m_diary.on.clear();
        m_camera.DetachDevice();
        EXPECT_EQ(m_device.faults, 0);
        EXPECT_EQ(m_device.Callbacks() + other.Callbacks(), 0U);
        EXPECT_FALSE(m_device.Grabber().IsOpen());
        EXPECT_TRUE(IsUnlocked());
        EXPECT_FALSE(m_camera.IsGrabbing());
        EXPECT_TRUE(m_camera.GetGrabStopWaitObject().Wait(0));
        m_device.FakeDevice::Close();
        other.FakeDevice::Close();
    }
    EXPECT_TRUE(isDone);
}

INSTANTIATE_TEST_SUITE_P(Everywhere, ReentrantTest,
                         testing::Combine(testing::ValuesIn(kEvents), testing::ValuesIn(kCalls)),
                         [](const auto& given) {
                             return std::string(std::get<0>(given.param)) + "_" + std::get<1>(given.param).first;
                         });

} // namespace
