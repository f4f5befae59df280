// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/MapFixture.h"
#include <GenApi/ChunkAdapterGEV.h>
#include <GenApi/EventAdapterGeneric.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>

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
             Node("IntSwissKnife", "Double", "<pVariable Name=\"X\">Above</pVariable><Formula>X*2</Formula>") +
             Node("Port", "ChunkPort", "<ChunkID>1</ChunkID>") + Node("Port", "EventPort", "<EventID>9001</EventID>") +
             Node("Port", "SameChunkPort", "<ChunkID>1</ChunkID>") +
             Node("IntReg", "Same", "<Address>0</Address><Length>4</Length><pPort>SameChunkPort</pPort>") +
             Node("IntReg", "Chunk", "<Address>0</Address><Length>4</Length><pPort>ChunkPort</pPort>") +
             Node("IntReg", "Event", "<Address>0</Address><Length>4</Length><pPort>EventPort</pPort>") +
             Node("IntSwissKnife", "Sum",
                  "<pVariable Name=\"C\">Chunk</pVariable><pVariable Name=\"E\">Event</pVariable>"
                  "<pVariable Name=\"X\">X</pVariable><Formula>C+E+X</Formula>"));
    }
    /// Runs each of these @p rounds times in a thread of its own, all at once.
    static void RunTogether(int rounds, const std::vector<std::function<void(int)>>& bodies) {
        std::vector<std::thread> threads;
        for (const auto& body : bodies) {
            threads.emplace_back([rounds, &body] {
                for (int i = 0; i < rounds; ++i) {
                    body(i);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
};

constexpr int kRounds = 2000;

TEST_F(ConcurrencyTest, AccessModesAreReadWhileALockIsWritten) {
    std::atomic<int> odd = 0;
    RunTogether(kRounds, {[&](int i) { Int("Lock").SetValue(i % 2); },
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
    RunTogether(kRounds, {[&](int i) { Int("Above").SetValue(i); }, [&](int i) { Int("X").SetValue(i * 3); }, readBoth,
                          readBoth});
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(calls, 2 * kRounds);
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
    RunTogether(kRounds, {[&](int i) { Int("Above").SetValue(i); }, registerBriefly, registerBriefly,
                          [&](int) { Map->InvalidateNodes(); }, [&](int) { Map->Poll(1); }});
    const int after = calls;
    Int("Above").SetValue(1);
    EXPECT_EQ(calls, after) << "no registration was left behind";
}

// Whoever ends a registration may free at once what its callback uses.
TEST_F(ConcurrencyTest, NoCallRunsOrBeginsOnceItsRegistrationHasEnded) {
    std::atomic<int> late = 0;
    struct Client {
        explicit Client(std::atomic<int>& counter) : Late(counter) {}
        std::atomic<int>& Late;
        std::atomic<bool> IsGone = false;
        void OnChange(INode* node) {
            dynamic_cast<IInteger&>(*node).GetValue(); // takes the lock of the map
            Late += IsGone;
        }
    };
    const auto registerBriefly = [&](int i) {
        auto client = std::make_unique<Client>(late);
        const auto handle =
            Register(Map->GetNode("Above"), *client, &Client::OnChange, i % 2 ? cbPostInsideLock : cbPostOutsideLock);
        Int("Double").GetValue();
        Deregister(handle);
        client->IsGone = true;
    };
    const auto write = [&](int i) { Int("Above").SetValue(i); };
    RunTogether(kRounds, {write, write, registerBriefly, registerBriefly});
    EXPECT_EQ(late, 0);
}

TEST_F(ConcurrencyTest, DeregisterWaitsForACallThatRunsButHoldsNoLockMeanwhile) {
    std::promise<void> begun;
    std::atomic<bool> isThrough = false;
    const auto handle = Register(
        Map->GetNode("X"),
        [&](INode*) {
            begun.set_value();
            std::thread([&] {
                for (int i = 0; i < kRounds; ++i) {
                    Int("X").GetValue(false, true);
                }
            }).join();
            isThrough = true;
        },
        cbPostOutsideLock);
    std::thread writer([&] { Int("X").SetValue(1); });
    begun.get_future().wait();
    Deregister(handle);
    EXPECT_TRUE(isThrough);
    writer.join();
}

// All numbers are of four equal bytes, whoever brings them.
TEST_F(ConcurrencyTest, ChunksAndEventsComeWhileOthersWriteReadPollAndRegister) {
    std::vector<uint8_t> buffers[] = {{1, 1, 1, 1, 0, 0, 0, 1, 0, 0, 0, 4}, {2, 2, 2, 2, 0, 0, 0, 1, 0, 0, 0, 4}};
    CChunkAdapterGEV chunks(Map.get());
    CEventAdapterGeneric events(Map.get());
    std::atomic<int> torn = 0, calls = 0;
    const auto look = [&](INode*) {
        const AutoLock lock(Map->GetLock());
        ++calls;
        for (const char* name : {"Chunk", "Event", "Sum"}) {
            torn += IsReadable(Map->GetNode(name)) && Int(name).GetValue() % 0x01010101 != 0;
        }
        torn += IsReadable(Map->GetNode("Chunk")) && Int("Chunk").GetValue() != Int("Same").GetValue();
    };
    Register(Map->GetNode("Sum"), look, cbPostInsideLock);
    Register(Map->GetNode("Sum"), look, cbPostOutsideLock);
    const auto attach = [&](int i) {
        i % 3 == 2 ? chunks.DetachBuffer() : chunks.AttachBuffer(buffers[i % 3].data(), 12);
    };
    const auto deliver = [&](int i) {
        const std::vector<uint8_t> message(4, static_cast<uint8_t>(i % 50));
        events.DeliverMessage(message.data(), 4, uint64_t(0x9001));
    };
    RunTogether(kRounds / 4,
                {attach, deliver, [&](int i) { Int("X").SetValue(i % 50 * 0x01010101); }, [&](int) { look(nullptr); },
                 [&](int) { Deregister(Register(Map->GetNode("Event"), look)); }, [&](int) { Map->Poll(1); }});
    EXPECT_EQ(torn, 0);
    EXPECT_GE(calls, 3 * 2 * (kRounds / 4));
}

TEST_F(ConcurrencyTest, MapsOfOneFactoryAreMadeAndUsedAtOnce) {
    CNodeMapFactory factory(GenICam::gcstring(
        tests::Description(Node("Integer", "W", "<Value>5</Value>") +
                           Node("IntSwissKnife", "K", "<pVariable Name=\"W\">W</pVariable><Formula>W+1</Formula>"))
            .c_str()));
    std::atomic<int> wrong = 0;
    const auto body = [&](int i) {
        const tests::MapPtr map(factory.CreateNodeMap());
        wrong += CIntegerPtr(map->GetNode("K"))->GetValue() != 6;
        CIntegerPtr(map->GetNode("W"))->SetValue(i);
        wrong += CIntegerPtr(map->GetNode("K"))->GetValue() != i + 1;
    };
    RunTogether(100, {body, body, body, body});
    EXPECT_EQ(wrong, 0);
}

} // namespace
