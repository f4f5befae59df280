// SPDX-License-Identifier: Apache-2.0

// Start and stop of the library, met through its public face. Each case is a process of its own; the library runs from
// a copy in <folder>/lib, so that what it finds beside itself is the case's own.

#include <zelmo/Lifecycle.h>
#include <zelmo/Log.h>
#include <zelmo/NodeMapTools.h>
#include <zelmo/TlFactory.h>
#include <zelmo/Utilities.h>
#include <zelmo/ZelmoSettings.h>

#include "fakes/Failure.h"
#include "fakes/LogRecorder.h"

#include <Log/CLog.h>

#include <gmock/gmock.h>

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace Zelmo;
using Fakes::LogLine;
using testing::ElementsAre;
namespace fs = std::filesystem;

constexpr unsigned long kInvalidCategory = ~0ul;
const LogLine kTerminatedLine{"zelmo.base", 500, "Terminated Zelmo for Linux."};

bool IsBackEndUp() {
    return GenICam::CLog::GetRootLogger().isPriorityEnabled(GenICam::LogPriority_Emerg);
}

bool IsFrontEndUp() {
    return hxlog::LogGetCatID("test") != kInvalidCategory;
}

std::string FactoryFailure() {
    return Fakes::FailureOf([] { CTlFactory::GetInstance(); });
}

const char kNoFactory[] = "TLFactory not instanciated, you must call ZelmoInitialize()";

class LifecycleTest : public testing::Test {
protected:
    LifecycleTest() {
        unsetenv("ZELMOIF");
        unsetenv("GENICAM_CACHE_V3_1");
        setenv("HOME", m_folder.c_str(), 1);
    }

    fs::path SettingsFile() const { return m_folder / "lib" / "zelmo.xml"; }
    void WriteSettings(const std::string& text) const { std::ofstream(SettingsFile()) << text; }

    const fs::path m_folder = std::getenv("ZELMO_TEST_FOLDER");
};

TEST_F(LifecycleTest, FirstStartAndLastStopAct) {
    {
        Fakes::LogRecorder log;
        ZelmoTerminate(); // without a start
        EXPECT_TRUE(log.Lines().empty());
    }
    EXPECT_EQ(FactoryFailure(), kNoFactory);
    ZelmoInitialize();
    CTlFactory* factory = &CTlFactory::GetInstance();
    ZelmoInitialize();
    ZelmoTerminate(true); // only the last one's wish counts
    EXPECT_EQ(&CTlFactory::GetInstance(), factory);
    EXPECT_TRUE(IsFrontEndUp());
    ZelmoTerminate(false);
    EXPECT_EQ(FactoryFailure(), kNoFactory);
    EXPECT_TRUE(IsFrontEndUp());
    EXPECT_TRUE(IsBackEndUp());

    ZelmoInitialize(); // anew; the log still runs and is not started twice
    EXPECT_EQ(FactoryFailure(), "nothing raised");
    ZelmoTerminate();
    EXPECT_FALSE(IsFrontEndUp());
    EXPECT_FALSE(IsBackEndUp());
}

// Starts and stops the library out of its own steps, as a plug-in may that goes.
struct StartingAppender : GenICam::Appender {
    StartingAppender() : Appender("StartingAppender") {}
    void Append(const GenICam::LogRecord&) override {
        if (calls++ < 10) { // else an endless recursion
            const ZelmoScope scope;
        }
    }
    int calls = 0;
};

TEST_F(LifecycleTest, StartAndStopAnnounceThemselvesOnceThoughTheirStepsCallBack) {
    Fakes::LogRecorder log;
    const auto starter = std::make_shared<StartingAppender>();
    GenICam::CLog::GetRootLogger().addAppender(starter);
    ZelmoInitialize();
    ASSERT_EQ(log.Lines().size(), 1u);
    const LogLine banner = log.Lines().front();
    EXPECT_EQ(banner.category, "zelmo.base");
    EXPECT_EQ(banner.priority, 500);
    EXPECT_THAT(banner.message, testing::MatchesRegex("Initializing Zelmo version 6\\.1\\.0\\.18286 \\(64 bit\\) on "
                                                      ".+, Linux .+, .+\\."));
    log.Clear();
    ZelmoTerminate(false);
    EXPECT_THAT(log.Lines(), ElementsAre(kTerminatedLine));
    EXPECT_EQ(FactoryFailure(), kNoFactory);
    EXPECT_EQ(starter->calls, 2);
    GenICam::CLog::GetRootLogger().removeAppender(starter);
    log.Clear();
    ZelmoTerminate();
    EXPECT_THAT(log.Lines(),
                ElementsAre(LogLine{"zelmo.base", 600, "ZelmoTerminate called after zelmo has already terminated"}));
}

