// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/model/TextForms.h"

#include <gmock/gmock.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace {

using namespace GenApi;

constexpr std::int64_t kInt64Max = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kInt64Min = std::numeric_limits<std::int64_t>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct IntegerText {
    const char* Text;
    std::optional<std::int64_t> Value;
    ERepresentation Representation = PureNumber;
};

class ParseIntegerTest : public testing::TestWithParam<IntegerText> {};

TEST_P(ParseIntegerTest, TakesExactlyItsForm) {
    EXPECT_EQ(ParseInteger(GetParam().Text, GetParam().Representation), GetParam().Value) << GetParam().Text;
}

INSTANTIATE_TEST_SUITE_P(
    HexOrDecimal, ParseIntegerTest,
    testing::Values(IntegerText{"0", 0}, IntegerText{" \t-17\r\n", -17}, IntegerText{"+5", 5},
                    IntegerText{"0x1aF", 0x1AF}, IntegerText{"0XFFFFFFFFFFFFFFFF", -1},
                    IntegerText{"9223372036854775807", kInt64Max}, IntegerText{"9223372036854775808", kInt64Min},
                    IntegerText{"-9223372036854775808", kInt64Min}, IntegerText{"18446744073709551615", -1},
                    IntegerText{"18446744073709551616", std::nullopt},
                    IntegerText{"-9223372036854775809", std::nullopt}, IntegerText{"0x10000000000000000", std::nullopt},
                    IntegerText{"", std::nullopt}, IntegerText{"-", std::nullopt}, IntegerText{"0x", std::nullopt},
                    IntegerText{"--5", std::nullopt}, IntegerText{"+-5", std::nullopt},
                    IntegerText{"0x-5", std::nullopt}, IntegerText{"5 6", std::nullopt},
                    IntegerText{"5.0", std::nullopt}, IntegerText{"abc", std::nullopt}, IntegerText{"5;", std::nullopt},
                    IntegerText{"1.2.3.4", std::nullopt}));

INSTANTIATE_TEST_SUITE_P(
    Addresses, ParseIntegerTest,
    testing::Values(
        IntegerText{"192.168.0.1", 0xC0A80001, IPV4Address}, IntegerText{"255.255.255.255", 0xFFFFFFFF, IPV4Address},
        IntegerText{"0xC0A80001", 0xC0A80001, IPV4Address}, IntegerText{"100", 100, IPV4Address},
        IntegerText{"1.2.3", std::nullopt, IPV4Address}, IntegerText{"1.2.3.256", std::nullopt, IPV4Address},
        IntegerText{"1.2.3.4.5", std::nullopt, IPV4Address}, IntegerText{"1.2.3.", std::nullopt, IPV4Address},
        IntegerText{"1..2.3", std::nullopt, IPV4Address}, IntegerText{"1.2.3.-4", std::nullopt, IPV4Address},
        IntegerText{"1.2.3.0004", std::nullopt, IPV4Address},
        IntegerText{"00:11:2a:FF:fe:01", 0x00112AFFFE01, MACAddress},
        IntegerText{"00-11-2A-FF-FE-01", 0x00112AFFFE01, MACAddress},
        IntegerText{"00-11:2A-FF:FE-01", std::nullopt, MACAddress},
        IntegerText{"0:11:2a:ff:fe:01", std::nullopt, MACAddress},
        IntegerText{"00:11:2a:ff:fe:0g", std::nullopt, MACAddress}, IntegerText{"-7", -7, MACAddress}));

struct IntegerForm {
    std::int64_t Value;
    ERepresentation Representation;
    const char* Text;
};

class FormatIntegerTest : public testing::TestWithParam<IntegerForm> {};

TEST_P(FormatIntegerTest, ShowsTheNumberSoThatItCanBeReadBack) {
    const auto& [value, representation, text] = GetParam();
    EXPECT_EQ(FormatInteger(value, representation), text);
    EXPECT_EQ(ParseInteger(text, representation), value);
}

INSTANTIATE_TEST_SUITE_P(All, FormatIntegerTest,
                         testing::Values(IntegerForm{-5, Linear, "-5"}, IntegerForm{1, Boolean, "1"},
                                         IntegerForm{kInt64Min, PureNumber, "-9223372036854775808"},
                                         IntegerForm{0, HexNumber, "0x0"}, IntegerForm{0xBEEF, HexNumber, "0xBEEF"},
                                         IntegerForm{-1, HexNumber, "0xFFFFFFFFFFFFFFFF"},
                                         IntegerForm{0xC0A80001, IPV4Address, "192.168.0.1"},
                                         IntegerForm{-1, IPV4Address, "-1"},
                                         IntegerForm{1LL << 32, IPV4Address, "4294967296"},
                                         IntegerForm{0x00112AFFFE01, MACAddress, "00:11:2a:ff:fe:01"},
                                         IntegerForm{1LL << 48, MACAddress, "281474976710656"}));

struct FloatText {
    const char* Text;
    std::optional<double> Value;
};

class ParseFloatTest : public testing::TestWithParam<FloatText> {};

TEST_P(ParseFloatTest, TakesExactlyItsForm) {
    EXPECT_EQ(ParseFloat(GetParam().Text), GetParam().Value) << GetParam().Text;
}

