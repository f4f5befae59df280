// SPDX-License-Identifier: Apache-2.0
#include "fakes/LogRecorder.h"
#include "genicam/genapi/MapFixture.h"

#include <gmock/gmock.h>

// What every node tells about itself, and ports as nodes.

namespace {

using namespace GenApi;
using testing::ElementsAre;
using tests::Node;
using tests::Place;

class NodeTest : public tests::MapTest {
protected:
    /// "value|attribute", or "none".
    std::string Property(const char* node, const char* name) {
        GenICam::gcstring value, attribute;
        if (!Map->GetNode(node)->GetProperty(name, value, attribute)) {
            return "none";
        }
        return std::string(value) + "|" + std::string(attribute);
    }
};

struct Kind {
    const char* type;
    const char* elements;
    EInterfaceType principal;
    const char* interfaceName;
};

class KindTest : public NodeTest, public testing::WithParamInterface<Kind> {};

TEST_P(KindTest, OffersTheInterfacesOfItsKind) {
    const Kind& kind = GetParam();
    std::string elements = kind.elements;
    if (std::string(kind.type).find("Reg") != std::string::npos) {
        elements = Place(0, 4) + elements;
    }
    Load(Node("Integer", "Other", "<Value>1</Value>") + Node(kind.type, "X", elements));
    INode& node = *Map->GetNode("X");
    EXPECT_EQ(Property("X", "Element"), std::string(kind.type) + "|");
    EXPECT_EQ(node.GetPrincipalInterfaceType(), kind.principal);
    EXPECT_EQ(GetInterfaceName(&node), kind.interfaceName);
    EXPECT_EQ(node.GetNodeMap(), Map.get());
    const bool hasValue = kind.principal != intfIPort && kind.principal != intfIBase;
    auto* const value = dynamic_cast<IValue*>(&node);
    EXPECT_EQ(value != nullptr, hasValue);
    if (value != nullptr) {
        EXPECT_EQ(value->GetNode(), &node);
    }
    const bool hasBytes = std::string("AdvFeatureLock ConfRom").find(kind.type) != std::string::npos;
    EXPECT_EQ(dynamic_cast<IRegister*>(&node) != nullptr,
              hasBytes || std::string(kind.type).find("Reg") != std::string::npos);
    EXPECT_EQ(dynamic_cast<IInteger*>(&node) != nullptr, kind.principal == intfIInteger);
    EXPECT_EQ(dynamic_cast<IFloat*>(&node) != nullptr, kind.principal == intfIFloat);
    EXPECT_EQ(dynamic_cast<IString*>(&node) != nullptr, kind.principal == intfIString);
    EXPECT_EQ(dynamic_cast<IPortRecorder*>(&node) != nullptr, kind.principal == intfIPort);
    EXPECT_NE(dynamic_cast<ISelector*>(&node), nullptr);
    int mark = 0;
    auto& data = dynamic_cast<IUserData&>(node);
    EXPECT_EQ(data.SetUserData(&mark), nullptr);
    EXPECT_EQ(data.GetUserData(), &mark);
}

INSTANTIATE_TEST_SUITE_P(
    All, KindTest,
    testing::Values(Kind{"Integer", "<Value>1</Value>", intfIInteger, "IInteger"},
                    Kind{"IntReg", "", intfIInteger, "IInteger"},
                    Kind{"MaskedIntReg", "<Bit>0</Bit>", intfIInteger, "IInteger"},
                    Kind{"IntSwissKnife", "<Formula>1</Formula>", intfIInteger, "IInteger"},
                    Kind{"IntConverter",
                         "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>Other</pValue>", intfIInteger,
                         "IInteger"},
                    Kind{"Float", "<Value>1</Value>", intfIFloat, "IFloat"}, Kind{"FloatReg", "", intfIFloat, "IFloat"},
                    Kind{"SwissKnife", "<Formula>1</Formula>", intfIFloat, "IFloat"},
                    Kind{"Converter", "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>Other</pValue>",
                         intfIFloat, "IFloat"},
                    Kind{"Boolean", "<Value>1</Value>", intfIBoolean, "IBoolean"},
                    Kind{"Command", "<Value>1</Value><CommandValue>1</CommandValue>", intfICommand, "ICommand"},
                    Kind{"Enumeration", "<EnumEntry Name=\"A\"><Value>1</Value></EnumEntry><Value>1</Value>",
                         intfIEnumeration, "IEnumeration"},
                    Kind{"EnumEntry", "<Value>1</Value>", intfIEnumEntry, "IEnumEntry"},
                    Kind{"String", "<Value/>", intfIString, "IString"}, Kind{"StringReg", "", intfIString, "IString"},
                    Kind{"Register", "", intfIRegister, "IRegister"}, Kind{"Category", "", intfICategory, "ICategory"},
                    Kind{"IntKey", "", intfIInteger, "IInteger"}, Kind{"SmartFeature", "", intfIInteger, "IInteger"},
                    Kind{"AdvFeatureLock", "", intfIInteger, "IInteger"}, Kind{"TextDesc", "", intfIString, "IString"},
                    Kind{"ConfRom", "", intfIRegister, "IRegister"}, Kind{"Port", "", intfIPort, "IPort"},
                    Kind{"Node", "", intfIBase, "IBase"}),
    [](const auto& each) { return std::string(each.param.type); });

TEST_F(NodeTest, NodesTellWhatTheDescriptionSaysOfThem) {
    Load("<Integer Name=\"I\" NameSpace=\"Standard\"><ToolTip>tip</ToolTip><Description>text</Description>"
         "<DisplayName>An I</DisplayName><Visibility>Guru</Visibility><DocuURL>http://x/y</DocuURL>"
         "<IsDeprecated>Yes</IsDeprecated><EventID>0x9001</EventID><pAlias>Bare</pAlias><pCastAlias>Bare</pCastAlias>"
         "<Streamable>Yes</Streamable><Value>1</Value></Integer>" +
         Node("Integer", "Bare", "<Value>1</Value>"));
    const INode& node = *Map->GetNode("I");
    EXPECT_EQ(node.GetToolTip(), "tip");
    EXPECT_EQ(node.GetDescription(), "text");
    EXPECT_EQ(node.GetDisplayName(), "An I");
    EXPECT_EQ(node.GetVisibility(), Guru);
    EXPECT_EQ(node.GetDocuURL(), "http://x/y");
    EXPECT_TRUE(node.IsDeprecated());
    EXPECT_EQ(node.GetEventID(), "0x9001");
    EXPECT_TRUE(node.IsStreamable());
    EXPECT_EQ(node.GetNameSpace(), Standard);
    EXPECT_EQ(node.GetName(true), "Std::I");
    EXPECT_EQ(Map->GetNode("Std::I"), &node);
    EXPECT_EQ(node.GetDeviceName(), "Device");
    INode& bare = *Map->GetNode("Bare");
    EXPECT_EQ(node.GetAlias(), &bare);
    EXPECT_EQ(node.GetCastAlias(), &bare);
    EXPECT_EQ(bare.GetAlias(), nullptr);
    EXPECT_EQ(bare.GetName(true), "Cust::Bare");
    EXPECT_EQ(bare.GetDisplayName(), "Bare");
    EXPECT_EQ(bare.GetVisibility(), Beginner);
    EXPECT_FALSE(bare.IsDeprecated() || bare.IsStreamable());
    EXPECT_EQ(bare.GetEventID(), "");
}

TEST_F(NodeTest, PropertiesAreGivenAsTextWithTheirAttributes) {
    Load(Node("Integer", "A", "<Value>0x10</Value><Visibility>Expert</Visibility>") +
         Node("Integer", "B",
              "<pIndex>A</pIndex><ValueIndexed Index=\"0x2\">5</ValueIndexed><ValueIndexed Index=\"3\">6</ValueIndexed>"
              "<ValueDefault>7</ValueDefault>") +
         Node("Float", "F", "<Value>0.1</Value>") +
         Node("IntSwissKnife", "K",
              "<pVariable Name=\"X\">A</pVariable><pVariable Name=\"Y\">B</pVariable>"
              "<Constant Name=\"C\">0x10</Constant><Constant Name=\"D\"> 0.5 </Constant>"
              "<Formula> X + Y </Formula>") +
         Node("IntReg", "R",
              "<Address>8</Address><Address>0x10</Address><pIndex>B</pIndex><pIndex Offset=\"4\">A</pIndex>"
              "<Length>4</Length><pPort>Device</pPort><Endianess>BigEndian</Endianess>"));
    EXPECT_EQ(Property("A", "Name"), "A|");
    EXPECT_EQ(Property("A", "Value"), "16|");
    EXPECT_EQ(Property("A", "Visibility"), "Expert|");
    EXPECT_EQ(Property("B", "ValueIndexed"), "5\t6|2\t3");
    EXPECT_EQ(Property("F", "Value"), "0.1|");
    EXPECT_EQ(Property("K", "pVariable"), "A\tB|X\tY");
    EXPECT_EQ(Property("K", "Formula"), "X + Y|");
    EXPECT_EQ(Property("R", "Address"), "8\t16|");
    EXPECT_EQ(Property("R", "pIndex"), "B\tA|\t4") << "both lists go together";
    EXPECT_EQ(Property("K", "Constant"), "16\t0.5|C\tD");
    EXPECT_EQ(Property("R", "Endianess"), "BigEndian|");
    EXPECT_EQ(Property("R", "Sign"), "none");
    EXPECT_EQ(Property("R", "NoSuchThing"), "none");
    gcstring_vector names;
    Map->GetNode("R")->GetPropertyNames(names);
    std::vector<std::string> listed;
    for (const auto& name : names) {
        listed.push_back(name.c_str());
    }
    EXPECT_THAT(listed, ElementsAre("Name", "Address", "pIndex", "Length", "pPort", "Endianess"));
}

TEST_F(NodeTest, CategoriesListTheirFeaturesInOrderAndAreTextsOnly) {
    Load(Node("Category", "Root", "<DisplayName>All</DisplayName><pFeature>Sub</pFeature><pFeature>B</pFeature>") +
         Node("Category", "Sub", "<pFeature>A</pFeature><pFeature>Root</pFeature>") +
         Node("Integer", "A", "<Value>1</Value>") + Node("Integer", "B", "<pValue>Hidden</pValue>") +
         Node("Integer", "Hidden", "<Value>1</Value>"));
    FeatureList_t features;
    As<ICategory>("Root").GetFeatures(features);
    ASSERT_EQ(features.size(), 2u);
    EXPECT_EQ(features[0]->GetNode()->GetName(), "Sub");
    EXPECT_EQ(Text("Root"), "All");
    EXPECT_EQ(Text("Sub"), "Sub");
    EXPECT_THROW(As<IValue>("Root").FromString("x"), GenICam::AccessException);
    EXPECT_TRUE(Map->GetNode("A")->IsFeature()) << "through another category, and circles end";
    EXPECT_FALSE(Map->GetNode("Hidden")->IsFeature());
}

TEST_F(NodeTest, APortNodeHandsOnAndKeepsCachesTrue) {
    Load(Node("IntReg", "R", Place(0, 4)));
    auto& port = As<IPort>("Device");
    EXPECT_EQ(Int("R").GetValue(), 0);
    const uint8_t bytes[4] = {1, 2, 3, 4};
    port.Write(bytes, 0, 4);
    EXPECT_EQ(Int("R").GetValue(), 0x04030201);
    uint8_t back[2] = {};
    port.Read(back, 1, 2);
    EXPECT_THAT(back, ElementsAre(2, 3));
    Map->Connect(nullptr);
    EXPECT_THROW(port.Read(back, 1, 2), GenICam::AccessException);
    EXPECT_THROW(port.Write(bytes, 0, 4), GenICam::AccessException);
    EXPECT_THROW(Int("R").GetValue(), GenICam::AccessException);
}

TEST_F(NodeTest, TheLogTellsWhatCallersReadAndWriteAndNoNodeBelow) {
    const Fakes::LogRecorder log("GenApi.Device");
    Load(Node("IntReg", "R", Place(0, 1)) + Node("Integer", "Top", "<pValue>R</pValue>") +
         Node("Register", "Bytes", Place(8, 2)) + Node("Boolean", "B", "<pValue>R</pValue>") +
         Node("Float", "F", "<Value>0.5</Value>") + Node("StringReg", "S", Place(16, 4)) +
         Node("Command", "Go", "<pValue>R</pValue><CommandValue>3</CommandValue>"));
    Int("Top").SetValue(5);
    Int("Top").GetValue();
    Int("Top").GetValue(false, true);
    As<IBoolean>("B").GetValue();
    As<IValue>("Bytes").FromString("0x01ff");
    As<IValue>("F").FromString("0.1");
    As<IString>("S").SetValue("ab");
    As<ICommand>("Go").Execute();
    EXPECT_THROW(Int("R").SetValue(256), GenICam::OutOfRangeException);
    std::vector<std::string> told;
    for (const Fakes::LogLine& line : log.Lines()) {
        if (!line.message.starts_with("Device: ")) { // what the port passes on
            told.push_back((line.priority == GenICam::LogPriority_Info ? "w " : "r ") + line.message);
        }
    }
    EXPECT_THAT(told, ElementsAre("w Top.SetValue(5)", "r Top.GetValue() = 5", "r B.GetValue() = false",
                                  "w Bytes.FromString(0x01ff)", "w F.FromString(0.1)", "w S.SetValue('ab')",
                                  "w Go.Execute(3)"));
}

TEST_F(NodeTest, TheLogTracesCallsAtDebug) {
    Load(Node("Integer", "I", "<Value>1</Value>"));
    const Fakes::LogRecorder log("GenApi");
    Int("I").GetMax();
    Int("I").SetValue(2);
    std::string told;
    for (const Fakes::LogLine& line : log.Lines()) {
        told += line.category == "GenApi" ? line.message + " " : "";
    }
    EXPECT_EQ(told, "I.GetMax done I.SetValue done ");
}

TEST_F(NodeTest, WritesCanBeRecordedAndReplayed) {
    Load(Node("IntReg", "A", Place(0, 2)) + Node("IntReg", "B", Place(2, 2)) +
         Node("Integer", "Top", "<pValue>A</pValue>"));
    CPortWriteList list;
    auto& recorder = As<IPortRecorder>("Device");
    recorder.StartRecording(&list);
    Int("A").SetValue(0x1111);
    Int("B").SetValue(0x2222);
    EXPECT_EQ(Port.Writes, 0) << "the device is spared";
    EXPECT_EQ(Int("A").GetValue(), 0x1111) << "the map believes it";
    recorder.StopRecording();
    int fired = 0;
    Count("Top", fired);
    recorder.Replay(&list);
    EXPECT_EQ(Port.Writes, 2);
    EXPECT_EQ(Port.Memory[3], 0x22);
    EXPECT_EQ(fired, 1);
    EXPECT_EQ(Int("B").GetValue(), 0x2222);
    recorder.Replay(&list, false);
    EXPECT_EQ(fired, 1);
    EXPECT_THROW(recorder.Replay(nullptr), GenICam::InvalidArgumentException);
}

TEST_F(NodeTest, ChunkPortsTellTheirIds) {
    Load("<Port Name=\"Constant\"><ChunkID>0Ab1</ChunkID><CacheChunkData>Yes</CacheChunkData></Port>"
         "<Port Name=\"Variable\"><pChunkID>Id</pChunkID></Port>" +
         Node("String", "Id", "<Value>77</Value>"));
    EXPECT_EQ(As<IChunkPort>("Constant").GetChunkID(), "0Ab1");
    EXPECT_EQ(As<IChunkPort>("Constant").CacheChunkData(), Yes);
    EXPECT_EQ(As<IChunkPort>("Variable").GetChunkID(), "77");
    As<IString>("Id").SetValue("78");
    EXPECT_EQ(As<IChunkPort>("Variable").GetChunkID(), "78");
    EXPECT_EQ(As<IChunkPort>("Device").GetChunkID(), "");
    EXPECT_EQ(As<IChunkPort>("Device").CacheChunkData(), No);
}

TEST_F(NodeTest, AMapCanShareTheLockOfItsOwner) {
    CLock lock;
    CNodeMapFactory factory(tests::Description(Node("Integer", "I", "<Value>1</Value>")).c_str());
    Map.reset(factory.CreateNodeMap(lock, "Cam"));
    EXPECT_EQ(&Map->GetLock(), &lock);
    EXPECT_EQ(Map->GetDeviceName(), "Cam");
    auto& data = dynamic_cast<IUserData&>(*Map);
    EXPECT_EQ(data.SetUserData(&lock), nullptr);
    EXPECT_EQ(data.GetUserData(), &lock);
    EXPECT_EQ(Int("I").GetValue(), 1);
    Map.reset(); // before its lock goes
}

} // namespace
