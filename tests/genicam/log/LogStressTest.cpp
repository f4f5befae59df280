// SPDX-License-Identifier: Apache-2.0
#include <fakes/LogRecorder.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

using namespace GenICam;

namespace {

constexpr int kRounds = 500;

/// Counts; usable by several threads at once, as appenders must be.
class CountingAppender : public Appender {
public:
    CountingAppender() : Appender("counting") {}
    void Append(const LogRecord& record) override { bytes += record.message.size() + record.ndc.size(); }
    std::atomic<std::size_t> bytes = 0;
};

void RunAtOnce(const std::vector<std::function<void(int round)>>& bodies) {
    std::vector<std::thread> threads;
    for (const auto& body : bodies) {
        threads.emplace_back([&body] {
            for (int round = 0; round < kRounds; ++round) {
                body(round);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
}

TEST(LogStressTest, NoLineIsLostWhileLevelsOfOthersAndTheTreeChange) {
    Fakes::LogRecorder recorder;
    Logger& logger = CLog::GetLogger("stress.log");
    logger.setPriority(LogPriority_Info);
    const auto log = [&](int round) {
        CLog::LogPush(logger, LogPriority_Info, "%d", round);
        CLog::LogPop(logger, LogPriority_Debug, "never");
    };
    RunAtOnce({log, log, log,
               [](int round) { CLog::GetLogger("stress").setPriority(round % 2 ? LogPriority_Error : 800); },
               [](int round) { CLog::GetLogger(("stress.log." + std::to_string(round)).c_str()); }});
    EXPECT_EQ(recorder.Count("stress.log", LogPriority_Info), 3u * kRounds);
    EXPECT_EQ(recorder.Count("stress.log", LogPriority_Debug), 0u);
}

TEST(LogStressTest, AppendersComeAndGoAndTheLogStartsAndStopsUnderLoggingThreads) {
    Logger& logger = CLog::GetLogger("stress.appenders");
    const auto steady = std::make_shared<CountingAppender>();
    testing::internal::CaptureStderr(); // each start writes there until its appender is removed
    const auto log = [&](int round) {
        logger.setPriority(LogPriority_Debug);
        logger.log(LogPriority_Error, "%d", round);
    };
    RunAtOnce({log, log,
               [&](int) {
                   const auto appender = std::make_shared<CountingAppender>();
                   CLog::AddAppender(logger, appender);
                   CLog::AddAppender(logger, steady);
                   CLog::RemoveAppender(logger, appender);
               },
               [&](int) {
                   CLog::Initialize();
                   CLog::GetRootLogger().removeAllAppenders();
                   CLog::ShutDown();
               }});
    EXPECT_FALSE(logger.isPriorityEnabled(LogPriority_Emerg));
    testing::internal::GetCapturedStderr();
    CLog::RemoveAllAppenders();
    EXPECT_EQ(steady.use_count(), 1);
}

} // namespace
