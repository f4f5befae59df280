// SPDX-License-Identifier: Apache-2.0
#include "fakes/TempFolder.h"
#include "genicam/genapi/MapFixture.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

// Descriptions merged, taken apart, written and fetched.
namespace {

using namespace GenApi;
using GenICam::gcstring;
using testing::HasSubstr;
using tests::Description;
using tests::Node;
using tests::Place;
using tests::Value;

CNodeMapFactory FactoryOf(const std::string& nodes) {
    return CNodeMapFactory(gcstring(Description(nodes).c_str()));
}

/// All that a factory's nodes say of themselves, one line each.
std::string Told(CNodeMapFactory factory) {
    const tests::MapPtr map(factory.CreateNodeMap());
    NodeList_t nodes;
    map->GetNodes(nodes);
    std::ostringstream told;
    for (INode* node : nodes) {
        EXPECT_EQ(map->GetNode(node->GetName()), node);
        EXPECT_NO_THROW(node->GetAccessMode()) << node->GetName();
        told << "\n" << node->GetName() << " " << node->GetPrincipalInterfaceType() << node->IsFeature();
        gcstring_vector names;
        node->GetPropertyNames(names);
        for (const gcstring& name : names) {
            gcstring value, attribute;
            EXPECT_TRUE(node->GetProperty(name, value, attribute)) << node->GetName() << "." << name;
            told << "|" << name << "=" << value << "@" << attribute;
        }
    }
    gcstring_vector errors;
    EXPECT_TRUE(map->ParseSwissKnifes(&errors)) << (errors.empty() ? "" : errors[0].c_str());
    return told.str();
}

std::string Entry(const char* name) {
    return "<EnumEntry Name=\"" + std::string(name) + "\"><Value>1</Value></EnumEntry>";
}

const std::string kStructure = "<StructReg Comment=\"s\">" + Place(8, 4) +
                               "<IntSwissKnife><Formula>1</Formula></IntSwissKnife><StructEntry Name=\"F\"><Bit>3</Bit>"
                               "</StructEntry><StructEntry Name=\"G\"><Bit>4</Bit></StructEntry></StructReg>";

TEST(WriteXmlTest, WhatIsWrittenLoadsToTheSameNodes) {
    std::vector<CNodeMapFactory> factories = {FactoryOf(
        kStructure + Node("Port", "Device", "<ChunkID>0a</ChunkID>") +
        Node("String", "S", "<ToolTip>a \"b\" &lt;&amp;]]&gt; \xC3\xA9</ToolTip><Value> x\r\n\t&#13;y </Value>") +
        "<Float Name=\"N\" NameSpace=\"Standard\" MergePriority=\"1\"><pIndex>F</pIndex><ValueIndexed Index=\"-1\">"
        "1e-300</ValueIndexed><ValueDefault>0.1</ValueDefault><Max>INF</Max><pAlias>Gone</pAlias></Float>" +
        "<ConfRom Name=\"Rom\"><Address>0</Address><Length>4</Length><pPort>Device</pPort><IntKey Name=\"K\">3</IntKey>"
        "</ConfRom>" +
        Entry("Old") + Node("Enumeration", "E", "<pEnumEntry>Old</pEnumEntry>" + Entry("A") + "<Value>1</Value>"))};
    const char* const folder = std::getenv("ZELMO_TEST_DESCRIPTIONS");
    if (folder) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() == ".xml") {
                factories.emplace_back(ContentType_Xml, entry.path().c_str());
            }
        }
    }
    for (CNodeMapFactory& factory : factories) {
        const gcstring xml = factory.ToXml();
        EXPECT_EQ(Told(factory), Told(CNodeMapFactory(xml))) << factory.ToString();
        EXPECT_TRUE(CNodeMapFactory(xml).ToXml() == xml) << factory.ToString();
    }
    EXPECT_THAT(Told(factories[0]), HasSubstr("|Name=K@|p1212Parser=Rom@|Key=3@"));
    if (!folder) {
        GTEST_SKIP() << "ZELMO_TEST_DESCRIPTIONS names no folder with descriptions: only our own was written";
    }
}

