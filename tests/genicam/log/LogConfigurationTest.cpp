// SPDX-License-Identifier: Apache-2.0
#include <Base/GCException.h>
#include <Log/CLog.h>
#include <fakes/TempFolder.h>

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <tuple>
#include <unistd.h>

using namespace GenICam;
using testing::HasSubstr;
using testing::MatchesRegex;
namespace fs = std::filesystem;

namespace {

std::string ContentOf(const fs::path& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

/// A folder of its own, no log variables set, and what goes to the standard error stream caught.
class LogConfigurationTest : public testing::Test {
protected:
    LogConfigurationTest() {
        unsetenv("ZELMO_LOG_LEVEL");
        unsetenv("ZELMO_LOG_FILE");
        unsetenv("GENICAM_LOG_CONFIG_V3_1");
    }
    ~LogConfigurationTest() override { Stop(); }

    fs::path InFolder(const char* name) const { return m_folder.Path() / name; }
    static void SetLevel(const char* level) { setenv("ZELMO_LOG_LEVEL", level, 1); }
    static void SetFile(const fs::path& file) { setenv("ZELMO_LOG_FILE", file.c_str(), 1); }

    void Start() {
        testing::internal::CaptureStderr();
        CLog::Initialize();
        m_started = true;
    }
    /// @return what was written to the standard error stream since Start.
    std::string Stop() {
        if (!m_started) {
            return {};
        }
        m_started = false;
        CLog::ShutDown();
        return testing::internal::GetCapturedStderr();
    }

    Logger& logger = CLog::GetLogger("zelmo.base");

private:
    Fakes::TempFolder m_folder;
    bool m_started = false;
};

TEST_F(LogConfigurationTest, DefaultIsWarningsToTheErrorStream) {
    EXPECT_FALSE(CLog::ConfigureFromEnvironment());
    Start();
    CLog::PushNDC("[ctx] ");
    logger.log(LogPriority_Warn, "a warning");
    CLog::PopNDC();
    logger.log(LogPriority_Notice, "a notice");
    EXPECT_THAT(Stop(), MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} "
                                     "WARN zelmo.base: \\[ctx\\] a warning\n"));
}

/// Text of ZELMO_LOG_LEVEL, and the levels of the root and of "zelmo.base" that come of it.
using LevelSetting = std::tuple<std::string, int, int>;

class LogLevelVariableTest : public LogConfigurationTest, public testing::WithParamInterface<LevelSetting> {};

TEST_P(LogLevelVariableTest, SetsLevelsOfRootAndCategories) {
    const auto& [text, rootLevel, categoryLevel] = GetParam();
    SetLevel(text.c_str());
    Start();
    EXPECT_EQ(CLog::GetRootLogger().getPriority(), rootLevel);
    EXPECT_EQ(logger.getChainedPriority(), categoryLevel);
    EXPECT_EQ(Stop(), "");
}

INSTANTIATE_TEST_SUITE_P(Texts, LogLevelVariableTest,
                         testing::Values(LevelSetting{"INFO", 600, 600}, LevelSetting{"warning", 400, 400},
                                         LevelSetting{"650", 650, 650}, LevelSetting{"Off", -1, -1},
                                         LevelSetting{"WARN,zelmo.base=DEBUG", 400, 700},
                                         LevelSetting{" zelmo = 300 , INFO , ", 600, 300},
                                         LevelSetting{"zelmo.base=notset", 400, 400}, LevelSetting{"", 400, 400}));

TEST_F(LogConfigurationTest, WrongLevelIsToldAndTheOthersHold) {
    SetLevel("LOUD,zelmo=DEBUGGING,zelmo.base=DEBUG,12x");
    Start();
    EXPECT_EQ(CLog::GetRootLogger().getPriority(), LogPriority_Warn);
    EXPECT_EQ(logger.getPriority(), LogPriority_Debug);
    EXPECT_EQ(Stop(), "ZELMO_LOG_LEVEL: 'LOUD' names no log level and is ignored\n"
                      "ZELMO_LOG_LEVEL: 'zelmo=DEBUGGING' names no log level and is ignored\n"
                      "ZELMO_LOG_LEVEL: '12x' names no log level and is ignored\n");
}

TEST_F(LogConfigurationTest, FileTakesTheMessagesInsteadOfTheErrorStreamAndIsAppendedTo) {
    const auto file = InFolder("new folder/log.txt");
    SetFile(file);
    for (const char* text : {"first", "second"}) {
        Start();
        logger.log(LogPriority_Error, "%s", text);
        EXPECT_THAT(ContentOf(file), HasSubstr(text)) << "written while the log is still up";
        EXPECT_EQ(Stop(), "");
    }
    EXPECT_THAT(ContentOf(file), MatchesRegex("[^\n]* first\n[^\n]* second\n"));
}

TEST_F(LogConfigurationTest, UnwritableFileLeavesTheErrorStreamWithOneLine) {
    std::ofstream(InFolder("file")) << "no folder";
    SetFile(InFolder("file") / "log.txt");
    Start();
    logger.log(LogPriority_Error, "an error");
    const std::string told = Stop();
    EXPECT_THAT(told, MatchesRegex("ZELMO_LOG_FILE: [^\n]*/file/log.txt[^\n]*; logging to the standard error stream "
                                   "instead\n[^\n]* an error\n"));
}

