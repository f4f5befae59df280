// SPDX-License-Identifier: Apache-2.0

// How plug-ins are found, and that a bad one is named in the log and hides nothing of the others.

#include "PluginTest.h"
#include "fakes/plugins/ManyEntries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <stdexcept>
#include <sys/stat.h>

using namespace Zelmo;
using namespace GenICam;
using testing::ElementsAre;

namespace {

class PluginSearchTest : public PluginTest {
protected:
    int EnumerateTls() {
        TlInfoList tls;
        return Factory().EnumerateTls(tls);
    }
};

TEST_F(PluginSearchTest, FileThatIsReachedTwiceIsLoadedOnceUnderItsOwnName) {
    std::filesystem::create_symlink(FileOf("good"), m_folder.Path() / "libzelmo_TL_link.so");
    std::filesystem::create_directory_symlink(FolderOf("good"), m_folder.Path() / "folder");
    Start({"good", "good", "faulty"});
    EXPECT_EQ(EnumerateTls(), 2);
    EXPECT_THAT(Loaded(), ElementsAre(FileOf("faulty"), FileOf("good"))) << "in the order of their paths";
}

TEST_F(PluginSearchTest, EscapedColonBelongsToTheFolder) {
    const auto folder = m_folder.Path() / "a:b";
    std::filesystem::create_directory(folder);
    std::filesystem::copy_file(FileOf("good"), folder / "libzelmo_TL_copy.so");
    StartWithFolders(m_folder.Path().string() + "/a\\:b:/nowhere");
    EXPECT_EQ(EnumerateTls(), 1);
    EXPECT_THAT(Loaded(), ElementsAre((folder / "libzelmo_TL_copy.so").string()));
}

TEST_F(PluginSearchTest, FolderListThatCannotBeReadFailsEverySearch) {
    StartWithFolders(FolderOf("good") + "\\x");
    EXPECT_THROW(EnumerateTls(), std::runtime_error);
    EXPECT_THROW(EnumerateTls(), std::runtime_error);
}

TEST_F(PluginSearchTest, EmptyFolderListElementIsTheRootFolder) {
    StartWithFolders(std::string(":").append(FolderOf("good")));
    testing::internal::CaptureStderr();
    EXPECT_EQ(EnumerateTls(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "globbing failed\n");
}

TEST_F(PluginSearchTest, FileThatWasCutAnywhereIsNotLoaded) {
    const auto file = m_folder.Path() / "libzelmo_TL_cut.so";
    std::filesystem::copy_file(FileOf("good"), file);
    const auto size = std::filesystem::file_size(file);
    for (unsigned twentieths = 20; twentieths-- > 0;) {
        const auto kept = twentieths == 19 ? size - 1 : size * twentieths / 20;
        std::filesystem::resize_file(file, kept);
        Start({"good"});
        EXPECT_EQ(EnumerateTls(), 1) << kept << " of " << size << " bytes";
        m_library.reset();
    }
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Error, "Could not load TL lib '" + file.string() + "' : "),
              20u);
    EXPECT_TRUE(m_log.Contains(kCategory, GenICam::LogPriority_Error, "the file is cut short"));
}

TEST_F(PluginSearchTest, FilesThatAreNoPluginsAreNamedAndLeftOut) {
    const auto text = m_folder.Path() / "libzelmo_TL_text.so";
    std::ofstream(text) << "no shared library at all\n";
    const auto foreign = m_folder.Path() / "libzelmo_TL_foreign.so";
    std::filesystem::copy_file(FileOf("good"), foreign);
    std::fstream elf(foreign, std::ios::in | std::ios::out | std::ios::binary);
    elf.seekp(18).write("\x08\x00", 2); // e_machine: MIPS
    elf.close();
    std::filesystem::create_directory(m_folder.Path() / "libzelmo_TL_folder.so");
    mkfifo((m_folder.Path() / "libzelmo_TL_pipe.so").c_str(), 0600);
    std::filesystem::create_symlink("/nowhere", m_folder.Path() / "libzelmo_TL_dangling.so");

    Start({"good", "incomplete"});
    DeviceInfoList devices;
    EXPECT_EQ(Factory().EnumerateDevices(devices), 2);
    for (const char* const name : {"text", "foreign", "folder", "pipe"}) {
        const std::string file = (m_folder.Path() / ("libzelmo_TL_" + std::string(name) + ".so")).string();
        EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Error, "Could not load TL lib '" + file + "' : "), 1u);
    }
    EXPECT_EQ(
        m_log.Count(kCategory, GenICam::LogPriority_Warn,
                    "Could not find required exports in TL lib '" + FileOf("incomplete") + "'. Lib won't be used."),
        1u);
}

constexpr char kClassless[] =
    "Device 'lost' of transport layer 'Fake/FakeFaulty' cannot be used: it has no device class";