INSTANTIATE_TEST_SUITE_P(
    All, ParseFloatTest,
    testing::Values(FloatText{"0", 0.0}, FloatText{" -1.5\n", -1.5}, FloatText{"+.5e1", 5.0}, FloatText{"0x10", 16.0},
                    FloatText{"-0xFF", -255.0}, FloatText{"0x1.8p1", 3.0}, FloatText{"INF", kInfinity},
                    FloatText{"-INF", -kInfinity}, FloatText{"-inf", -kInfinity},
                    FloatText{"1.79769313486232E+308", kInfinity}, // the largest double, rounded up by its writer
                    FloatText{"-1e400", -kInfinity}, FloatText{"1e-400", 0.0}, FloatText{"1,5", std::nullopt},
                    FloatText{"", std::nullopt}, FloatText{"-", std::nullopt}, FloatText{"--1", std::nullopt},
                    FloatText{"1.5x", std::nullopt}, FloatText{"0x", std::nullopt}, FloatText{"e5", std::nullopt}));

TEST(TextFormsTest, NotANumberCanBeRead) {
    const auto value = ParseFloat("NaN");
    ASSERT_TRUE(value);
    EXPECT_TRUE(std::isnan(*value));
}

struct FloatForm {
    double Value;
    EDisplayNotation Notation;
    std::int64_t Precision;
    const char* Text;
    double Min = -DBL_MAX;
    double Max = DBL_MAX;
};

class FormatFloatTest : public testing::TestWithParam<FloatForm> {};

TEST_P(FormatFloatTest, KeepsToNotationAndRange) {
    const FloatForm& form = GetParam();
    const std::string text = FormatFloat(form.Value, form.Notation, form.Precision, form.Min, form.Max);
    EXPECT_EQ(text, form.Text);
    EXPECT_GE(ParseFloat(text), form.Min);
    EXPECT_LE(ParseFloat(text), form.Max);
}

INSTANTIATE_TEST_SUITE_P(
    Notation, FormatFloatTest,
    testing::Values(FloatForm{1.5, fnAutomatic, -1, "1.5"}, FloatForm{1234567.0, fnAutomatic, -1, "1.23457e+06"},
                    FloatForm{1234567.0, fnAutomatic, 8, "1234567"}, FloatForm{1.0 / 3, fnFixed, -1, "0.333333"},
                    FloatForm{2.5, fnFixed, 0, "2"}, FloatForm{12345.678, fnScientific, 2, "1.23e+04"},
                    FloatForm{-0.5, _UndefinedEDisplayNotation, -1, "-0.5"}, FloatForm{0, fnFixed, 2, "0.00"}));

INSTANTIATE_TEST_SUITE_P(Range, FormatFloatTest,
                         testing::Values(FloatForm{33.3333333, fnFixed, 2, "33.34", 33.3333333, 100},
                                         FloatForm{66.6666666, fnFixed, 2, "66.66", 0, 66.6666666},
                                         FloatForm{1234567.0, fnAutomatic, -1, "1.23456e+06", 0, 1234567.0},
                                         FloatForm{-12345.678, fnScientific, 2, "-1.23e+04", -12345.678, 0},
                                         FloatForm{9.9999999, fnAutomatic, -1, "9.99999", 0, 9.9999999},
                                         FloatForm{0.123456789, fnFixed, 2, "0.123456789", 0.123456789, 0.123456789}));

TEST(TextFormsTest, AFloatBeyondItsRangeIsShownAsItIs) {
    EXPECT_EQ(FormatFloat(150.0, fnFixed, 1, 0, 100), "150.0");
    EXPECT_EQ(FormatFloat(kInfinity, fnFixed, 1, 0, 100), "inf");
    EXPECT_EQ(FormatFloat(1e300, fnFixed, 1000000, -DBL_MAX, DBL_MAX).size(), 301u + 1 + 100);
}

TEST(TextFormsTest, WordsForTrueAndFalse) {
    for (const char* text : {"1", "true", "True", "Yes", " On "}) {
        EXPECT_EQ(ParseBoolean(text), true) << text;
    }
    for (const char* text : {"0", "false", "False", "No", "Off"}) {
        EXPECT_EQ(ParseBoolean(text), false) << text;
    }
    for (const char* text : {"", "TRUE", "2", "yes", "1 0"}) {
        EXPECT_EQ(ParseBoolean(text), std::nullopt) << text;
    }
    EXPECT_EQ(ParseBoolean(FormatBoolean(true)), true);
    EXPECT_EQ(ParseBoolean(FormatBoolean(false)), false);
}

TEST(TextFormsTest, BytesStandInAddressOrder) {
    const std::vector<std::uint8_t> bytes = {0x00, 0xAB, 0x7F};
    EXPECT_EQ(FormatBytes(bytes), "0x00ab7f");
    EXPECT_EQ(ParseBytes("0x00ab7f"), bytes);
    EXPECT_EQ(ParseBytes(" 00AB7F "), bytes);
    EXPECT_EQ(ParseBytes("0x")->size(), 0u);
    for (const char* text : {"0xabc", "0xgg", "ab cd", "-1", "+1"}) {
        EXPECT_FALSE(ParseBytes(text)) << text;
    }
}

} // namespace
