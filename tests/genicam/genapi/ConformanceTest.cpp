// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/CommaLocale.h"
#include "genicam/genapi/MapFixture.h"

#include <gmock/gmock.h>

#include <cmath>
#include <future>
#include <mutex>
#include <thread>
#include <utility>

// What those who build on node maps rely on.

namespace {

using namespace GenApi;
using testing::ElementsAre;
using tests::Node;
using tests::Place;
using tests::Value;

class ConformanceTest : public tests::MapTest {};

const std::string kModeEnumeration = R"(<Enumeration Name="Mode"><EnumEntry Name="Off"><Value>0</Value></EnumEntry>
    <EnumEntry Name="On"><Value>7</Value></EnumEntry><Value>0</Value></Enumeration>)";

TEST_F(ConformanceTest, NodesAreFoundByNameAndTheLockIsOneRecursiveLock) {
    Load(kModeEnumeration);
    EXPECT_EQ(Map->GetNode("mode"), nullptr);
    EXPECT_EQ(Map->GetNode(""), nullptr);
    CLock& lock = Map->GetLock();
    EXPECT_EQ(&lock, &Map->GetLock());
    const AutoLock outer(lock);
    EXPECT_TRUE(lock.TryLock());
    EXPECT_EQ(Map->GetNode("Mode")->GetNodeMap(), Map.get());
    lock.Unlock();
}

TEST_F(ConformanceTest, AMapOutlivesTextAndFactory) {
    const std::string text = tests::Description(Value("Width", 640));
    std::vector<char> memory(text.begin(), text.end()); // no zero byte behind it
    {
        CNodeMapFactory factory(ContentType_Xml, memory.data(), memory.size(), CacheUsage_Automatic, false);
        Map.reset(factory.CreateNodeMap("Device", true));
    }
    memory.assign(memory.size(), '#');
    EXPECT_EQ(Int("Width").GetValue(), 640);
    EXPECT_EQ(Map->GetDeviceName(), "Device");
}

TEST_F(ConformanceTest, MapsOfOneFactoryHaveTheirOwnState) {
    CNodeMapFactory factory(GenICam::gcstring(tests::Description(Value("Width", 640)).c_str()));
    Map.reset(factory.CreateNodeMap("First"));
    const tests::MapPtr second(factory.CreateNodeMap("Second"));
    Int("Width").SetValue(1);
    EXPECT_EQ(CIntegerPtr(second->GetNode("Width"))->GetValue(), 640);
    EXPECT_EQ(second->GetDeviceName(), "Second");
}

TEST_F(ConformanceTest, AnEmptyMapAnswersEverythingWithNothing) {
    Map.reset(CNodeMapFactory::CreateEmptyNodeMap());
    NodeList_t nodes;
    Map->GetNodes(nodes);
    EXPECT_TRUE(nodes.empty());
    EXPECT_EQ(Map->GetNumNodes(), 0u);
    EXPECT_EQ(Map->GetNode("Root"), nullptr);
    EXPECT_FALSE(Map->Connect(&Port));
    Map->InvalidateNodes();
    Map->Poll(100);
    const AutoLock lock(Map->GetLock());
}

TEST_F(ConformanceTest, APortIsConnectedByItsNameAndItsFailureStaysWhatItIs) {
    Map = tests::MakeMap(Node("IntReg", "Fill", "<Address>0</Address><Length>4</Length><pPort>QueuePort</pPort>") +
                         Node("Port", "QueuePort", ""));
    EXPECT_EQ(Mode("Fill"), NA);
    ASSERT_TRUE(Map->Connect(&Port, "QueuePort"));
    EXPECT_EQ(Int("Fill").GetValue(), 0);
    Map->InvalidateNodes();
    Port.TimesOut = true;
    try {
        Int("Fill").GetValue();
        FAIL() << "the failure of the port was swallowed";
    } catch (const GenICam::TimeoutException& error) {
        EXPECT_STREQ(error.GetDescription(), "The device is asleep");
    }
}

TEST_F(ConformanceTest, APortNodeCanBeThePortOfAnotherMapUnlessTheyGoInACircle) {
    const std::string nodes = Node("IntReg", "R", Place(0, 4, "<Cachable>NoCache</Cachable>"));
    Load(nodes);
    const tests::MapPtr upper = tests::MakeMap(nodes + Node("Port", "Device", ""));
    ASSERT_TRUE(upper->Connect(&As<IPort>("Device")));
    dynamic_cast<IInteger&>(*upper->GetNode("R")).SetValue(7);
    EXPECT_EQ(Port.Memory[0], 7);
    EXPECT_EQ(Int("R").GetValue(), 7) << "the lower map keeps its device";
    for (INodeMap* map : {Map.get(), upper.get()}) {
        EXPECT_THROW(Map->Connect(dynamic_cast<IPort*>(map->GetNode("Device"))), GenICam::InvalidArgumentException);
    }
    EXPECT_EQ(Int("R").GetValue(), 7);
}

