#include <atomic>
#include <thread>

#include "genicam/genapi/MapFixture.h"

// Many threads at one node map; meant to run under the thread sanitizer as well.

namespace {

using namespace GenApi;
using tests::Node;
using tests::Place;

class ConcurrencyTest : public tests::MapTest {
protected:
    void SetUp() override {
        Load(Node("Integer", "Lock", "<Value>0</Value>") +
             Node("IntReg", "X", Place(0, 4, "<Endianess>LittleEndian</Endianess><pIsLocked>Lock</pIsLocked>")) +
             Node("Integer", "Above", "<pValue>X</pValue>") +
             Node("IntSwissKnife", "Double", "<pVariable Name=\"X\">Above</pVariable><Formula>X*2</Formula>"));
    }
    /// Runs each of these @p rounds times in a thread of its own, all at once.
    static void RunTogether(int rounds, const std::vector<std::function<void(int)>>& bodies) {
        std::vector<std::thread> threads;
        for (const auto& body : bodies)
            threads.emplace_back([rounds, &body] {
                for (int i = 0; i < rounds; ++i)
                    body(i);
            });
        for (std::thread& thread : threads)
            thread.join();
    }
};

constexpr int rounds = 2000;

TEST_F(ConcurrencyTest, AccessModesAreReadWhileALockIsWritten) {
    std::atomic<int> odd = 0;
    RunTogether(rounds, {[&](int i) { Int("Lock").SetValue(i % 2); },
                         [&](int) {
                             const EAccessMode mode = Mode("Above");
                             odd += mode != RW && mode != RO;
                         },
                         [&](int) { odd += !IsReadable(Map->GetNode("Double")); }});
    EXPECT_EQ(odd, 0);
}

TEST_F(ConcurrencyTest, ReadersSeeOneValueAtATime) {
    std::atomic<int> torn = 0, calls = 0;
    Register(Map->GetNode("Double"), [&](INode*) {
        ++calls;
        torn += Int("Double").GetValue() != 2 * Int("Above").GetValue();
    });
    const auto readBoth = [&](int) {
        const AutoLock lock(Map->GetLock());
        torn += Int("Double").GetValue() != 2 * Int("Above").GetValue();
    };
    RunTogether(rounds, {[&](int i) { Int("Above").SetValue(i); }, [&](int i) { Int("X").SetValue(i * 3); }, readBoth,
                         readBoth});
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(calls, 2 * rounds);
}

TEST_F(ConcurrencyTest, CallbacksComeAndGoWhileTheyFire) {
    std::atomic<int> calls = 0;
    const auto registerBriefly = [&](int) {
        const auto count = [&](INode*) { ++calls; };
        const auto inside = Register(Map->GetNode("Double"), count, cbPostInsideLock);
        const auto outside = Register(Map->GetNode("X"), count, cbPostOutsideLock);
        Deregister(inside);
        Deregister(outside);
    };
    RunTogether(rounds, {[&](int i) { Int("Above").SetValue(i); }, registerBriefly, registerBriefly,
                         [&](int) { Map->InvalidateNodes(); }, [&](int) { Map->Poll(1); }});
    const int after = calls;
    Int("Above").SetValue(1);
    EXPECT_EQ(calls, after) << "no registration was left behind";
}

TEST_F(ConcurrencyTest, MapsOfOneFactoryAreMadeAndUsedAtOnce) {
    CNodeMapFactory factory(GenICam::gcstring(
        tests::Description(Node("Integer", "W", "<Value>5</Value>") +
                           Node("IntSwissKnife", "K", "<pVariable Name=\"W\">W</pVariable><Formula>W+1</Formula>"))
            .c_str()));
    std::atomic<int> wrong = 0;
    const auto body = [&](int) {
        const tests::MapPtr map(factory.CreateNodeMap());
        wrong += CIntegerPtr(map->GetNode("K"))->GetValue() != 6;
    };
    RunTogether(100, {body, body, body, body});
    EXPECT_EQ(wrong, 0);
}

} // namespace
