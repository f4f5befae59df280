// SPDX-License-Identifier: Apache-2.0

// The factory with plug-ins: enumeration, making devices, and the life of transport layers.

#include "PluginTest.h"
#include "fakes/MappedPlugins.h"
#include <zelmo/Lifecycle.h>
#include <zelmo/TlFactory.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace Zelmo;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using TlFactoryTest = PluginTest;

CDeviceInfo Camera(const char* deviceClass, const char* serial = nullptr) {
    CDeviceInfo info;
    if (deviceClass) {
        info.SetDeviceClass(deviceClass);
    }
    if (serial) {
        info.SetSerialNumber(serial);
    }
    return info;
}

/// The description of the GenICam exception that @p step throws, which must be an E.
template <class E, class Step>
std::string FailureOf(Step&& step) {
    try {
        step();
    } catch (const E& e) {
        return e.GetDescription();
    }
    ADD_FAILURE() << "no exception";
    return "";
}

TEST(TlFactoryWithoutLibraryTest, SaysThatTheLibraryMustBeInitialised) {
    EXPECT_EQ(FailureOf<GenICam::RuntimeException>([] { CTlFactory::GetInstance(); }),
              "TLFactory not instanciated, you must call ZelmoInitialize()");
}

TEST_F(TlFactoryTest, ListsDevicesBehindThoseThatAreThere) {
    Start({"good"});
    DeviceInfoList devices;
    EXPECT_EQ(Factory().EnumerateDevices(devices, true), 2);
    EXPECT_EQ(Factory().EnumerateDevices(devices, true), 4);
    EXPECT_THAT(Serials(devices), ElementsAre("1", "2", "1", "2"));
    DeviceInfoList filter;
    filter.push_back(Camera(nullptr, "2"));
    EXPECT_EQ(Factory().EnumerateDevices(devices, filter), 1);
    EXPECT_THAT(Serials(devices), ElementsAre("2"));
    EXPECT_EQ(Factory().EnumerateDevices(devices, filter, true), 2);
}

TEST_F(TlFactoryTest, WithoutPluginsEveryEnumerationSearchesAgain) {
    Start({});
    TlInfoList tls;
    for (int i = 0; i < 2; ++i) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(Factory().EnumerateTls(tls), 0);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("globbing failed\n"));
    }
    EXPECT_EQ(Factory().CreateTl(String_t("FakeGood")), nullptr);
}

TEST_F(TlFactoryTest, TransportLayersStandInTheOrderOfTheirClasses) {
    Start({"good", "faulty"});
    TlInfoList tls(3);
    EXPECT_EQ(Factory().EnumerateTls(tls), 2);
    EXPECT_EQ(tls[0].GetDeviceClass(), "FakeFaulty");
    EXPECT_EQ(tls[1].GetDeviceClass(), "FakeGood");
    EXPECT_THAT(FakeCalls(), IsEmpty()) << "no transport layer is made for that";
}

TEST_F(TlFactoryTest, PatternWithoutClassMustMatchExactlyOneDevice) {
    Start({"good"});
    const std::string none = "No device is available or no device contains the provided device info properties.";
    const std::string two = "Ambiguous device info properties. 2 devices match the provided device info properties.";
    EXPECT_EQ(FailureOf<GenICam::RuntimeException>([&] { Factory().CreateFirstDevice(Camera(nullptr, "3")); }), none);
    EXPECT_EQ(FailureOf<GenICam::RuntimeException>([&] { Factory().CreateDevice(CDeviceInfo()); }), two);
    EXPECT_EQ(FailureOf<GenICam::RuntimeException>([&] { Factory().IsDeviceAccessible(CDeviceInfo()); }), two);
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Error, none), 1u);
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Error, two), 2u);

    Destroy(Factory().CreateFirstDevice(CDeviceInfo()));
    Destroy(Factory().CreateDevice(Camera(nullptr, "2"), {"strings"}));
    EXPECT_THAT(FakeCalls(), ElementsAre("Create Fake/FakeGood", "FakeGood SetPrivateProperty 3338661 1 1",
                                         "CreateDevice 1", "DestroyDevice 1", "CreateDevice 2", "DestroyDevice 2"))
        << "the strings are not passed on, and the found device is created as the only one";
}

TEST_F(TlFactoryTest, PatternWithClassIsLeftToTheTransportLayer) {
    Start({"good"});
    const CDeviceInfo info = Camera("FakeGood");
    Destroy(Factory().CreateDevice(info));
    Destroy(Factory().CreateFirstDevice(info));
    Destroy(Factory().CreateDevice(info, {"strings 1"}));
    Destroy(Factory().CreateFirstDevice(info, {"strings 2"}));
    EXPECT_THAT(FakeCalls("N/A"),
                ElementsAre("CreateDevice N/A", "DestroyDevice N/A", "CreateFirstDevice N/A", "DestroyDevice N/A",
                            "strings 1 N/A", "DestroyDevice N/A", "strings 2 N/A", "DestroyDevice N/A"));
    const std::string message = "The transport layer for device class 'Nobody' could not be created.";
    EXPECT_EQ(FailureOf<GenICam::RuntimeException>([&] { Factory().CreateDevice(Camera("Nobody")); }), message);
    EXPECT_EQ(FailureOf<GenICam::RuntimeException>([&] { Factory().IsDeviceAccessible(Camera("Nobody")); }), message);
}

