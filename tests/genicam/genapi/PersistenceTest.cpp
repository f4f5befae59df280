#include "CommaLocale.h"
#include "MapFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>

namespace {

using namespace GenApi;
using namespace tests;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string guid = "# {05D8C294-F295-4dfb-9D01-096BD04049F4}\n";
const std::string streamable = "<Streamable>Yes</Streamable>";

/// A register of four bytes at @p address, a further one for each number of the selectors.
std::string Register(const std::string& name, int address, const std::string& rest) {
    return Node("IntReg", name, streamable + Place(address, 4, rest + "<Endianess>LittleEndian</Endianess>"));
}

/// A selector of Bank 0 and 1, one of Line 0 to 2 that each bank keeps for itself, and a level for each of the six.
std::string Banks() {
    return Above("Integer", "Bank", "BankReg", "<Min>0</Min><Max>1</Max><pSelected>Line</pSelected>") +
           Register("BankReg", 0, "") +
           Above("Integer", "Line", "LineReg", streamable + "<Min>0</Min><Max>2</Max><pSelected>Level</pSelected>") +
           Register("LineReg", 4, "<pIndex Offset=\"4\">Bank</pIndex>") +
           Register("Level", 16, "<pIndex Offset=\"12\">Bank</pIndex><pIndex Offset=\"4\">Line</pIndex>");
}

class PersistenceTest : public MapTest {
protected:
    /// @p features stand in the category Root.
    void LoadMap(const std::vector<std::string>& features, const std::string& nodes) {
        std::string root;
        for (const std::string& feature : features)
            root += "<pFeature>" + feature + "</pFeature>";
        Load(Node("Category", "Root", root) + nodes);
    }
    std::vector<std::string> Walk(const char* feature) {
        CSelectorSet set(Map->GetNode(feature));
        std::vector<std::string> positions;
        for (bool on = set.SetFirst(); on; on = set.SetNext())
            positions.emplace_back(set.ToString().c_str());
        set.Restore();
        return positions;
    }
    static CFeatureBag Bag(const std::string& lines) {
        CFeatureBag bag;
        std::istringstream(guid + lines) >> bag;
        return bag;
    }
    std::string Stored() {
        CFeatureBag bag;
        bag.StoreToBag(Map.get());
        return std::string(bag.ToString().view()).substr(guid.size());
    }
    std::vector<std::string> Errors(const std::string& lines, bool verify = true) {
        gcstring_vector errors;
        const bool isGood = Bag(lines).LoadFromBag(Map.get(), verify, &errors);
        EXPECT_EQ(isGood, errors.empty());
        return {errors.begin(), errors.end()};
    }
};

struct Digit {
    const char* name;
    std::string selector;
    std::vector<std::string> positions;
};

void PrintTo(const Digit& digit, std::ostream* stream) {
    *stream << digit.name;
}

class DigitTest : public PersistenceTest, public testing::WithParamInterface<Digit> {};

TEST_P(DigitTest, WalksItsPositionsAndGoesBack) {
    Load(Value("F") + GetParam().selector + Value("Off") + Value("S2", 9, "<Max>9</Max><Min>9</Min>"));
    const std::string before = Text("S");
    EXPECT_EQ(Walk("F"), GetParam().positions);
    EXPECT_EQ(Text("S"), before);
}

const std::string entries =
    "<EnumEntry Name=\"A\"><Value>0</Value></EnumEntry><EnumEntry Name=\"B\"><pIsAvailable>Off"
    "</pIsAvailable><Value>1</Value></EnumEntry><EnumEntry Name=\"C\"><Value>2</Value></EnumEntry>"
    "<EnumEntry Name=\"Again\"><Value>2</Value></EnumEntry>";
const std::string selectsF = "<pSelected>F</pSelected>";
INSTANTIATE_TEST_SUITE_P(
    Kinds, DigitTest,
    testing::Values(
        Digit{"none", Value("S"), {""}},
        Digit{"entries", Node("Enumeration", "S", entries + "<Value>2</Value>" + selectsF), {"S=A", "S=C"}},
        Digit{"grid", Value("S", 7, "<Min>-1</Min><Max>8</Max><Inc>4</Inc>" + selectsF), {"S=-1", "S=3", "S=7"}},
        Digit{"list",
              Node("Integer", "S", "<Value>5</Value><ValidValueSet>5;9</ValidValueSet>" + selectsF),
              {"S=5", "S=9"}},
        Digit{"boolean", Node("Boolean", "S", "<Value>true</Value>" + selectsF), {"S=0", "S=1"}},
        Digit{"locked",
              Value("S", 1, "<Min>0</Min><Max>3</Max><ImposedAccessMode>RO</ImposedAccessMode>" + selectsF),
              {"S=1"}},
        Digit{"single", Value("S", 4, "<Min>4</Min><Max>4</Max>" + selectsF), {"S=4"}},
        Digit{"float", Node("Float", "S", "<Value>1</Value>" + selectsF), {"S=1"}},
        Digit{"circle",
              Value("S", 1, "<Min>0</Min><Max>1</Max><pSelected>T</pSelected>") +
                  Value("T", 0, "<Min>0</Min><Max>1</Max><pSelected>S</pSelected>" + selectsF),
              {"S=0,T=0", "S=0,T=1", "S=1,T=0", "S=1,T=1"}}),
    [](const auto& one) { return one.param.name; });

TEST_F(PersistenceTest, WhatCannotBeWalkedInFiniteTimeIsRefusedByName) {
    const std::string all = "<Min>-9223372036854775808</Min><Max>9223372036854775807</Max>";
    std::string chain;
    for (int i = 0; i < 66; ++i)
        chain += Value(Numbered("C", i), 0, i ? "<pSelected>" + Numbered("C", i - 1) + "</pSelected>" : "");
    Load(Value("F") + Value("S", 3, all + selectsF) + chain);
    EXPECT_THAT(Failure([&] { Walk("F"); }), HasSubstr("Selector 'S' has more than 65536 positions"));
    EXPECT_THAT(Failure([&] { Walk("C0"); }), HasSubstr("Feature 'C0' has more than 64 selectors"));
    EXPECT_THROW(CSelectorSet(nullptr), GenICam::InvalidArgumentException);
}

TEST_F(PersistenceTest, SelectedValuesAreStoredForEachPositionAndSelectorsLast) {
    LoadMap({"Bank", "Line", "Level"}, Banks());
    for (size_t i = 0; i < 40; i += 4)
        Port.Memory[i] = static_cast<uint8_t>(i < 12 ? 1 : i);
    Port.Memory[8] = 2; // the line of bank 1
    Port.Memory[12] = 0;
    const auto before = Port.Memory;
    const std::string text = Stored();
    EXPECT_EQ(text, "Bank\t0\nLine\t0\nLevel\t16\nLine\t1\nLevel\t20\nLine\t2\nLevel\t24\n"
                    "Bank\t1\nLine\t0\nLevel\t28\nLine\t1\nLevel\t32\nLine\t2\nLevel\t36\n"
                    "Bank\t0\nLine\t1\nBank\t1\nLine\t2\nBank\t1\n");
    EXPECT_EQ(Port.Memory, before) << "a bank's own line has to be put back too";
    std::fill(Port.Memory.begin(), Port.Memory.end(), uint8_t{0});
    Map->InvalidateNodes();
    const auto differences = Bag(text).Compare(Map.get());
    EXPECT_EQ(Port.Memory, std::vector<uint8_t>(256)) << "a comparison leaves no trace";
    ASSERT_EQ(differences.size(), 7u);
    EXPECT_EQ(differences[4].Selectors, "Bank=1,Line=1");
    EXPECT_EQ(differences[4].InBag + "," + differences[4].InNodeMap, "32,0");
    EXPECT_EQ(differences[6].Name, "Bank") << "where the selector itself stands";
    EXPECT_THAT(Errors(text), ElementsAre());
    EXPECT_EQ(Port.Memory, before);
    EXPECT_TRUE(Bag(text).Compare(Map.get()).empty());
    CFeatureBag bag;
    gcstring_vector onlyBank(1, "Line");
    EXPECT_EQ(bag.StoreToBag(Map.get(), -1, &onlyBank), 5);
    EXPECT_EQ(bag.StoreToBag(Map.get(), 3), 3);
    EXPECT_EQ(Port.Memory, before);
}

TEST_F(PersistenceTest, OnlyWhatIsStreamableAFeatureAndAccessibleIsStored) {
    LoadMap({"No", "RO", "Cmd", "A", "Root2"},
            Value("Hidden", 1, streamable) + Value("No", 1) + Node("Category", "Root2", "<pFeature>B</pFeature>") +
                Value("RO", 1, streamable + "<ImposedAccessMode>RO</ImposedAccessMode>") + Value("B", 2, streamable) +
                Node("Command", "Cmd", streamable + "<Value>0</Value><CommandValue>1</CommandValue>") +
                Value("A", 1, streamable));
    EXPECT_EQ(Stored(), "B\t2\nA\t1\n");
}

TEST_F(PersistenceTest, LinesThatDependOnLaterOnesAreTriedAgain) {
    LoadMap({"Width", "Offset"},
            Node("IntSwissKnife", "Room", "<pVariable Name=\"O\">Offset</pVariable><Formula>10-O</Formula>") +
                Node("Integer", "Width", streamable + "<Value>1</Value><pMax>Room</pMax>") +
                Value("Offset", 9, streamable));
    EXPECT_THAT(Errors("Width\t8\nOffset\t2\n"), ElementsAre());
    EXPECT_EQ(Text("Width"), "8");
    EXPECT_THAT(Errors("Width\t9\nNope\t1\nRoot\t1\nWidth\tx\nOffset\t2\n"),
                ElementsAre("Width: Value = 9 must be equal or smaller than Max = 8.",
                            "Nope: There is no such feature.", HasSubstr("Root: "),
                            "Width: Node 'Width' : cannot convert string 'x' to int."));
    EXPECT_THAT(Failure([&] { Bag("Nope\t1\nOffset\t3\n").LoadFromBag(Map.get()); }),
                HasSubstr("Nope: There is no such"));
    EXPECT_EQ(Text("Offset"), "3") << "raised when all is through";
    EXPECT_THROW(CFeatureBag().LoadFromBag(nullptr), GenICam::InvalidArgumentException);
}

TEST_F(PersistenceTest, NothingIsWrittenWhereTheSelectorCouldNotBeSet) {
    LoadMap({"Bank", "Line", "Level"}, Banks());
    EXPECT_THAT(Errors("Bank\t7\nLine\t0\nLevel\t5\nBank\t1\nLine\t1\nLevel\t6\n"),
                ElementsAre("Bank: Value = 7 must be equal or smaller than Max = 1.",
                            HasSubstr("Line: Its selector 'Bank'"),
                            "Level: Its selector 'Line' could not be set. (Bank=7,Line=0)"));
    EXPECT_EQ(std::count_if(Port.Memory.begin(), Port.Memory.end(), [](int byte) { return byte != 0; }), 3);
}

TEST_F(PersistenceTest, VerifyTellsWhatTheDeviceMadeOfIt) {
    LoadMap({"Low", "Exact"}, Register("Wide", 0, "") +
                                  Node("MaskedIntReg", "Low",
                                       Place(0, 4, "<LSB>0</LSB><MSB>3</MSB><Endianess>LittleEndian</Endianess>")) +
                                  Node("FloatReg", "Real", Place(8, 4)) + Above("Float", "Exact", "Real", streamable));
    EXPECT_THAT(Errors("Low\t3\nWide\t0x10\nExact\t0.1\n"), ElementsAre("Low: It reads '0' instead of '3'."));
    EXPECT_THAT(Errors("Low\t3\nWide\t16\n", false), ElementsAre());
    EXPECT_EQ(Stored(), "Exact\t0.10000000149011612\n") << "what six digits would lose";
    EXPECT_TRUE(Bag("Exact\t0.1\nWide\t0x10\n").Compare(Map.get()).empty());
    EXPECT_EQ(Bag("Exact\t0.1001\nWide\t0x11\n").Compare(Map.get()).size(), 2u);
}

TEST_F(PersistenceTest, TheDeviceIsToldOfBeginAndEndAlsoWhenItFails) {
    std::string nodes = Register("R", 0, "<Cachable>NoCache</Cachable>") + Value("V", 0, "<Max>3</Max>");
    int told[4] = {};
    const char* names[] = {"DeviceFeaturePersistenceStart", "DeviceFeaturePersistenceEnd",
                           "DeviceRegistersStreamingStart", "DeviceRegistersStreamingEnd"};
    for (const char* name : names)
        nodes += Node("Command", name, "<Value>0</Value><CommandValue>1</CommandValue>");
    LoadMap({"R"}, nodes);
    for (int i = 0; i < 4; ++i)
        Count(names[i], told[i]);
    EXPECT_EQ(Stored(), "R\t0\n");
    EXPECT_THAT(Errors("V\t9\n"), ElementsAre()) << "the device checks the limits then";
    Port.TimesOut = true;
    EXPECT_THAT(Failure([&] { Stored(); }), HasSubstr("R: The device is asleep"));
    EXPECT_THAT(Errors("R\t1\n", false), ElementsAre("R: The device is asleep"));
    EXPECT_THAT(told, testing::Each(testing::Ge(2)));
    EXPECT_EQ(told[0], told[1]);
}

TEST_F(PersistenceTest, EveryTextComesBackAsItWasInAnyLocale) {
    UseCommaLocale();
    LoadMap({"Text", "Real"}, Node("String", "Text", streamable + "<Value></Value>") +
                                  Node("Float", "Real", streamable + "<Value>1234567.5</Value>"));
    for (const std::string text :
         {"", " \tblanks and a tab\t ", "#escaped", "back\\nslash", "two\nlines\\n\r", "cr\r", "[x]", "\\"}) {
        As<IString>("Text").SetValue(gcstring(text.c_str()));
        CFeatureBag bag, read;
        bag.SetInfo("a remark\n#escaped\n");
        bag.StoreToBag(Map.get());
        As<IString>("Text").SetValue("other");
        std::stringstream stream;
        stream << bag;
        stream >> read;
        EXPECT_TRUE(read == bag && read.LoadFromBag(Map.get())) << stream.str();
        EXPECT_EQ(Text("Text"), text);
        EXPECT_THAT(stream.str(), HasSubstr("Real\t1234567.5\n"));
    }
    EXPECT_EQ(Bag("# remark\r\n\r\nA\tb\\n\r\n#escaped\nB\tb\\n\nC\t\\n").GetEntries(),
              (std::vector<CFeatureBag::CEntry>{{"A", "b\\n"}, {"B", "b\n"}, {"C", "\\n"}}));
}

TEST(BagTextTest, DamagedTextsAreRefusedByLineAndLeaveTheBagAsItWas) {
    for (const auto& [text, message] : std::vector<std::pair<std::string, const char*>>{
             {"", "at its end"},
             {"Width\t1\n", "Line 1 of the feature bag, 'Width\t1', does not hold the identifier"},
             {"# {4709CB3C-7322-4460-84C3-DA11DDA09939}\n[All]\n" + guid, "several feature bags"},
             {guid + "A\t1\nWid", "Line 3 of the feature bag, 'Wid', has no tab"},
             {guid + "\t1\n", "Line 2 of the feature bag, '\t1', has no name"},
             {guid + "[B]\n", "Line 2 begins another"},
             {guid + "#escaped\nA\tx\\\n", "stands for nothing"}}) {
        CFeatureBag bag;
        std::istringstream(guid + "A\t1\n") >> bag;
        std::istringstream stream(text);
        try {
            stream >> bag;
            ADD_FAILURE() << text;
        } catch (const GenICam::RuntimeException& failure) {
            EXPECT_THAT(failure.GetDescription(), HasSubstr(message));
        }
        EXPECT_EQ(bag.GetEntries().size(), 1u);
    }
}

} // namespace
