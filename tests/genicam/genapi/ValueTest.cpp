// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/MapFixture.h"

#include <gmock/gmock.h>

#include <cfloat>
#include <cmath>
#include <limits>

// Numbers, texts and truth values: limits, conversions between them, formulas over them, and what failures say.

namespace {

using namespace GenApi;
using testing::ElementsAre;
using testing::HasSubstr;
using tests::Above;
using tests::Node;
using tests::Numbered;
using tests::Place;
using tests::Value;

std::string FloatValue(const std::string& name, const std::string& value, const std::string& rest = "") {
    return Node("Float", name, "<Value>" + value + "</Value>" + rest);
}

class ValueTest : public tests::MapTest {
protected:
    template <typename Exception>
    std::string TextOf(const std::function<void()>& call) {
        try {
            call();
        } catch (const Exception& failure) {
            return failure.what();
        }
        return "no such exception";
    }
    std::string RangeFailure(const std::function<void()>& call) { return TextOf<GenICam::OutOfRangeException>(call); }
    std::vector<int64_t> Valid(const char* name, bool bounded = true) {
        const int64_autovector_t list = Int(name).GetListOfValidValues(bounded);
        std::vector<int64_t> values;
        for (size_t i = 0; i < list.size(); ++i) {
            values.push_back(list[i]);
        }
        return values;
    }
};

TEST_F(ValueTest, IntegersAreRefusedWithValueAndLimit) {
    Load(Value("I", 8, "<Min>6</Min><Max>20</Max><Inc>4</Inc>") + Value("NoStep", 0, "<Inc>0</Inc>") +
         Above("Integer", "Top", "I"));
    EXPECT_THAT(RangeFailure([this] { Int("I").SetValue(5); }),
                HasSubstr("Value = 5 must be equal or greater than Min = 6. : OutOfRangeException thrown in node 'I' "
                          "while calling 'I.SetValue()' (file 'genicam/genapi/nodes/"));
    EXPECT_THAT(RangeFailure([this] { Int("I").SetValue(21); }),
                HasSubstr("Value = 21 must be equal or smaller than Max = 20."));
    EXPECT_THAT(RangeFailure([this] { Int("Top").SetValue(12); }),
                HasSubstr("The difference between Value = 12 and Min = 6 must be dividable without rest by Inc = 4"));
    EXPECT_THAT(RangeFailure([this] { As<IValue>("Top").FromString("1"); }),
                HasSubstr("thrown in node 'Top' while calling 'Top.FromString()'"));
    Int("Top").SetValue(10);
    EXPECT_EQ(Int("I").GetValue(), 10);
    Int("I").SetValue(7, false);
    EXPECT_EQ(Int("I").GetValue(), 7) << "without checks everything goes";
    EXPECT_THROW(Int("I").GetValue(true), GenICam::OutOfRangeException) << "but a checked read finds it";
    EXPECT_THROW(Int("NoStep").SetValue(0), GenICam::LogicalErrorException);
}

TEST_F(ValueTest, TheGridSpansAllOf64Bits) {
    Load(Value("I", 0, "<Inc>3</Inc>"));
    EXPECT_EQ(Int("I").GetMin(), INT64_MIN);
    Int("I").SetValue(INT64_MAX); // 2^64-1 steps of one above the minimum, dividable by 3
    EXPECT_EQ(Int("I").GetValue(), INT64_MAX);
    EXPECT_THROW(Int("I").SetValue(INT64_MAX - 1), GenICam::OutOfRangeException);
}

TEST_F(ValueTest, LimitsComeFromTheNodeItselfThenFromItsValue) {
    Load(Value("Inner", 4,
               "<Min>2</Min><Max>100</Max><Inc>2</Inc><Unit>mm</Unit><Representation>HexNumber</Representation>") +
         Above("Integer", "Plain", "Inner") + Above("Integer", "Own", "Inner", "<Min>0</Min><Unit>cm</Unit>") +
         Above("Float", "AsFloat", "Inner") + Value("Free") + Above("Float", "OverFree", "Free") +
         FloatValue("Shown", "2.5", "<DisplayNotation>Fixed</DisplayNotation><DisplayPrecision>3</DisplayPrecision>") +
         Above("Float", "OverShown", "Shown", "<DisplayPrecision>1</DisplayPrecision>") +
         Above("Float", "OverAll", "OverShown"));
    EXPECT_EQ(Int("Plain").GetMin(), 2);
    EXPECT_EQ(Int("Plain").GetInc(), 2);
    EXPECT_EQ(Int("Plain").GetUnit(), "mm");
    EXPECT_EQ(Int("Plain").GetRepresentation(), HexNumber);
    EXPECT_EQ(Int("Plain").GetIncMode(), fixedIncrement);
    EXPECT_EQ(Int("Own").GetMin(), 0) << "own limits are not clamped to those below";
    EXPECT_EQ(Int("Own").GetMax(), 100);
    EXPECT_EQ(Int("Own").GetUnit(), "cm");
    EXPECT_EQ(Float("AsFloat").GetMin(), 2.0);
    EXPECT_FALSE(Float("AsFloat").HasInc());
    EXPECT_EQ(Float("AsFloat").GetRepresentation(), PureNumber) << "no float is shown in hexadecimal";
    EXPECT_EQ(Int("Free").GetMax(), INT64_MAX);
    EXPECT_EQ(Int("Free").GetRepresentation(), PureNumber);
    EXPECT_EQ(Float("OverFree").GetMin(), static_cast<double>(INT64_MIN));
    EXPECT_EQ(Float("OverFree").GetMax(), static_cast<double>(INT64_MAX));
    EXPECT_EQ(Text("OverShown"), "2.5");
    EXPECT_EQ(Text("OverAll"), "2.5");
    EXPECT_EQ(Float("OverAll").GetDisplayNotation(), fnFixed);
    EXPECT_EQ(Float("OverAll").GetDisplayPrecision(), 1);
    Int("Inner").ImposeMax(50);
    EXPECT_EQ(Int("Plain").GetMax(), 50) << "those above see what is imposed";
}

TEST_F(ValueTest, ListsOfValidValuesAreTheOnlyOnes) {
    Load(Value("I", 4, "<Max>50</Max><ValidValueSet>64;4, 16\n32</ValidValueSet>") +
         FloatValue("F", "0.5", "<ValidValueSet>2.5;NaN;0.5</ValidValueSet>") + Value("None"));
    EXPECT_THAT(Valid("I"), ElementsAre(4, 16, 32));
    EXPECT_THAT(Valid("I", false), ElementsAre(4, 16, 32, 64));
    EXPECT_EQ(Int("I").GetIncMode(), listIncrement);
    Int("I").SetValue(16);
    EXPECT_THROW(Int("I").SetValue(17), GenICam::OutOfRangeException);
    Float("F").SetValue(2.5);
    EXPECT_THROW(Float("F").SetValue(1.0), GenICam::OutOfRangeException);
    EXPECT_EQ(Float("F").GetListOfValidValues().size(), 2u);
    EXPECT_THAT(Valid("None"), testing::IsEmpty());
}

TEST_F(ValueTest, FloatsAreRefusedWithValueAndLimitButNeverForTheirStep) {
    Load(FloatValue("F", "1", "<Min>-1</Min><Max>2</Max><Inc>0.5</Inc>") + FloatValue("Free", "0"));
    EXPECT_THAT(RangeFailure([this] { Float("F").SetValue(-2); }),
                HasSubstr("Value -2.000000 must be greater than or equal -1.000000."));
    EXPECT_THAT(RangeFailure([this] { Float("F").SetValue(3); }),
                HasSubstr("Value 3.000000 must be smaller than or equal 2.000000."));
    EXPECT_THROW(Float("F").SetValue(std::nan("")), GenICam::OutOfRangeException);
    Float("F").SetValue(1.3);
    EXPECT_EQ(Float("F").GetValue(), 1.3);
    EXPECT_EQ(Float("F").GetInc(), 0.5);
    EXPECT_EQ(Float("F").GetIncMode(), fixedIncrement);
    EXPECT_FALSE(Float("Free").HasInc());
    EXPECT_EQ(Float("Free").GetIncMode(), noIncrement);
    EXPECT_THAT(TextOf<GenICam::RuntimeException>([this] { Float("Free").GetInc(); }),
                HasSubstr("does not have an increment."));
    EXPECT_EQ(Float("Free").GetMax(), DBL_MAX);
}

TEST_F(ValueTest, ImposedLimitsDoNotTouchWhatCanBeWritten) {
    Load(FloatValue("F", "1", "<Max>10</Max>"));
    Float("F").ImposeMax(2);
    Float("F").ImposeMin(5);
    EXPECT_EQ(Float("F").GetMax(), 2.0);
    EXPECT_EQ(Float("F").GetMin(), 5.0) << "an empty range is no error";
    Float("F").SetValue(9);
    EXPECT_EQ(Float("F").GetValue(true), 9.0);
}

TEST_F(ValueTest, AFloatOverAnIntegerSnapsToItsGrid) {
    Load(Value("I", 10, "<Min>10</Min><Max>40</Max><Inc>4</Inc>") + Above("Float", "F", "I"));
    for (const auto& [written, stored] : {std::pair(10.0, 10), std::pair(11.4, 10), std::pair(12.0, 10),
                                          std::pair(12.5, 14), std::pair(14.49, 14), std::pair(39.0, 38)}) {
        Float("F").SetValue(written);
        EXPECT_EQ(Int("I").GetValue(), stored) << written;
        EXPECT_EQ(Float("F").GetValue(), stored) << written;
    }
}

TEST_F(ValueTest, NumbersOfOtherTypesAreRoundedHalfAwayFromZero) {
    Load(FloatValue("F", "2.5") + FloatValue("Huge", "1e300") + Above("Integer", "I", "F") +
         Above("Integer", "TooLarge", "Huge") + Value("Small", 0, "<Max>5</Max>") +
         Above("Float", "OverSmall", "Small") + FloatValue("Narrow", "0", "<Min>-1.5</Min><Max>2.5</Max>") +
         Above("Integer", "OverNarrow", "Narrow"));
    EXPECT_EQ(Int("I").GetValue(), 3);
    Float("F").SetValue(-2.5);
    EXPECT_EQ(Int("I").GetValue(), -3);
    Int("I").SetValue(7);
    EXPECT_EQ(Float("F").GetValue(), 7.0);
    EXPECT_THROW(Int("TooLarge").GetValue(), GenICam::RuntimeException);
    EXPECT_THROW(Float("OverSmall").SetValue(1e300, false), GenICam::OutOfRangeException);
    EXPECT_EQ(Float("OverSmall").GetMax(), 5.0);
    EXPECT_EQ(Int("OverNarrow").GetMin(), -1) << "only whole numbers inside the range";
    EXPECT_EQ(Int("OverNarrow").GetMax(), 2);
}

TEST_F(ValueTest, EnumerationsAndBooleansStandInForNumbers) {
    Load("<Enumeration Name=\"E\">"
         "<EnumEntry Name=\"Slow\"><Value>0</Value><NumericValue>2.5</NumericValue></EnumEntry>"
         "<EnumEntry Name=\"Fast\"><Value>1</Value><NumericValue>10</NumericValue></EnumEntry>"
         "<EnumEntry Name=\"Gone\"><pIsAvailable>Never</pIsAvailable><Value>2</Value><NumericValue>6</NumericValue>"
         "</EnumEntry><Value>0</Value></Enumeration>" +
         Value("Never") + Above("Float", "F", "E") + Above("Integer", "I", "E") +
         Node("Boolean", "B", "<Value>5</Value><OnValue>9</OnValue><OffValue>5</OffValue>") +
         Above("Integer", "OverB", "B") + Above("Boolean", "OverE", "E", "<OnValue>5</OnValue>"));
    EXPECT_EQ(Float("F").GetValue(), 2.5);
    EXPECT_EQ(Int("I").GetValue(), 3);
    Float("F").SetValue(6.1);
    EXPECT_EQ(Text("E"), "Slow") << "the nearest that is available; the nearer one is not";
    Float("F").SetValue(6.3);
    EXPECT_EQ(Text("E"), "Fast");
    As<IEnumeration>("E").SetIntValue(77, false);
    EXPECT_THROW(Int("I").GetValue(), GenICam::AccessException);
    EXPECT_EQ(Int("OverB").GetValue(), 0);
    EXPECT_EQ(Int("OverB").GetMax(), INT64_MAX);
    Int("OverB").SetValue(2);
    EXPECT_TRUE(As<IBoolean>("B").GetValue()) << "whatever is not 0";
    As<IBoolean>("OverE") = true;
    EXPECT_EQ(Text("E"), "Slow");
    EXPECT_FALSE(As<IBoolean>("OverE").GetValue()) << "no entry is the on value";
}

TEST_F(ValueTest, BooleansAreTrueAtTheirOnValueOnly) {
    Load(Value("I", 3) + Above("Boolean", "B", "I", "<OnValue>3</OnValue><OffValue>4</OffValue>"));
    auto& boolean = As<IBoolean>("B");
    EXPECT_TRUE(boolean.GetValue());
    boolean = false;
    EXPECT_EQ(Int("I").GetValue(), 4);
    Int("I").SetValue(5);
    EXPECT_FALSE(boolean());
    As<IValue>("B").FromString("true");
    EXPECT_EQ(Int("I").GetValue(), 3);
    EXPECT_THAT(TextOf<GenICam::InvalidArgumentException>([this] { As<IValue>("B").FromString("maybe"); }),
                HasSubstr("Node 'B' : cannot convert string 'maybe' to bool."));
}

TEST_F(ValueTest, IndexedValuesAreKeptApart) {
    Load(Value("Index") + Value("Elsewhere", 30, "<Max>40</Max>") +
         Node("Integer", "I",
              "<pIndex>Index</pIndex><ValueIndexed Index=\"0\">10</ValueIndexed>"
              "<ValueIndexed Index=\"0x2\">20</ValueIndexed>"
              "<pValueIndexed Index=\"3\">Elsewhere</pValueIndexed><ValueDefault>-1</ValueDefault>") +
         Node("Float", "Strict", "<pIndex>Index</pIndex><ValueIndexed Index=\"0\">1.5</ValueIndexed>"));
    const auto select = [this](int64_t index) {
        Int("Index").SetValue(index);
        return Int("I").GetValue();
    };
    EXPECT_EQ(select(0), 10);
    Int("I").SetValue(11);
    EXPECT_EQ(select(2), 20);
    EXPECT_EQ(select(7), -1);
    Int("I").SetValue(-2);
    EXPECT_EQ(select(3), 30);
    EXPECT_EQ(Int("I").GetMax(), 40) << "limits follow the index too";
    Int("I").SetValue(31);
    EXPECT_EQ(Int("Elsewhere").GetValue(), 31);
    EXPECT_EQ(select(0), 11);
    EXPECT_EQ(Int("I").GetMax(), INT64_MAX);
    EXPECT_EQ(select(8), -2);
    EXPECT_EQ(Mode("Strict"), NA) << "nothing is given for that index";
    EXPECT_THROW(Float("Strict").GetValue(), GenICam::AccessException);
    select(0);
    EXPECT_EQ(Float("Strict").GetValue(), 1.5);
}

TEST_F(ValueTest, CopiesAreWrittenInTheOrderOfTheFile) {
    Load(Node("IntReg", "A", Place(0, 1)) + Node("IntReg", "B", Place(1, 1)) + Node("IntReg", "C", Place(2, 1)) +
         Node("Integer", "I", "<pValueCopy>A</pValueCopy><pValue>B</pValue><pValueCopy>C</pValueCopy>"));
    std::string order;
    for (const char* name : {"A", "B", "C"}) {
        GenApi::Register(Map->GetNode(name), [&order, name](INode*) { order += name; });
    }
    Int("I").SetValue(5);
    EXPECT_THAT(std::vector<uint8_t>(Port.Memory.begin(), Port.Memory.begin() + 3), ElementsAre(5, 5, 5));
    EXPECT_EQ(order, "ABC");
    Port.Memory[0] = 9;
    Map->InvalidateNodes();
    EXPECT_EQ(Int("I").GetValue(), 5) << "copies are never read";
}

TEST_F(ValueTest, ConvertersConvertValuesAndLimits) {
    const auto converter = [](const std::string& name, const std::string& slope, const std::string& to,
                              const std::string& from, const std::string& rest = "") {
        return Node("Converter", name,
                    "<FormulaTo>" + to + "</FormulaTo><FormulaFrom>" + from +
                        "</FormulaFrom><pValue>Raw</pValue><Slope>" + slope + "</Slope>" + rest);
    };
    Load(Value("Raw", 40, "<Min>10</Min><Max>200</Max><Inc>2</Inc>") + Value("Open") +
         converter("Up", "Increasing", "FROM * 10", "TO / 10", "<IsLinear>Yes</IsLinear>") +
         converter("Down", "Decreasing", "1000 / FROM", "1000 / TO") +
         converter("Any", "Automatic", "100 - FROM", "100 - TO") + converter("Bent", "Varying", "FROM", "TO") +
         Value("HalfOpen", 100, "<Min>100</Min>") +
         Node("Converter", "Falling",
              "<FormulaTo>1000/FROM</FormulaTo><FormulaFrom>1000/TO</FormulaFrom><pValue>HalfOpen</pValue>") +
         Node("Converter", "Open1",
              "<FormulaTo>1/FROM</FormulaTo><FormulaFrom>1/TO</FormulaFrom><pValue>Open</pValue>") +
         Node("IntConverter", "Int",
              "<Constant Name=\"K\">3</Constant><FormulaTo>FROM * K</FormulaTo>"
              "<FormulaFrom>TO / K</FormulaFrom><pValue>Raw</pValue>"));
    EXPECT_EQ(Float("Up").GetValue(), 4.0);
    EXPECT_EQ(Float("Up").GetMin(), 1.0);
    EXPECT_EQ(Float("Up").GetMax(), 20.0);
    EXPECT_DOUBLE_EQ(Float("Up").GetInc(), 0.2);
    EXPECT_EQ(Float("Down").GetMin(), 5.0);
    EXPECT_EQ(Float("Down").GetMax(), 100.0);
    EXPECT_FALSE(Float("Down").HasInc());
    EXPECT_EQ(Float("Any").GetMin(), -100.0);
    EXPECT_EQ(Float("Any").GetMax(), 90.0);
    EXPECT_EQ(Float("Bent").GetMax(), DBL_MAX);
    EXPECT_EQ(Float("Open1").GetMin(), -DBL_MAX) << "no limit below, none here";
    EXPECT_EQ(Float("Falling").GetMax(), 10.0) << "the lower end is the upper one here";
    EXPECT_EQ(Float("Falling").GetMin(), -DBL_MAX);
    Float("Down").SetValue(50);
    EXPECT_EQ(Int("Raw").GetValue(), 20);
    EXPECT_THROW(Float("Down").SetValue(4.9), GenICam::OutOfRangeException);
    EXPECT_EQ(Int("Int").GetValue(), 6);
    EXPECT_EQ(Int("Int").GetMax(), 66);
    EXPECT_EQ(Int("Int").GetInc(), 1);
    Int("Int").SetValue(8);
    EXPECT_EQ(Int("Raw").GetValue(), 24);
}

TEST_F(ValueTest, FormulasUseEverythingTheirNodesOffer) {
    Load(
        Value("V", 12, "<Min>2</Min><Max>100</Max><Inc>5</Inc><Visibility>Guru</Visibility>") +
        "<Enumeration Name=\"E\"><EnumEntry Name=\"Off\"><Value>4</Value></EnumEntry>"
        "<EnumEntry Name=\"On\"><Value>6</Value></EnumEntry><Value>6</Value></Enumeration>" +
        Node("Boolean", "B", "<Value>1</Value>") +
        Node("IntSwissKnife", "All",
             "<pVariable Name=\"X\">V</pVariable><pVariable Name=\"E\">E</pVariable><pVariable Name=\"B\">B</pVariable>"
             "<Constant Name=\"Thousand\">1000</Constant><Expression Name=\"Sum\">X + E</Expression>"
             "<Formula>Thousand * Sum + X.Min * 100 + X.Inc * 10 + B + (E = E.Entry.On ? 2 : 0)</Formula>") +
        Node("SwissKnife", "Float",
             "<pVariable Name=\"X.Max\">V</pVariable><pVariable Name=\"Y\">V</pVariable>"
             "<Formula>X.Max / Y.Value / 8 + Y.Visibility</Formula>") +
        Node("IntSwissKnife", "Unknown", "<Formula>X + 1</Formula>") +
        Node("IntSwissKnife", "Zero", "<pVariable Name=\"X\">V</pVariable><Formula>1 / (X - 12)</Formula>"));
    EXPECT_EQ(Int("All").GetValue(), 18000 + 200 + 50 + 1 + 2);
    EXPECT_DOUBLE_EQ(Float("Float").GetValue(), 100.0 / 12 / 8 + 2);
    EXPECT_THAT(TextOf<GenICam::PropertyException>([this] { Int("Unknown").GetValue(); }),
                HasSubstr("Node 'Unknown', property 'Formula'"));
    EXPECT_THAT(TextOf<GenICam::RuntimeException>([this] { Int("Zero").GetValue(); }),
                HasSubstr("thrown in node 'Zero' while calling 'Zero.GetValue()'"));
    EXPECT_THROW(Int("All").SetValue(1), GenICam::AccessException);
    EXPECT_THROW(Int("All").SetValue(1, false), GenICam::LogicalErrorException);
    gcstring_vector errors;
    EXPECT_FALSE(Map->ParseSwissKnifes(&errors));
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_THAT(errors[0].c_str(), testing::StartsWith("Unknown: "));
}

TEST_F(ValueTest, ManyVariablesAreNoProblem) {
    std::string variables;
    std::string formula = "0";
    for (int i = 0; i < 40; ++i) {
        variables += "<pVariable Name=\"" + Numbered("V", i) + "\">" + Numbered("N", i) + "</pVariable>";
        formula += " + " + Numbered("V", i);
    }
    std::string nodes;
    for (int i = 0; i < 40; ++i) {
        nodes += Value(Numbered("N", i), i);
    }
    Load(nodes + Node("IntSwissKnife", "Sum", variables + "<Formula>" + formula + "</Formula>"));
    EXPECT_EQ(Int("Sum").GetValue(), 780);
}

TEST_F(ValueTest, StringsOfNodesAndRegisters) {
    Load(Node("StringReg", "R", Place(0, 5)) + Above("String", "S", "R") + Node("String", "Own", "<Value>abc</Value>") +
         Node("StringReg", "Fixed", "<Address>0</Address><Length>5</Length><pPort>Device</pPort>"));
    auto& text = As<IString>("S");
    text.SetValue("hello");
    EXPECT_EQ(Port.Memory[4], 'o') << "no zero is needed at full length";
    EXPECT_EQ(text.GetValue(), "hello");
    text = "hi";
    EXPECT_EQ(Port.Memory[4], 0);
    EXPECT_EQ(text(), "hi");
    EXPECT_EQ(text.GetMaxLength(), 5);
    EXPECT_EQ(As<IString>("Fixed").GetMaxLength(), 2) << "read only: as long as it is";
    EXPECT_THROW(text.SetValue("too long"), GenICam::OutOfRangeException);
    EXPECT_EQ(As<IString>("Own").GetMaxLength(), INT64_MAX);
    As<IValue>("Own").FromString("");
    EXPECT_EQ(Text("Own"), "");
}

TEST_F(ValueTest, TextsFollowTheRepresentation) {
    Load(Value("Hex", 255, "<Representation>HexNumber</Representation>") +
         Value("Ip", 0x0A000001, "<Representation>IPV4Address</Representation>") +
         FloatValue("F", "0.5", "<DisplayNotation>Fixed</DisplayNotation><DisplayPrecision>2</DisplayPrecision>") +
         FloatValue("Long", "2.3456789", "<pMax>Gone</pMax>") + Value("Gone", 5, "<pIsAvailable>No</pIsAvailable>") +
         Value("No", 0) + FloatValue("Edge", "2.3456789", "<Max>2.3456789</Max>"));
    EXPECT_EQ(Text("Long"), "2.34568") << "a limit that cannot be read hides no value";
    EXPECT_EQ(Text("Edge"), "2.34567") << "rounded to what can be written back";
    EXPECT_EQ(Text("Hex"), "0xFF");
    EXPECT_EQ(Text("Ip"), "10.0.0.1");
    EXPECT_EQ(Text("F"), "0.50");
    EXPECT_EQ(Float("F").GetDisplayPrecision(), 2);
    As<IValue>("Ip").FromString("192.168.0.7");
    EXPECT_EQ(Int("Ip").GetValue(), 0xC0A80007);
    EXPECT_THAT(TextOf<GenICam::InvalidArgumentException>([this] { As<IValue>("Hex").FromString("abc"); }),
                HasSubstr("Node 'Hex' : cannot convert string 'abc' to int."));
    EXPECT_THAT(TextOf<GenICam::InvalidArgumentException>([this] { As<IValue>("F").FromString("1.5x"); }),
                HasSubstr("Node 'F' : cannot convert string '1.5x' to float."));
}

} // namespace
