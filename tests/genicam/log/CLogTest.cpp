// SPDX-License-Identifier: Apache-2.0
#include <Log/CLog.h>
#include <fakes/LogRecorder.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <thread>
#include <tuple>

using namespace GenICam;
using testing::ElementsAre;

namespace {

/// Keeps what it gets as "<category>|<ndc><message>".
class ListAppender : public Appender {
public:
    ListAppender() : Appender("list") {}
    void Append(const LogRecord& record) override {
        lines.push_back(std::string(record.category) + "|" + std::string(record.ndc) + std::string(record.message));
    }
    std::vector<std::string> lines;
};

class FailingAppender : public Appender {
public:
    FailingAppender() : Appender("failing") {}
    void Append(const LogRecord&) override { throw std::runtime_error("disk full"); }
};

/// The log is up, at INFO, and writes to a list only.
class CLogTest : public testing::Test {
protected:
    CLogTest() {
        CLog::Initialize();
        CLog::RemoveAllAppenders();
        CLog::SetPriorityInfo(root);
        CLog::AddAppender(root, target);
    }
    ~CLogTest() override {
        while (m_extraStarts-- > 0) {
            CLog::ShutDown();
        }
        CLog::ShutDown();
    }
    void StartAgain() {
        CLog::Initialize();
        ++m_extraStarts;
    }

