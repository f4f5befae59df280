// SPDX-License-Identifier: Apache-2.0
#include "fakes/LogRecorder.h"
#include "genicam/genapi/MapFixture.h"
#include <Log/CLog.h>

#include <gmock/gmock.h>

// What may be done with a node, of what that is made, and when it changes.

namespace {

using namespace GenApi;
using tests::Above;
using tests::Node;
using tests::Value;

/// A register that can be written only, or as told.
std::string Register(const std::string& name, const std::string& mode, const std::string& rest = "") {
    return Node("IntReg", name,
                "<Address>0</Address><Length>4</Length><AccessMode>" + mode + "</AccessMode><pPort>Device</pPort>" +
                    rest);
}

class AccessModeTest : public tests::MapTest {};

struct Mixture {
    const char* element; // AccessMode of the register
    EAccessMode port;
    bool locked;
    const char* imposed; // ImposedAccessMode
    EAccessMode expected;
};

class MixtureTest : public AccessModeTest, public testing::WithParamInterface<Mixture> {};

TEST_P(MixtureTest, LeavesWhatAllOfThemAllow) {
    const Mixture& mixture = GetParam();
    Port.Mode = mixture.port;
    Load(Value("Lock", mixture.locked) +
         Register("R", mixture.element,
                  "<pIsLocked>Lock</pIsLocked><ImposedAccessMode>" + std::string(mixture.imposed) +
                      "</ImposedAccessMode>") +
         Above("Integer", "Feature", "R") + Above("Command", "Do", "R", "<CommandValue>1</CommandValue>"));
    EXPECT_EQ(Mode("R"), mixture.expected);
    EXPECT_EQ(Mode("Feature"), mixture.expected);
    EXPECT_EQ(Mode("Do"), mixture.expected);
    const bool readable = mixture.expected == RO || mixture.expected == RW;
    const bool writable = mixture.expected == WO || mixture.expected == RW;
    if (!readable) {
        EXPECT_THROW(Int("Feature").GetValue(), GenICam::AccessException);
    } else {
        EXPECT_NO_THROW(Int("Feature").GetValue());
    }
    if (!writable) {
        EXPECT_THROW(Int("Feature").SetValue(1), GenICam::AccessException);
    } else {
        EXPECT_NO_THROW(Int("Feature").SetValue(1));
    }
    EXPECT_EQ(Port.Writes, writable ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(All, MixtureTest,
                         testing::Values(Mixture{"RW", RW, false, "RW", RW}, Mixture{"RW", RW, true, "RW", RO},
                                         Mixture{"RW", RO, false, "RW", RO}, Mixture{"RW", WO, false, "RW", WO},
                                         Mixture{"RW", NA, false, "RW", NA}, Mixture{"RW", NI, false, "RO", NI},
                                         Mixture{"RO", RW, false, "RW", RO}, Mixture{"RO", WO, false, "RW", NA},
                                         Mixture{"WO", RW, false, "RW", WO}, Mixture{"WO", RW, true, "RW", NA},
                                         Mixture{"WO", RW, false, "RO", NA}, Mixture{"RW", RW, false, "WO", WO},
                                         Mixture{"RW", RW, false, "RO", RO}, Mixture{"RW", RW, true, "WO", NA}));

struct Predicate {
    const char* name;
    bool truth;
};

class PredicateTest : public AccessModeTest, public testing::WithParamInterface<Predicate> {};

TEST_P(PredicateTest, CountsAsTrueIfItIsNotZero) {
    const auto& [name, truth] = GetParam();
    const std::string predicate = name;
    Load(Value("Zero") + Value("Minus", -1) + Node("Float", "Fraction", "<Value>0.25</Value>") +
         Node("Float", "Nothing", "<Value>0</Value>") + Node("Boolean", "Yes", "<Value>7</Value><OnValue>7</OnValue>") +
         Node("Boolean", "No", "<Value>1</Value><OnValue>7</OnValue>") +
         "<Enumeration Name=\"Named\"><EnumEntry Name=\"A\"><Value>3</Value><NumericValue>0</NumericValue></EnumEntry>"
         "<Value>3</Value></Enumeration>"
         "<Enumeration Name=\"Unnamed\"><EnumEntry "
         "Name=\"A\"><Value>3</Value></EnumEntry><Value>0</Value></Enumeration>" +
         Node("IntSwissKnife", "Knife", "<pVariable Name=\"X\">Minus</pVariable><Formula>X = -1</Formula>") +
         Register("WriteOnly", "WO") + Value("I", 1, "<pIsImplemented>" + predicate + "</pIsImplemented>") +
         Value("A", 1, "<pIsAvailable>" + predicate + "</pIsAvailable>") +
         Value("L", 1, "<pIsLocked>" + predicate + "</pIsLocked>"));
    EXPECT_EQ(Mode("I"), truth ? RW : NI);
    EXPECT_EQ(Mode("A"), truth ? RW : NA);
    EXPECT_EQ(Mode("L"), truth ? RO : RW);
}

INSTANTIATE_TEST_SUITE_P(All, PredicateTest,
                         testing::Values(Predicate{"Zero", false}, Predicate{"Minus", true},
                                         Predicate{"Fraction", true}, Predicate{"Nothing", false},
                                         Predicate{"Yes", true}, Predicate{"No", false}, Predicate{"Named", true},
                                         Predicate{"Unnamed", false}, Predicate{"Knife", true}));

TEST_F(AccessModeTest, APredicateThatCannotBeReadIsOnTheSafeSide) {
    const Fakes::LogRecorder log("GenApi");
    Load(Register("Blind", "WO") + Value("I", 1, "<pIsImplemented>Blind</pIsImplemented>") +
         Value("A", 1, "<pIsAvailable>Blind</pIsAvailable>") + Value("L", 1, "<pIsLocked>Blind</pIsLocked>") +
         Node("Enumeration", "Empty", "<EnumEntry Name=\"A\"><Value>1</Value></EnumEntry><Value>9</Value>") +
         Node("IntSwissKnife", "Knife", "<pVariable Name=\"X\">Empty</pVariable><Formula>X</Formula>") +
         Value("B", 1, "<pIsAvailable>Knife</pIsAvailable>") +
         Node("IntSwissKnife", "Broken", "<Formula>1 +</Formula>") + Value("C", 1, "<pIsLocked>Broken</pIsLocked>"));
    EXPECT_EQ(Mode("I"), NI);
    EXPECT_EQ(Mode("A"), NA);
    EXPECT_EQ(Mode("L"), RO);
    EXPECT_EQ(Mode("B"), NA) << "nor can a value without entry be read";
    EXPECT_EQ(Mode("C"), RO) << "nor a broken formula";
    Map->InvalidateNodes();
    EXPECT_EQ(Mode("L"), RO);
    EXPECT_EQ(log.Count("GenApi", GenICam::LogPriority_Info, "'Blind', which is not readable"), 3u) << "once each";
}

TEST_F(AccessModeTest, APredicateThatFailsPassesItsFailureOn) {
    Load(Register("R", "RO", "<Cachable>NoCache</Cachable>") + Value("I", 1, "<pIsAvailable>R</pIsAvailable>"));
    Port.TimesOut = true;
    EXPECT_THROW(Mode("I"), GenICam::TimeoutException);
    Port.TimesOut = false;
    EXPECT_EQ(Mode("I"), NA) << "and leaves nothing half done";
    Port.Memory[0] = 1;
    EXPECT_EQ(Mode("I"), RW);
}

TEST_F(AccessModeTest, WhatIsNotCachedIsAskedAtEachTime) {
    Load(Register("Live", "RO", "<Cachable>NoCache</Cachable>") + Value("Stored", 1) +
         Value("ByLive", 1, "<pIsAvailable>Live</pIsAvailable>") + Above("Integer", "Top", "ByLive") +
         Value("ByStored", 1, "<pIsAvailable>Stored</pIsAvailable>"));
    EXPECT_EQ(Map->GetNode("Top")->IsAccessModeCacheable(), No);
    EXPECT_EQ(Map->GetNode("ByStored")->IsAccessModeCacheable(), Yes);
    EXPECT_EQ(Mode("Top"), NA);
    Port.Memory[0] = 1;
    EXPECT_EQ(Mode("Top"), RW);
    EXPECT_EQ(Int("Top").GetValue(), 1);
    Port.Memory[0] = 0;
    EXPECT_FALSE(As<IValue>("Top").IsValueCacheValid()) << "a read would fail";
    const int reads = Port.Reads;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Mode("ByStored"), RW);
    }
    EXPECT_EQ(Port.Reads, reads);
}

TEST_F(AccessModeTest, APortTellsWhenItsModeChanges) {
    Load(Register("R", "RW") + Above("Integer", "Feature", "R"));
    EXPECT_EQ(Mode("Feature"), RW);
    Port.Mode = NA;
    EXPECT_EQ(Mode("Feature"), RW) << "until the port says so";
    Port.InvalidateNode();
    EXPECT_EQ(Mode("Feature"), NA);
    tests::MemoryPort other;
    ASSERT_TRUE(Map->Connect(&other));
    EXPECT_EQ(Mode("Feature"), RW) << "a new connection says so too";
    Port.InvalidateNode();
    EXPECT_FALSE(Map->Connect(&other, "NoSuchPort"));
    EXPECT_FALSE(Map->Connect(&other, "Feature"));
}

std::string Entry(const std::string& name, int value, const std::string& rest = "") {
    return "<EnumEntry Name=\"" + name + "\">" + rest + "<Value>" + std::to_string(value) + "</Value></EnumEntry>";
}

TEST_F(AccessModeTest, AnEnumerationNeedsAnEntryThatCanBeChosen) {
    Load(Value("HasA", 1) + Value("HasB", 1) + Value("CanB", 1) + "<Enumeration Name=\"E\">" +
         Entry("A", 0, "<pIsImplemented>HasA</pIsImplemented>") +
         Entry("B", 1, "<pIsImplemented>HasB</pIsImplemented><pIsAvailable>CanB</pIsAvailable>") +
         "<Value>0</Value></Enumeration>" + Value("V", 1, "<pIsImplemented>HasB</pIsImplemented>") +
         Above("Enumeration", "Over", "V", Entry("C", 1, "<pIsAvailable>CanB</pIsAvailable>")));
    EXPECT_EQ(Mode("E"), RW);
    EXPECT_EQ(Mode("EnumEntry_E_B"), RO);
    Int("HasA").SetValue(0);
    EXPECT_EQ(Mode("E"), RW);
    Int("CanB").SetValue(0);
    EXPECT_EQ(Mode("EnumEntry_E_B"), NA);
    EXPECT_EQ(Mode("E"), NA) << "one is there, none can be chosen";
    EXPECT_EQ(Mode("Over"), NA);
    Int("HasB").SetValue(0);
    EXPECT_EQ(Mode("E"), NI);
    EXPECT_EQ(Mode("Over"), NI) << "the value is not there at all";
    Int("HasA").SetValue(1);
    EXPECT_EQ(Mode("E"), RW);
}

TEST_F(AccessModeTest, CopiesThatCannotBeWrittenMakeAValueReadOnly) {
    Load(Value("CopyLock") + Value("Main") + Value("Copy", 0, "<pIsLocked>CopyLock</pIsLocked>") +
         Node("Integer", "I", "<pValue>Main</pValue><pValueCopy>Copy</pValueCopy>"));
    EXPECT_EQ(Mode("I"), RW);
    Int("CopyLock").SetValue(1);
    EXPECT_EQ(Mode("I"), RO);
}

TEST_F(AccessModeTest, AnIndexedValueHasTheModeOfTheOneSelected) {
    Load(Value("Lock", 1) + Value("There", 1) + Value("Index", 0, "<pIsAvailable>There</pIsAvailable>") +
         Value("Locked", 5, "<pIsLocked>Lock</pIsLocked>") +
         Node("Integer", "I",
              "<pIndex>Index</pIndex><ValueIndexed Index=\"0\">3</ValueIndexed>"
              "<pValueIndexed Index=\"1\">Locked</pValueIndexed><ValueDefault>9</ValueDefault>"));
    EXPECT_EQ(Mode("I"), RW);
    Int("Index").SetValue(1);
    EXPECT_EQ(Mode("I"), RO);
    Int("Lock").SetValue(0);
    EXPECT_EQ(Mode("I"), RW);
    Int("There").SetValue(0);
    EXPECT_EQ(Mode("I"), NA);
}

TEST_F(AccessModeTest, AFormulaNeedsTheVariablesThatItReads) {
    Load(
        Value("There", 1) + Value("V", 3, "<pIsAvailable>There</pIsAvailable>") +
        Node("IntSwissKnife", "Reads", "<pVariable Name=\"X\">V</pVariable><Formula>X + 1</Formula>") +
        Node("IntSwissKnife", "Asks", "<pVariable Name=\"X.AccessMode\">V</pVariable><Formula>X.AccessMode</Formula>") +
        Node("IntSwissKnife", "AsksToo", "<pVariable Name=\"X\">V</pVariable><Formula>X.AccessMode</Formula>") +
        Node("Converter", "C",
             "<pVariable Name=\"X\">V</pVariable><FormulaTo>FROM</FormulaTo>"
             "<FormulaFrom>TO * X</FormulaFrom><pValue>There</pValue>") +
        Value("Missing", 0, "<pIsImplemented>Zero</pIsImplemented>") + Value("Zero") +
        Above("Converter", "OverMissing", "Missing",
              "<pVariable Name=\"X\">V</pVariable><FormulaTo>FROM</FormulaTo><FormulaFrom>TO*X</FormulaFrom>") +
        Node("IntSwissKnife", "Broken", "<Formula>1 +</Formula>"));
    EXPECT_EQ(Mode("Reads"), RO);
    EXPECT_EQ(Mode("C"), RW);
    EXPECT_EQ(Int("Asks").GetValue(), RW);
    Int("There").SetValue(0);
    EXPECT_EQ(Mode("Reads"), NA);
    EXPECT_EQ(Mode("C"), NA);
    EXPECT_EQ(Mode("OverMissing"), NI) << "what its value is not, it cannot be";
    EXPECT_EQ(Mode("Asks"), RO);
    EXPECT_EQ(Int("Asks").GetValue(), NA);
    EXPECT_EQ(Int("AsksToo").GetValue(), NA);
    EXPECT_THROW(Int("Reads").GetValue(), GenICam::AccessException);
    EXPECT_EQ(Mode("Broken"), RO) << "a read tells what is wrong with it";
    EXPECT_THROW(Int("Broken").GetValue(), GenICam::PropertyException);
}

TEST_F(AccessModeTest, ADecidingCircleIsTakenForReadWriteAndTold) {
    const Fakes::LogRecorder log("GenApi");
    Load(Value("A", 1, "<pIsLocked>B</pIsLocked>") + Value("B", 0, "<pIsLocked>A</pIsLocked>") +
         Node("Port", "Loop", "<pIsAvailable>InLoop</pIsAvailable>") +
         Node("IntReg", "InLoop", "<Address>0</Address><Length>4</Length><pPort>Loop</pPort>"));
    EXPECT_EQ(Mode("B"), RO);
    EXPECT_EQ(log.Count("GenApi", GenICam::LogPriority_Warn, "depends on itself"), 1u);
    EXPECT_NO_THROW(Mode("A"));
    EXPECT_EQ(Mode("InLoop"), NA) << "nor is a port taken for connected";
}

TEST_F(AccessModeTest, WhatACircleKeepsIsNotOlderThanWhatItDependsOn) {
    Load(Register("Live", "RO", "<Cachable>NoCache</Cachable>") +
         Value("A", 1, "<pIsImplemented>B</pIsImplemented><pIsAvailable>Live</pIsAvailable>") +
         Value("B", 1, "<pIsAvailable>A</pIsAvailable>"));
    Port.Memory[0] = 1;
    EXPECT_EQ(Map->GetNode("A")->IsAccessModeCacheable(), No);
    EXPECT_EQ(Mode("B"), RW);
    Port.Memory[0] = 0;
    EXPECT_EQ(Mode("B"), NA);
}

TEST_F(AccessModeTest, WhatIsImposedCombinesAndReachesThoseAbove) {
    Load(Value("V", 1, "<Visibility>Expert</Visibility>") + Above("Integer", "Feature", "V"));
    INode& node = *Map->GetNode("V");
    node.ImposeAccessMode(RO);
    EXPECT_EQ(Mode("V"), RO);
    EXPECT_EQ(Mode("Feature"), RO);
    EXPECT_THROW(Int("Feature").SetValue(1), GenICam::AccessException);
    node.ImposeAccessMode(RW);
    EXPECT_NO_THROW(Int("Feature").SetValue(1));
    node.ImposeVisibility(Beginner);
    EXPECT_EQ(node.GetVisibility(), Expert) << "nothing is shown to more than the description says";
    node.ImposeVisibility(Invisible);
    EXPECT_EQ(node.GetVisibility(), Invisible);
}

TEST_F(AccessModeTest, RegistersWaitForTheirAddressAndLength) {
    Load(Value("There", 1) + Value("Where", 0, "<pIsAvailable>There</pIsAvailable>") +
         Node("IntReg", "ByAddress", "<pAddress>Where</pAddress><Length>4</Length><pPort>Device</pPort>") +
         Node("IntReg", "ByIndex", "<pIndex>Where</pIndex><Length>4</Length><pPort>Device</pPort>") +
         Node("Register", "ByLength", "<Address>0</Address><pLength>Where</pLength><pPort>Device</pPort>"));
    for (const char* name : {"ByAddress", "ByIndex", "ByLength"}) {
        EXPECT_EQ(Mode(name), RO) << name;
    }
    Int("There").SetValue(0);
    for (const char* name : {"ByAddress", "ByIndex", "ByLength"}) {
        EXPECT_EQ(Mode(name), NA) << name;
    }
    Port.Mode = NI;
    Port.InvalidateNode();
    EXPECT_EQ(Mode("ByAddress"), NI);
}

TEST_F(AccessModeTest, LimitsNeedAvailabilityOnly) {
    Load(Register("WriteOnly", "WO") + Value("There") + Value("Gone", 1, "<pIsAvailable>There</pIsAvailable>"));
    EXPECT_EQ(Int("WriteOnly").GetMax(), 0xFFFFFFFF);
    EXPECT_THROW(Int("Gone").GetMin(), GenICam::AccessException);
    EXPECT_THROW(Int("Gone").GetInc(), GenICam::AccessException);
}

} // namespace