TEST_F(TlFactoryTest, DevicesAreStillMadeByFullName) {
    Start({"good"});
    EXPECT_EQ(Factory().CreateDevice(String_t("Fake/FakeGood/3")), nullptr);
    IZelmoDevice* const device = Factory().CreateDevice(String_t("Fake/FakeGood/2"));
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->GetDeviceInfo().GetFullName(), "Fake/FakeGood/2");
    Factory().DestroyDevice(device);
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Warn,
                          "The function CTlFactory::CreateDevice(const String_t& fullname) is deprecated. Please use "
                          "CTlFactory::CreateDevice(const CDeviceInfo& di) instead."),
              2u);
    Factory().DestroyDevice(nullptr);
}

TEST_F(TlFactoryTest, AsksTheTransportLayerWhetherADeviceIsAccessible) {
    Start({"good"});
    EDeviceAccessiblityInfo why = DeviceAccessibility_Unknown;
    EXPECT_TRUE(Factory().IsDeviceAccessible(Camera(nullptr, "2"), Control | Stream, &why));
    EXPECT_EQ(why, DeviceAccessibility_InUse);
    EXPECT_THAT(FakeCalls("IsDeviceAccessible"), ElementsAre("IsDeviceAccessible 2 for 10"));
}

TEST_F(TlFactoryTest, TransportLayerLivesUntilItsLastReferenceGoes) {
    Start({"good"});
    ITransportLayer* const first = Factory().CreateTl(String_t("FakeGood"));
    ITransportLayer* const second = Factory().CreateTl(first->GetTlInfo());
    EXPECT_EQ(first, second);
    Factory().ReleaseTl(first);
    EXPECT_THAT(FakeCalls("Destroy"), IsEmpty());
    Factory().ReleaseTl(second);
    EXPECT_THAT(FakeCalls("Destroy"), ElementsAre("Destroy Fake/FakeGood"));
    Factory().ReleaseTl(Factory().CreateTl(String_t("FakeGood")));
    EXPECT_EQ(FakeCalls("Create Fake").size(), 2u);
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Notice, "Trying to load"), 1u) << "the plug-in stays loaded";
    Factory().ReleaseTl(nullptr);
    CTlInfo foreign;
    EXPECT_EQ(Factory().CreateTl(foreign), nullptr);
}

TEST_F(TlFactoryTest, EnumerationKeepsTransportLayersUntilTermination) {
    Start({"good"});
    DeviceInfoList devices;
    Factory().EnumerateDevices(devices);
    Factory().EnumerateDevices(devices);
    EXPECT_EQ(FakeCalls("Create Fake").size(), 1u);
    EXPECT_THAT(FakeCalls("Destroy"), IsEmpty());
    Factory().Terminate();
    EXPECT_THAT(FakeCalls("Destroy"), ElementsAre("Destroy Fake/FakeGood"));
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Warn), 0u);
}

TEST_F(TlFactoryTest, TerminatedFactoryRefusesEverythingButReleasingNull) {
    Start({"good"});
    CTlFactory& factory = Factory();
    ITransportLayer* const tl = factory.CreateTl(String_t("FakeGood"));
    factory.Terminate();
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Warn,
                          "There are still 1 TLs referenced. Check you calls to CTlFactory::ReleaseTl() and make sure "
                          "you have called DestroyDevice() for each successfully created device.!"),
              1u);
    EXPECT_THAT(FakeCalls("Destroy"), ElementsAre("Destroy Fake/FakeGood"));
    const std::string message = "Do not use any zelmo object after Zelmo::ZelmoTerminate() has been called.";
    TlInfoList tls;
    EXPECT_EQ(FailureOf<GenICam::LogicalErrorException>([&] { factory.EnumerateTls(tls); }), message);
    EXPECT_EQ(FailureOf<GenICam::LogicalErrorException>([&] { factory.ReleaseTl(tl); }), message);
    EXPECT_EQ(FailureOf<GenICam::LogicalErrorException>([&] { factory.CreateDevice(CDeviceInfo()); }), message);
    EXPECT_EQ(FailureOf<GenICam::LogicalErrorException>([&] { factory.DestroyDevice(nullptr); }), message);
    factory.ReleaseTl(nullptr);
    factory.Terminate();
}

TEST_F(TlFactoryTest, LibraryStartsAnewAfterTermination) {
    Start({"good"});
    DeviceInfoList devices;
    Factory().EnumerateDevices(devices);
    m_library = std::make_unique<ZelmoScope>(false); // one more start, then the first one goes
    EXPECT_EQ(Factory().EnumerateDevices(devices), 2);
    m_library.reset();
    m_library = std::make_unique<ZelmoScope>(false);
    EXPECT_EQ(Factory().EnumerateDevices(devices), 2);
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Notice, "Trying to load"), 2u);
}

