#include <algorithm>
#include <cstdint>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <GenApi/GenApi.h>

#include "genicam/genapi/CommaLocale.h"
#include "genicam/genapi/MapFixture.h"

// What those who build on node maps rely on.

namespace {

using namespace GenApi;
using testing::ElementsAre;
using tests::Node;
using tests::Place;

class ConformanceTest : public tests::MapTest {};

std::string Plain(const std::string& name, int value = 0, const std::string& rest = "") {
    return Node("Integer", name, "<Value>" + std::to_string(value) + "</Value>" + rest);
}

const std::string modeEnumeration = R"(<Enumeration Name="Mode"><EnumEntry Name="Off"><Value>0</Value></EnumEntry>
    <EnumEntry Name="On"><Value>7</Value></EnumEntry><Value>0</Value></Enumeration>)";

TEST_F(ConformanceTest, NodesAreFoundByNameAndTheLockIsOneRecursiveLock) {
    Load(modeEnumeration);
    EXPECT_EQ(Map->GetNode("mode"), nullptr);
    EXPECT_EQ(Map->GetNode(""), nullptr);
    EXPECT_NE(Map->GetNode("EnumEntry_Mode_On"), nullptr);
    EXPECT_EQ(Map->GetNode("Mode_On"), Map->GetNode("EnumEntry_Mode_On"));
    CLock& lock = Map->GetLock();
    EXPECT_EQ(&lock, &Map->GetLock());
    const AutoLock outer(lock);
    EXPECT_TRUE(lock.TryLock());
    EXPECT_EQ(Map->GetNode("Mode")->GetNodeMap(), Map.get());
    lock.Unlock();
}

TEST_F(ConformanceTest, AMapOutlivesTextAndFactory) {
    const std::string text = tests::Description(Plain("Width", 640));
    std::vector<char> memory(text.begin(), text.end()); // no zero byte behind it
    {
        CNodeMapFactory factory(ContentType_Xml, memory.data(), memory.size(), CacheUsage_Automatic, false);
        Map.reset(factory.CreateNodeMap("Device", true));
    }
    memory.assign(memory.size(), '#');
    EXPECT_EQ(Int("Width").GetValue(), 640);
    EXPECT_EQ(Map->GetDeviceName(), "Device");
    auto& info = dynamic_cast<IDeviceInfo&>(*Map);
    EXPECT_EQ(info.GetModelName(), "Model");
    GenICam::Version_t version;
    info.GetDeviceVersion(version);
    EXPECT_EQ(version.SubMinor, 3);
}

TEST_F(ConformanceTest, MapsOfOneFactoryHaveTheirOwnState) {
    CNodeMapFactory factory(GenICam::gcstring(tests::Description(Plain("Width", 640)).c_str()));
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

TEST_F(ConformanceTest, AMapReferenceHoldsOneMap) {
    CNodeMapRef reference("Cam");
    EXPECT_THROW(reference._GetNode("Width"), GenICam::AccessException);
    reference._LoadXMLFromString(tests::Description(Plain("Width", 640)).c_str());
    const CNodeMapRef copy = reference;
    reference._Destroy();
    EXPECT_EQ(reference._Ptr(), nullptr);
    ASSERT_NE(copy._GetNode("Width"), nullptr);
    EXPECT_EQ(copy._GetNode("Width")->GetDeviceName(), "Cam");
    CNodeMapRef again = copy;
    EXPECT_THROW(again._LoadXMLFromString("<x/>"), GenICam::RuntimeException);
}

TEST_F(ConformanceTest, AnUncachedRegisterIsReadOnceForEachValue) {
    Map =
        tests::MakeMap(Node("IntReg", "Fill",
                            "<Address>16</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>QueuePort</pPort>"
                            "<Cachable>NoCache</Cachable><Endianess>LittleEndian</Endianess>") +
                       Node("Port", "QueuePort", ""));
    EXPECT_EQ(Mode("Fill"), NA);
    EXPECT_FALSE(Map->Connect(&Port, "NoSuchPort"));
    ASSERT_TRUE(Map->Connect(&Port, "QueuePort"));
    Port.Memory[16] = 5;
    Port.Memory[19] = 0x80;
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(Int("Fill").GetValue(), 0x80000005);
        EXPECT_EQ(Port.Reads, i);
    }
    Port.TimesOut = true;
    try {
        Int("Fill").GetValue();
        FAIL() << "the failure of the port was swallowed";
    } catch (const GenICam::TimeoutException& error) {
        EXPECT_STREQ(error.GetDescription(), "The device is asleep");
    }
}

TEST_F(ConformanceTest, ALockedNodeFollowsItsLockAtOnce) {
    Load(Plain("Lock") + Plain("A") + Plain("B") + Plain("Locked", 1, "<pIsLocked>Lock</pIsLocked>") +
         Plain("LockedToo", 1, "<pIsLocked>Formula</pIsLocked>") +
         Node("IntSwissKnife", "Formula",
              "<pVariable Name=\"A\">A</pVariable><pVariable Name=\"B\">B</pVariable>"
              "<Formula>(A = 0) || (B &lt;&gt; 0)</Formula>"));
    EXPECT_EQ(Mode("Locked"), RW);
    Int("Lock").SetValue(1);
    EXPECT_EQ(Mode("Locked"), RO);
    EXPECT_THROW(Int("Locked").SetValue(5), GenICam::AccessException);
    EXPECT_EQ(Int("Locked").GetValue(), 1);
    Int("Lock").SetValue(0);
    EXPECT_EQ(Mode("Locked"), RW);

    EXPECT_EQ(Mode("LockedToo"), RO);
    Int("A").SetValue(1);
    EXPECT_EQ(Mode("LockedToo"), RW);
    Int("B").SetValue(1);
    EXPECT_EQ(Mode("LockedToo"), RO);
}

