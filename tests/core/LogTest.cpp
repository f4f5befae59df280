#include <zelmo/Log.h>

#include "fakes/LogRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using Fakes::LogLine;
using testing::ElementsAre;

constexpr unsigned long invalidCategory = ~0ul;

// Writes the same arguments twice. @return the sum of the results.
long LogTwice(unsigned long category, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const long first = hxlog::LogTraceVA(category, hxlog::LogLevel_Info, format, arguments);
    const long second = hxlog::LogTraceVA(category, hxlog::LogLevel_Info, format, arguments);
    va_end(arguments);
    return first + second;
}

class LogTest : public testing::Test {
protected:
    LogTest() { hxlog::LogEnable(true); }

    Fakes::LogRecorder m_log;
};

class LogLevelTest : public LogTest, public testing::WithParamInterface<std::pair<int, int>> {};

TEST_P(LogLevelTest, BecomesItsPriority) {
    const auto [level, priority] = GetParam();
    const unsigned long category = hxlog::LogGetCatID("test.levels");
    EXPECT_NE(hxlog::LogTrace(category, static_cast<hxlog::LogLevel>(level), "level %d", level), 0);
    EXPECT_THAT(m_log.Lines(), ElementsAre(LogLine{"test.levels", priority, "level " + std::to_string(level)}));
}

INSTANTIATE_TEST_SUITE_P(Levels, LogLevelTest,
                         testing::Values(std::pair(16, 700), std::pair(32, 600), std::pair(64, 500),
                                         std::pair(128, 400), std::pair(256, 300), std::pair(512, 200),
                                         std::pair(0, 800), std::pair(17, 800)));

TEST(LogDisabledTest, NothingIsHandedOutOrLoggedBeforeLogEnable) {
    Fakes::LogRecorder log;
    EXPECT_EQ(hxlog::LogGetCatID("test"), invalidCategory);
    EXPECT_EQ(hxlog::LogTrace(0, hxlog::LogLevel_Error, "lost"), 0);
    EXPECT_TRUE(hxlog::LogEnable(true));
    EXPECT_EQ(hxlog::LogTrace(0, hxlog::LogLevel_Error, "no such category yet"), 0);
    EXPECT_EQ(hxlog::LogGetCatID("test"), 0u);
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(LogTest, NamesDifferingInCaseAreOneCategory) {
    const unsigned long first = hxlog::LogGetCatID("zelmo.base");
    const unsigned long second = hxlog::LogGetCatID("zelmo.base.x");
    EXPECT_NE(first, second);
    EXPECT_EQ(hxlog::LogGetCatID("zelmo.Base"), first);
}

TEST_F(LogTest, BadNamesAndCategoriesAreHarmless) {
    const unsigned long before = hxlog::LogGetCatID("before");
    EXPECT_EQ(hxlog::LogGetCatID(nullptr), invalidCategory);
    EXPECT_EQ(hxlog::LogGetCatID(""), invalidCategory);
    EXPECT_EQ(hxlog::LogGetCatID("after"), before + 1); // no slot was used

    EXPECT_EQ(LogTwice(before, nullptr), 0);
    EXPECT_EQ(hxlog::LogTrace(invalidCategory, hxlog::LogLevel_Error, "x"), 0);
    EXPECT_EQ(hxlog::LogTrace(499, hxlog::LogLevel_Error, "x"), 0);
    EXPECT_EQ(hxlog::LogTrace(500, hxlog::LogLevel_Error, "x"), 0);
    EXPECT_TRUE(m_log.Lines().empty());
}

TEST_F(LogTest, TableTakesFiveHundredCategories) {
    for (unsigned long i = 0; i < 500; ++i) {
        ASSERT_EQ(hxlog::LogGetCatID(("category" + std::to_string(i)).c_str()), i);
    }
    EXPECT_EQ(hxlog::LogGetCatID("one too many"), invalidCategory);
    EXPECT_EQ(hxlog::LogGetCatID("CATEGORY499"), 499u);
    EXPECT_NE(hxlog::LogTrace(499, hxlog::LogLevel_Error, "last"), 0);
    EXPECT_TRUE(m_log.Contains("category499", 300, "last"));
}

class LogNamePoolTest : public LogTest, public testing::WithParamInterface<std::pair<size_t, bool>> {};

TEST_P(LogNamePoolTest, NameMustEndStrictlyBelowTheEndOfThePool) {
    const auto [length, fits] = GetParam();
    const unsigned long first = hxlog::LogGetCatID("0123456789"); // 11 bytes
    const unsigned long category = hxlog::LogGetCatID(std::string(length, 'n').c_str());
    EXPECT_EQ(category, fits ? first + 1 : invalidCategory);
    EXPECT_EQ(hxlog::LogGetCatID("0123456789"), first);
}

INSTANTIATE_TEST_SUITE_P(Lengths, LogNamePoolTest,
                         testing::Values(std::pair(15487, true), std::pair(15488, false), std::pair(20000, false)));

TEST_F(LogTest, IdentifiersSurviveAPause) {
    const unsigned long category = hxlog::LogGetCatID("test.pause");
    hxlog::LogEnable(false);
    EXPECT_EQ(hxlog::LogGetCatID("test.pause"), invalidCategory);
    EXPECT_EQ(hxlog::LogTrace(category, hxlog::LogLevel_Error, "silent"), 0);
    hxlog::LogEnable(true);
    EXPECT_NE(hxlog::LogTrace(category, hxlog::LogLevel_Error, "heard"), 0);
    EXPECT_THAT(m_log.Lines(), ElementsAre(LogLine{"test.pause", 300, "heard"}));
}

TEST_F(LogTest, ArgumentListMayBeUsedAgain) {
    EXPECT_NE(LogTwice(hxlog::LogGetCatID("test"), "%s %d", "value", 5), 0);
    EXPECT_THAT(m_log.Lines(), ElementsAre(LogLine{"test", 600, "value 5"}, LogLine{"test", 600, "value 5"}));
}

TEST_F(LogTest, ThreadsMayLogWhileLoggingIsSwitched) {
    std::atomic<long> written = 0;
    {
        std::vector<std::jthread> writers;
        for (int i = 0; i < 3; ++i) {
            writers.emplace_back([&written, i] {
                for (int line = 0; line < 500; ++line) {
                    const unsigned long category = hxlog::LogGetCatID(("test.writer" + std::to_string(i)).c_str());
                    written += hxlog::LogTrace(category, hxlog::LogLevel_Debug, "line %d", line) != 0;
                }
            });
        }
        for (int i = 0; i < 200; ++i) {
            hxlog::LogEnable(i % 2 != 0);
            std::this_thread::yield();
        }
    }
    EXPECT_EQ(m_log.Lines().size(), static_cast<size_t>(written));
}

} // namespace