struct PluginFault {
    const char* fault;
    int priority;        ///< Of the one line that names the fault; 0 for none.
    std::string message; ///< "%" stands for the plug-in's file.
    std::size_t devices; ///< Those of the faulty plug-in.
    friend std::ostream& operator<<(std::ostream& stream, const PluginFault& p) { return stream << p.fault; }
};

class FaultyPluginTest : public PluginTest, public testing::WithParamInterface<PluginFault> {};

TEST_P(FaultyPluginTest, HidesNothingOfTheOthers) {
    PluginFault p = GetParam();
    if (const auto file = p.message.find('%'); file != std::string::npos) {
        p.message.replace(file, 1, FileOf("faulty"));
    }
    setenv("ZELMO_TEST_FAULT", p.fault, 1);
    Start({"faulty", "good"});
    DeviceInfoList devices;
    EXPECT_EQ(Factory().EnumerateDevices(devices), static_cast<int>(2 + p.devices));
    EXPECT_THAT(Serials(devices), testing::IsSupersetOf({"1", "2"}));
    m_library.reset();
    std::vector<Fakes::LogLine> lines = m_log.Lines();
    std::erase_if(lines, [](const Fakes::LogLine& line) {
        return line.category != kCategory || line.message.starts_with("Trying to load");
    });
    if (p.priority) {
        EXPECT_THAT(lines, ElementsAre(Fakes::LogLine{kCategory, p.priority, p.message}));
    } else {
        EXPECT_THAT(lines, ElementsAre());
    }
}

const PluginFault kFaults[] = {
    {"none", 0, "", 1},
    {"GetTLInfoList GenICam", LogPriority_Error, "Exception in GetTLInfoList of TL lib '%': broken", 0},
    {"GetTLInfoList standard", LogPriority_Error, "Exception in GetTLInfoList of TL lib '%': broken", 0},
    {"GetTLInfoList unknown", LogPriority_Error, "Exception in GetTLInfoList of TL lib '%': Unknown exception", 0},
    {"Create GenICam", LogPriority_Notice, "Trying to create TL 'Fake/FakeFaulty' - broken", 0},
    {"Create unknown", LogPriority_Notice, "Unknown error while enumerating FakeFaulty devices.", 0},
    {"GetTlInfo GenICam", LogPriority_Notice, "Trying to create TL 'Fake/FakeFaulty' - broken", 0},
    {"Create null", 0, "", 0},
    {"Not counted", 0, "", 1},
    {"EnumerateDevices GenICam", LogPriority_Warn, "Exception while enumerating FakeFaulty devices. Error: 'broken'",
     1},
    {"EnumerateDevices standard", LogPriority_Notice, "Unknown error while enumerating FakeFaulty devices.", 1},
    {"No device class", LogPriority_Warn, kClassless, 1},
};

INSTANTIATE_TEST_SUITE_P(Faults, FaultyPluginTest, testing::ValuesIn(kFaults), [](const auto& tested) {
    std::string name = tested.param.fault;
    std::erase(name, ' ');
    return name;
});

using OtherFaultTest = PluginTest;

TEST_F(OtherFaultTest, DeviceWithoutAClassIsRefusedByNameAndToldOnce) {
    setenv("ZELMO_TEST_FAULT", "No device class", 1);
    Start({"faulty", "good"});
    CDeviceInfo info;
    info.SetSerialNumber("77");
    const auto refusal = testing::Throws<GenICam::RuntimeException>(
        testing::Property(&GenICam::RuntimeException::GetDescription, testing::StrEq(kClassless)));
    EXPECT_THAT([&] { Factory().CreateDevice(info); }, refusal);
    EXPECT_THAT([&] { Factory().CreateFirstDevice(info); }, refusal);
    EXPECT_THAT([&] { Factory().IsDeviceAccessible(info); }, refusal);
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Warn, kClassless), 1u);
}

TEST_F(OtherFaultTest, LayerThatReplacesInsteadOfAppendingTakesNothingAway) {
    setenv("ZELMO_TEST_FAULT", "Ignores addToList", 1);
    Start({"faulty"});
    DeviceInfoList devices(1);
    EXPECT_EQ(Factory().EnumerateDevices(devices, true), 2);
}

TEST_F(OtherFaultTest, SecondTransportLayerOfOneFullNameIsRefusedAndDestroyed) {
    setenv("ZELMO_TEST_FAULT", "Same name", 1);
    Start({"faulty", "good"});
    ITransportLayer* const good = Factory().CreateTl(String_t("FakeGood"));
    EXPECT_EQ(Factory().CreateTl(String_t("FakeFaulty")), nullptr);
    EXPECT_THAT(FakeCalls("Destroy"), ElementsAre("Destroy faulty"));
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Notice,
                          "Trying to create TL 'Fake/FakeFaulty' - Tried to add the same transport layer twice"),
              1u);
    Factory().ReleaseTl(good);
}

