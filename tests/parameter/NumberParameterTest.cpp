// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/MapFixture.h"
#include <zelmo/FloatParameter.h>
#include <zelmo/IntegerParameter.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <map>

namespace {

using namespace Zelmo;
using tests::Node;

constexpr auto kUp = IntegerValueCorrection_Up;
constexpr auto kDown = IntegerValueCorrection_Down;
constexpr auto kNearest = IntegerValueCorrection_Nearest;
constexpr auto kClip = FloatValueCorrection_ClipToRange;

/// A map with the node "N" of that kind and range, at its minimum.
template <class T>
tests::MapPtr MapOfRange(const char* kind, T min, T max, T inc) {
    const std::string limits = std::to_string(min) + "</Min><Max>" + std::to_string(max) + "</Max>";
    const std::string value = "<Value>" + std::to_string(min) + "</Value><Min>" + limits;
    return tests::MakeMap(Node(kind, "N", value + "<Inc>" + std::to_string(inc) + "</Inc>"));
}

/// What an integer becomes, or which value its node refuses to become; the text of that names it first.
std::string Outcome(CIntegerParameter& n, const std::function<void()>& step) {
    try {
        step();
    } catch (const GenICam::OutOfRangeException& refusal) {
        const std::string text = std::strstr(refusal.GetDescription(), "Value = ") + 8;
        return "refused " + text.substr(0, text.find(' '));
    }
    return std::to_string(*n);
}

struct Case {
    int64_t min, max, inc, value;
    EIntegerValueCorrection correction;
    const char* outcome;
};

class IntegerCorrectionTest : public testing::TestWithParam<Case> {};

TEST_P(IntegerCorrectionTest, GivesAValueOnTheGridThatStartsAtTheMinimum) {
    const Case& c = GetParam();
    const tests::MapPtr map = MapOfRange("Integer", c.min, c.max, c.inc);
    CIntegerParameter n(*map, "N");
    EXPECT_EQ(Outcome(n, [&] { n.SetValue(c.value, c.correction); }), c.outcome);
    n.SetToMinimum();
    EXPECT_EQ(Outcome(n, [&] { EXPECT_TRUE(n.TrySetValue(c.value, c.correction)); }), c.outcome);
}

INSTANTIATE_TEST_SUITE_P(
    Tables, IntegerCorrectionTest,
    testing::Values(Case{0, 100, 10, 34, kNearest, "30"}, Case{0, 100, 10, 35, kNearest, "40"},
                    Case{0, 100, 10, 36, kNearest, "40"}, Case{0, 100, 10, 31, kUp, "40"},
                    Case{0, 100, 10, 39, kDown, "30"}, Case{0, 100, 10, 40, kUp, "40"},
                    Case{0, 100, 10, 41, IntegerValueCorrection_None, "refused 41"},
                    Case{0, 100, 10, 41, EIntegerValueCorrection(9), "40"}, Case{0, 100, 1, 37, kUp, "37"},
                    Case{3, 100, 4, 10, kDown, "7"}, Case{3, 100, 4, 1, kDown, "3"},
                    Case{-10, 10, 4, -3, kNearest, "-2"}, Case{0, 95, 10, 120, kDown, "refused 95"},
                    Case{0, 95, 10, 93, kUp, "refused 100"}, Case{INT64_MIN, INT64_MAX, 1, 5, kUp, "5"},
                    Case{INT64_MIN, INT64_MAX, INT64_MAX, 0, kNearest, "-1"},
                    Case{INT64_MIN, INT64_MAX, 1000, INT64_MAX, kDown, "9223372036854775192"},
                    Case{INT64_MIN, INT64_MAX, 1000, INT64_MAX, kUp, "refused 9223372036854775807"}));

template <class T>
struct Percent {
    T min, max, inc, value;
    double percent, read;
};

template <class Parameter, class T>
void ExpectPercent(const char* kind, const Percent<T>& c) {
    const tests::MapPtr map = MapOfRange(kind, c.min, c.max, c.inc);
    Parameter n(*map, "N");
    n.SetValuePercentOfRange(c.percent);
    EXPECT_EQ(*n, c.value);
    EXPECT_DOUBLE_EQ(n.GetValuePercentOfRange(), c.read) << c.value;
    EXPECT_TRUE(n.TrySetToMaximum()) << c.value;
    EXPECT_EQ(*n, c.max) << c.value;
    EXPECT_TRUE(n.TrySetToMinimum()) << c.value;
    EXPECT_EQ(*n, c.min) << c.value;
    EXPECT_TRUE(n.TrySetValuePercentOfRange(c.percent)) << c.value;
    EXPECT_EQ(*n, c.value) << c.value;
}

TEST(PercentTest, SetsAndReadsAPlaceInTheRange) {
    using Whole = Percent<int64_t>;
    using Real = Percent<double>;
    for (const Whole& c :
         {Whole{0, 100, 1, 50, 50, 50}, Whole{0, 101, 1, 51, 50, 5100 / 101.0},      // half away from zero
          Whole{-101, 0, 1, -51, 50, 5000 / 101.0}, Whole{0, 100, 10, 40, 34.6, 40}, // 35, and then nearest
          Whole{0, 98, 7, 98, 100, 100}, Whole{0, 98, 7, 0, -5, 0}, Whole{7, 7, 1, 7, 50, 100},
          Whole{INT64_MIN, INT64_MAX, 1, 0, 50, 50}, Whole{0, INT64_MAX, 1, 3 * (INT64_C(1) << 61), 75, 75},
          Whole{INT64_MAX - 9, INT64_MAX, 9, INT64_MAX, 50, 100}}) { // as doubles all of it is 2^63
        ExpectPercent<CIntegerParameter>("Integer", c);
    }
    for (const Real& c : {Real{0, 10, 3, 2.5, 25, 25}, Real{-4, 4, 1, -4, 0, 0}, Real{-4, 4, 1, 4, INFINITY, 100},
                          Real{2, 2, 1, 2, 50, 100}, Real{0.1, 0.3, 1, 0.2, 50, 50},
                          Real{-DBL_MAX, DBL_MAX, 1, 0, 50, 50}, Real{-DBL_MAX, DBL_MAX, 1, DBL_MAX / 2, 75, 75}}) {
        ExpectPercent<CFloatParameter>("Float", c);
    }
}

TEST(FloatCorrectionTest, ClipsToTheRangeAndNeverToAnIncrement) {
    const tests::MapPtr map = MapOfRange("Float", -1.0, 2.0, 0.5);
    CFloatParameter n(*map, "N");
    for (const auto& [value, clipped] :
         std::vector<std::pair<double, double>>{{-7, -1}, {0.3, 0.3}, {7, 2}, {NAN, 2}}) {
        n.SetValue(value, kClip);
        EXPECT_EQ(*n, clipped);
        n = 0;
        EXPECT_TRUE(n.TrySetValue(value, kClip)) << value;
        EXPECT_EQ(*n, clipped) << value;
    }
    for (const auto correction : {FloatValueCorrection_None, EFloatValueCorrection(1)}) {
        EXPECT_TRUE(n.TrySetValue(0.3, correction));
        EXPECT_EQ(*n, 0.3);
        EXPECT_THROW(n.SetValue(7, correction), GenICam::OutOfRangeException);
    }
}

class NumberParameterTest : public tests::MapTest {
protected:
    NumberParameterTest() {
        const std::string rich = "<Value>4</Value><Min>0</Min><Max>8</Max><Inc>4</Inc><Unit>px</Unit>"
                                 "<Representation>Logarithmic</Representation>";
        Load(Node("IntReg", "Word", tests::Place(0, 4)) + Limited("RW") + Limited("RO") + Limited("WO") +
             tests::Value("Raw") + Node("Float", "Gain", "<pAlias>Raw</pAlias><Value>1</Value>") +
             Node("Float", "Odd", "<pAlias>Gain</pAlias><Value>1</Value>") +
             Node("Integer", "Integer", rich + "<ValidValueSet>0;4;8;12</ValidValueSet>") +
             Node("Float", "Float",
                  rich + "<DisplayNotation>Fixed</DisplayNotation><DisplayPrecision>3</DisplayPrecision>"));
    }
    /// An integer and a float of the range 0 to 100 with that access mode.
    static std::string Limited(const std::string& mode) {
        const std::string rest = "<ImposedAccessMode>" + mode + "</ImposedAccessMode><Min>0</Min><Max>100</Max>";
        return tests::Above("Integer", "I" + mode, "Word", rest) + tests::Above("Float", "F" + mode, "Word", rest);
    }
    /// What the operations that only try answer.
    template <class Parameter, class Correction>
    static std::string Tries(Parameter p, Correction correction) {
        std::string answers = p.GetValueOrDefault(7) == 7 ? "default " : "value ";
        for (const bool answer : {p.TrySetValue(1, Correction()), p.TrySetValue(1), p.TrySetValue(1, correction),
                                  p.TrySetToMaximum(), p.TrySetToMinimum(), p.TrySetValuePercentOfRange(50)}) {
            answers += answer ? '1' : '0';
        }
        return answers;
    }
};

TEST_F(NumberParameterTest, TryAnswersFalseWhereTheNodeLacksAccess) {
    const std::map<std::string, std::string> cases = {
        {"RW", "value 111111"}, {"RO", "value 000000"}, {"WO", "default 010000"}, {"Unknown", "default 000000"}};
    for (const auto& [mode, answers] : cases) {
        const std::string integer = Tries(CIntegerParameter(*Map, ("I" + mode).c_str()), kUp);
        EXPECT_EQ(integer, mode == "WO" ? "default 110000" : answers) << mode; // needs no limits to correct nothing
        EXPECT_EQ(Tries(CFloatParameter(*Map, ("F" + mode).c_str()), kClip), answers) << mode;
    }
}

TEST_F(NumberParameterTest, TryIsNoCureForAWrongValueAndOtherwiseAccessIsRequired) {
    EXPECT_THROW(CIntegerParameter(*Map, "IRW").TrySetValue(1000), GenICam::OutOfRangeException);
    EXPECT_THROW(CIntegerParameter(*Map, "IRW").SetValuePercentOfRange(NAN), GenICam::InvalidArgumentException);
    EXPECT_THROW(CFloatParameter(*Map, "FRO").SetToMaximum(), GenICam::AccessException);
    EXPECT_FALSE(CIntegerParameter(*Map, "IWO").TrySetToMaximum());
    EXPECT_EQ(Port.Reads + Port.Writes, 0);
}

TEST_F(NumberParameterTest, AlternativeIntegerIsTheAliasOrNone) {
    CIntegerParameter raw(*Map, "IRW");
    CFloatParameter(*Map, "Gain").GetAlternativeIntegerRepresentation(raw);
    EXPECT_TRUE(raw.Equals(&Int("Raw")));
    for (const char* without : {"Unknown", "FRW", "Odd"}) {
        raw.Attach(*Map, "Raw");
        CFloatParameter(*Map, without).GetAlternativeIntegerRepresentation(raw);
        EXPECT_FALSE(raw.IsValid()) << without;
    }
}

} // namespace