    Logger& root = CLog::GetRootLogger();
    std::shared_ptr<ListAppender> target = std::make_shared<ListAppender>();

private:
    int m_extraStarts = 0;
};

TEST_F(CLogTest, LoggerInheritsTheLevelOfTheNearestAncestorThatHasOne) {
    Logger& leaf = CLog::GetLogger("camera.stream.buffer");
    EXPECT_EQ(leaf.getChainedPriority(), LogPriority_Info);
    EXPECT_EQ(leaf.getPriority(), LogPriority_NotSet);
    CLog::GetLogger("camera").setPriority(LogPriority_Error);
    EXPECT_EQ(leaf.getChainedPriority(), LogPriority_Error);
    EXPECT_FALSE(CLog::IsWarnEnabled(leaf));
    EXPECT_TRUE(CLog::IsInfoEnabled(CLog::GetLogger("cameras"))) << "a longer name is no descendant";
    EXPECT_TRUE(CLog::Exists("camera.stream"));
    EXPECT_FALSE(CLog::Exists("camera.Stream"));
    EXPECT_EQ(&CLog::GetLogger(""), &root);
    CLog::GetLogger("camera.stream").setPriority(LogPriority_Debug);
    EXPECT_TRUE(CLog::IsDebugEnabled(leaf));
    CLog::GetLogger("camera.stream").setPriority(LogPriority_NotSet);
    EXPECT_FALSE(CLog::IsWarnEnabled(leaf));
}

/// Level, priority of the message, and whether it passes.
using Passing = std::tuple<int, int, bool>;

class CLogLevelTest : public CLogTest, public testing::WithParamInterface<Passing> {};

TEST_P(CLogLevelTest, MessagePassesWhenItsNumberIsNotAboveTheLevel) {
    const auto [level, priority, passes] = GetParam();
    root.setPriority(level);
    CLog::GetLogger("a").log(priority, "x");
    EXPECT_EQ(target->lines.size(), passes ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Levels, CLogLevelTest,
                         testing::Values(Passing{LogPriority_Warn, LogPriority_Warn, true},
                                         Passing{LogPriority_Warn, LogPriority_Warn + 1, false},
                                         Passing{LogPriority_Debug, LogPriority_NotSet, false},
                                         Passing{LogPriority_NotSet, LogPriority_NotSet, true},
                                         Passing{LogPriority_NotSet, 801, false}, Passing{1000, 950, true},
                                         Passing{LogPriority_Emerg, LogPriority_Fatal, true},
                                         Passing{-1, LogPriority_Emerg, false}));

TEST_F(CLogTest, MessageOfAnyLengthArrivesWhole) {
    for (const std::size_t length : {0u, 1023u, 1024u, 100000u}) {
        const std::string text(length, 'x');
        CLog::Log(root, LogPriority_Error, "%s", text.c_str());
        EXPECT_EQ(target->lines.back(), "|" + text);
    }
}

TEST_F(CLogTest, DisabledMessageIsNotFormatted) {
    const char* const wild = reinterpret_cast<const char*>(1);
    root.log(LogPriority_Debug, "%s", wild);
    CLog::LogPush(root, LogPriority_Debug, "%s", wild);
    CLog::LogPop(root, LogPriority_Debug, "%s", wild);
    EXPECT_TRUE(target->lines.empty());
}

TEST_F(CLogTest, CallerKeepsErrnoAndANullFormatIsHarmless) {
    errno = EAGAIN;
    root.log(LogPriority_Error, "%s", "text");
    const char* volatile null = nullptr;
    CLog::Log(root, LogPriority_Error, null, 1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(target->lines.size(), 1u);
}

TEST_F(CLogTest, MessageGoesToTheAppendersOfAllAncestorsUnlessAdditivityIsOff) {
    Logger& logger = CLog::GetLogger("a.b");
    const auto own = std::make_shared<ListAppender>();
    CLog::AddAppender(CLog::GetLogger("a"), own);
    CLog::AddAppender(CLog::GetLogger("a"), own);
    logger.log(LogPriority_Info, "%d", 1);
    CLog::GetLogger("a").setAdditivity(false);
    logger.log(LogPriority_Info, "%d", 2);
    CLog::RemoveAppender(CLog::GetLogger("a"), own);
    logger.log(LogPriority_Info, "%d", 3);
    CLog::GetLogger("a").setAdditivity(true);
    logger.log(LogPriority_Info, "%d", 4);
    EXPECT_THAT(own->lines, ElementsAre("a.b|1", "a.b|2"));
    EXPECT_THAT(target->lines, ElementsAre("a.b|1", "a.b|4"));
}

TEST_F(CLogTest, FailingAppenderDisturbsNeitherCallerNorOtherAppenders) {
    CLog::RemoveAllAppenders();
    CLog::AddAppender(root, std::make_shared<FailingAppender>());
    CLog::AddAppender(root, nullptr);
    CLog::AddAppender(root, target);
    root.log(LogPriority_Error, "text");
    EXPECT_THAT(target->lines, ElementsAre("|text"));
}

TEST_F(CLogTest, ContextTextsStandBeforeTheMessagesOfTheirThreadOnly) {
    CLog::PushNDC("<grab>");
    CLog::LogPush(root, LogPriority_Info, "enter");
    std::thread([&] {
        CLog::PopNDC();
        root.log(LogPriority_Info, "other thread");
    }).join();
    root.log(LogPriority_Info, "inside");
    CLog::LogPop(root, LogPriority_Info, "leave");
    CLog::PopNDC();
    CLog::PopNDC();
    root.log(LogPriority_Info, "outside");
    EXPECT_THAT(target->lines,
                ElementsAre("|<grab>enter", "|other thread", "|<grab>  inside", "|<grab>leave", "|outside"));
}

TEST_F(CLogTest, OnlyTheLastShutDownTakesTheLogDownAndLoggersSurviveIt) {
    Logger& logger = CLog::GetLogger("a");
    StartAgain();
    CLog::ShutDown();
    logger.log(LogPriority_Error, "still up");
    EXPECT_THAT(target->lines, ElementsAre("a|still up"));

    CLog::ShutDown();
    CLog::ShutDown(); // one too many
    EXPECT_FALSE(logger.isPriorityEnabled(LogPriority_Emerg));
    EXPECT_EQ(target.use_count(), 1) << "the appenders are let go";
    CLog::AddAppender(root, target);
    logger.log(LogPriority_Error, "down");
    EXPECT_EQ(target->lines.size(), 1u);

    StartAgain();
    CLog::RemoveAllAppenders();
    CLog::AddAppender(root, target);
    CLog::GetLogger("a").log(LogPriority_Error, "up again");
    EXPECT_EQ(&CLog::GetLogger("a"), &logger);
    EXPECT_EQ(target->lines.back(), "a|up again");
}

TEST(CLogDownTest, EverythingIsHarmlessBeforeInitialize) {
    const auto target = std::make_shared<ListAppender>();
    CLog::ShutDown();
    Logger& logger = CLog::GetLogger("a.b");
    CLog::AddAppender(logger, target);
    logger.setPriority(LogPriority_Debug);
    logger.log(LogPriority_Emerg, "lost");
    CLog::PopNDC();
    EXPECT_TRUE(target->lines.empty());
    EXPECT_EQ(logger.getChainedPriority(), LogPriority_Debug);
    CLog::RemoveAllAppenders();
}

/// Lets go of a lock only after another thread has logged: hangs if appenders die under the log's lock.
class LastWordsAppender : public ListAppender {
public:
    ~LastWordsAppender() override {
        std::thread([] { CLog::GetLogger("another").log(LogPriority_Error, "meanwhile"); }).join();
    }
};

TEST_F(CLogTest, AppenderMayWaitForALoggingThreadWhenItDies) {
    CLog::AddAppender(CLog::GetLogger("a"), std::make_shared<LastWordsAppender>());
    CLog::RemoveAllAppenders();
    CLog::AddAppender(root, target);
    CLog::AddAppender(root, std::make_shared<LastWordsAppender>());
    root.removeAllAppenders();
    CLog::AddAppender(root, target);
    EXPECT_EQ(root.getAllAppenders().size(), 1u);
}

/// Logs after the thread-local objects of the main thread are gone.
struct LateObject {
    ~LateObject() {
        CLog::PushNDC("too late ");
        CLog::GetLogger("late").log(LogPriority_Error, "last words");
        CLog::PopNDC();
    }
};

TEST(CLogDeathTest, StaticObjectsMayLogToTheEndOfTheProcess) {
    EXPECT_EXIT(
        {
            static LateObject late;
            CLog::Initialize();
            CLog::PushNDC("context ");
            std::exit(0);
        },
        testing::ExitedWithCode(0), "ERROR late: last words");
}

} // namespace
