// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/formula/Formula.h"
#include <Base/GCException.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace GenApi;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::int64_t kInt64Min = std::numeric_limits<std::int64_t>::min();

// Variables get their slots in the order in which they are declared.
struct CScope final : IFormulaScope {
    std::map<std::string, CFormulaName, std::less<>> Names;
    std::vector<double> Values;

    CScope& Variable(const std::string& name, double value) {
        Names[name] = {EFormulaName::Variable, static_cast<std::uint32_t>(Values.size()), {}};
        Values.push_back(value);
        return *this;
    }
    CScope& Constant(const std::string& name, std::string_view text) {
        Names[name] = {EFormulaName::Constant, 0, text};
        return *this;
    }
    CScope& Expression(const std::string& name, std::string_view text) {
        Names[name] = {EFormulaName::Expression, 0, text};
        return *this;
    }
    CFormulaName FindName(std::string_view name) override {
        const auto found = Names.find(name);
        return found == Names.end() ? CFormulaName{} : found->second;
    }
};

template <typename T>
T Evaluate(const std::string& text, CScope scope = {}) {
    const std::vector<T> values(scope.Values.begin(), scope.Values.end());
    return CFormula<T>(text, scope).Evaluate(values);
}

std::int64_t Int(const std::string& text, CScope scope = {}) {
    return Evaluate<std::int64_t>(text, std::move(scope));
}

double Float(const std::string& text, CScope scope = {}) {
    return Evaluate<double>(text, std::move(scope));
}

template <typename T>
std::string CompileError(const std::string& text, CScope scope = {}) {
    try {
        CFormula<T>(text, scope);
    } catch (const GenICam::PropertyException& error) {
        return error.GetDescription();
    }
    return "";
}

// A number for each machine; none where the machine does not take the formula or cannot evaluate it.
struct Vector {
    const char* Text;
    std::optional<std::int64_t> AsInt;
    std::optional<double> AsFloat;
};

Vector Both(const char* text, std::int64_t value) {
    return {text, value, static_cast<double>(value)};
}

Vector FloatOnly(const char* text, double value) {
    return {text, std::nullopt, value};
}

class FormulaVectorTest : public testing::TestWithParam<Vector> {};