TEST_F(ConformanceTest, AnAccessThatComesBackToItsPortNodeFails) {
    struct Loop : CPortImpl {
        IPort* node = nullptr;
        EAccessMode GetAccessMode() const override { return RW; }
        void Read(void* bytes, int64_t address, int64_t length) override { node->Read(bytes, address, length); }
        void Write(const void* bytes, int64_t address, int64_t length) override { node->Write(bytes, address, length); }
    } loop;
    Load(Node("IntReg", "R", Place(0, 4)));
    loop.node = &As<IPort>("Device");
    ASSERT_TRUE(Map->Connect(&loop));
    EXPECT_THAT(Failure([this] { Int("R").GetValue(); }), testing::HasSubstr("depends on itself"));
    EXPECT_THAT(Failure([this] { Int("R").SetValue(1, false); }), testing::HasSubstr("depends on itself"));
    Map->Connect(nullptr);
}

TEST_F(ConformanceTest, LimitsFollowTheirNodesAndTellTheListener) {
    Load(Value("Low", 2) + Value("High", 10) + Value("Width", 5, "<pMin>Low</pMin><pMax>High</pMax>"));
    int calls = 0;
    Count("Width", calls);
    EXPECT_EQ(Int("Width").GetMax(), 10);
    Int("High").SetValue(20);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(Int("Width").GetMax(), 20);
    Int("Low").SetValue(4);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(Int("Width").GetMin(), 4);
    EXPECT_THROW(Int("Width").SetValue(3), GenICam::OutOfRangeException);
}

TEST_F(ConformanceTest, ACallbackFiresOncePerWriteWithTheNewValueVisible) {
    Load(Value("Width", 1));
    std::vector<std::int64_t> seen;
    const auto handle = Register(Map->GetNode("Width"), [&](INode*) { seen.push_back(Int("Width").GetValue()); });
    EXPECT_TRUE(seen.empty());
    Int("Width").SetValue(2);
    Int("Width").SetValue(2);
    Int("Width") = 3;
    EXPECT_THAT(seen, ElementsAre(2, 2, 3));
    Deregister(handle);
    Int("Width").SetValue(4);
    EXPECT_THAT(seen, ElementsAre(2, 2, 3));
}

// As those do that own their callbacks themselves.
class CForeignCallback : public CNodeCallback {
public:
    explicit CForeignCallback(std::vector<int>& causes) : CNodeCallback(nullptr, cbPostInsideLock), m_causes(causes) {}
    void operator()(ECallbackType cause) const override { m_causes.push_back(cause); }
    void Destroy() override { ++Destroyed; }
    int Destroyed = 0;

private:
    std::vector<int>& m_causes;
};

TEST_F(ConformanceTest, AForeignCallbackIsGivenBackOnceAndNeverDeleted) {
    Load(Value("Width"));
    std::vector<int> causes;
    CForeignCallback callback(causes), kept(causes);
    INode* const node = Map->GetNode("Width");
    EXPECT_THROW(node->RegisterCallback(nullptr), GenICam::InvalidArgumentException);
    const CallbackHandleType handle = node->RegisterCallback(&callback);
    EXPECT_TRUE(node->DeregisterCallback(handle));
    EXPECT_EQ(callback.Destroyed, 1);
    EXPECT_FALSE(node->DeregisterCallback(handle));
    EXPECT_EQ(callback.Destroyed, 1);
    node->RegisterCallback(&kept);
    Map.reset();
    EXPECT_EQ(kept.Destroyed, 1) << "the map gives back what it still has";
}

TEST_F(ConformanceTest, CallbacksRunInTheirOrderFirstInsideThenOutsideTheLock) {
    Load(Value("Width"));
    std::vector<int> first, second;
    CForeignCallback a(first), b(second);
    std::vector<std::string> order;
    INode* const node = Map->GetNode("Width");
    node->RegisterCallback(&a);
    Register(
        node, [&](INode*) { order.push_back("outside 1"); }, cbPostOutsideLock);
    Register(
        node, [&](INode*) { order.push_back("inside 1"); }, cbPostInsideLock);
    Register(
        node, [&](INode*) { order.push_back("inside 2"); }, cbPostInsideLock);
    Register(
        node, [&](INode*) { order.push_back("outside 2"); }, cbPostOutsideLock);
    node->RegisterCallback(&b);
    Int("Width").SetValue(1);
    EXPECT_THAT(order, ElementsAre("inside 1", "inside 2", "outside 1", "outside 2"));
    EXPECT_THAT(first, ElementsAre(cbPostInsideLock, cbPostOutsideLock));
    EXPECT_EQ(first, second);
    Map.reset();
}

struct CListener {
    void OnChange(INode* node) { Seen.push_back(node->GetName().c_str()); }
    std::vector<std::string> Seen;
};

