// SPDX-License-Identifier: Apache-2.0
#include "Emulator.h"

#include <fakes/Failure.h>
#include <fakes/LogRecorder.h>

using namespace Emulator;

namespace {

class CameraCountTest : public ::testing::TestWithParam<std::pair<const char*, std::size_t>> {};

TEST_P(CameraCountTest, ComesFromTheEnvironment) {
    Library library(GetParam().first);
    EXPECT_EQ(library.Devices().size(), GetParam().second);
}
INSTANTIATE_TEST_SUITE_P(All, CameraCountTest,
                         ::testing::Values(std::pair{nullptr, 0u}, std::pair{"", 0u}, std::pair{"0", 0u},
                                           std::pair{"3", 3u}, std::pair{"1000", 1000u}));

class BadCameraCountTest : public ::testing::TestWithParam<const char*> {};

TEST_P(BadCameraCountTest, CountsAsNoneAndIsLogged) {
    const Fakes::LogRecorder log;
    Library library(GetParam());
    EXPECT_EQ(library.Devices().size(), 0u);
    EXPECT_EQ(log.Count("zelmo.camemu", GenICam::LogPriority_Error,
                        std::string("ZELMO_CAMEMU='") + GetParam() +
                            "' is not a number of cameras from 0 to 1000. No camera is emulated."),
              1u);
}
INSTANTIATE_TEST_SUITE_P(All, BadCameraCountTest,
                         ::testing::Values("1001", "-1", "two", "2x", " 2", "1e1", "99999999999999999999"));

TEST(EnumerationTest, HundredsOfCamerasAreOpenAtTheSameTime) {
    Library library("400");
    std::vector<DevicePtr> devices;
    for (const auto& info : library.Devices()) {
        devices.emplace_back(Zelmo::CTlFactory::GetInstance().CreateDevice(info))->Open(ForStreaming());
    }
    ASSERT_EQ(devices.size(), 400u);
    for (const DevicePtr& device : devices) {
        const GenApi::CStringPtr serial(device->GetNodeMap()->GetNode("DeviceSerialNumber"));
        ASSERT_EQ(serial->GetValue(), device->GetDeviceInfo().GetSerialNumber());
    }
}

TEST(EnumerationTest, CallersFilterPicksDevicesAndKeepsEarlierEntries) {
    Library library("3");
    Zelmo::DeviceInfoList filter, list;
    filter.push_back(Pattern("0815-0002"));
    list.push_back(Pattern("zzz"));
    Zelmo::CTlFactory::GetInstance().EnumerateDevices(list, filter, true);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_STREQ(list[0].GetSerialNumber().c_str(), "zzz");
    EXPECT_STREQ(list[1].GetSerialNumber().c_str(), "0815-0002");
}

class GlobalFilterTest : public ::testing::TestWithParam<std::pair<const char*, std::size_t>> {};

TEST_P(GlobalFilterTest, LimitsWhatCountsAsPresent) {
    Library library("3", GetParam().first);
    EXPECT_EQ(library.Devices().size(), GetParam().second);
}
INSTANTIATE_TEST_SUITE_P(
    All, GlobalFilterTest,
    ::testing::Values(std::pair{"DeviceClass=HarlixCamEmu", 3u}, std::pair{"DeviceClass=HarlixUsb", 0u},
                      std::pair{"SerialNumber=0815-0001", 1u},
                      std::pair{"DeviceClass=HarlixUsb || SerialNumber=0815-0001", 0u}, // the class is not admitted
                      std::pair{"DeviceClass=HarlixCamEmu && SerialNumber=0815-0002 || DeviceClass=HarlixUsb", 1u},
                      std::pair{"SerialNumber=0815-0001 || ModelName=Emulation", 3u}));

TEST(GlobalFilterCreateTest, AHiddenCameraCannotBeCreated) {
    Library library("3", "SerialNumber=0815-0001");
    EXPECT_THROW(Create("0815-0000"), GenICam::RuntimeException);
    EXPECT_TRUE(Create("0815-0001"));
}

std::string FailureOf(const Zelmo::CDeviceInfo& info) {
    return Fakes::FailureOf([&] { DevicePtr(Zelmo::CTlFactory::GetInstance().CreateDevice(info)); });
}

TEST(CreateDeviceTest, PartialInfoIsTakenWhenItFitsOneCamera) {
    Library library("3");
    auto& factory = Zelmo::CTlFactory::GetInstance();
    EXPECT_STREQ(Create("0815-0001")->GetDeviceInfo().GetFullName().c_str(), "HarlixCamEmu 0815-0001");
    EXPECT_EQ(FailureOf(Pattern()), "Ambiguous device info properties. 3 devices match the provided device info "
                                    "properties.");
    EXPECT_EQ(FailureOf(Pattern("0815-0003")),
              "No device is available or no device contains the provided device info properties.");
    EXPECT_STREQ(DevicePtr(factory.CreateFirstDevice(Pattern()))->GetDeviceInfo().GetSerialNumber().c_str(),
                 "0815-0000");
    EXPECT_STREQ(DevicePtr(factory.CreateDevice(Zelmo::String_t("HarlixCamEmu 0815-0002")))
                     ->GetDeviceInfo()
                     .GetSerialNumber()
                     .c_str(),
                 "0815-0002");
}

TEST(UserDefinedNameTest, IsShownByEnumerationAndLastsUntilTermination) {
    {
        Library library("2");
        const Zelmo::CDeviceInfo before = library.Devices()[0];
        EXPECT_FALSE(before.IsUserProvided());
        Camera("0815-0000").Set("DeviceUserID", "left eye");
        EXPECT_TRUE(DevicePtr(Zelmo::CTlFactory::GetInstance().CreateDevice(before))) << "an older info still fits";
        Camera again("0815-0000"); // resets
        EXPECT_EQ(again.Text("DeviceUserID"), "left eye");
        EXPECT_STREQ(library.Devices()[0].GetUserDefinedName().c_str(), "left eye");
        EXPECT_STREQ(library.Devices()[0].GetFriendlyName().c_str(), "left eye (0815-0000)");
        EXPECT_STREQ(library.Devices()[1].GetUserDefinedName().c_str(), "");
    }
    EXPECT_STREQ(Library("2").Devices()[0].GetUserDefinedName().c_str(), "");
}

/// The modes that one device object holds and a second one wants, whether it gets them, and how it sees the camera.
struct Admission {
    Zelmo::AccessModeSet holds, wants;
    bool isAdmitted;
    const char* status;
};

class AdmissionTest : public ::testing::TestWithParam<Admission> {};

TEST_P(AdmissionTest, DependsOnTheModesAndIsForetold) {
    Library library("2");
    DevicePtr first = Create(), second = Create();
    const GenApi::CValuePtr status = second->GetTLNodeMap()->GetNode("DeviceAccessStatus");
    first->Open(GetParam().holds);
    const bool isAdmitted = GetParam().isAdmitted;
    auto reason = Zelmo::DeviceAccessibility_Unknown;
    EXPECT_EQ(Zelmo::CTlFactory::GetInstance().IsDeviceAccessible(Pattern("0815-0000"), GetParam().wants, &reason),
              isAdmitted);
    EXPECT_EQ(reason, isAdmitted ? Zelmo::DeviceAccessibility_Ok : Zelmo::DeviceAccessibility_InUse);
    EXPECT_EQ(status->ToString(), GetParam().status);
    const auto open = [&] { second->Open(GetParam().wants); };
    const std::string failure = Fakes::FailureOf<GenICam::AccessException>(open);
    if (!isAdmitted) {
        const std::string holder = ::testing::PrintToString(static_cast<void*>(first.get()));
        EXPECT_NE(failure.find("'HarlixCamEmu 0815-0000'"), std::string::npos) << failure;
        EXPECT_NE(failure.find(holder), std::string::npos) << failure;
        first->Close();
        EXPECT_NO_THROW(open()) << "nobody stands in the way any more";
    }
    const bool controls = GetParam().wants.test(Zelmo::Control) || GetParam().wants.test(Zelmo::Exclusive);
    EXPECT_EQ(status->ToString(), controls ? "OpenReadWrite" : "OpenReadOnly");
}
INSTANTIATE_TEST_SUITE_P(All, AdmissionTest,
                         ::testing::Values(Admission{Zelmo::Control, Zelmo::Control, false, "ReadOnly"},
                                           Admission{Zelmo::Control, Zelmo::Stream, true, "ReadOnly"},
                                           Admission{Zelmo::Control, Zelmo::Exclusive, false, "ReadOnly"},
                                           Admission{Zelmo::Stream, Zelmo::Control, true, "ReadWrite"},
                                           Admission{{}, Zelmo::Exclusive, false, "ReadWrite"},
                                           Admission{Zelmo::Exclusive, {}, false, "Busy"}));

TEST(AccessTest, WithoutControlTheCameraCanBeReadOnly) {
    Library library("1");
    Camera owner;
    DevicePtr monitor = Create();
    monitor->Open(Zelmo::AccessModeSet());
    GenApi::CIntegerPtr width = monitor->GetNodeMap()->GetNode("Width");
    EXPECT_EQ(width->GetValue(), 1024);
    EXPECT_THROW(width->SetValue(64), GenICam::AccessException);
    EXPECT_THROW(monitor->GetStreamGrabber(0)->Open(), GenICam::LogicalErrorException);
    monitor->Close();
    EXPECT_TRUE(owner.IsWritable("Width"));
    EXPECT_THROW(Create()->Open(Zelmo::Control), GenICam::AccessException) << "the owner still controls it";
}

TEST(AccessTest, ClosingTwiceIsHarmlessAndOpeningTwiceIsNot) {
    Library library("1");
    DevicePtr device = Create();
    device->Close();
    device->Open(ForStreaming());
    EXPECT_EQ(device->AccessMode(), ForStreaming());
    EXPECT_THROW(device->Open(ForStreaming()), GenICam::LogicalErrorException);
    EXPECT_TRUE(device->IsOpen());
    device->Close();
    device->Close();
    EXPECT_EQ(device->GetNodeMap(), nullptr);
    EXPECT_TRUE(device->AccessMode().none());
}

} // namespace
