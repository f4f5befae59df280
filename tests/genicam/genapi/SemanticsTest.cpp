#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <GenApi/GenApi.h>

#include "genicam/genapi/MapFixture.h"

// How reading, writing, access modes, caches and callbacks work together.

namespace {

using namespace GenApi;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;
using tests::Node;
using tests::Place;

class SemanticsTest : public tests::MapTest {};

std::string Plain(const std::string& name, int value = 0, const std::string& rest = "") {
    return Node("Integer", name, "<Value>" + std::to_string(value) + "</Value>" + rest);
}

std::string Reference(const std::string& type, const std::string& name, const std::string& target,
                      const std::string& rest = "") {
    return Node(type, name, "<pValue>" + target + "</pValue>" + rest);
}

std::string Register32(const std::string& name, int address, const std::string& rest = "") {
    return Node("IntReg", name, Place(address, 4, rest + "<Endianess>LittleEndian</Endianess>"));
}

TEST_F(SemanticsTest, PredicatesDecideBeforeTheNodeItself) {
    Load(Plain("There", 1) + Plain("Usable", 1) + Plain("Lock") +
         Plain("X", 0,
               "<pIsImplemented>There</pIsImplemented><pIsAvailable>Usable</pIsAvailable><pIsLocked>Lock</pIsLocked>") +
         Reference("Integer", "Above", "X"));
    EXPECT_EQ(Mode("Above"), RW);
    Int("Lock").SetValue(1);
    EXPECT_EQ(Mode("Above"), RO);
    Int("Usable").SetValue(0);
    EXPECT_EQ(Mode("Above"), NA);
    EXPECT_THROW(Int("Above").GetValue(), GenICam::AccessException);
    Int("There").SetValue(0);
    EXPECT_EQ(Mode("X"), NI);
    EXPECT_FALSE(IsImplemented(Map->GetNode("X")));
    Int("There").SetValue(1);
    Int("Usable").SetValue(1);
    Int("Lock").SetValue(0);
    Map->GetNode("X")->ImposeAccessMode(RO);
    EXPECT_EQ(Mode("Above"), RO);
}

TEST_F(SemanticsTest, ARegisterCanDoWhatItsPortAndItsElementAllow) {
    Load(Register32("Both", 0) + Register32("Imposed", 4, "<ImposedAccessMode>RO</ImposedAccessMode>") +
         Node("IntReg", "WriteOnly",
              "<Address>8</Address><Length>4</Length><AccessMode>WO</AccessMode><pPort>Device</pPort>"
              "<pIsLocked>Both</pIsLocked><Endianess>LittleEndian</Endianess>"));
    EXPECT_EQ(Mode("Both"), RW);
    EXPECT_EQ(Mode("Imposed"), RO);
    EXPECT_EQ(Mode("WriteOnly"), WO);
    EXPECT_THROW(Int("WriteOnly").GetValue(), GenICam::AccessException);
    Int("Both").SetValue(1);
    EXPECT_EQ(Mode("WriteOnly"), NA) << "write only and locked leaves nothing";
    Port.Mode = RO;
    Port.InvalidateNode();
    EXPECT_EQ(Mode("Both"), RO);
    Map->Connect(nullptr);
    EXPECT_EQ(Mode("Both"), NA);
}

TEST_F(SemanticsTest, CachesSpareTheDeviceUntilSomethingChanges) {
    Load(Register32("Through", 0) + Register32("Around", 4, "<Cachable>WriteAround</Cachable>") +
         Register32("Never", 8, "<Cachable>NoCache</Cachable>") +
         Register32("Watching", 12, "<pInvalidator>Through</pInvalidator>") + Reference("Integer", "Above", "Through"));
    Int("Above").SetValue(5);
    EXPECT_EQ(Int("Above").GetValue(), 5);
    EXPECT_EQ(Port.Reads, 0) << "a value written through is known";
    EXPECT_TRUE(As<IValue>("Through").IsValueCacheValid());
    EXPECT_EQ(Int("Above").GetValue(false, true), 5);
    EXPECT_EQ(Port.Reads, 1) << "the order to ignore the cache reaches the register";

    Int("Around").SetValue(1);
    Int("Around").GetValue();
    Int("Around").GetValue();
    EXPECT_EQ(Port.Reads, 2);
    Int("Never").SetValue(1);
    Int("Never").GetValue();
    Int("Never").GetValue();
    EXPECT_EQ(Port.Reads, 4);

    Int("Watching").GetValue();
    Int("Watching").GetValue();
    EXPECT_EQ(Port.Reads, 5);
    Int("Through").SetValue(6);
    Int("Watching").GetValue();
    EXPECT_EQ(Port.Reads, 6);
    Map->InvalidateNodes();
    Int("Through").GetValue();
    EXPECT_EQ(Port.Reads, 7);
}

TEST_F(SemanticsTest, OverlappingRegistersStayCoherent) {
    Load(Register32("Word", 0) + Node("MaskedIntReg", "Byte", Place(0, 4, "<LSB>8</LSB><MSB>15</MSB>")) +
         Node("Register", "Bytes", Place(2, 4)));
    EXPECT_EQ(Int("Byte").GetValue(), 0);
    std::uint8_t bytes[4] = {};
    As<IRegister>("Bytes").Get(bytes, 4);
    Int("Word").SetValue(0x04030201);
    EXPECT_EQ(Int("Byte").GetValue(), 2);
    As<IRegister>("Bytes").Get(bytes, 4);
    EXPECT_THAT(bytes, ElementsAre(3, 4, 0, 0));
    Int("Byte").SetValue(0xFF);
    EXPECT_EQ(Int("Word").GetValue(), 0x0403FF01);
    const std::uint8_t one = 9;
    As<IRegister>("Bytes").Set(&one, 1);
    EXPECT_EQ(Int("Word").GetValue(), 0x0009FF01) << "a short write fills up with zeros";
    EXPECT_THROW(As<IRegister>("Bytes").Get(bytes, 5), GenICam::OutOfRangeException);
}

TEST_F(SemanticsTest, RegistersHaveTheRangeOfTheirBits) {
    Load(Node("IntReg", "Signed", Place(0, 2, "<Sign>Signed</Sign><Endianess>BigEndian</Endianess>")) +
         Node("IntReg", "Unsigned", Place(2, 1)) + Node("IntReg", "Whole", Place(8, 8)) +
         Node("MaskedIntReg", "Bit", Place(4, 1, "<Bit>3</Bit><Sign>Signed</Sign>")));
    EXPECT_EQ(Int("Signed").GetMin(), -32768);
    EXPECT_EQ(Int("Unsigned").GetMax(), 255);
    EXPECT_EQ(Int("Whole").GetMax(), INT64_MAX);
    EXPECT_EQ(Int("Bit").GetMin(), -1);
    Int("Signed").SetValue(-2);
    EXPECT_THAT(std::vector<int>(Port.Memory.begin(), Port.Memory.begin() + 2), ElementsAre(0xFF, 0xFE));
    Int("Bit").SetValue(-1);
    EXPECT_EQ(Port.Memory[4], 8);
    EXPECT_EQ(Int("Bit").GetValue(), -1);
    EXPECT_THROW(Int("Unsigned").SetValue(256), GenICam::OutOfRangeException);
    EXPECT_THROW(Int("Unsigned").SetValue(256, false), GenICam::OutOfRangeException);
    EXPECT_EQ(Port.Memory[2], 0);
}

TEST_F(SemanticsTest, AnAddressIsTheSumOfItsTermsAndMovesWithThem) {
    Load(Plain("Index", 0) + Plain("Base", 16) +
         Node("IntReg", "Element",
              "<Address>4</Address><IntSwissKnife Name=\"Half\"><pVariable "
              "Name=\"B\">Base</pVariable><Formula>B/2</Formula>"
              "</IntSwissKnife><pAddress>Base</pAddress><pIndex Offset=\"2\">Index</pIndex><Length>1</Length>"
              "<AccessMode>RW</AccessMode><pPort>Device</pPort>"));
    for (int i = 0; i < 256; ++i)
        Port.Memory[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(i);
    EXPECT_EQ(Int("Element").GetValue(), 4 + 8 + 16);
    Int("Index").SetValue(3);
    EXPECT_EQ(Int("Element").GetValue(), 4 + 8 + 16 + 6);
    Int("Base").SetValue(32);
    EXPECT_EQ(As<IRegister>("Element").GetAddress(), 4 + 16 + 32 + 6);
    EXPECT_EQ(Int("Element").GetValue(), 4 + 16 + 32 + 6);
    EXPECT_EQ(Int("Half").GetValue(), 16);
}

TEST_F(SemanticsTest, AFailedWriteLeavesNoStaleCacheAndFiresNothing) {
    Load(Register32("X", 0) + Reference("Integer", "Above", "X"));
    Int("Above").SetValue(5);
    int calls = 0;
    Count("Above", calls);
    Port.TimesOut = true;
    EXPECT_THROW(Int("Above").SetValue(6), GenICam::TimeoutException);
    EXPECT_EQ(calls, 0);
    Port.TimesOut = false;
    Port.Memory[0] = 77;
    EXPECT_EQ(Int("Above").GetValue(), 77);
}

TEST_F(SemanticsTest, OneWriteFiresEachAffectedNodeOnce) {
    Load(Register32("X", 0) + Reference("Integer", "A", "X") + Reference("Integer", "B", "A") + Plain("Other") +
         Node("IntSwissKnife", "Sum",
              "<pVariable Name=\"A\">A</pVariable><pVariable Name=\"B\">B</pVariable><Formula>A+B</Formula>"));
    std::vector<std::string> fired;
    for (const char* name : {"X", "A", "B", "Sum", "Other"})
        Register(Map->GetNode(name), [&](INode* node) { fired.push_back(node->GetName().c_str()); });
    Int("A").SetValue(4);
    EXPECT_THAT(fired, UnorderedElementsAre("X", "A", "B", "Sum"));
    EXPECT_EQ(Int("Sum").GetValue(), 8);
    fired.clear();
    Map->GetNode("B")->InvalidateNode();
    EXPECT_THAT(fired, UnorderedElementsAre("B", "Sum"));
}

TEST_F(SemanticsTest, CallbacksMayDeregisterEachOtherAndWrite) {
    Load(Plain("X") + Plain("Y"));
    CallbackHandleType victim = 0;
    std::vector<std::string> calls;
    CallbackHandleType self = 0;
    self = Register(Map->GetNode("X"), [&](INode* node) {
        calls.push_back("first");
        node->DeregisterCallback(victim);
        node->DeregisterCallback(self);
        Int("Y").SetValue(Int("X").GetValue());
    });
    victim = Register(Map->GetNode("X"), [&](INode*) { calls.push_back("victim"); });
    Register(Map->GetNode("Y"), [&](INode*) { calls.push_back("Y"); });
    Int("X").SetValue(3);
    EXPECT_THAT(calls, ElementsAre("first", "Y"));
    EXPECT_EQ(Int("Y").GetValue(), 3);
    Int("X").SetValue(4);
    EXPECT_EQ(calls.size(), 2u);
}

TEST_F(SemanticsTest, AThrowingCallbackHindersNoOther) {
    Load(Plain("X"));
    int calls = 0;
    Register(Map->GetNode("X"), [](INode*) { throw RUNTIME_EXCEPTION("first"); });
    Register(Map->GetNode("X"), [](INode*) { throw RUNTIME_EXCEPTION("second"); });
    Count("X", calls);
    Count("X", calls, cbPostOutsideLock);
    EXPECT_THAT(Failure([&] { Int("X").SetValue(1); }), HasSubstr("first"));
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(Int("X").GetValue(), 1);
    std::thread([&] {
        EXPECT_TRUE(Map->GetLock().TryLock());
        Map->GetLock().Unlock();
    }).join();
}

TEST_F(SemanticsTest, ACallbackThatAlwaysWritesEndsInAnException) {
    Load(Plain("X") + Plain("Y"));
    int calls = 0;
    Register(Map->GetNode("X"), [&](INode*) { Int("Y").SetValue(++calls); });
    Register(
        Map->GetNode("Y"), [&](INode*) { Int("X").SetValue(calls); }, cbPostOutsideLock);
    EXPECT_THROW(Int("X").SetValue(1), GenICam::LogicalErrorException);
    EXPECT_GT(calls, 10);
    EXPECT_EQ(Int("Y").GetValue(), calls);
}

TEST_F(SemanticsTest, ImposedLimitsNarrowWhatIsReportedOnly) {
    Load(Plain("X", 5, "<Min>0</Min><Max>100</Max>") + Node("Float", "F", "<Value>1</Value><Min>0</Min><Max>2</Max>"));
    Int("X").ImposeMin(10);
    Int("X").ImposeMax(200);
    EXPECT_EQ(Int("X").GetMin(), 10);
    EXPECT_EQ(Int("X").GetMax(), 100);
    Int("X").SetValue(3);
    Float("F").ImposeMax(1.5);
    EXPECT_EQ(Float("F").GetMax(), 1.5);
    Float("F").SetValue(1.75);
    EXPECT_THROW(Float("F").SetValue(2.5), GenICam::OutOfRangeException);
    EXPECT_THROW(Float("F").SetValue(NAN), GenICam::OutOfRangeException);
    EXPECT_FALSE(Float("F").HasInc());
    EXPECT_THROW(Float("F").GetInc(), GenICam::RuntimeException);
}

TEST_F(SemanticsTest, FailuresNameTheNodeAndTheCallThatMetIt) {
    Load(Plain("Lock", 1) + Plain("Inner", 6, "<Min>6</Min><pIsLocked>Lock</pIsLocked>") +
         Reference("Integer", "Outer", "Inner"));
    EXPECT_THAT(Failure([&] { Int("Outer").SetValue(7); }),
                HasSubstr("Node is not writable. : AccessException thrown in node 'Outer' while calling "
                          "'Outer.SetValue()'"));
    Int("Lock").SetValue(0);
    EXPECT_THAT(Failure([&] { Int("Outer").SetValue(5); }),
                HasSubstr("Value = 5 must be equal or greater than Min = 6."));
    EXPECT_THAT(Failure([&] { As<IValue>("Outer").FromString("five"); }), HasSubstr("'five'"));
}

TEST_F(SemanticsTest, ReferencesConvertBetweenTypes) {
    Load(R"(<Enumeration Name="Mode"><EnumEntry Name="Low"><Value>1</Value><NumericValue>0.5</NumericValue></EnumEntry>
            <EnumEntry Name="High"><Value>2</Value><NumericValue>8.4</NumericValue></EnumEntry><Value>2</Value></Enumeration>)" +
         Node("Float", "F", "<Value>2.5</Value>") + Plain("Grid", 0, "<Min>0</Min><Max>100</Max><Inc>10</Inc>") +
         Node("Boolean", "Flag", "<Value>1</Value>") + Reference("Integer", "IntOfFloat", "F") +
         Reference("Float", "FloatOfMode", "Mode") + Reference("Integer", "IntOfMode", "Mode") +
         Reference("Float", "FloatOfGrid", "Grid") + Reference("Integer", "IntOfFlag", "Flag") +
         Reference("Boolean", "FlagOfGrid", "Grid", "<OnValue>20</OnValue><OffValue>40</OffValue>"));
    EXPECT_EQ(Int("IntOfFloat").GetValue(), 3) << "half away from zero";
    EXPECT_EQ(Float("FloatOfMode").GetValue(), 8.4);
    EXPECT_EQ(Int("IntOfMode").GetValue(), 8);
    Float("FloatOfMode").SetValue(1.0);
    EXPECT_EQ(Text("Mode"), "Low") << "the nearest entry";
    Float("FloatOfGrid").SetValue(26.0);
    EXPECT_EQ(Int("Grid").GetValue(), 30) << "the nearest value of the grid";
    EXPECT_EQ(Int("IntOfFlag").GetValue(), 1);
    As<IBoolean>("FlagOfGrid").SetValue(true);
    EXPECT_EQ(Int("Grid").GetValue(), 20);
    As<IBoolean>("FlagOfGrid") = false;
    EXPECT_EQ(Int("Grid").GetValue(), 40);
    EXPECT_FALSE(As<IBoolean>("FlagOfGrid").GetValue());
    Float("F").SetValue(1e30);
    EXPECT_THROW(Int("IntOfFloat").GetValue(), GenICam::RuntimeException);
}

TEST_F(SemanticsTest, FormulasAreEvaluatedFromTheirNodes) {
    Load(Register32("X", 0, "<Cachable>NoCache</Cachable>") + Node("Float", "F", "<Value>0.5</Value><Max>9</Max>") +
         Node("SwissKnife", "Half",
              "<pVariable Name=\"X\">X</pVariable><pVariable Name=\"F\">F</pVariable><Constant Name=\"C\">2</Constant>"
              "<Expression Name=\"Q\">X/C</Expression><Formula>Q + X * F.Max - F</Formula>") +
         Node("IntSwissKnife", "Bad", "<pVariable Name=\"X\">X</pVariable><Formula>(X + </Formula>"));
    Port.Memory[0] = 3;
    EXPECT_EQ(Float("Half").GetValue(), 1.5 + 27 - 0.5);
    EXPECT_EQ(Port.Reads, 1) << "a variable is read once for an evaluation";
    EXPECT_EQ(Mode("Half"), RO);
    GenICam::gcstring_vector errors;
    EXPECT_FALSE(Map->ParseSwissKnifes(&errors));
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_THAT(errors[0].c_str(), HasSubstr("Bad: "));
    EXPECT_THROW(Int("Bad").GetValue(), GenICam::GenericException);
}

TEST_F(SemanticsTest, ACommandIsDoneWhenTheDeviceLeavesItsValue) {
    Load(Register32("X", 0) + Reference("Command", "Start", "X", "<CommandValue>1</CommandValue>") +
         Node("IntReg", "Blind",
              "<Address>4</Address><Length>4</Length><AccessMode>WO</AccessMode><pPort>Device</pPort>") +
         Reference("Command", "Forget", "Blind", "<CommandValue>1</CommandValue>"));
    auto& start = As<ICommand>("Start");
    start.Execute();
    EXPECT_EQ(Port.Memory[0], 1);
    EXPECT_FALSE(start.IsDone());
    int calls = 0;
    Count("Start", calls);
    Port.Memory[0] = 0;
    EXPECT_TRUE(start.IsDone());
    EXPECT_EQ(calls, 1) << "the turn from busy to done is told";
    EXPECT_EQ(Int("X").GetValue(), 0);
    As<ICommand>("Forget")();
    EXPECT_EQ(Port.Memory[4], 1);
    EXPECT_TRUE(As<ICommand>("Forget").IsDone());
}

TEST_F(SemanticsTest, PollingInvalidatesWhatIsDue) {
    Load(Register32("Fast", 0, "<PollingTime>100</PollingTime>") + Register32("Still", 4) +
         Reference("Integer", "Above", "Fast"));
    int calls = 0;
    Count("Above", calls);
    Int("Above").GetValue();
    Int("Still").GetValue();
    Map->Poll(60);
    EXPECT_EQ(calls, 0);
    Port.Memory[0] = 9;
    Map->Poll(60);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(Int("Above").GetValue(), 9);
    EXPECT_EQ(Port.Reads, 3);
    EXPECT_EQ(Map->GetNode("Fast")->GetPollingTime(), 100);
    EXPECT_EQ(Map->GetNode("Still")->GetPollingTime(), -1);
}

TEST_F(SemanticsTest, SelectorsKnowWhatTheySelect) {
    Load(Plain("Selector", 0, "<pSelected>Gain</pSelected>") + Plain("Gain"));
    FeatureList_t list;
    As<ISelector>("Selector").GetSelectedFeatures(list);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0]->GetNode(), Map->GetNode("Gain"));
    EXPECT_TRUE(As<ISelector>("Selector").IsSelector());
    EXPECT_FALSE(As<ISelector>("Gain").IsSelector());
    As<ISelector>("Gain").GetSelectingFeatures(list);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0]->GetNode(), Map->GetNode("Selector"));
    int calls = 0;
    Count("Gain", calls);
    Int("Selector").SetValue(1);
    EXPECT_EQ(calls, 1);
}

