// SPDX-License-Identifier: Apache-2.0
#include <zelmo/Log.h>

#include "fakes/LogRecorder.h"

#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using Fakes::LogLine;
using testing::ElementsAre;

constexpr unsigned long kInvalidCategory = ~0ul;

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

TEST_F(LogTest, LevelsBecomePriorities) {
    const unsigned long category = hxlog::LogGetCatID("test.levels");
    for (const int level : {16, 32, 64, 128, 256, 512, 0, 17}) {
        EXPECT_NE(hxlog::LogTrace(category, static_cast<hxlog::LogLevel>(level), "%d", level), 0);
    }
    EXPECT_THAT(m_log.Lines(), ElementsAre(LogLine{"test.levels", 700, "16"}, LogLine{"test.levels", 600, "32"},
                                           LogLine{"test.levels", 500, "64"}, LogLine{"test.levels", 400, "128"},
                                           LogLine{"test.levels", 300, "256"}, LogLine{"test.levels", 200, "512"},
                                           LogLine{"test.levels", 800, "0"}, LogLine{"test.levels", 800, "17"}));
}

TEST(LogDisabledTest, NothingIsHandedOutOrLoggedBeforeLogEnable) {
    Fakes::LogRecorder log;
    EXPECT_EQ(hxlog::LogGetCatID("test"), kInvalidCategory);
    EXPECT_EQ(hxlog::LogTrace(0, hxlog::LogLevel_Error, "lost"), 0);
    EXPECT_TRUE(hxlog::LogEnable(true));
    EXPECT_EQ(hxlog::LogTrace(0, hxlog::LogLevel_Error, "no such category yet"), 0);
    EXPECT_EQ(hxlog::LogGetCatID("test"), 0u);
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(LogTest, NamesDifferInMoreThanCaseAndBadOnesAreHarmless) {
    const unsigned long before = hxlog::LogGetCatID("before");
    EXPECT_EQ(hxlog::LogGetCatID(nullptr), kInvalidCategory);
    EXPECT_EQ(hxlog::LogGetCatID(""), kInvalidCategory);
    EXPECT_EQ(hxlog::LogGetCatID("before.x"), before + 1); // no slot was used
    EXPECT_EQ(hxlog::LogGetCatID("Before"), before);

    EXPECT_EQ(LogTwice(before, nullptr), 0);
    EXPECT_EQ(hxlog::LogTrace(kInvalidCategory, hxlog::LogLevel_Error, "x"), 0);
    EXPECT_EQ(hxlog::LogTrace(499, hxlog::LogLevel_Error, "x"), 0);
    EXPECT_EQ(hxlog::LogTrace(500, hxlog::LogLevel_Error, "x"), 0);
    EXPECT_TRUE(m_log.Lines().empty());
}

TEST_F(LogTest, TableTakesFiveHundredCategories) {
    for (unsigned long i = 0; i < 500; ++i) {
        ASSERT_EQ(hxlog::LogGetCatID(("category" + std::to_string(i)).c_str()), i);
    }
    EXPECT_EQ(hxlog::LogGetCatID("one too many"), kInvalidCategory);
    EXPECT_EQ(hxlog::LogGetCatID("CATEGORY499"), 499u);
    EXPECT_NE(hxlog::LogTrace(499, hxlog::LogLevel_Error, "last"), 0);
    EXPECT_TRUE(m_log.Contains("category499", 300, "last"));
}

class LogNamePoolTest : public LogTest, public testing::WithParamInterface<std::pair<size_t, bool>> {};

TEST_P(LogNamePoolTest, NameMustEndStrictlyBelowTheEndOfThePool) {
    const auto [length, fits] = GetParam();
    const unsigned long first = hxlog::LogGetCatID("0123456789"); // 11 bytes
    const unsigned long category = hxlog::LogGetCatID(std::string(length, 'n').c_str());
    EXPECT_EQ(category, fits ? first + 1 : kInvalidCategory);
    EXPECT_EQ(hxlog::LogGetCatID("0123456789"), first);
}

INSTANTIATE_TEST_SUITE_P(Lengths, LogNamePoolTest,
                         testing::Values(std::pair(15487, true), std::pair(15488, false), std::pair(20000, false)));

TEST_F(LogTest, IdentifiersSurviveAPause) {
    const unsigned long category = hxlog::LogGetCatID("test.pause");
    hxlog::LogEnable(false);
    EXPECT_EQ(hxlog::LogGetCatID("test.pause"), kInvalidCategory);
    EXPECT_EQ(hxlog::LogTrace(category, hxlog::LogLevel_Error, "silent"), 0);
    hxlog::LogEnable(true);
    EXPECT_NE(LogTwice(category, "%s %d", "heard", 5), 0); // with one argument list
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(LogLine{"test.pause", 600, "heard 5"}, LogLine{"test.pause", 600, "heard 5"}));
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