TEST_F(TlFactoryTest, OfTwoPluginsWithTheSameEntryTheFirstOneIsAskedAndTheOtherIsToldOfOnce) {
    for (const char* const name : {"libzelmo_TL_a.so", "libzelmo_TL_b.so"}) {
        std::filesystem::copy_file(FileOf("faulty"), m_folder.Path() / name);
    }
    setenv("ZELMO_TEST_FAULT", "Create null in libzelmo_TL_a.so", 1);
    Start({});
    DeviceInfoList devices;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Factory().EnumerateDevices(devices), 0) << "the first one makes none, and the second is not asked";
    }
    EXPECT_EQ(Factory().CreateTl(String_t("FakeFaulty")), nullptr);
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Warn, "/libzelmo_TL_b.so' cannot be used beside TL lib '"),
              1u);
}

TEST_F(TlFactoryTest, NothingOfAPluginIsLeftAfterTheLastTerminationAndWhatItGaveStaysUsable) {
    setenv("ZELMO_CAMEMU", "1", 1);
    Start({"good", "faulty", "minimal", "scripted", "../lib"});
    DeviceInfoList devices;
    EXPECT_GE(Factory().EnumerateDevices(devices), 5);
    EXPECT_THAT(Fakes::MappedPlugins(), testing::SizeIs(testing::Ge(5u)));
    std::vector<std::unique_ptr<CTlInfo>> infos;
    std::exception_ptr failure;
    for (const CDeviceInfo& device : devices) {
        ITransportLayer* const tl = Factory().CreateTl(device.GetDeviceClass());
        infos.emplace_back(new CTlInfo(tl->GetTlInfo()));
        Factory().ReleaseTl(tl);
    }
    IZelmoDevice* const forgotten = Factory().CreateDevice(Camera("HarlixCamEmu"));
    forgotten->Open(Control | Stream); // its threads run now
    try {
        forgotten->Open(Control);
    } catch (const GenICam::LogicalErrorException&) {
        failure = std::current_exception();
    }
    m_library.reset();
    EXPECT_THAT(Fakes::MappedPlugins(), IsEmpty());
    for (const auto& info : infos) {
        EXPECT_TRUE(info->IsSubset(CTlInfo()));
    }
    EXPECT_THROW(std::rethrow_exception(failure), GenICam::LogicalErrorException);
}

struct Admission {
    const char* filter; ///< Null for unset.
    bool admitted;
    friend std::ostream& operator<<(std::ostream& stream, const Admission& p) {
        return stream << (p.filter ? p.filter : "no filter");
    }
};

class AdmissionTest : public PluginTest, public testing::WithParamInterface<Admission> {};

TEST_P(AdmissionTest, OnlyClassesOfTheDeviceFilterAreAdmitted) {
    if (GetParam().filter) {
        setenv("ZELMO_DEVICE_FILTER", GetParam().filter, 1);
    }
    Start({"good"});
    DeviceInfoList devices;
    EXPECT_EQ(Factory().EnumerateDevices(devices), 2) << "the factory applies the filter to no device";
    EXPECT_EQ(FakeCalls("FakeGood SetPrivateProperty 3338661 1 1").size(), GetParam().admitted ? 1u : 0u);
    EXPECT_EQ(GetGlobalDeviceFilterInstance() != nullptr, GetParam().filter && *GetParam().filter != '|');
}

INSTANTIATE_TEST_SUITE_P(Filters, AdmissionTest,
                         testing::Values(Admission{nullptr, true}, Admission{"||", true},
                                         Admission{"SerialNumber=1", true}, Admission{"DeviceClass=Other", false},
                                         Admission{"DeviceClass=Other||SerialNumber=1", false},
                                         Admission{"DeviceClass=Other||DeviceClass=FakeGood", true}));

TEST_F(TlFactoryTest, FilterGoesWithTheFactory) {
    setenv("ZELMO_DEVICE_FILTER", "SerialNumber=1", 1);
    Start({"good"});
    ASSERT_NE(GetGlobalDeviceFilterInstance(), nullptr);
    EXPECT_EQ(GetGlobalDeviceFilterInstance()->at(0).GetSerialNumber(), "1");
    m_library.reset();
    EXPECT_EQ(GetGlobalDeviceFilterInstance(), nullptr);
}

TEST_F(TlFactoryTest, ThreadsEnumerateAndCreateAtOnce) {
    Start({"good", "faulty"});
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 50; ++i) {
                DeviceInfoList devices;
                EXPECT_EQ(Factory().EnumerateDevices(devices), 3);
                Destroy(Factory().CreateDevice(Camera("FakeGood", "1")));
                Factory().ReleaseTl(Factory().CreateTl(String_t("FakeFaulty")));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(FakeCalls("CreateDevice 1").size(), 200u);
    m_library.reset();
    EXPECT_EQ(FakeCalls("Create Fake").size(), 1u);
    EXPECT_EQ(FakeCalls("Destroy Fake").size(), 1u);
}

} // namespace