TEST_P(FormulaVectorTest, GivesItsValueOnEachMachine) {
    const Vector& vector = GetParam();
    if (vector.AsInt) {
        EXPECT_EQ(Int(vector.Text), *vector.AsInt);
    } else {
        EXPECT_THROW(Int(vector.Text), GenICam::GenericException);
    }
    if (vector.AsFloat) {
        EXPECT_NEAR(Float(vector.Text), *vector.AsFloat, 1e-12 * std::max(1.0, std::fabs(*vector.AsFloat)));
    } else {
        EXPECT_THROW(Float(vector.Text), GenICam::GenericException);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Arithmetic, FormulaVectorTest,
    testing::Values(Vector{"10/4", 2, 2.5}, Both("(24+2)*2", 52), Both("24+2*8", 40), Both("4*-3", -12),
                    Both("10%3", 1), Both("-10%3", -1), Both("2**10", 1024), Both("2**10*2", 2048),
                    Both("2**3**2", 512), Both("-2**2", 4), Both("10-4-3", 3), Vector{"-7/2", -3, -3.5},
                    Both("2-3", -1), Both("- - -5", -5), Both("+7", 7), Vector{"2**-1", 0, 0.5}, Both("(-1)**-3", -1),
                    Both(" 1\t+\n2\r", 3), Both("((((1))))", 1), Vector{"4/(20/10000)", std::nullopt, 2000},
                    Vector{"1/0", std::nullopt, std::nullopt}, Vector{"5%0", std::nullopt, std::nullopt},
                    Vector{"0**-1", std::nullopt, std::nullopt}, Vector{"10**400", 0, std::nullopt},
                    Vector{"1/10**400", std::nullopt, 0}, Vector{"1/EXP(1000)", std::nullopt, 0},
                    Vector{"(0-8)**0.5", std::nullopt, std::nullopt}));

INSTANTIATE_TEST_SUITE_P(Bits, FormulaVectorTest,
                         testing::Values(Both("~255", -256), Both("3 ^ 1", 2), Both("16>>4", 1), Both("-16>>2", -4),
                                         Both("1<<40", 1LL << 40), Both("1<<64", 1), Both("6&3|8", 10),
                                         Both("7^2&3", 5), Both("0x1F & 0XF0", 16), Vector{"7.9 & 3", std::nullopt, 3},
                                         Both("(~(~0xC2000221|0xFEFFFFFF)) ? 2:0", 0)));

INSTANTIATE_TEST_SUITE_P(Conditions, FormulaVectorTest,
                         testing::Values(Both("1=1?1:0", 1), Both("1<>2", 1), Both("1==2", 0), Both("1!=2", 1),
                                         Both("(2=2)&&(1=2)", 0), Both("2=2||1=2", 1), Both("5&&3", 1), Both("0||7", 1),
                                         Both("1||0&&0", 1), Both("!5", 0), Both("!0+1", 2), Both("1<2=2>1", 1),
                                         Both("1<=1", 1), Both("2>=3", 0), Both("3&2=2", 1), Both("1+1<<2", 8),
                                         Both("0?1:0?2:3", 3), Both("1?0?4:5:6", 5), Both("(0 & 1)=0?((0 & 1)+2):1", 2),
                                         FloatOnly("0.5 ? 1 : 2", 1), FloatOnly("0.25 && 0.5", 1)));

INSTANTIATE_TEST_SUITE_P(Functions, FormulaVectorTest,
                         testing::Values(FloatOnly("LN(E)", 1), FloatOnly("LG(10)", 1), Both("ROUND(-2)", -2),
                                         FloatOnly("ROUND(-20.9)", -21), FloatOnly("ROUND(2.5)", 3),
                                         FloatOnly("ROUND(10.11, 1)", 10.1), FloatOnly("ROUND(1264.5, -2)", 1300),
                                         FloatOnly("ROUND(1e300, 300)", 1e300), FloatOnly("TRUNC(-11.9)", -11),
                                         FloatOnly("FLOOR(-11.9)", -12), FloatOnly("CEIL(-11.9)", -11),
                                         Both("SGN(-2)", -1), Both("SGN(0)", 0), Both("NEG(-1)", 1), Both("abs(-3)", 3),
                                         Both("FLOOR(7)+ROUND(7,2)", 14), FloatOnly("SIN(-PI/2)", -1),
                                         FloatOnly("cos(Pi())", -1), FloatOnly("TAN(ATAN(0.5))", 0.5),
                                         FloatOnly("ASIN(1)+ACOS(1)", std::asin(1.0)), FloatOnly("EXP(1)/e()", 1),
                                         FloatOnly("SQRT(16)", 4), Vector{"SQRT(-1)", std::nullopt, std::nullopt},
                                         Vector{"LN(0)", std::nullopt, std::nullopt},
                                         Vector{"EXP(1000)", std::nullopt, std::nullopt}));

INSTANTIATE_TEST_SUITE_P(Numbers, FormulaVectorTest,
                         testing::Values(FloatOnly("1.5", 1.5), FloatOnly(".5", 0.5), FloatOnly("1e-3", 0.001),
                                         Both("1.5E+3", 1500), Both("2.", 2), Both("12 / 4.0", 3),
                                         Vector{"0xFFFFFFFFFFFFFFFF", -1, 18446744073709551615.0},
                                         Vector{"9223372036854775808", kInt64Min, 9223372036854775808.0},
                                         Vector{"18446744073709551616", std::nullopt, 18446744073709551616.0},
                                         Vector{"~1e30", std::nullopt, std::nullopt},
                                         Vector{"1e308*10", std::nullopt, std::nullopt}));

TEST(FormulaTest, IntegersWrapAroundInTwosComplement) {
    CScope scope;
    scope.Constant("MAX", "9223372036854775807").Constant("MIN", "-9223372036854775808");
    EXPECT_EQ(Int("MAX+1", scope), kInt64Min);
    EXPECT_EQ(Int("MIN-1", scope), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(Int("MAX*2", scope), -2);
    EXPECT_EQ(Int("MIN/-1", scope), kInt64Min);
    EXPECT_EQ(Int("MIN%-1", scope), 0);
    EXPECT_EQ(Int("NEG(MIN)", scope), kInt64Min);
    EXPECT_EQ(Int("ABS(MIN)", scope), kInt64Min);
    EXPECT_EQ(Int("3**41", scope), -420491770248316829);
}

TEST(FormulaTest, ANameIsLookedUpCaseSensitivelyAndHidesABuiltInConstant) {
    CScope scope;
    scope.Variable("E", 7).Variable("X.Max", 3).Variable("ABS", 5);
    EXPECT_EQ(Float("E", scope), 7);
    EXPECT_NEAR(Float("e", scope), std::exp(1.0), 1e-12);
    EXPECT_EQ(Float("X.Max*2", scope), 6);
    EXPECT_EQ(Float("ABS+abs(-1)", scope), 6) << "a function is a name before a parenthesis";
    EXPECT_THROW(Float("x.Max", scope), GenICam::PropertyException);
}

TEST(FormulaTest, OnlyVariablesThatOccurMustBeRead) {
    CScope scope;
    scope.Variable("A", 1).Variable("Unused", 2).Variable("B", 0);
    const CIntFormula formula("B ? A/B : A + A", scope);
    EXPECT_THAT(formula.GetUsedSlots(), ElementsAre(0u, 2u));
    const std::vector<std::int64_t> values = {4, 0, 0};
    EXPECT_EQ(formula.Evaluate(values), 8) << "the division stands in the branch that is not taken";
    EXPECT_THROW(formula.Evaluate(std::span(values).first(2)), GenICam::LogicalErrorException);
    EXPECT_THROW(CIntFormula().Evaluate(values), GenICam::LogicalErrorException);
}

TEST(FormulaTest, OperandsThatDoNotMatterAreNotEvaluated) {
    CScope scope;
    scope.Variable("Zero", 0).Variable("One", 1);
    EXPECT_EQ(Int("Zero && 1/Zero", scope), 0);
    EXPECT_EQ(Int("One || 1/Zero", scope), 1);
    EXPECT_EQ(Int("(Zero = 0) || (1/Zero <> 0)", scope), 1);
    EXPECT_EQ(Int("0 && 1/0", scope), 0) << "also where all of it is constant";
    EXPECT_EQ(Int("1 ? 2 : 1/0", scope), 2);
    EXPECT_EQ(Int("(One ? 2 : 3) + (Zero ? 4 : 5) * 10", scope), 52) << "constants meet across branches";
    EXPECT_EQ(Int("2 + (One && 3) + 4", scope), 7);
    EXPECT_THROW(Int("One && 1/Zero", scope), GenICam::RuntimeException);
}

TEST(FormulaTest, ExpressionsCountAsInParentheses) {
    CScope scope;
    scope.Variable("X", 3).Constant("C", "0x10").Expression("SUM", "X + C").Expression("TWICE", "SUM*2");
    EXPECT_EQ(Int("SUM*2", scope), 38);
    EXPECT_EQ(Float("SUM/2", scope), 9.5);
    EXPECT_THAT(CompileError<std::int64_t>("1+TWICE", scope), HasSubstr("In expression 'TWICE': Position 1, 'SUM'"));
}

TEST(FormulaTest, ConstantsMustSuitTheMachine) {
    CScope scope;
    scope.Constant("HALF", " 0.5 ").Constant("JUNK", "five");
    EXPECT_EQ(Float("HALF*3", scope), 1.5);
    EXPECT_THAT(CompileError<std::int64_t>("HALF*3", scope), HasSubstr("the constant ' 0.5 '"));
    EXPECT_THAT(CompileError<double>("JUNK", scope), HasSubstr("Position 1, 'JUNK': the constant 'five'"));
}

TEST(FormulaTest, ResultsThatAreNoFiniteNumbersFail) {
    CScope scope;
    scope.Variable("INFINITE", std::numeric_limits<double>::infinity());
    EXPECT_THROW(Float("INFINITE", scope), GenICam::RuntimeException);
    EXPECT_THROW(Float("INFINITE - INFINITE", scope), GenICam::RuntimeException);
    EXPECT_EQ(Float("INFINITE > 5 ? 1 : 0", scope), 1) << "only the result counts";
    EXPECT_THROW(Float("INFINITE << 1", scope), GenICam::RuntimeException);
}

TEST(FormulaTest, SuffixesSayWhichPartOfAVariableIsMeant) {
    const auto part = [](std::string_view name) { return SplitVariableName(name).Part; };
    EXPECT_EQ(SplitVariableName("Gain").Base, "Gain");
    EXPECT_EQ(part("Gain"), EVariablePart::Value);
    EXPECT_EQ(part("Gain.Value"), EVariablePart::Value);
    EXPECT_EQ(part("Gain.Inc"), EVariablePart::Inc);
    EXPECT_EQ(part("Gain.CachingMode"), EVariablePart::CachingMode);
    EXPECT_EQ(part("Gain.max"), EVariablePart::Unknown);
    EXPECT_EQ(part("Gain.Entry."), EVariablePart::Unknown);
    for (const char* name : {"Mode.Entry.Off", "Mode.Enum.Off"}) {
        EXPECT_EQ(SplitVariableName(name).Base, "Mode");
        EXPECT_EQ(part(name), EVariablePart::Entry);
        EXPECT_EQ(SplitVariableName(name).Entry, "Off");
    }
}

struct BrokenFormula {
    const char* Text;
    const char* Place; // position and token that the error names
};

class BrokenFormulaTest : public testing::TestWithParam<BrokenFormula> {};

TEST_P(BrokenFormulaTest, IsRefusedWithPositionAndToken) {
    EXPECT_THAT(CompileError<std::int64_t>(GetParam().Text), HasSubstr(GetParam().Place));
    EXPECT_THAT(CompileError<double>(GetParam().Text), HasSubstr(GetParam().Place));
}

INSTANTIATE_TEST_SUITE_P(
    All, BrokenFormulaTest,
    testing::Values(BrokenFormula{"", "Position 1, end: operand expected"}, BrokenFormula{"  ", "Position 3, end"},
                    BrokenFormula{"1+", "Position 3, end: operand expected"}, BrokenFormula{"1 2", "Position 3, '2'"},
                    BrokenFormula{"(1", "Position 3, end: ')' expected"}, BrokenFormula{"1)", "Position 2, ')'"},
                    BrokenFormula{"1?2", "Position 4, end: ':' expected"}, BrokenFormula{"1:2", "Position 2, ':'"},
                    BrokenFormula{"?1:2", "Position 1, '?'"}, BrokenFormula{"3*/4", "Position 3, '/'"},
                    BrokenFormula{"4 Q", "Position 3, 'Q'"}, BrokenFormula{"Q+1", "Position 1, 'Q': unknown name"},
                    BrokenFormula{"12abc", "Position 3, 'abc'"}, BrokenFormula{"0x", "Position 1, '0x'"},
                    BrokenFormula{"1..2", "Position 3, '.2'"}, BrokenFormula{"ABS()", "Position 5, ')'"},
                    BrokenFormula{"ABS(1,2)", "Position 6, ','"}, BrokenFormula{"ROUND(1,2,3)", "Position 10, ','"},
                    BrokenFormula{"NOPE(1)", "Position 1, 'NOPE'"}, BrokenFormula{"1 $ 2", "Position 3, '$'"},
                    BrokenFormula{"1 =< 2", "Position 4, '<'"}, BrokenFormula{"\xC3\xA4", "Position 1, '?'"}));

TEST(HostileFormulaTest, DoubleOnlyFunctionsAndFractionsAreNoPartOfIntegerFormulas) {
    EXPECT_THAT(CompileError<std::int64_t>("1+SIN(1)"), HasSubstr("Position 3, 'SIN': no function of integer"));
    EXPECT_THAT(CompileError<std::int64_t>("1.5"), HasSubstr("Position 1, '1.5': not a 64-bit integer"));
    EXPECT_THAT(CompileError<std::int64_t>("PI"), HasSubstr("unknown name"));
}

TEST(HostileFormulaTest, ZeroBytesEndNothing) {
    EXPECT_THAT(CompileError<double>(std::string("1+2\0+3", 6)), HasSubstr("Position 4, '?': operator expected"));
}

std::string Repeat(std::string_view text, std::size_t count) {
    std::string result;
    for (; count > 0; --count) {
        result += text;
    }
    return result;
}

TEST(HostileFormulaTest, NestingIsLimited) {
    EXPECT_EQ(Int(Repeat("(", 256) + "5" + Repeat(")", 256)), 5);
    EXPECT_THAT(CompileError<double>(Repeat("(", 257) + "5" + Repeat(")", 257)), HasSubstr("Position 257"));
    EXPECT_THAT(CompileError<double>(Repeat("(", 60000)), HasSubstr("nested too deep"));
    EXPECT_THAT(CompileError<double>(Repeat("ABS(", 300)), HasSubstr("nested too deep"));
    EXPECT_THAT(CompileError<double>(Repeat("1?", 300)), HasSubstr("nested too deep"));
}

TEST(HostileFormulaTest, ChainsAreNotNesting) {
    CScope scope;
    scope.Variable("X", 4999);
    std::string cases;
    for (int i = 0; i < 5000; ++i) {
        cases += "X=" + std::to_string(i) + "?" + std::to_string(i * 2) + ":";
    }
    EXPECT_EQ(Int(cases + "0", scope), 9998);
    EXPECT_EQ(Int(Repeat("X-", 30000) + "0", scope), 4999 - 29999 * 4999LL);
    EXPECT_EQ(Int(Repeat("-", 60000) + "X", scope), 4999);
    EXPECT_THAT(CompileError<double>(Repeat("X**", 20000) + "X", scope), HasSubstr("too many operands are pending"));
}

TEST(HostileFormulaTest, ADeepStackIsStillEvaluated) {
    CScope scope;
    scope.Variable("X", 1);
    EXPECT_EQ(Int(Repeat("(X||X&&X|X^X&X=X<X<<X+X*", 100) + "X" + Repeat(")", 100), scope), 1);
    EXPECT_EQ(Int(Repeat("X+(", 250) + "X" + Repeat(")", 250), scope), 251);
}

TEST(HostileFormulaTest, LengthIsLimitedWithAllExpressionsCountedIn) {
    CScope scope;
    const std::string large = "1" + Repeat("+1", 30000);
    scope.Expression("L", large);
    EXPECT_EQ(Int(large), 30001);
    EXPECT_THAT(CompileError<double>(Repeat("+", 65537)), HasSubstr("65537 bytes"));
    EXPECT_EQ(Int("L+L", scope), 60002);
    EXPECT_THAT(CompileError<double>(Repeat("L+", 30000) + "L", scope), HasSubstr("too long"));
}

TEST(FormulaTest, ManyThreadsEvaluateOneFormula) {
    CScope scope;
    scope.Variable("X", 0);
    const CFloatFormula formula("X*X + (X > 50 ? 1 : 0)", scope);
    std::vector<std::thread> threads;
    std::vector<double> sums(4);
    for (double& sum : sums) {
        threads.emplace_back([&] {
            for (double x = 0; x < 1000; ++x) {
                sum += formula.Evaluate(std::span<const double>(&x, 1));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(sums, testing::Each(332833500.0 + 949));
}

} // namespace