TEST_F(LogConfigurationTest, FullFileIsRenamedAndThreeOldOnesAreKept) {
    SetFile(InFolder("log.txt"));
    Start();
    const std::string block(1024 * 1024 - 100, 'x');
    for (int megabyte = 0; megabyte < 55; ++megabyte) {
        logger.log(LogPriority_Error, "%d%s", megabyte, block.c_str());
    }
    EXPECT_EQ(Stop(), "");
    for (const char* name : {"log.txt", "log.1.txt", "log.2.txt", "log.3.txt"}) {
        EXPECT_LE(fs::file_size(InFolder(name)), 10u * 1024 * 1024) << name;
    }
    EXPECT_FALSE(fs::exists(InFolder("log.4.txt")));
    EXPECT_THAT(ContentOf(InFolder("log.txt")), HasSubstr(": 54x"));
}

TEST_F(LogConfigurationTest, FullDiskIsToldOnceAndDisturbsNobody) {
    if (access("/dev/full", W_OK) != 0) {
        GTEST_SKIP() << "no /dev/full here";
    }
    Start();
    CLog::RemoveAllAppenders();
    CLog::AddAppender(logger, CLog::CreateFileAppender("full", "/dev/full", true));
    logger.log(LogPriority_Error, "one");
    logger.log(LogPriority_Error, "two");
    EXPECT_THAT(Stop(), MatchesRegex("Cannot write to log full: [^\n]*/dev/full[^\n]*\n"));
}

TEST_F(LogConfigurationTest, PropertyLinesSetLevelsAppendersAndLayoutsAndBadOnesAreTold) {
    for (const auto& [lines, expected] :
         {std::pair<std::string, std::string>{
              "# x\n!\n\n rootCategory = error ,O\r\nlog4cpp.category.zelmo=NOTICE\nother=1", "WARN w\n"},
          {"rootCategory=INFO,O\ncategory.GenApi=,O", "WARN w\nINFO i\nINFO i\n"},
          {"rootCategory=INFO,O\ncategory.GenApi=,O\nadditivity.GenApi=false", "WARN w\nINFO i\n"},
          {"rootCategory=ERROR,O\nrootCategory=LOUD\nwhat\nadditivity.zelmo=maybe",
           "Log configuration, line 5: 'what' is no 'key=value' and is ignored\n"
           "Log configuration, line 4: 'LOUD' names no log level and is ignored\n"
           "Log configuration, line 6: 'maybe' is neither 'true' nor 'false' and is ignored\n"},
          {"rootCategory=WARN,X,Y,Z,Q,O\nappender.Y=Sys\nappender.Z=FileAppender\n"
           "appender.Q=ConsoleAppender\nappender.Q.layout.ConversionPattern=%q",
           "Log configuration, line 3: appender 'X' is ignored: there is no line 'appender.X'\n"
           "Log configuration, line 3: appender 'Y' is ignored: its kind 'Sys' is unknown\n"
           "Log configuration, line 3: appender 'Z' is ignored: there is no line 'appender.Z.fileName'\n"
           "Log configuration, line 3: appender 'Q' is ignored: Unknown conversion %q in a log pattern\n"
           "WARN w\n"},
          {"rootCategory=WARN,O\nappender.O.layout.ConversionPattern=[%-6p|%6p|%.3c|%2.4m|%x]%d{x%%}%%%n",
           "[WARN  |  WARN|zel| w|]x%%\n"}}) {
        Start();
        logger.setPriority(LogPriority_Fatal); // dropped with all that was set by hand
        const std::string out = "log4cpp.appender.O=ConsoleAppender\nappender.O.layout.ConversionPattern=%p %m%n\n";
        ASSERT_TRUE(CLog::ConfigureFromString((out + lines).c_str()));
        logger.log(LogPriority_Warn, "w");
        CLog::GetLogger("GenApi").log(LogPriority_Info, "i");
        EXPECT_EQ(Stop(), expected);
    }
}

TEST_F(LogConfigurationTest, PropertyFileOfTheVariableHoldsUnlessTheOwnVariablesSayOtherwise) {
    setenv("ZELMO_TEST_FOLDER", InFolder("").c_str(), 1);
    setenv("GENICAM_LOG_CONFIG_V3_1", InFolder("log.properties").c_str(), 1);
    for (const auto& [append, level, content] :
         {std::tuple("false", "", "e\n"), {"true", "", "e\ne\n"}, {"false", "WARN", "e\nw\n"}}) {
        std::ofstream(InFolder("log.properties"))
            << "rootCategory=ERROR,F\nappender.F=FileAppender\nappender.F.fileName=$(ZELMO_TEST_FOLDER)/f.log\n"
            << "appender.F.append=" << append << "\nappender.F.layout.ConversionPattern=%m%n\n";
        SetLevel(level);
        Start();
        logger.log(LogPriority_Error, "e");
        logger.log(LogPriority_Warn, "w");
        EXPECT_FALSE(CLog::ConfigureFromString("additivity.x=true") || CLog::ConfigureFromFile("/dev/null"));
        EXPECT_FALSE(CLog::ConfigureFromFile("/no/such") || CLog::ConfigureFromFile("/proc"));
        EXPECT_EQ(ContentOf(InFolder("f.log")), content) << append << level;
        EXPECT_EQ(Stop(), "Cannot read the log configuration '/no/such'\nCannot read the log configuration '/proc'\n");
    }
}

TEST_F(LogConfigurationTest, AppenderThatCannotBeIsRefused) {
    EXPECT_THROW(CLog::CreateFileAppender("x", InFolder("").c_str()), RuntimeException);
    for (const char* pattern : {"%m%q", "%m%", "%-", "%1.", "%1001m", "%99999999999999999999m", "%d{%H"}) {
        EXPECT_THROW(CLog::CreateFileAppender("x", InFolder("log").c_str(), false, pattern), InvalidArgumentException);
    }
    EXPECT_FALSE(fs::exists(InFolder("log"))) << "a wrong pattern opens no file";
}

} // namespace