TEST_F(OtherFaultTest, TransportLayerThatFailsAfterItWasAddedStays) {
    setenv("ZELMO_TEST_FAULT", "SetPrivateProperty GenICam", 1);
    Start({"faulty"});
    EXPECT_EQ(Factory().CreateTl(String_t("FakeFaulty")), nullptr);
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Notice, "Trying to create TL 'Fake/FakeFaulty' - broken"),
              1u);
    EXPECT_NE(Factory().CreateTl(String_t("FakeFaulty")), nullptr) << "the same, found alive";
    m_library.reset();
    EXPECT_THAT(FakeCalls("Destroy"), ElementsAre("Destroy faulty"));
}

TEST_F(OtherFaultTest, UncountedTransportLayerGoesWithItsFirstRelease) {
    setenv("ZELMO_TEST_FAULT", "Not counted", 1);
    Start({"faulty"});
    Factory().ReleaseTl(Factory().CreateTl(String_t("FakeFaulty")));
    EXPECT_THAT(FakeCalls("Destroy"), ElementsAre("Destroy faulty"));
}

TEST_F(OtherFaultTest, FailureToDestroyReachesWhoeverReleases) {
    setenv("ZELMO_TEST_FAULT", "Destroy GenICam", 1);
    Start({"faulty"});
    ITransportLayer* const tl = Factory().CreateTl(String_t("FakeFaulty"));
    EXPECT_THROW(Factory().ReleaseTl(tl), GenICam::RuntimeException);
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Error,
                          "Exception in Destroy of TL lib '" + FileOf("faulty") + "': broken"),
              1u);
    setenv("ZELMO_TEST_FAULT", "none", 1);
}

TEST_F(OtherFaultTest, FailureToDestroyHidesNoDevices) {
    setenv("ZELMO_TEST_FAULT", "Destroy not counted", 1);
    Start({"faulty", "good"});
    DeviceInfoList devices;
    EXPECT_EQ(Factory().EnumerateDevices(devices), 3);
    EXPECT_EQ(FakeCalls("Destroy"), std::vector<std::string>{"Destroy faulty"});
    setenv("ZELMO_TEST_FAULT", "none", 1);
}

/// Whether transport layers go by their references or, as one is never released, by force.
class CallingBackTest : public PluginTest, public testing::WithParamInterface<bool> {};

TEST_P(CallingBackTest, ExportsMayUseTheFactory) {
    setenv("ZELMO_TEST_FAULT", "none, calls back", 1);
    Start({"faulty", "good"});
    DeviceInfoList devices;
    EXPECT_EQ(Factory().EnumerateDevices(devices), 3);
    EXPECT_EQ(Loaded().size(), 2u) << "a call during the search begins no search of its own";
    const bool byForce = GetParam();
    if (byForce) {
        Factory().CreateTl(String_t("FakeFaulty"));
    }
    m_library.reset();
    EXPECT_EQ(FakeCalls("Destroy faulty").size(), 1u);
    EXPECT_EQ(FakeCalls("DestroyDevice").size(), 1u);
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Warn,
                          "~ImplicitTlRefs(): There shoudln't be any refs upon destruction"),
              byForce ? 0u : 1u);
    EXPECT_EQ(m_log.Count(kCategory, GenICam::LogPriority_Warn, "There are still 1 TLs referenced."),
              byForce ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Ends, CallingBackTest, testing::Bool());

TEST_F(OtherFaultTest, FailureToDestroyAtTerminationEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto terminateWithFault = [this] {
        setenv("ZELMO_TEST_FAULT", "Destroy GenICam", 1);
        Start({"faulty"});
        DeviceInfoList devices;
        Factory().EnumerateDevices(devices);
        m_library.reset();
    };
    EXPECT_EXIT(terminateWithFault(), testing::KilledBySignal(SIGABRT), "broken");
}

class MillionEntriesTest : public PluginTest, public testing::WithParamInterface<const char*> {};

TEST_P(MillionEntriesTest, AreListedAndHoldNobodyUp) {
    setenv("ZELMO_TEST_FAULT", GetParam(), 1);
    Start({"faulty", "good"});
    {
        TlInfoList tls;
        EXPECT_EQ(Factory().EnumerateTls(tls), Fakes::kManyEntries + 1);
        EXPECT_EQ(tls.back().GetDeviceClass(), "FakeGood");
    }
    DeviceInfoList filter(1);
    DeviceInfoList devices;
    const int expected = std::string(GetParam()) == "Million" ? Fakes::kManyEntries + 2 : 2;
    EXPECT_EQ(Factory().EnumerateDevices(devices, filter), expected);
    EXPECT_EQ(devices[devices.size() - 1].GetDeviceClass(), "FakeGood");
}

INSTANTIATE_TEST_SUITE_P(Entries, MillionEntriesTest, testing::Values("Million null", "Million"));

} // namespace