TEST_F(LifecycleTest, ThreadsThatStartAtOnceAllFindTheLibraryComplete) {
    std::latch ready(6);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 6; ++i) {
        threads.emplace_back([&ready] {
            ready.arrive_and_wait();
            for (int round = 0; round < 20; ++round) {
                const ZelmoScope scope(false);
                EXPECT_EQ(FactoryFailure(), "nothing raised");
            }
        });
    }
    threads.clear();
    EXPECT_EQ(FactoryFailure(), kNoFactory);
}

struct FlagCase {
    const char* variable; // null: unset
    long flags;           // given by AddInternalFlags
    bool leavesLogAlone;
};

class LifecycleFlagTest : public LifecycleTest, public testing::WithParamInterface<FlagCase> {};

TEST_P(LifecycleFlagTest, BitTwoLeavesTheBackEndToTheApplication) {
    if (GetParam().variable != nullptr) {
        setenv("ZELMOIF", GetParam().variable, 1);
    }
    AddInternalFlags(GetParam().flags);
    ZelmoInitialize();
    EXPECT_TRUE(IsFrontEndUp());
    EXPECT_EQ(IsBackEndUp(), !GetParam().leavesLogAlone);
    if (!IsBackEndUp()) {
        GenICam::CLog::Initialize(); // the application's
        ZelmoTerminate(true);
        EXPECT_TRUE(IsFrontEndUp());
        EXPECT_TRUE(IsBackEndUp());
        unsetenv("ZELMOIF"); // it is read at every first start
        ClearInternalFlags(2);
        ZelmoInitialize(); // now the library starts the log as well, and stops it again
        ZelmoTerminate(true);
        EXPECT_FALSE(IsFrontEndUp());
        EXPECT_TRUE(IsBackEndUp());
    }
}

INSTANTIATE_TEST_SUITE_P(Flags, LifecycleFlagTest,
                         testing::Values(FlagCase{"3", 0, true}, FlagCase{"1", 2, true}, FlagCase{nullptr, 6, true},
                                         FlagCase{"1", 0, false}, FlagCase{"two", 0, false}));

TEST_F(LifecycleTest, SettingsLiveFromStartToStopAndAMissingCacheIsAWarningOnly) {
    Fakes::LogRecorder log;
    setenv("GENICAM_CACHE_V3_1", "/no/such/folder", 1);
    WriteSettings("<settings><setting name=\"a\"><value>1</value></setting></settings>");
    ZelmoInitialize();
    EXPECT_EQ(std::getenv("GENICAM_CACHE_V3_1"), nullptr);
    EXPECT_EQ(log.Count("zelmo.base", 400), 1u);
    EXPECT_EQ(FactoryFailure(), "nothing raised");
    String_t value;
    EXPECT_TRUE(CZelmoSettings::GetSetting("a", value));
    EXPECT_EQ(value, "1");
    CZelmoSettings::SetSetting("b", "2");
    ZelmoTerminate();
    EXPECT_FALSE(CZelmoSettings::GetSetting("a", value));
    EXPECT_FALSE(CZelmoSettings::GetSetting("b", value));
}

TEST_F(LifecycleTest, FailedStartIsLoggedAndNotRetriedBeforeTheStop) {
    Fakes::LogRecorder log;
    WriteSettings("<settings><setting");
    ZelmoInitialize();
    const LogLine critical{"zelmo.base", 200, "Exception during initialisation in ZelmoInitialize()!"};
    ASSERT_FALSE(log.Lines().empty());
    EXPECT_EQ(log.Lines().back(), critical);
    EXPECT_TRUE(log.Contains("zelmo.base", 300, "Cannot read settings file " + SettingsFile().string()));
    EXPECT_EQ(FactoryFailure(), kNoFactory);

    fs::remove(SettingsFile());
    log.Clear();
    ZelmoInitialize();
    EXPECT_EQ(FactoryFailure(), kNoFactory);
    EXPECT_TRUE(log.Lines().empty());

    ZelmoTerminate();
    ZelmoTerminate(false);
    EXPECT_THAT(log.Lines(), ElementsAre(kTerminatedLine));
    ZelmoInitialize();
    EXPECT_EQ(FactoryFailure(), "nothing raised");
    ZelmoTerminate();
}

TEST(VersionTest, IsKnownWithoutAStartAndUnderPlainNames) {
    unsigned int parts[4] = {};
    GetZelmoVersion(&parts[0], &parts[1], &parts[2], &parts[3]);
    EXPECT_THAT(parts, ElementsAre(6u, 1u, 0u, 18286u));
    GetZelmoVersion(nullptr, nullptr, nullptr, nullptr);
    EXPECT_STREQ(Zelmo::GetZelmoVersionString(), "6.1.0.18286");
    EXPECT_NE(dlsym(RTLD_DEFAULT, "GetZelmoVersion"), nullptr);
    EXPECT_NE(dlsym(RTLD_DEFAULT, "GetZelmoVersionString"), nullptr);
}

} // namespace
