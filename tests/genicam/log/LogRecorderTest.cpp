#include <fakes/LogRecorder.h>

#include <gmock/gmock.h>

using namespace GenICam;
using Fakes::LogLine;
using Fakes::LogRecorder;
using testing::ElementsAre;

namespace {

TEST(LogRecorderTest, RecordsAllPrioritiesWithCategoryAndNothingElsewhere) {
    testing::internal::CaptureStderr();
    LogRecorder recorder;
    CLog::GetLogger("zelmo.base").log(LogPriority_Emerg, "first %d", 1);
    CLog::GetLogger("zelmo.base").log(LogPriority_NotSet, "second");
    EXPECT_THAT(recorder.Lines(),
                ElementsAre(LogLine{"zelmo.base", 0, "first 1"}, LogLine{"zelmo.base", 800, "second"}));
    EXPECT_TRUE(recorder.Contains("zelmo.base", LogPriority_Emerg, "first"));
    EXPECT_FALSE(recorder.Contains("zelmo.base", LogPriority_Error, "first"));
    EXPECT_FALSE(recorder.Contains("zelmo", LogPriority_Emerg, "first"));
    EXPECT_EQ(recorder.Count("zelmo.base", LogPriority_NotSet), 1u);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(LogRecorderTest, CodeUnderTestMayStartAndStopTheLog) {
    LogRecorder recorder;
    for (int round = 0; round < 2; ++round) {
        CLog::Initialize();
        CLog::GetLogger("a").log(LogPriority_Debug, "inside");
        CLog::ShutDown();
        CLog::GetLogger("a").log(LogPriority_Debug, "after");
    }
    EXPECT_EQ(recorder.Count("a", LogPriority_Debug), 4u);
}

TEST(LogRecorderTest, LeavesTheLogAsItWas) {
    CLog::Initialize();
    Logger& root = CLog::GetRootLogger();
    const auto before = root.getAllAppenders();
    {
        LogRecorder all;
        LogRecorder one("a.b");
        CLog::GetLogger("a.b.c").log(LogPriority_Debug, "to the inner recorder");
        CLog::GetLogger("a").log(LogPriority_Debug, "to the outer recorder");
        EXPECT_EQ(all.Lines(), (std::vector<LogLine>{{"a", 700, "to the outer recorder"}}));
        EXPECT_EQ(one.Lines(), (std::vector<LogLine>{{"a.b.c", 700, "to the inner recorder"}}));
    }
    EXPECT_EQ(root.getAllAppenders(), before);
    EXPECT_EQ(root.getPriority(), LogPriority_Warn);
    EXPECT_EQ(CLog::GetLogger("a.b").getPriority(), LogPriority_NotSet);
    EXPECT_TRUE(CLog::GetLogger("a.b").getAdditivity());
    CLog::ShutDown();
    EXPECT_FALSE(root.isPriorityEnabled(LogPriority_Emerg)) << "the recorder's own start is taken back";
}

} // namespace