TEST_F(ConformanceTest, MemberFunctionsCanListen) {
    Load(Value("Width"));
    CListener listener;
    INode* const node = Map->GetNode("Width");
    const auto inside = Register(node, listener, &CListener::OnChange);
    node->RegisterCallback(make_NodeCallback(node, listener, &CListener::OnChange, cbPostOutsideLock));
    Int("Width").SetValue(1);
    EXPECT_THAT(listener.Seen, ElementsAre("Width", "Width"));
    Deregister(inside);
    Int("Width").SetValue(2);
    EXPECT_EQ(listener.Seen.size(), 3u);
    std::vector<int> causes;
    CForeignCallback homeless(causes);
    EXPECT_THROW(Deregister(reinterpret_cast<CallbackHandleType>(&homeless)), GenICam::InvalidArgumentException);
    Deregister(0);
}

TEST_F(ConformanceTest, AReplayedListInvalidatesWhatIsBehindThePort) {
    Load(Node("IntReg", "X", Place(0, 4, "<Endianess>LittleEndian</Endianess>")));
    EXPECT_EQ(Int("X").GetValue(), 0);
    auto& recorder = As<IPortRecorder>("Device");
    CPortWriteList list;
    recorder.StartRecording(&list);
    Int("X").SetValue(5);
    recorder.StopRecording();
    EXPECT_EQ(Port.Memory[0], 0);
    EXPECT_EQ(Port.Writes, 0);
    Map->InvalidateNodes();
    EXPECT_EQ(Int("X").GetValue(), 0);
    Port.Replay(&list);
    EXPECT_EQ(Int("X").GetValue(), 5);
}

TEST_F(ConformanceTest, AFloatLeadsToItsOtherForms) {
    Load(Node("Float", "F", "<pCastAlias>I</pCastAlias><Value>1</Value>") + Value("I"));
    const CFloatPtr number = Map->GetNode("F");
    EXPECT_EQ(number.GetIntAlias(), &Int("I"));
    EXPECT_EQ(number.GetEnumAlias(), nullptr);
}

TEST_F(ConformanceTest, TextsOfEveryTypeCanBeWrittenBackUnderACommaLocale) {
    if (!tests::UseCommaLocale()) {
        GTEST_SKIP() << "this machine has no locale with a decimal comma and cannot make one";
    }
    Load(kModeEnumeration + Value("Plain", -5) + Value("Hex", 0xAB, "<Representation>HexNumber</Representation>") +
         Value("Ip", 0x7F000001, "<Representation>IPV4Address</Representation>") +
         Value("Mac", 0x112233, "<Representation>MACAddress</Representation>") +
         Node("Float", "Float", "<Value>2.5</Value>") + Node("Boolean", "Boolean", "<Value>1</Value>") +
         Node("String", "String", "<Value>a, b</Value>") + Node("Register", "Register", Place(0, 3)) +
         Node("StringReg", "StringReg", Place(8, 4)) +
         Node("FloatReg", "FloatReg", Place(16, 8, "<Endianess>LittleEndian</Endianess>")));
    As<IFloat>("FloatReg").SetValue(0.25);
    As<IString>("StringReg").SetValue("abcd");
    Port.Memory[2] = 0xFE;
    const std::vector<std::pair<const char*, const char*>> expected = {
        {"Plain", "-5"},  {"Hex", "0xAB"},       {"Ip", "127.0.0.1"}, {"Mac", "00:00:00:11:22:33"},
        {"Float", "2.5"}, {"Boolean", "1"},      {"String", "a, b"},  {"Register", "0x0000fe"},
        {"Mode", "Off"},  {"StringReg", "abcd"}, {"FloatReg", "0.25"}};
    for (const auto& [name, text] : expected) {
        EXPECT_EQ(Text(name), text);
        As<IValue>(name).FromString(text);
        EXPECT_EQ(Text(name), text);
        if (std::string(name) != "String" && std::string(name) != "StringReg") {
            EXPECT_THROW(As<IValue>(name).FromString("1,5 x"), GenICam::InvalidArgumentException) << name;
        }
    }
    EXPECT_THROW(As<IValue>("StringReg").FromString("abcde"), GenICam::OutOfRangeException);
    EXPECT_THAT(Failure([this] { As<IFloat>("FloatReg").SetValue(HUGE_VAL); }), testing::HasSubstr("8368.000000. : "));
}

TEST_F(ConformanceTest, AnOutsideCallbackMayTakeALockWhoseHolderReadsNodes) {
    Load(Value("Width"));
    std::mutex foreign;
    std::promise<void> held, firing;
    Register(
        Map->GetNode("Width"), [&](INode*) { const std::lock_guard lock(foreign); }, cbPostOutsideLock);
    Register(Map->GetNode("Width"), [&](INode*) { firing.set_value(); });
    std::thread reader([&] {
        const std::lock_guard lock(foreign);
        held.set_value();
        firing.get_future().wait();
        EXPECT_EQ(Int("Width").GetValue(), 1); // the writer must give its lock back before it waits for ours
    });
    held.get_future().wait();
    Int("Width").SetValue(1);
    reader.join();
}

} // namespace