TEST(MergeTest, PriorityDecidesWhichNodeStaysAndCategoriesAreUnited) {
    const auto ranked = [](const std::string& name, int priority, int value) {
        return "<Integer Name=\"" + name + "\" MergePriority=\"" + std::to_string(priority) + "\"><Value>" +
               std::to_string(value) + "</Value></Integer>";
    };
    CNodeMapFactory target = FactoryOf(Node("Category", "Root", "<pFeature>Same</pFeature><pFeature>Over</pFeature>") +
                                       ranked("Over", 0, 1) + ranked("Under", 0, 1) + ranked("Same", 0, 1) +
                                       Node("Enumeration", "E", Entry("Mine") + "<Value>1</Value>") + kStructure +
                                       Node("Integer", "Abroad", "<pValue>Fresh</pValue>"));
    CNodeMapFactory injection = FactoryOf(
        ranked("Over", 1, 2) + ranked("Under", -1, 2) + ranked("Same", 0, 2) + ranked("G", 1, 2) +
        Node("Enumeration", "E", Entry("Theirs") + "<Value>1</Value>") + ranked("Fresh", 0, 2) +
        Node("Category", "Root", "<pFeature>Over</pFeature><pFeature>Fresh</pFeature>") + Node("Port", "Device", "") +
        Node("IntReg", "Back",
             Place(0, 4, "<IntSwissKnife><Formula>2</Formula></IntSwissKnife><pIsLocked>F</pIsLocked>")));
    injection.ReleaseCameraDescriptionFileData();
    target.AddInjectionData(injection);
    EXPECT_THROW(injection.AddInjectionData(target), GenICam::InvalidArgumentException) << "a circle";
    CNodeMapFactory(target).LoadAndInject();
    EXPECT_TRUE(target.IsLoaded());
    EXPECT_TRUE(target.IsPreprocessed());
    EXPECT_THROW(target.AddInjectionData(injection), GenICam::LogicalErrorException) << "too late";
    const std::string told = Told(target);
    for (const char* line : {"pFeature=Same\tOver\tFresh@", "Over 21|Name=Over@|MergePriority=1@|Value=2@",
                             "Under 20|Name=Under@|MergePriority=0@|Value=1@", "Abroad 20|Name=Abroad@|pValue=Fresh@",
                             "Same 21|Name=Same@|MergePriority=0@|Value=1@", "G 20|Name=G@|MergePriority=1@|Value=2@",
                             "EnumEntry_E_Mine", "IntSwissKnife=_IntSwissKnife_1@|Bit=3@"}) {
        EXPECT_THAT(told, HasSubstr(line));
    }
    EXPECT_THAT(told, testing::Not(HasSubstr("Theirs")));
    CNodeMapRef ref;
    EXPECT_THAT(
        [&] {
            ref._LoadXMLFromStringInject(Description(Value("I")).c_str(),
                                         Description(Node("Float", "A", "<pValue>No</pValue>")).c_str());
        },
        testing::ThrowsMessage<GenICam::RuntimeException>(HasSubstr("node 'A', property 'pValue'")));
}

TEST(ExtractTest, WhatCanBeReachedStays) {
    CNodeMapFactory factory =
        FactoryOf(Node("Category", "Root", "<pFeature>Sub</pFeature><pFeature>Other</pFeature>") + Value("Other") +
                  Node("Category", "Sub", "<pFeature>I</pFeature>") + kStructure + Node("Port", "Device", "") +
                  Node("Integer", "I", "<pValue>G</pValue><pMin>EnumEntry_E_A</pMin>") +
                  Node("Enumeration", "E", Entry("A") + "<Value>1</Value>"));
    CNodeMapFactory part = factory.ExtractSubtree("Sub", true);
    for (const char* line : {"Root 81|", "\nG 20|", "\nDevice 110|", "\nI 21|", "\nE 90|", "\nEnumEntry_E_A 100|"}) {
        EXPECT_THAT(Told(part), HasSubstr(line));
    }
    EXPECT_EQ(part.GetNodeStatistics().NumNodes, 8u);
    EXPECT_EQ(Told(part), Told(CNodeMapFactory(part.ToXml())));
    EXPECT_THROW(factory.ExtractSubtree("Nowhere"), GenICam::InvalidArgumentException);
}

TEST(DescriptionUrlTest, BytesComeThroughThePortOrFromTheFile) {
    const CDescriptionUrl parts("LOCAL:///a b.xml;0xFF;0X1?SchemaVersion=1.1.0");
    EXPECT_EQ(parts.GetFileName(), "a b.xml");
    EXPECT_EQ(parts.GetSchemaVersion(), "1.1.0");
    EXPECT_EQ(parts.GetAddress(), 255);
    for (const std::string bad :
         {"Local:a;0;0", "Local:a;0;4000001", "Local:a;7FFFFFFFFFFFFFFF;10", "Local:a;1G;10",
          "Local:a;FFFFFFFFFFFFFFFFF;1", "Local:a;10", "File:", "File:a%00.xml", "ftp://a", ""}) {
        EXPECT_THAT([&bad] { CDescriptionUrl url(bad.c_str()); },
                    testing::ThrowsMessage<GenICam::InvalidArgumentException>(HasSubstr("'" + bad + "'")));
    }
    const std::string text = Description(Value("I") + "<!--" + std::string(200000, 'x') + "-->");
    tests::MemoryPort port;
    port.Memory.assign(32, 0xEE);
    port.Memory.insert(port.Memory.end(), text.begin(), text.end());
    std::ostringstream local;
    local << "Local:a.zip;20;" << std::hex << text.size();
    EXPECT_EQ(CDescriptionUrl(local.str().c_str()).Fetch(&port), text.c_str());
    port.TimesOut = true;
    EXPECT_THROW(CDescriptionUrl(local.str().c_str()).Fetch(&port), GenICam::TimeoutException);
    const Fakes::TempFolder folder;
    std::ofstream(folder.Path() / "a b.xml") << text;
    setenv("ZELMO_TEST_HERE", folder.Path().c_str(), 1);
    EXPECT_EQ(CDescriptionUrl("file://$(ZELMO_TEST_HERE)/a%20b.xml?SchemaVersion=1.0.0").Fetch(), text.c_str());
    for (const std::string url :
         {"https://a.org/a.xml", "Local:a.xml;0;1", "File:///nowhere.xml", "File:$(NO_SUCH)/a"}) {
        EXPECT_THAT([&url] { CDescriptionUrl(url.c_str()).Fetch(); },
                    testing::ThrowsMessage<GenICam::RuntimeException>(HasSubstr("'" + url + "'")));
    }
}

} // namespace
