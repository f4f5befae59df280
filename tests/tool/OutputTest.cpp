// SPDX-License-Identifier: Apache-2.0
#include "Output.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <sstream>

namespace {

using namespace tool;
using testing::ElementsAre;
using testing::EndsWith;

class OutputTest : public testing::Test {
protected:
    Output Make() { return {m_options, m_data, m_messages}; }

    GlobalOptions m_options;
    std::ostringstream m_data;
    std::ostringstream m_messages;
};

TEST_F(OutputTest, EventsAreOneLineEachWithTypeAndTime) {
    m_options.json = true;
    Output output = Make();
    output.Event("frame", {{"number", 1}});
    output.Event("summary", {{"frames", 1}});
    std::istringstream lines(m_data.str());
    std::string first;
    std::string second;
    std::getline(lines, first);
    std::getline(lines, second);
    EXPECT_EQ(Json::parse(first)["type"], "frame");
    EXPECT_GE(Json::parse(first)["t"].get<double>(), 0.0);
    EXPECT_EQ(Json::parse(second)["type"], "summary");
    EXPECT_GE(Json::parse(second)["t"].get<double>(), Json::parse(first)["t"].get<double>());
}

TEST_F(OutputTest, QuietSilencesNotesButNotErrors) {
    m_options.quiet = true;
    Output output = Make();
    output.Note("note");
    output.Error(UsageError("bad \x1b[31m,\nas told"));
    EXPECT_EQ(m_messages.str(), "zelmo: error: bad ?[31m,\nas told\n") << "control characters reach no terminal";
}

TEST_F(OutputTest, ProgressIsOneLineThatMessagesReplace) {
    m_options.progress = "always";
    Output output = Make();
    output.ShowProgress("1/2", {});
    output.ShowProgress("2/2", {});
    output.Note("note");
    EXPECT_EQ(m_messages.str(), "\r1/2\033[K\r2/2\033[K\r\033[Knote\n");
    output.ShowProgress(std::string(1000, 'x'), {});
    output.EndProgress();
    EXPECT_LT(m_messages.str().size(), 600u) << "a line that wraps cannot be rewritten";
    EXPECT_THAT(m_messages.str(), EndsWith("\n"));
}

TEST_F(OutputTest, WarningsOfTheLogAreToldOnceUnlessAskedFor) {
    for (const int verbosity : {0, 1}) {
        m_options.verbosity = verbosity;
        m_messages.str("");
        Output output = Make();
        for (const char* level : {"warning", "warning", "info", "info"}) {
            output.LogLine(level, "a", level);
        }
        EXPECT_EQ(m_messages.str(), std::string(verbosity == 0 ? "" : "warning [a] warning\n") +
                                        "warning [a] warning\ninfo [a] info\ninfo [a] info\n");
    }
}

TEST(JsonTest, IntegersThatADoubleCannotHoldAreText) {
    constexpr std::int64_t edge = std::int64_t{1} << 53;
    EXPECT_EQ(JsonInteger(edge), Json(edge));
    EXPECT_EQ(JsonInteger(edge + 1), Json("9007199254740993"));
    EXPECT_EQ(JsonInteger(-edge - 1), Json("-9007199254740993"));
    EXPECT_EQ(JsonInteger(std::numeric_limits<std::int64_t>::min()), Json("-9223372036854775808"));
    EXPECT_EQ(JsonInteger(std::numeric_limits<std::uint64_t>::max()), Json("18446744073709551615"));
}

TEST(JsonTest, WhatJsonDoesNotHaveIsTextOrReplaced) {
    EXPECT_EQ(JsonNumber(1.5), Json(1.5));
    EXPECT_EQ(JsonNumber(-std::numeric_limits<double>::infinity()), Json("-inf"));
    EXPECT_EQ(JsonNumber(std::nan("")), Json("nan"));
    EXPECT_EQ(ToLine({{"name", "a\xFF"
                               "b"}}),
              "{\"name\":\"a\xEF\xBF\xBD"
              "b\"}")
        << "a name that is no UTF-8";
}

TEST(TextTest, TableHasColumnsOfEqualWidthAndNoBlanksAtTheEnd) {
    EXPECT_THAT(FormatTable({{"A", "LONG", "C"}, {"wide", "x", ""}, {"y"}}),
                ElementsAre("A     LONG  C", "wide  x", "y"));
    EXPECT_THAT(FormatTable({}), testing::IsEmpty());
}

} // namespace
