// SPDX-License-Identifier: Apache-2.0
#include "fakes/LogRecorder.h"
#include "genicam/genapi/MapFixture.h"
#include <Log/CLog.h>

#include <gmock/gmock.h>

// Descriptions, devices and ports that do what no decent one does: the map ends with an exception at worst.

namespace {

using namespace GenApi;
using testing::ElementsAre;
using testing::HasSubstr;
using tests::Node;
using tests::Numbered;
using tests::Place;
using tests::Value;

std::string Above(const std::string& name, const std::string& target) {
    return Node("Integer", name, "<pValue>" + target + "</pValue>");
}

/// A device that does something of its own in the middle of an access.
class RestlessPort : public tests::MemoryPort {
public:
    void Read(void* bytes, int64_t address, int64_t length) override {
        MemoryPort::Read(bytes, address, length);
        if (OnRead) {
            OnRead();
        }
    }
    void Write(const void* bytes, int64_t address, int64_t length) override {
        Lengths.push_back(length);
        if (OnWrite) {
            OnWrite();
        }
        MemoryPort::Write(bytes, address, length);
    }
    std::function<void()> OnRead, OnWrite;
    std::vector<int64_t> Lengths;
};

class HostileTest : public tests::MapTest {
protected:
    RestlessPort Restless;
};

// Each level is reached over two ways, and nothing may be cached: without a limit this takes for ever.
TEST_F(HostileTest, LaddersOfReferencesEndInTime) {
    constexpr int levels = 60;
    std::string nodes = Node("IntReg", "Knife0", Place(0, 4, "<Cachable>NoCache</Cachable>")) +
                        Node("Float", "Limit0", "<Value>1</Value><pMin>Knife0</pMin><Max>9</Max>") +
                        Value("Gate0", 1, "<pIsAvailable>Knife0</pIsAvailable>");
    for (int i = 1; i < levels; ++i) {
        const std::string below = std::to_string(i - 1), here = std::to_string(i);
        nodes +=
            Above("Side" + here, "Knife" + below) +
            Node("IntSwissKnife", "Knife" + here,
                 "<pVariable Name=\"A\">Knife" + below + "</pVariable><pVariable Name=\"B\">Side" + here +
                     "</pVariable><Formula>A + B</Formula>") +
            Node("Converter", "Limit" + here,
                 "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO + 1</FormulaFrom><pValue>Limit" + below + "</pValue>") +
            Value("Gate" + here, 1,
                  "<pIsAvailable>Gate" + below + "</pIsAvailable><pIsImplemented>Gate" + below + "</pIsImplemented>");
    }
    Load(nodes);
    Port.Memory[0] = 1;
    EXPECT_EQ(Int("Knife8").GetValue(), 256);
    const std::string last = std::to_string(levels - 1);
    EXPECT_THAT(Failure([&] { Int(("Knife" + last).c_str()).GetValue(); }), HasSubstr("steps"));
    EXPECT_THAT(Failure([&] { Float(("Limit" + last).c_str()).GetMin(); }), HasSubstr("steps"));
    EXPECT_THAT(Failure([&] { Mode(("Gate" + last).c_str()); }), HasSubstr("steps"));
    EXPECT_EQ(Int("Knife8").GetValue(), 256) << "each call has its own account";
}

// Nor does it help to have few nodes that do much each.
TEST_F(HostileTest, LongFormulasAndListsCountAsSteps) {
    std::string formula = "X", values;
    for (int i = 0; i < 20000; ++i) {
        formula += "+X";
        values += "<ValueIndexed Index=\"" + std::to_string(i + 1) + "\">1</ValueIndexed>";
    }
    for (const std::string& bottom :
         {Node("IntSwissKnife", "Knife0", "<pVariable Name=\"X\">Live</pVariable><Formula>" + formula + "</Formula>"),
          Node("Integer", "Knife0", "<pIndex>Live</pIndex>" + values + "<ValueDefault>0</ValueDefault>")}) {
        std::string nodes = Node("IntReg", "Live", Place(0, 4, "<Cachable>NoCache</Cachable>")) + bottom;
        for (int i = 1; i < 60; ++i) {
            nodes +=
                Above("Side" + std::to_string(i), Numbered("Knife", i - 1)) +
                Node("IntSwissKnife", Numbered("Knife", i),
                     "<pVariable Name=\"A\">" + Numbered("Knife", i - 1) + "</pVariable><pVariable Name=\"B\">Side" +
                         std::to_string(i) + "</pVariable><Formula>A + B</Formula>");
        }
        Load(nodes);
        Port.Reads = 0;
        EXPECT_THAT(Failure([&] { Int("Knife59").GetValue(); }), HasSubstr("steps"));
        EXPECT_LT(Port.Reads, 2000) << "one for each time that the lowest one is evaluated";
    }
}

TEST_F(HostileTest, ChainsEndBeforeTheStackDoes) {
    std::string nodes = Value("N0", 5);
    for (int i = 1; i < 1200; ++i) {
        nodes += Node("Converter", Numbered("N", i),
                      "<pVariable Name=\"V\">N0</pVariable><FormulaTo>FROM + V - 5</FormulaTo>"
                      "<FormulaFrom>TO + V - 5</FormulaFrom><pValue>" +
                          Numbered("N", i - 1) + "</pValue>");
    }
    Load(nodes);
    EXPECT_EQ(Float("N300").GetValue(), 5.0);
    Float("N300").SetValue(5.0);
    for (const auto& call : std::vector<std::function<void()>>{
             [this] { Float("N1199").GetValue(); }, [this] { Float("N1199").SetValue(1, false); },
             [this] { Float("N1199").GetMax(); }, [this] { Float("N1199").GetUnit(); }}) {
        EXPECT_THAT(Failure(call), HasSubstr("more than 1000 levels deep"));
    }
}

TEST(HostileLoadTest, StructuresOfManyEntriesAndElementsAreRefusedInTime) {
    for (const char* element : {"<Address>0</Address>", "<pInvalidator>Device</pInvalidator>"}) {
        std::string structure = "<StructReg Comment=\"s\">" + Place(0, 4);
        for (int i = 0; i < 100000; ++i) {
            structure += element;
        }
        for (int i = 0; i < 100000; ++i) {
            structure += "<StructEntry Name=\"F" + std::to_string(i) + "\"><Bit>0</Bit></StructEntry>";
        }
        try {
            tests::MakeMap(structure + "</StructReg>" + Node("Port", "Device", ""));
            FAIL() << "loaded";
        } catch (const GenICam::RuntimeException& failure) {
            EXPECT_THAT(failure.GetDescription(), HasSubstr("properties"));
        }
    }
}

TEST_F(HostileTest, WarningsOfOneFileAreLimited) {
    const Fakes::LogRecorder log("GenApi");
    std::string features;
    for (int i = 0; i < 5000; ++i) {
        features += "<pFeature>Gone</pFeature>";
    }
    Load(Node("Category", "Root", features));
    EXPECT_EQ(log.Count("GenApi", GenICam::LogPriority_Warn, "which does not exist"), 100u);
    EXPECT_EQ(log.Count("GenApi", GenICam::LogPriority_Warn, "4900 more references"), 1u);
}

TEST_F(HostileTest, AFormulaOfTooManyNamesOrParenthesesIsBroken) {
    std::string names;
    for (int i = 0; i < 5000; ++i) {
        names += "<Constant Name=\"" + Numbered("C", i) + "\">1</Constant>";
    }
    Load(Node("IntSwissKnife", "K", names + "<Formula>C1</Formula>") +
         Node("IntSwissKnife", "P", "<Formula>" + std::string(1000000, '(') + "</Formula>"));
    EXPECT_THAT(Failure([this] { Int("K").GetValue(); }), HasSubstr("5000 names"));
    EXPECT_THAT(Failure([this] { Int("P").GetValue(); }), HasSubstr("Node 'P', property 'Formula': "));
    EXPECT_EQ(Mode("P"), RO) << "only a read tells";
}

// The device says another length each time it is asked.
TEST_F(HostileTest, ALengthThatGrowsMeanwhileSendsNothingOfOtherMemory) {
    Load(Node("IntReg", "Size", Place(0, 1, "<Cachable>NoCache</Cachable>")) +
         Node("StringReg", "Text",
              "<Address>16</Address><pLength>Size</pLength><AccessMode>RW</AccessMode><pPort>Device</pPort>") +
         Node("IntReg", "Number",
              "<Address>16</Address><pLength>Size</pLength><AccessMode>RW</AccessMode><pPort>Device</pPort>"));
    Map->Connect(&Restless);
    Restless.Memory[0] = 4;
    Restless.OnRead = [this] { Restless.Memory[0] = static_cast<uint8_t>(2 * Restless.Memory[0] % 255); };
    As<IString>("Text").SetValue("ab", false);
    const uint8_t byte = 1;
    Restless.Memory[0] = 2;
    As<IRegister>("Text").Set(&byte, 1, false);
    Restless.Memory[0] = 2;
    Int("Number").SetValue(1, false);
    EXPECT_THAT(Restless.Lengths, ElementsAre(4, 2, 2));
}

TEST_F(HostileTest, WhatIsReadInTheMiddleOfAWriteToTheSameBytesDoesNotStay) {
    Load(Node("IntReg", "Whole", Place(0, 4)) + Node("IntReg", "Byte", Place(1, 1)));
    Map->Connect(&Restless);
    Restless.OnWrite = [this] { EXPECT_EQ(Int("Byte").GetValue(), 0); };
    Int("Whole").SetValue(0x0700);
    EXPECT_EQ(Int("Byte").GetValue(), 7);
    Restless.OnWrite = [this] {
        Restless.Memory[1] = 9;
        Int("Byte").GetValue();
        Restless.Memory[1] = 10;
        throw RUNTIME_EXCEPTION("Half done");
    };
    EXPECT_THROW(Int("Whole").SetValue(0), GenICam::RuntimeException);
    EXPECT_EQ(Int("Byte").GetValue(), 10);
}

TEST_F(HostileTest, WhatIsReadInTheMiddleOfAReplayDoesNotStay) {
    Load(Node("IntReg", "A", Place(0, 1)) + Node("IntReg", "B", Place(1, 1)) +
         Node("IntSwissKnife", "Next", "<pVariable Name=\"B\">B</pVariable><Formula>B + 1</Formula>"));
    Map->Connect(&Restless);
    CPortWriteList list;
    list.Write("\x03", 0, 1);
    list.Write("\x05", 1, 1);
    Restless.OnWrite = [this] { EXPECT_EQ(Int("Next").GetValue(), 1); };
    As<IPortRecorder>("Device").Replay(&list);
    EXPECT_EQ(Int("A").GetValue() + Int("Next").GetValue(), 3 + 6);
    list.Write("\x06", 999, 1);
    Restless.OnWrite = [this] { Int("Next").GetValue(); };
    Restless.Memory[1] = 7;
    EXPECT_ANY_THROW(As<IPortRecorder>("Device").Replay(&list)) << "the last write is beyond the memory";
    EXPECT_EQ(Int("Next").GetValue(), 6);
}

TEST_F(HostileTest, AllNodesInvalidatedByAPortBelongToTheChangeThatGoesOn) {
    Load(Node("IntReg", "R", Place(0, 4)) + Above("A", "R") + Value("Other", 0));
    Map->Connect(&Restless);
    bool isWriting = false;
    int calls = 0, early = 0;
    for (const char* name : {"A", "Other"}) {
        Register(Map->GetNode(name), [&](INode*) {
            ++calls;
            early += isWriting;
        });
    }
    Restless.OnWrite = [&] {
        isWriting = true;
        Map->InvalidateNodes();
        isWriting = false;
    };
    Int("A").SetValue(1);
    EXPECT_EQ(calls, 2) << "each once";
    EXPECT_EQ(early, 0);
}

TEST_F(HostileTest, CallbacksThatEndEachOtherWithTheMapEndOnce) {
    class Ending : public CNodeCallback {
    public:
        explicit Ending(INode* node) : CNodeCallback(node, cbPostInsideLock) {}
        void operator()(ECallbackType) const override {}
        void Destroy() override {
            ++destroyed;
            if (other) {
                m_pNode->DeregisterCallback(reinterpret_cast<CallbackHandleType>(other));
            }
        }
        CNodeCallback* other = nullptr;
        int destroyed = 0;
    };
    Load(Value("A", 0));
    Ending callbacks[3] = {Ending(Map->GetNode("A")), Ending(Map->GetNode("A")), Ending(Map->GetNode("A"))};
    for (int i = 0; i < 3; ++i) {
        callbacks[i].other = &callbacks[2 - i];
        Map->GetNode("A")->RegisterCallback(&callbacks[i]);
    }
    Map.reset();
    for (const Ending& callback : callbacks) {
        EXPECT_EQ(callback.destroyed, 1);
    }
}

} // namespace
