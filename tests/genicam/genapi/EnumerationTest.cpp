// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/MapFixture.h"

#include <gmock/gmock.h>

// Enumerations with their entries, and commands: values that mean something.

namespace {

using namespace GenApi;
using testing::ElementsAre;
using testing::HasSubstr;
using tests::Node;
using tests::Place;
using tests::Value;

std::string Entry(const std::string& name, int value, const std::string& rest = "") {
    return "<EnumEntry Name=\"" + name + "\">" + rest + "<Value>" + std::to_string(value) + "</Value></EnumEntry>";
}

std::string Enumeration(const std::string& name, const std::string& elements) {
    return Node("Enumeration", name, elements);
}

class EnumerationTest : public tests::MapTest {
protected:
    IEnumeration& Enum(const char* name) { return As<IEnumeration>(name); }
    ICommand& Command(const char* name) { return As<ICommand>(name); }
};

TEST_F(EnumerationTest, EntriesAreNodesUnderBothTheirNames) {
    Load(Enumeration("Mode", Entry("Off", 0) + Entry("On", 1, "<DisplayName>Switched on</DisplayName>") +
                                 Entry("Third", 2, "<Symbolic>Three</Symbolic>") + "<Value>0</Value>") +
         Value("Mode_On", 5));
    EXPECT_NE(Map->GetNode("EnumEntry_Mode_Off"), nullptr);
    EXPECT_EQ(Map->GetNode("Mode_Off"), Map->GetNode("EnumEntry_Mode_Off"));
    EXPECT_EQ(Int("Mode_On").GetValue(), 5) << "a node of its own has the name";
    EXPECT_EQ(Map->GetNode("Mode_Nope"), nullptr);
    StringList_t symbolics;
    Enum("Mode").GetSymbolics(symbolics);
    EXPECT_THAT(std::vector<std::string>({symbolics[0].c_str(), symbolics[1].c_str(), symbolics[2].c_str()}),
                ElementsAre("Off", "On", "Three"));
    EXPECT_EQ(Map->GetNode("EnumEntry_Mode_Off")->GetDisplayName(), "Off");
    EXPECT_EQ(Map->GetNode("EnumEntry_Mode_On")->GetDisplayName(), "Switched on");
    EXPECT_EQ(Text("EnumEntry_Mode_Third"), "Three");
    EXPECT_THROW(As<IValue>("EnumEntry_Mode_Off").FromString("Off"), GenICam::AccessException);
    EXPECT_EQ(As<IEnumEntry>("EnumEntry_Mode_Third").GetNumericValue(), 2.0);
}

TEST_F(EnumerationTest, EntriesMayStandByThemselves) {
    Load(Node("EnumEntry", "Alone", "<Value>3</Value><Symbolic>Solo</Symbolic>") +
         Enumeration("E", "<pEnumEntry>Alone</pEnumEntry>" + Entry("Inside", 4) + "<Value>3</Value>"));
    EXPECT_EQ(Text("E"), "Solo");
    As<IValue>("E").FromString("Inside");
    EXPECT_EQ(Enum("E").GetIntValue(), 4);
}

TEST_F(EnumerationTest, ValuesAreRefusedByWhatTheyAre) {
    Load(Value("Can", 0) + Enumeration("E", Entry("A", 0) + Entry("B", 1, "<pIsAvailable>Can</pIsAvailable>") +
                                                Entry("Twin", 0) + "<Value>0</Value>"));
    EXPECT_THROW(Enum("E").SetIntValue(7), GenICam::InvalidArgumentException);
    EXPECT_THROW(Enum("E").SetIntValue(1), GenICam::AccessException);
    EXPECT_THROW(As<IValue>("E").FromString("B"), GenICam::AccessException);
    EXPECT_THROW(As<IValue>("E").FromString("0"), GenICam::InvalidArgumentException) << "numbers are no names";
    EXPECT_THROW(As<IValue>("E").FromString("a"), GenICam::InvalidArgumentException);
    EXPECT_EQ(Text("E"), "A") << "the first of two with one value";
    Int("Can").SetValue(1);
    Enum("E") = "B";
    EXPECT_EQ(*Enum("E"), "B");
    Enum("E").SetIntValue(7, false);
    EXPECT_EQ(Enum("E").GetCurrentEntry(), nullptr);
    EXPECT_EQ(Enum("E").GetIntValue(), 7);
    EXPECT_THAT(Failure([this] { Text("E"); }), HasSubstr("'E' has no entry for its value 7"));
}

TEST_F(EnumerationTest, OfEntriesThatShareAValueTheOneThatCanBeChosenIsMeant) {
    Load(Node("Category", "Root", "<pFeature>E</pFeature>") + Value("HasGlobal") + Value("CanRolling", 1) +
         Enumeration("E", Entry("Off", 0) + Entry("Global", 1, "<pIsImplemented>HasGlobal</pIsImplemented>") +
                              Entry("Rolling", 1, "<pIsAvailable>CanRolling</pIsAvailable>") +
                              "<Value>1</Value><Streamable>Yes</Streamable>"));
    EXPECT_EQ(Text("E"), "Rolling");
    EXPECT_EQ(Enum("E").GetCurrentEntry(), Enum("E").GetEntryByName("Rolling"));
    EXPECT_EQ(Enum("E").GetEntry(1), Enum("E").GetCurrentEntry());
    EXPECT_NO_THROW(Enum("E").SetIntValue(Enum("E").GetIntValue()));
    EXPECT_NO_THROW(Enum("E") = *Enum("E"));
    EXPECT_THROW(Enum("E") = "Global", GenICam::AccessException);
    CFeatureBag bag;
    EXPECT_EQ(bag.StoreToBag(Map.get()), 1);
    EXPECT_TRUE(bag.LoadFromBag(Map.get()));
    Int("CanRolling").SetValue(0);
    EXPECT_EQ(Text("E"), "Rolling") << "one that is there, rather than one that is not";
    Int("CanRolling").SetValue(1);
    Int("HasGlobal").SetValue(1);
    EXPECT_EQ(Text("E"), "Global") << "the first of two that can be chosen";
    EXPECT_TRUE(bag.LoadFromBag(Map.get())) << "the other name is the same value";
    Int("CanRolling").SetValue(0);
    Int("HasGlobal").SetValue(0);
    EXPECT_THROW(Enum("E").SetIntValue(1), GenICam::AccessException);
}

TEST_F(EnumerationTest, ASelfClearingEntryIsWatchedUntilTheDeviceHasClearedIt) {
    Load(Node("IntReg", "R", Place(0, 4)) +
         Enumeration("E", Entry("Idle", 0) + Entry("Once", 1, "<IsSelfClearing>Yes</IsSelfClearing>") +
                              "<pValue>R</pValue><PollingTime>10</PollingTime>") +
         Node("Integer", "Above", "<pValue>E</pValue>"));
    int fired = 0;
    As<IValue>("E").FromString("Once");
    Count("E", fired);
    EXPECT_EQ(Text("E"), "Once");
    EXPECT_EQ(fired, 0);
    Port.Memory[0] = 0;
    EXPECT_EQ(Text("E"), "Idle") << "read past the cache";
    EXPECT_EQ(fired, 1);
    const int reads = Port.Reads;
    EXPECT_EQ(Text("E"), "Idle");
    EXPECT_EQ(Text("E"), "Idle");
    EXPECT_LE(Port.Reads, reads + 1) << "then it is an ordinary value";
    As<IValue>("E").FromString("Once");
    Port.Memory[0] = 0;
    fired = 0;
    Map->Poll(10);
    EXPECT_EQ(fired, 1) << "polling finds it too, and tells once";
    EXPECT_TRUE(As<IValue>("E").IsValueCacheValid());
    As<IValue>("E").FromString("Once");
    Text("E");
    EXPECT_FALSE(As<IValue>("E").IsValueCacheValid()) << "a read now would ask the device";
    Port.Memory[0] = 0;
    fired = 0;
    EXPECT_EQ(Int("Above").GetValue(), 0);
    EXPECT_EQ(Text("E"), "Idle");
    EXPECT_EQ(fired, 1) << "a read through a reference finds it first and keeps it from nobody";
}

TEST_F(EnumerationTest, ErrorNodesAreAskedAfterCheckedAccesses) {
    Load(Node("IntReg", "Status", Place(0, 4, "<Cachable>NoCache</Cachable>")) +
         Enumeration("Error", Entry("Fine", 0) + Entry("Jam", 1, "<ToolTip>Paper is jammed.</ToolTip>") +
                                  Entry("Fire", 2) + "<pValue>Status</pValue>") +
         Node("Integer", "I", "<pError>Error</pError><Value>1</Value>"));
    EXPECT_NO_THROW(Int("I").SetValue(2));
    Port.Memory[0] = 1;
    EXPECT_THAT(Failure([this] { Int("I").SetValue(3); }),
                HasSubstr("Paper is jammed. : RuntimeException thrown in node 'I'"));
    EXPECT_EQ(Int("I").GetValue(), 3) << "the value had gone out";
    EXPECT_THROW(Int("I").GetValue(true), GenICam::RuntimeException);
    EXPECT_NO_THROW(Int("I").SetValue(4, false));
    Port.Memory[0] = 2;
    EXPECT_THAT(Failure([this] { Int("I").GetValue(true); }), HasSubstr("Fire"));
    Port.Memory[0] = 9;
    EXPECT_THAT(Failure([this] { Int("I").GetValue(true); }), HasSubstr("Error 9"));
}

TEST_F(EnumerationTest, ACommandWritesItsValueAndIsBusyUntilTheDeviceTakesItBack) {
    Load(Value("Which", 7) + Node("IntReg", "R", Place(0, 4)) +
         Node("Command", "Go", "<pValue>R</pValue><pCommandValue>Which</pCommandValue><PollingTime>5</PollingTime>"));
    int fired = 0;
    EXPECT_TRUE(Command("Go").IsDone()) << "never started, and the register does not hold the value";
    Count("Go", fired);
    Command("Go").Execute();
    EXPECT_EQ(fired, 1);
    EXPECT_EQ(Port.Memory[0], 7);
    EXPECT_FALSE(Command("Go").IsDone());
    EXPECT_EQ(Text("Go"), "1");
    EXPECT_EQ(fired, 1);
    Port.Memory[0] = 0;
    EXPECT_TRUE(Command("Go").IsDone());
    EXPECT_EQ(fired, 2) << "done is a change, once";
    EXPECT_TRUE(Command("Go").IsDone());
    EXPECT_EQ(fired, 2);
    EXPECT_EQ(Int("R").GetValue(), 0);
    As<IValue>("Go").FromString("0");
    EXPECT_EQ(Port.Memory[0], 0);
    As<IValue>("Go").FromString("7");
    EXPECT_EQ(Port.Memory[0], 7);
    EXPECT_THROW(As<IValue>("Go").FromString("go"), GenICam::InvalidArgumentException);
    Port.Memory[0] = 0;
    Map->Poll(5);
    EXPECT_EQ(Text("Go"), "0");
    Port.TimesOut = true;
    fired = 0;
    EXPECT_THROW(Command("Go").Execute(), GenICam::TimeoutException);
    Port.TimesOut = false;
    EXPECT_TRUE(Command("Go").IsDone());
    EXPECT_EQ(fired, 0) << "what was never started does not end";
}

TEST_F(EnumerationTest, CommandsThatCannotTellAreDoneAtOnce) {
    Load(Value("There", 1) + Value("Lock", 0) +
         Node("IntReg", "R", "<Address>0</Address><Length>4</Length><AccessMode>WO</AccessMode><pPort>Device</pPort>") +
         Node("Command", "Blind",
              "<pIsImplemented>There</pIsImplemented><pIsLocked>Lock</pIsLocked><pValue>R</pValue>"
              "<CommandValue>3</CommandValue>") +
         Node("Command", "Own", "<Value>0</Value><CommandValue>1</CommandValue>"));
    Command("Blind")();
    EXPECT_EQ(Port.Memory[0], 3);
    EXPECT_EQ(Port.Reads, 0);
    EXPECT_TRUE(Command("Blind").IsDone());
    EXPECT_EQ(Mode("Own"), WO);
    Command("Own").Execute();
    EXPECT_TRUE(Command("Own").IsDone());
    Int("Lock").SetValue(1);
    EXPECT_THAT(Failure([this] { Command("Blind").Execute(); }), HasSubstr("Node is not writable."));
    Int("There").SetValue(0);
    EXPECT_THAT(Failure([this] { Command("Blind").IsDone(); }), HasSubstr("Node is not implemented."));
    EXPECT_THROW(Text("Blind"), GenICam::AccessException);
}

} // namespace
