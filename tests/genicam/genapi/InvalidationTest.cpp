// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/MapFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <tuple>

// What a change makes void: all that depends on it, and nothing else.

namespace {

using namespace GenApi;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using tests::Node;
using tests::Numbered;
using tests::Place;
using tests::Value;

std::string Above(const std::string& name, const std::string& target, const std::string& rest = "") {
    return Node("Integer", name, "<pValue>" + target + "</pValue>" + rest);
}

std::string Register(const std::string& name, int address, const std::string& rest = "") {
    return Node("IntReg", name, Place(address, 4, rest));
}

class InvalidationTest : public tests::MapTest {
protected:
    /// The nodes whose callbacks fire while @p change runs, each as often as it does.
    std::multiset<std::string> FiredBy(const std::vector<std::string>& names, const std::function<void()>& change) {
        std::multiset<std::string> fired;
        std::vector<CallbackHandleType> handles;
        for (const std::string& name : names) {
            handles.push_back(GenApi::Register(Map->GetNode(name.c_str()),
                                               [&fired](INode* node) { fired.insert(node->GetName().c_str()); }));
        }
        change();
        for (const CallbackHandleType handle : handles) {
            Deregister(handle);
        }
        return fired;
    }
    std::set<std::string> Related(const char* name, ELinkType type) {
        NodeList_t nodes;
        Map->GetNode(name)->GetChildren(nodes, type);
        std::set<std::string> names;
        for (INode* node : nodes) {
            EXPECT_TRUE(names.insert(node->GetName().c_str()).second) << "listed twice";
        }
        return names;
    }
    int ReadsOf(const char* name) {
        const int before = Port.Reads;
        Int(name).GetValue();
        return Port.Reads - before;
    }
};

TEST_F(InvalidationTest, RelationsAreThoseOfTheReferences) {
    Load(Register("R", 0) + Value("Lock") + Value("Top", 9) + Value("Copy") + Value("Other") +
         Node("Integer", "I",
              "<pIsLocked>Lock</pIsLocked><pInvalidator>Other</pInvalidator><pValue>R</pValue>"
              "<pValueCopy>Copy</pValueCopy><pMax>Top</pMax><pSelected>Knife</pSelected>") +
         Node("IntSwissKnife", "Knife",
              "<pVariable Name=\"X\">I</pVariable><pVariable Name=\"Y\">I</pVariable>"
              "<Formula>X + Y</Formula>"));
    EXPECT_THAT(Related("I", ctReadingChildren), UnorderedElementsAre("R", "Top"));
    EXPECT_THAT(Related("I", ctWritingChildren), UnorderedElementsAre("R", "Copy"));
    EXPECT_THAT(Related("I", ctInvalidatingChildren), UnorderedElementsAre("R", "Top", "Lock", "Other"));
    EXPECT_THAT(Related("I", ctTerminalNodes), UnorderedElementsAre("R", "Copy"));
    EXPECT_THAT(Related("I", ctDependingNodes), UnorderedElementsAre("Knife"));
    EXPECT_THAT(Related("Lock", ctDependingNodes), UnorderedElementsAre("I", "Knife"));
    EXPECT_THAT(Related("R", ctParentNodes), UnorderedElementsAre("I"));
    EXPECT_THAT(Related("Lock", ctTerminalNodes), UnorderedElementsAre("Lock"));
    EXPECT_THAT(Related("R", ctInvalidatingChildren), UnorderedElementsAre("Device"));
    EXPECT_THAT(Related("Knife", ctWritingChildren), IsEmpty());
}

TEST_F(InvalidationTest, AWriteReachesWhatDependsOnItsTerminalNodesAndNoFurther) {
    Load(Register("R", 0) + Register("Unrelated", 8) + Above("A", "R") + Above("B", "R") + Above("OverB", "B") +
         Above("Far", "Unrelated") + Value("Ruler", 5, "<pIsAvailable>OverB</pIsAvailable>"));
    const std::vector<std::string> all = {"R", "Unrelated", "A", "B", "OverB", "Far", "Ruler"};
    EXPECT_THAT(FiredBy(all, [this] { Int("A").SetValue(3); }), UnorderedElementsAre("A", "R", "B", "OverB", "Ruler"));
    EXPECT_THAT(FiredBy(all, [this] { Int("Far").SetValue(3); }), UnorderedElementsAre("Far", "Unrelated"));
    EXPECT_THAT(FiredBy(all, [this] { Map->GetNode("B")->InvalidateNode(); }),
                UnorderedElementsAre("B", "OverB", "Ruler"))
        << "invalidating is not writing";
    EXPECT_THAT(FiredBy(all, [this] { Map->InvalidateNodes(); }),
                UnorderedElementsAre("R", "Unrelated", "A", "B", "OverB", "Far", "Ruler"));
    EXPECT_THAT(FiredBy(all, [this] { Int("A").GetValue(); }), IsEmpty());
}

TEST_F(InvalidationTest, TheDeviceIsReadAgainForWhatIsVoidOnly) {
    Load(Register("R", 0) + Register("Other", 8) + Register("Follower", 16, "<pInvalidator>A</pInvalidator>") +
         Above("A", "R") + Above("B", "Other") + Above("C", "Follower"));
    for (const char* name : {"A", "B", "C"}) {
        EXPECT_EQ(ReadsOf(name), 1) << name;
    }
    for (const char* name : {"A", "B", "C"}) {
        EXPECT_EQ(ReadsOf(name), 0) << name;
    }
    Int("A").SetValue(4);
    EXPECT_EQ(ReadsOf("A"), 0) << "what was written is known";
    EXPECT_EQ(ReadsOf("B"), 0);
    EXPECT_EQ(ReadsOf("C"), 1);
    Map->GetNode("Other")->InvalidateNode();
    EXPECT_EQ(ReadsOf("A"), 0);
    EXPECT_EQ(ReadsOf("B"), 1);
    Port.InvalidateNode();
    for (const char* name : {"A", "B", "C"}) {
        EXPECT_EQ(ReadsOf(name), 1) << name;
    }
}

struct CachingCase {
    const char* mode;
    int readsAfterRead;
    int readsAfterWrite;
    ECachingMode above;
};

class CachingTest : public InvalidationTest, public testing::WithParamInterface<CachingCase> {};

TEST_P(CachingTest, DecidesWhatIsKept) {
    const std::string cachable = std::string("<Cachable>") + GetParam().mode + "</Cachable>";
    Load(Register("R", 0, cachable) + Above("I", "R") + Above("Top", "I"));
    Int("Top").GetValue();
    EXPECT_EQ(ReadsOf("Top"), GetParam().readsAfterRead);
    Int("Top").SetValue(5);
    EXPECT_EQ(As<IValue>("Top").IsValueCacheValid(), GetParam().readsAfterWrite == 0);
    EXPECT_EQ(ReadsOf("Top"), GetParam().readsAfterWrite);
    EXPECT_EQ(Int("Top").GetValue(), 5);
    EXPECT_EQ(Map->GetNode("Top")->GetCachingMode(), GetParam().above);
    const int reads = Port.Reads;
    Int("Top").GetValue(false, true);
    Int("Top").GetValue(true);
    EXPECT_EQ(Port.Reads, reads + 2) << "whoever checks or ignores the cache reads the device";
}

INSTANTIATE_TEST_SUITE_P(All, CachingTest,
                         testing::Values(CachingCase{"WriteThrough", 0, 0, WriteThrough},
                                         CachingCase{"WriteAround", 0, 1, WriteAround},
                                         CachingCase{"NoCache", 1, 1, NoCache}));

TEST_F(InvalidationTest, AFormulaIsKeptAsLongAsWhatItAsksOfItsNodes) {
    Load(Register("Live", 0, "<Cachable>NoCache</Cachable>") + Value("Limited", 1, "<pMax>Live</pMax>") +
         Value("Gated", 1, "<pIsAvailable>Live</pIsAvailable>") + Value("Shown", 1, "<Visibility>Expert</Visibility>") +
         Node("IntSwissKnife", "K", "<pVariable Name=\"X\">Limited</pVariable><Formula>X.Max</Formula>") +
         Node("IntSwissKnife", "M", "<pVariable Name=\"X\">Gated</pVariable><Formula>X.AccessMode</Formula>") +
         Node("IntSwissKnife", "V", "<pVariable Name=\"X\">Shown</pVariable><Formula>X.Visibility</Formula>") +
         Node("IntSwissKnife", "Plain", "<pVariable Name=\"X\">Limited</pVariable><Formula>X</Formula>"));
    EXPECT_EQ(Int("K").GetValue() * 100 + Int("M").GetValue() * 10 + Int("V").GetValue(), NA * 10 + Expert);
    Port.Memory[0] = 9;
    Map->GetNode("Shown")->ImposeVisibility(Guru);
    EXPECT_EQ(Int("K").GetValue() * 100 + Int("M").GetValue() * 10 + Int("V").GetValue(), 900 + RW * 10 + Guru);
    EXPECT_EQ(Map->GetNode("K")->GetCachingMode(), NoCache);
    EXPECT_EQ(Map->GetNode("Plain")->GetCachingMode(), WriteThrough) << "the value stands, whatever its limits do";
}

/// A device that does something of its own when it is read or written.
class BusyPort : public tests::MemoryPort {
public:
    void Read(void* bytes, int64_t address, int64_t length) override {
        MemoryPort::Read(bytes, address, length);
        if (const auto action = std::exchange(OnRead, nullptr)) {
            action();
        }
    }
    void Write(const void* bytes, int64_t address, int64_t length) override {
        MemoryPort::Write(bytes, address, length);
        if (OnWrite) {
            OnWrite();
        }
    }
    std::function<void()> OnRead; // once
    std::function<void()> OnWrite;
};

TEST_F(InvalidationTest, WhatIsMadeVoidWhileItIsFoundIsNotKept) {
    BusyPort busy;
    Load(Register("R", 0, "<PollingTime>0</PollingTime>") + Above("Over", "R") +
         Node("Float", "Rounded", "<pValue>R</pValue>") + Value("Limited", 9, "<pMin>R</pMin><pMax>R</pMax>") +
         Value("Gated", 1, "<pIsAvailable>R</pIsAvailable>") +
         Node("Enumeration", "E",
              "<EnumEntry Name=\"No\"><Value>0</Value></EnumEntry><EnumEntry Name=\"Yes\"><Value>1</Value></EnumEntry>"
              "<pValue>R</pValue>") +
         Node("Boolean", "B", "<pValue>R</pValue>") + Node("IntReg", "Moved", Place(16, 4, "<pAddress>R</pAddress>")));
    const std::map<std::string, std::function<void()>> changes = {
        {"write", [this] { Int("R").SetValue(1); }}, {"node", [this] { Map->GetNode("R")->InvalidateNode(); }},
        {"port", [&] { busy.InvalidateNode(); }},    {"map", [this] { Map->InvalidateNodes(); }},
        {"poll", [this] { Map->Poll(1); }},          {"connect", [&] { Map->Connect(&busy); }}};
    const std::map<std::string, std::function<int64_t()>> looks = {
        {"R", [this] { return Int("R").GetValue(); }},
        {"Over", [this] { return Int("Over").GetValue(); }},
        {"Rounded", [this] { return static_cast<int64_t>(Float("Rounded").GetValue()); }},
        {"E", [this] { return As<IEnumeration>("E").GetIntValue(); }},
        {"B", [this] { return As<IBoolean>("B").GetValue() ? 1 : 0; }},
        {"minimum", [this] { return Int("Limited").GetMin(); }},
        {"maximum", [this] { return Int("Limited").GetMax(); }},
        {"mode", [this] { return Mode("Gated") == RW ? 1 : 0; }},
        {"place", [this] { return As<IRegister>("Moved").GetAddress() - 16; }}};
    for (const auto& [change, act] : changes) {
        for (const auto& [what, look] : looks) {
            SCOPED_TRACE(change + " while looking at " + what);
            busy.Memory[0] = 0;
            Map->Connect(&busy);
            busy.OnRead = [&busy, &run = act] {
                busy.Memory[0] = 1; // only now, so what was read is old
                run();
            };
            EXPECT_EQ(look(), 0);
            EXPECT_EQ(look(), 1);
            const int reads = busy.Reads;
            EXPECT_EQ(look(), 1);
            EXPECT_EQ(busy.Reads, reads) << "from then on it is kept";
        }
    }
}

TEST_F(InvalidationTest, WhatIsMadeVoidWhileItIsWrittenIsNotKeptAsWritten) {
    BusyPort busy;
    Load(Register("R", 0) + Register("Alias", 0) + Above("Over", "R") + Node("StringReg", "Letter", Place(8, 1)) +
         tests::Above("String", "Word", "Letter"));
    Map->Connect(&busy);
    const std::map<std::string, std::function<void()>> changes = {
        {"node", [this] { Map->GetNode("R")->InvalidateNode(); }},
        {"map", [this] { Map->InvalidateNodes(); }},
        {"alias", [&] {
             busy.OnWrite = nullptr;
             Int("Alias").SetValue(3);
         }}};
    for (const auto& [change, act] : changes) {
        SCOPED_TRACE(change);
        busy.OnWrite = [&busy, &run = act] {
            busy.Memory[0] = 3; // what the device made of it
            run();
        };
        Int("R").SetValue(5);
        EXPECT_EQ(Int("R").GetValue(), 3);
    }
    busy.OnWrite = [&] {
        busy.Memory[0] = busy.Memory[8] = '3';
        Map->InvalidateNodes();
    };
    Int("Over").SetValue(5);
    EXPECT_EQ(Int("Over").GetValue(), '3');
    As<IString>("Word").SetValue("5");
    EXPECT_EQ(Text("Word"), "3");
}

TEST_F(InvalidationTest, WhatIsReadInTheMiddleOfAWriteDoesNotStay) {
    BusyPort busy;
    Load(Register("R", 0) + Register("Status", 8, "<pInvalidator>A</pInvalidator>") + Above("A", "R"));
    Map->Connect(&busy);
    Int("Status").GetValue();
    int64_t meanwhile = -1;
    busy.OnWrite = [&] {
        meanwhile = Int("Status").GetValue();
        busy.Memory[8] = 2; // settles only afterwards
    };
    Int("A").SetValue(1);
    EXPECT_EQ(meanwhile, 0);
    EXPECT_EQ(Int("Status").GetValue(), 2);
}

TEST_F(InvalidationTest, ANodeThatThePortWritesMeanwhileIsAChangeOfItsOwn) {
    BusyPort busy;
    Load(Register("R", 0) + Above("A", "R") + Value("Counter") + Above("OverCounter", "Counter"));
    Map->Connect(&busy);
    EXPECT_EQ(Int("OverCounter").GetValue(), 0);
    busy.OnWrite = [&] { Int("Counter").SetValue(7); };
    EXPECT_THAT(FiredBy({"A", "Counter", "OverCounter"}, [this] { Int("A").SetValue(1); }),
                UnorderedElementsAre("A", "Counter", "OverCounter"));
    busy.OnWrite = [&] {
        Int("Counter").SetValue(7);
        throw RUNTIME_EXCEPTION("Counted, but refused");
    };
    EXPECT_THAT(FiredBy({"A", "Counter", "OverCounter"},
                        [this] { EXPECT_THROW(Int("A").SetValue(1), GenICam::RuntimeException); }),
                UnorderedElementsAre("Counter", "OverCounter"))
        << "a change that was made is told although the one around it failed";
    EXPECT_EQ(Int("OverCounter").GetValue(), 7);
}

TEST_F(InvalidationTest, AFailureOnTheWayLeavesNothingThatWasAssumed) {
    BusyPort busy;
    Load(Register("First", 0) + Register("Second", 8) +
         Node("Integer", "Both", "<pValue>First</pValue><pValueCopy>Second</pValueCopy>"));
    Map->Connect(&busy);
    Int("Both").SetValue(1);
    busy.OnWrite = [&] {
        if (busy.Writes == 4) {
            throw RUNTIME_EXCEPTION("The second register refused");
        }
    };
    EXPECT_THAT(FiredBy({"Both", "First", "Second"},
                        [this] { EXPECT_THROW(Int("Both").SetValue(2), GenICam::RuntimeException); }),
                IsEmpty());
    EXPECT_FALSE(As<IValue>("Both").IsValueCacheValid());
    const int reads = busy.Reads;
    EXPECT_EQ(Int("Both").GetValue(), 2) << "the first register has it";
    EXPECT_EQ(busy.Reads, reads + 1);
    busy.OnWrite = nullptr;
    Int("Both").SetValue(3);
    EXPECT_EQ(Int("Second").GetValue(), 3);
}

TEST_F(InvalidationTest, RefusedValuesChangeNothing) {
    Load(Register("R", 0) + Node("Integer", "I", "<pValue>R</pValue><Max>10</Max>"));
    Int("I").SetValue(5);
    EXPECT_THAT(FiredBy({"I", "R"}, [this] { EXPECT_THROW(Int("I").SetValue(11), GenICam::OutOfRangeException); }),
                IsEmpty());
    EXPECT_EQ(Int("I").GetValue(), 5);
    EXPECT_EQ(Port.Writes, 1);
}

TEST_F(InvalidationTest, SelectorsMakeVoidWhatTheySelect) {
    Load(Value("Selector", 0, "<pSelected>Selected</pSelected>") + Register("R", 0) + Above("Selected", "R"));
    EXPECT_EQ(ReadsOf("Selected"), 1);
    EXPECT_THAT(FiredBy({"Selected", "R"}, [this] { Int("Selector").SetValue(1); }), UnorderedElementsAre("Selected"));
    FeatureList_t features, selected;
    As<ISelector>("Selected").GetSelectingFeatures(features);
    As<ISelector>("Selector").GetSelectedFeatures(selected);
    ASSERT_EQ(features.size() * selected.size(), 1u);
    EXPECT_EQ(features[0]->GetNode()->GetName(), "Selector");
    EXPECT_EQ(selected[0]->GetNode()->GetName(), "Selected");
    EXPECT_TRUE(As<ISelector>("Selector").IsSelector());
    EXPECT_FALSE(As<ISelector>("Selected").IsSelector());
}

TEST_F(InvalidationTest, CirclesOfInvalidationEnd) {
    Load(Value("A", 0, "<pInvalidator>B</pInvalidator>") + Value("B", 0, "<pInvalidator>A</pInvalidator>") +
         Value("Self", 0, "<pInvalidator>Self</pInvalidator>"));
    EXPECT_THAT(FiredBy({"A", "B"}, [this] { Int("A").SetValue(1); }), UnorderedElementsAre("A", "B"));
    EXPECT_THAT(FiredBy({"Self"}, [this] { Int("Self").SetValue(1); }), UnorderedElementsAre("Self"));
    EXPECT_EQ(Int("A").GetValue(), 1);
    EXPECT_EQ(Int("Self").GetValue(), 1);
}

TEST_F(InvalidationTest, PollingHoldsItsTimersWhileItIsBlockedAndTellsEachOnce) {
    Load(Value("Blocker") + Register("Fast", 0, "<PollingTime>0</PollingTime>") +
         Register("Slow", 4, "<PollingTime>100</PollingTime><pBlockPolling>Blocker</pBlockPolling>") +
         Node("IntSwissKnife", "Sum",
              "<pVariable Name=\"A\">Fast</pVariable><pVariable Name=\"B\">Slow</pVariable>"
              "<Formula>A + B</Formula>"));
    const std::vector<std::string> all = {"Fast", "Slow", "Sum"};
    EXPECT_THAT(FiredBy(all, [this] { Map->Poll(60); }), UnorderedElementsAre("Fast", "Sum"));
    Int("Blocker").SetValue(1);
    EXPECT_THAT(FiredBy(all, [this] { Map->Poll(1000); }), UnorderedElementsAre("Fast", "Sum"));
    Int("Blocker").SetValue(0);
    EXPECT_THAT(FiredBy(all, [this] { Map->Poll(39); }), UnorderedElementsAre("Fast", "Sum"));
    EXPECT_THAT(FiredBy(all, [this] { Map->Poll(1); }), UnorderedElementsAre("Fast", "Slow", "Sum"));
    EXPECT_EQ(Map->GetNode("Slow")->GetPollingTime(), 100);
    EXPECT_EQ(Map->GetNode("Sum")->GetPollingTime(), -1);
}

TEST_F(InvalidationTest, AFailureWhilePollingKeepsNoOtherNodeFromItsTurn) {
    Load(Register("First", 0, "<PollingTime>10</PollingTime>") + Register("Gate", 8, "<Cachable>NoCache</Cachable>") +
         Register("Guarded", 12, "<PollingTime>10</PollingTime><pBlockPolling>Gate</pBlockPolling>") +
         Node("Command", "Go", "<pValue>First</pValue><CommandValue>1</CommandValue><PollingTime>20</PollingTime>") +
         Register("Last", 4, "<PollingTime>10</PollingTime>"));
    As<ICommand>("Go").Execute();
    Port.TimesOut = true;
    EXPECT_THAT(
        FiredBy({"First", "Guarded", "Go", "Last"}, [this] { EXPECT_THROW(Map->Poll(10), GenICam::TimeoutException); }),
        UnorderedElementsAre("First", "Go", "Last"));
    EXPECT_THAT(FiredBy({"Guarded", "Last"}, [this] { EXPECT_THROW(Map->Poll(10), GenICam::TimeoutException); }),
                UnorderedElementsAre("Last"));
    Port.TimesOut = false;
    EXPECT_THAT(FiredBy({"Guarded"}, [this] { Map->Poll(10); }), UnorderedElementsAre("Guarded"));
}

// Against a model that knows no caches: whatever is written in whatever order, through whatever node, every node shows
// the value, the maximum and the mode that follow from the values as they are, although most are served from caches.
TEST_F(InvalidationTest, NothingIsEverStale) {
    std::mt19937 random(20240607);
    const auto any = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    constexpr int leaves = 12;
    constexpr int knives = 120;
    std::string nodes;
    std::vector<std::function<int64_t()>> expected, maxima;
    std::vector<std::function<bool()>> writable;
    std::vector<int> written; // the leaf that the node writes; -1 for a formula
    std::vector<int64_t> values(leaves, 0);
    for (int i = 0; i < leaves; ++i) {
        const char* const cachable[] = {"NoCache", "WriteThrough", "WriteAround"};
        nodes += i % 2 == 0
                     ? Value(Numbered("N", i))
                     : Register(Numbered("N", i), 4 * i, std::string("<Cachable>") + cachable[any(3)] + "</Cachable>");
        expected.push_back([&values, i] { return values[static_cast<size_t>(i)]; });
        maxima.push_back([i] { return i % 2 == 0 ? INT64_MAX : UINT32_MAX; });
        writable.push_back([] { return true; });
        written.push_back(i);
    }
    for (int i = leaves; i < leaves + knives; ++i) {
        const int a = any(i), b = any(i), c = any(i), kind = any(4);
        const std::string name = Numbered("N", i);
        const std::string names = "<pVariable Name=\"A\">" + Numbered("N", a) + "</pVariable><pVariable Name=\"B\">" +
                                  Numbered("N", b) + "</pVariable>";
        const auto left = expected[static_cast<size_t>(a)], right = expected[static_cast<size_t>(b)];
        const auto lock = expected[static_cast<size_t>(c)];
        const auto isOpen = writable[static_cast<size_t>(a)];
        const bool isFormula = kind > 1;
        written.push_back(isFormula ? -1 : written[static_cast<size_t>(a)]);
        maxima.push_back(isFormula ? [] { return INT64_MAX; } : kind == 1 ? right : maxima[static_cast<size_t>(a)]);
        writable.push_back([=] { return !isFormula && isOpen() && lock() % 1000 == 0; });
        if (!isFormula) {
            nodes += Above(name, Numbered("N", a),
                           (kind == 1 ? "<pMax>" + Numbered("N", b) + "</pMax>" : "") + "<pIsLocked>L" +
                               std::to_string(i) + "</pIsLocked>") +
                     Node("IntSwissKnife", Numbered("L", i),
                          "<pVariable Name=\"C\">" + Numbered("N", c) + "</pVariable><Formula>C % 1000</Formula>");
            expected.push_back(left);
        } else if (kind == 2) {
            nodes += Node("IntSwissKnife", name, names + "<Formula>(A + B) &amp; 0xFFFF</Formula>");
            expected.push_back([=] { return (left() + right()) & 0xFFFF; });
        } else {
            nodes += Node("IntSwissKnife", name, names + "<Formula>A &gt; B ? A : B ^ 5</Formula>");
            expected.push_back([=] { return left() > right() ? left() : right() ^ 5; });
        }
    }
    Load(nodes);
    for (int round = 0; round < 400; ++round) {
        const int target = any(2) == 0 ? any(leaves) : any(leaves + knives);
        const int leaf = written[static_cast<size_t>(target)];
        if (leaf < 0) {
            continue;
        }
        values[static_cast<size_t>(leaf)] = 100 * any(30);
        Int(Numbered("N", target).c_str()).SetValue(values[static_cast<size_t>(leaf)], false);
        for (int look = 0; look < 10; ++look) {
            const auto node = static_cast<size_t>(any(leaves + knives));
            IInteger& shown = Int(Numbered("N", static_cast<int>(node)).c_str());
            ASSERT_EQ(std::tuple(shown.GetValue(), shown.GetMax(), IsWritable(shown.GetAccessMode())),
                      std::tuple(expected[node](), maxima[node](), writable[node]()))
                << "node N" << node << " in round " << round;
        }
    }
}

} // namespace