TEST_F(SemanticsTest, StringsAreCutAtTheirEndAndPaddedToTheirLength) {
    Load(Node("StringReg", "Name", Place(0, 8)));
    for (std::size_t i = 0; i < 8; ++i)
        Port.Memory[i] = static_cast<std::uint8_t>("ab\0junk!"[i]);
    EXPECT_EQ(As<IString>("Name").GetValue(), "ab");
    EXPECT_EQ(As<IString>("Name").GetMaxLength(), 8);
    As<IString>("Name").SetValue("12345678");
    EXPECT_EQ(As<IString>("Name").GetValue(false, true), "12345678");
    As<IString>("Name") = "x";
    EXPECT_EQ(std::vector<int>(Port.Memory.begin(), Port.Memory.begin() + 8),
              (std::vector<int>{'x', 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(SemanticsTest, CategoriesMakeFeatures) {
    Load(Node("Category", "Root", "<pFeature>Image</pFeature>") +
         Node("Category", "Image", "<pFeature>Width</pFeature><pFeature>Height</pFeature>") + Plain("Width") +
         Plain("Height", 0, "<Visibility>Guru</Visibility><DisplayName>The Height</DisplayName>") + Plain("Hidden"));
    FeatureList_t features;
    As<ICategory>("Image").GetFeatures(features);
    ASSERT_EQ(features.size(), 2u);
    EXPECT_EQ(features[1]->GetNode()->GetDisplayName(), "The Height");
    EXPECT_EQ(features[1]->GetNode()->GetVisibility(), Guru);
    EXPECT_TRUE(Map->GetNode("Width")->IsFeature());
    EXPECT_FALSE(Map->GetNode("Hidden")->IsFeature());
    EXPECT_EQ(GetInterfaceName(Map->GetNode("Width")), "IInteger");
    EXPECT_EQ(GetInterfaceName(Map->GetNode("Image")), "ICategory");
    gcstring value, attribute;
    EXPECT_TRUE(Map->GetNode("Image")->GetProperty("pFeature", value, attribute));
    EXPECT_EQ(value, "Width\tHeight");
    EXPECT_FALSE(Map->GetNode("Image")->GetProperty("Address", value, attribute));
}

TEST_F(SemanticsTest, CyclesOfValuesEndInAnExceptionThatNamesANode) {
    Load(Reference("Integer", "A", "B") + Reference("Integer", "B", "A") + Reference("Integer", "Me", "Me") +
         Plain("P", 1, "<pIsAvailable>Q</pIsAvailable>") + Plain("Q", 1, "<pIsAvailable>P</pIsAvailable>"));
    EXPECT_THAT(Failure([&] { Int("A").GetValue(); }), testing::AnyOf(HasSubstr("'A'"), HasSubstr("'B'")));
    EXPECT_THROW(Int("Me").GetValue(), GenICam::RuntimeException);
    EXPECT_THROW(Int("Me").SetValue(1), GenICam::RuntimeException);
    EXPECT_THROW(Int("Me").GetMax(), GenICam::RuntimeException);
    EXPECT_EQ(Mode("P"), RW);
}

struct BrokenDescription {
    const char* Nodes;
    const char* Named; // what the failure names
};

class BrokenDescriptionTest : public testing::TestWithParam<BrokenDescription> {};

TEST_P(BrokenDescriptionTest, IsRefusedByNameOfTheThingAtFault) {
    try {
        tests::MakeMap(GetParam().Nodes);
        FAIL() << "loaded";
    } catch (const GenICam::RuntimeException& error) {
        EXPECT_THAT(error.GetDescription(), HasSubstr(GetParam().Named));
        EXPECT_THAT(error.GetDescription(), HasSubstr("line"));
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, BrokenDescriptionTest,
    testing::Values(BrokenDescription{"<Integer Name='A'><Value>1</Value>", ""},
                    BrokenDescription{"<Integer Name='A'><pValue>Nowhere</pValue></Integer>", "Nowhere"},
                    BrokenDescription{
                        "<Integer Name='A'><Value>1</Value></Integer><Float Name='A'><Value>1</Value></Float>", "A"},
                    BrokenDescription{"<Integer><Value>1</Value></Integer>", "Name"},
                    BrokenDescription{"<IntReg Name='A'><Address>0</Address><pPort>Device</pPort></IntReg>", "Length"},
                    BrokenDescription{"<IntReg Name='A'><Address>0</Address><Length>4</Length><pPort>B</pPort></IntReg>"
                                      "<Integer Name='B'><Value>1</Value></Integer>",
                                      "B"},
                    BrokenDescription{"<SwissKnife Name='Knife'></SwissKnife>", "Knife"},
                    BrokenDescription{"<Integer Name='A'><Value>many</Value></Integer>", "many"}));

} // namespace
