// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/MapFixture.h"

#include <gmock/gmock.h>

#include <cstring>
#include <thread>

// How reading, writing, access modes, caches and callbacks work together.

namespace {

using namespace GenApi;
using testing::ElementsAre;
using testing::HasSubstr;
using tests::Above;
using tests::Node;
using tests::Place;
using tests::Value;

class SemanticsTest : public tests::MapTest {};

std::string Register32(const std::string& name, int address, const std::string& rest = "") {
    return Node("IntReg", name, Place(address, 4, rest + "<Endianess>LittleEndian</Endianess>"));
}

TEST_F(SemanticsTest, PredicatesDecideBeforeTheNodeItself) {
    Load(Value("There", 1) + Value("Usable", 1) + Value("Lock") +
         Value("X", 0,
               "<pIsImplemented>There</pIsImplemented><pIsAvailable>Usable</pIsAvailable><pIsLocked>Lock</pIsLocked>") +
         Above("Integer", "Above", "X"));
    EXPECT_EQ(Mode("Above"), RW);
    Int("Lock").SetValue(1);
    EXPECT_EQ(Mode("Above"), RO);
    Int("Usable").SetValue(0);
    EXPECT_EQ(Mode("Above"), NA);
    EXPECT_THROW(Int("Above").GetValue(), GenICam::AccessException);
    Int("There").SetValue(0);
    EXPECT_EQ(Mode("X"), NI);
    EXPECT_FALSE(IsImplemented(Map->GetNode("X")));
}

TEST_F(SemanticsTest, CallbacksMayDeregisterEachOtherAndWrite) {
    Load(Value("X") + Value("Y"));
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

class EndingTest : public SemanticsTest, public testing::WithParamInterface<ECallbackType> {};
INSTANTIATE_TEST_SUITE_P(Phases, EndingTest, testing::Values(cbPostInsideLock, cbPostOutsideLock));

// for the address sanitizer too: nothing that has died is touched afterwards
TEST_P(EndingTest, ACallbackMayEndAndDieInItsOwnCall) {
    class Dying : public CNodeCallback {
    public:
        Dying(INode* node, ECallbackType type, int& destroyed) : CNodeCallback(node, type), m_destroyed(destroyed) {}
        void operator()(ECallbackType cause) const override {
            if (cause == m_CallbackType) {
                Deregister(reinterpret_cast<CallbackHandleType>(this));
                delete this;
            }
        }
        void Destroy() override { ++m_destroyed; }

    private:
        int& m_destroyed;
    };
    Load(Value("X"));
    int destroyed = 0;
    int calls = 0;
    Map->GetNode("X")->RegisterCallback(new Dying(Map->GetNode("X"), GetParam(), destroyed));
    Count("X", calls, GetParam());
    Int("X").SetValue(1);
    Int("X").SetValue(2);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(destroyed, 0) << "nobody is left to be told";
}

TEST_P(EndingTest, ACallbackMayDestroyTheMap) {
    Load(Value("X"));
    int calls = 0;
    Register(
        Map->GetNode("X"),
        [&, text = std::string(100, 'x')](INode*) {
            Map.reset();
            calls += static_cast<int>(text.size()); // the function itself lives until it returns
        },
        GetParam());
    Count("X", calls, cbPostOutsideLock);
    Int("X").SetValue(1);
    EXPECT_EQ(calls, 100) << "the others ended with the map";
}

TEST_F(SemanticsTest, AThrowingCallbackHindersNoOther) {
    Load(Value("X"));
    int calls = 0;
    Register(Map->GetNode("X"), [](INode*) { throw RUNTIME_EXCEPTION("first"); });
    Register(Map->GetNode("X"), [](INode*) { throw RUNTIME_EXCEPTION("second"); });
    Count("X", calls);
    Count("X", calls, cbPostOutsideLock);
    EXPECT_THAT(Failure([&] { Int("X").SetValue(1); }), HasSubstr("first"));
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(Int("X").GetValue(), 1);
    std::thread([&] {
        CLock& lock = Map->GetLock();
        const bool free = lock.TryLock();
        EXPECT_TRUE(free);
        if (free) {
            lock.Unlock();
        }
    }).join();
}

TEST_F(SemanticsTest, ACallbackThatAlwaysWritesEndsInAnException) {
    Load(Value("X") + Value("Y"));
    int calls = 0;
    Register(Map->GetNode("X"), [&](INode*) { Int("Y").SetValue(++calls); });
    Register(
        Map->GetNode("Y"), [&](INode*) { Int("X").SetValue(calls); }, cbPostOutsideLock);
    EXPECT_THROW(Int("X").SetValue(1), GenICam::LogicalErrorException);
    EXPECT_GT(calls, 10);
    EXPECT_EQ(Int("Y").GetValue(), calls);
}

TEST_F(SemanticsTest, AVariableIsReadOnceForAnEvaluation) {
    Load(Register32("X", 0, "<Cachable>NoCache</Cachable>") +
         Node("IntSwissKnife", "Square", "<pVariable Name=\"X\">X</pVariable><Formula>X * X</Formula>"));
    Port.Memory[0] = 3;
    EXPECT_EQ(Int("Square").GetValue(), 9);
    EXPECT_EQ(Port.Reads, 1);
}

TEST_F(SemanticsTest, StringsOfTheDeviceEndAtTheirZero) {
    Load(Node("StringReg", "Name", Place(0, 8)));
    std::memcpy(Port.Memory.data(), "ab\0junk!", 8);
    EXPECT_EQ(Text("Name"), "ab");
}

TEST_F(SemanticsTest, CyclesOfValuesEndInAnExceptionThatNamesANode) {
    Load(Above("Integer", "A", "B") + Above("Integer", "B", "A") + Above("Integer", "Me", "Me") +
         Value("P", 1, "<pIsAvailable>Q</pIsAvailable>") + Value("Q", 1, "<pIsAvailable>P</pIsAvailable>"));
    EXPECT_THAT(Failure([&] { Int("A").GetValue(); }), testing::AnyOf(HasSubstr("'A'"), HasSubstr("'B'")));
    EXPECT_THROW(Int("Me").GetValue(), GenICam::RuntimeException);
    EXPECT_THROW(Int("Me").SetValue(1), GenICam::RuntimeException);
    EXPECT_THROW(Int("Me").GetMax(), GenICam::RuntimeException);
    EXPECT_EQ(Mode("P"), RW);
}

} // namespace