TEST_F(ConformanceTest, LimitsFollowTheirNodesAndTellTheListener) {
    Load(Plain("Low", 2) + Plain("High", 10) + Plain("Width", 5, "<pMin>Low</pMin><pMax>High</pMax>"));
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
    Load(Plain("Width", 1));
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
    Load(Plain("Width"));
    std::vector<int> causes;
    CForeignCallback callback(causes), kept(causes);
    INode* const node = Map->GetNode("Width");
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
    Load(Plain("Width"));
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
    Load(Plain("Width"));
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
    Load(Node("Float", "F", "<pCastAlias>I</pCastAlias><Value>1</Value>") + Plain("I"));
    const CFloatPtr number = Map->GetNode("F");
    EXPECT_EQ(number.GetIntAlias(), &Int("I"));
    EXPECT_EQ(number.GetEnumAlias(), nullptr);
}

TEST_F(ConformanceTest, IntegersAreHeldToTheGridAnchoredAtTheMinimum) {
    Load(Plain("Free") + Plain("Grid", 3, "<Min>3</Min><Max>20</Max><Inc>4</Inc>"));
    EXPECT_EQ(Int("Free").GetInc(), 1);
    EXPECT_EQ(Int("Free").GetMax(), INT64_MAX);
    Int("Grid").SetValue(11);
    for (const std::int64_t value : {12, 2, 21, 23})
        EXPECT_THROW(Int("Grid").SetValue(value), GenICam::OutOfRangeException) << value;
    EXPECT_EQ(Int("Grid").GetValue(), 11);
    Int("Grid").SetValue(12, false);
    EXPECT_EQ(Int("Grid").GetValue(), 12);
    Int("Free").SetValue(INT64_MIN);
    EXPECT_EQ(Int("Free").GetValue(true), INT64_MIN) << "the distance to the minimum must not overflow";
}

TEST_F(ConformanceTest, EnumerationsKnowTheirEntries) {
    Load(modeEnumeration);
    auto& mode = As<IEnumeration>("Mode");
    EXPECT_EQ(mode.GetEntryByName("nope"), nullptr);
    EXPECT_EQ(mode.GetEntryByName("on"), nullptr);
    EXPECT_EQ(mode.GetEntry(3), nullptr);
    EXPECT_THROW(mode.FromString("nope"), GenICam::InvalidArgumentException);
    EXPECT_THROW(mode.FromString("7"), GenICam::InvalidArgumentException);
    mode = "On";
    EXPECT_EQ(mode.GetIntValue(), 7);
    EXPECT_EQ(mode.GetCurrentEntry()->GetSymbolic(), "On");
    EXPECT_THROW(mode.SetIntValue(3), GenICam::InvalidArgumentException);
    mode.SetIntValue(3, false);
    EXPECT_EQ(mode.GetCurrentEntry(), nullptr);
    EXPECT_THROW(mode.ToString(), GenICam::InvalidArgumentException);
    StringList_t symbolics;
    mode.GetSymbolics(symbolics);
    ASSERT_EQ(symbolics.size(), 2u);
    EXPECT_EQ(symbolics[1], "On");
}

TEST_F(ConformanceTest, TextsOfEveryTypeCanBeWrittenBackUnderACommaLocale) {
    if (!tests::UseCommaLocale())
        GTEST_SKIP() << "this machine has no locale with a decimal comma and cannot make one";
    Load(modeEnumeration + Plain("Plain", -5) + Plain("Hex", 0xAB, "<Representation>HexNumber</Representation>") +
         Plain("Ip", 0x7F000001, "<Representation>IPV4Address</Representation>") +
         Plain("Mac", 0x112233, "<Representation>MACAddress</Representation>") +
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
}

struct MaskedField {
    const char* Endianess;
    int Lsb, Msb;
    std::int64_t Value;
};

class MaskedFieldTest : public tests::MapTest, public testing::WithParamInterface<MaskedField> {};

TEST_P(MaskedFieldTest, CountsItsBitsAsTheByteOrderDoes) {
    const MaskedField& field = GetParam();
    Load(Node("MaskedIntReg", "Field",
              Place(0, 4) + "<LSB>" + std::to_string(field.Lsb) + "</LSB><MSB>" + std::to_string(field.Msb) +
                  "</MSB><Endianess>" + field.Endianess + "</Endianess>"));
    const bool big = field.Endianess == std::string("BigEndian");
    const std::vector<std::uint8_t> bytes = {0x12, 0x34, 0x56, 0x78};
    std::copy(bytes.begin(), bytes.end(), Port.Memory.begin());
    if (!big)
        std::reverse(Port.Memory.begin(), Port.Memory.begin() + 4);
    EXPECT_EQ(Int("Field").GetValue(), field.Value);
    Int("Field").SetValue(0);
    Int("Field").SetValue(field.Value);
    if (!big)
        std::reverse(Port.Memory.begin(), Port.Memory.begin() + 4);
    EXPECT_EQ(std::vector<std::uint8_t>(Port.Memory.begin(), Port.Memory.begin() + 4), bytes)
        << "the bits beside the field stay as they are";
}

INSTANTIATE_TEST_SUITE_P(All, MaskedFieldTest,
                         testing::Values(MaskedField{"BigEndian", 31, 0, 0x12345678},
                                         MaskedField{"BigEndian", 15, 0, 0x1234},
                                         MaskedField{"BigEndian", 31, 16, 0x5678},
                                         MaskedField{"LittleEndian", 0, 15, 0x5678},
                                         MaskedField{"LittleEndian", 28, 31, 0x1}));

TEST_F(ConformanceTest, AnOutsideCallbackMayTakeALockWhoseHolderReadsNodes) {
    Load(Plain("Width"));
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
