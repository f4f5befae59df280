// SPDX-License-Identifier: Apache-2.0
#include "fakes/LogRecorder.h"
#include "fakes/Zipped.h"
#include "genicam/genapi/MapFixture.h"
#include <Log/CLog.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

// Descriptions on their way into a node map: what is taken, what is refused, and what the refusal says.

namespace {

using namespace GenApi;
using Fakes::Zipped;
using testing::HasSubstr;
using tests::Description;
using tests::MapPtr;
using tests::Node;
using tests::Place;

MapPtr MapOf(const std::string& bytes) {
    return MapPtr(CNodeMapFactory(ContentType_Xml, bytes.data(), bytes.size()).CreateNodeMap());
}

std::string FailureOf(const std::string& bytes) {
    try {
        MapOf(bytes);
    } catch (const GenICam::RuntimeException& failure) {
        return failure.GetDescription();
    }
    return "loaded";
}

struct BrokenFile {
    const char* name;
    std::vector<const char*> told; // parts of the message
};

void PrintTo(const BrokenFile& file, std::ostream* stream) {
    *stream << file.name;
}

const BrokenFile kBrokenFiles[] = {
    {"empty", {"line 1"}},
    {"not_xml", {"line 1"}},
    {"truncated", {"line 3"}},
    {"mismatched_tag", {"line 4"}},
    {"wrong_root", {"line 2, column 1", "'html'", "'RegisterDescription' is needed"}},
    {"unknown_schema", {"line 1, column 1", "2.0", "1.0 and 1.1"}},
    {"wrapped_schema", {"line 1, column 1", "65535.1", "1.0 and 1.1"}},
    {"bad_version", {"line 2, column 2", "'SchemaMinorVersion' is 'one'"}},
    {"duplicate_node", {"line 3, column 20", "node 'Twice'"}},
    {"duplicate_entry", {"line 4, column 1", "'EnumEntry_E_On'"}},
    {"missing_name", {"line 3, column 3", "'Integer'", "'Name'"}},
    {"missing_entry_name", {"line 3, column 2", "'EnumEntry'", "'Name'"}},
    {"missing_length", {"line 3", "node 'R'", "'Length' or 'pLength' is missing"}},
    {"missing_port", {"line 2", "node 'R'", "'pPort' is missing"}},
    {"missing_value", {"node 'I'", "'Value' or 'pValue' or 'pIndex' is missing"}},
    {"missing_command_value", {"node 'C'", "'CommandValue' or 'pCommandValue' is missing"}},
    {"missing_entry_value", {"'EnumEntry_E_On'", "'Value' is missing"}},
    {"missing_formula", {"node 'S'", "'Formula' is missing"}},
    {"missing_formula_from", {"line 3", "node 'C'", "'FormulaFrom' is missing"}},
    {"missing_msb", {"line 3", "node 'R'", "'Bit' or 'MSB' is missing"}},
    {"missing_bits_in_structure", {"line 4", "node 'Field'", "'Bit' or 'LSB' is missing"}},
    {"missing_length_of_structure", {"line 4", "node 'Field'", "'Length' or 'pLength' is missing"}},
    {"missing_formula_in_address", {"line 3", "node 'Where'", "'Formula' is missing"}},
    {"dangling_value", {"line 3, column 3", "node 'I'", "'pValue'", "'Nowhere', which does not exist"}},
    {"dangling_predicate", {"line 2", "node 'I'", "'pIsLocked'", "'Nowhere'"}},
    {"dangling_variable", {"node 'S'", "'pVariable'", "'Nowhere'"}},
    {"wrong_kind_of_port", {"line 3", "node 'R'", "'pPort'", "'I' of kind 'Integer'"}},
    {"wrong_kind_of_value", {"node 'I'", "'pValue'", "'Root' of kind 'Category'"}},
    {"wrong_kind_of_error", {"node 'J'", "'pError'", "'I' of kind 'Integer'"}},
    {"wrong_kind_of_text", {"node 'S'", "'pValue'", "'I' of kind 'Integer'"}},
    {"wrong_kind_of_address", {"node 'R'", "'pAddress'", "'S' of kind 'StringReg'"}},
    {"bad_integer", {"line 2, column 19", "node 'I'", "'Value'", "'12 apples'"}},
    {"bad_hexadecimal", {"node 'R'", "'Address'", "'0xZZ'"}},
    {"bad_float", {"node 'F'", "'Value'", "'1,5'"}},
    {"empty_reference", {"node 'I'", "'pValue'", "''"}},
    {"entity_bomb", {"line 2", "declares entities"}},
    {"entity_in_tool_tip", {"line 1", "declares entities"}},
    {"undeclared_entity", {"line 2", "node 'I'", "'Value'", "'&one;'"}},
    {"external_entity", {"line 2", "declares entities"}},
};

class BrokenFileTest : public testing::TestWithParam<BrokenFile> {};

TEST_P(BrokenFileTest, IsRefusedWithPlaceNodeAndProperty) {
    const std::string path = std::string(BAD_DESCRIPTIONS) + "/" + GetParam().name + ".xml";
    try {
        const MapPtr map(CNodeMapFactory(ContentType_Xml, path.c_str()).CreateNodeMap());
        FAIL() << "loaded";
    } catch (const GenICam::RuntimeException& failure) {
        EXPECT_THAT(failure.GetDescription(),
                    HasSubstr("In file '" + path + "': Cannot load the camera description: "));
        for (const char* part : GetParam().told) {
            EXPECT_THAT(failure.GetDescription(), HasSubstr(part));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, BrokenFileTest, testing::ValuesIn(kBrokenFiles),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(BrokenCorpusTest, EachFileHasItsCase) {
    std::set<std::string> known;
    for (const BrokenFile& file : kBrokenFiles) {
        known.insert(std::string(file.name) + ".xml");
    }
    std::set<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(BAD_DESCRIPTIONS)) {
        found.insert(entry.path().filename().string());
    }
    EXPECT_EQ(found, known);
}

// Cut off or damaged anywhere, a description is refused or taken, but never worse.
TEST(BrokenCorpusTest, DamageNeverDoesMoreThanFail) {
    const std::string whole =
        Description(Node("Port", "Device", "") + Node("IntReg", "R", Place(0, 4, "<pIsLocked>E</pIsLocked>")) +
                    "<Enumeration Name=\"E\"><EnumEntry Name=\"On\"><Value>1</Value></EnumEntry><Value>1</Value>"
                    "</Enumeration><StructReg Comment=\"s\">" +
                    Place(8, 4) + "<StructEntry Name=\"F\"><Bit>3</Bit></StructEntry></StructReg>");
    std::size_t refused = 0;
    for (std::size_t end = 0; end < whole.size(); end += 3) {
        refused += FailureOf(whole.substr(0, end)) != "loaded";
    }
    EXPECT_EQ(refused, (whole.size() + 2) / 3);
    refused = 0;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const char damage : {'<', '>', '&', '"', '0'}) {
            std::string damaged = whole;
            damaged[at] = damage;
            refused += FailureOf(damaged) != "loaded";
        }
    }
    EXPECT_GT(refused, whole.size());
}

std::size_t Warnings(const Fakes::LogRecorder& log, const char* text) {
    return log.Count("GenApi", GenICam::LogPriority_Warn, text);
}

class LoadTest : public tests::MapTest {
protected:
    std::string Names() {
        NodeList_t nodes;
        Map->GetNodes(nodes);
        std::string names;
        for (INode* node : nodes) {
            names += std::string(node->GetName()) + " ";
        }
        return names;
    }
};

TEST_F(LoadTest, NodesStandInTheOrderOfTheFileWhateverGroupsThem) {
    Load("<Group Comment=\"outer\"><Group>" + Node("Integer", "First", "<Value>1</Value>") + "</Group><Group/>" +
         Node("Node", "Second", "") + "</Group>" +
         "<Enumeration Name=\"Third\"><EnumEntry Name=\"A\"><Value>0</Value></EnumEntry><Value>0</Value>"
         "<EnumEntry Name=\"B\"><Value>1</Value></EnumEntry></Enumeration>"
         "<!-- comment --><?processing instruction?>" +
         Node("Float", "Last", "<Value>0</Value>"));
    EXPECT_EQ(Names(), "First Second Third EnumEntry_Third_A EnumEntry_Third_B Last Device ");
    EXPECT_EQ(Map->GetNumNodes(), 7u);
}

TEST_F(LoadTest, GroupsNestAsDeepAsTheyLike) {
    std::string nodes = Node("Integer", "Deep", "<Value>7</Value>");
    for (int depth = 0; depth < 20000; ++depth) {
        nodes = "<Group>" + nodes + "</Group>";
    }
    Load(nodes);
    EXPECT_EQ(Int("Deep").GetValue(), 7);
}

TEST_F(LoadTest, ValuesAreTrimmedButForTheTextOfAString) {
    Load(Node("Integer", "I", "<Unit>\n  mm \t</Unit><Value>\n 0x1F\n</Value>") +
         Node("String", "S", "<Value>  two  words </Value>") + Node("String", "Blank", "<Value>   </Value>") +
         Node("String", "None", "<Value/>") +
         Node("String", "Marked", "<Value>a&lt;b<![CDATA[&<c>]]><!-- x -->d</Value>"));
    EXPECT_EQ(Int("I").GetValue(), 31);
    EXPECT_EQ(Int("I").GetUnit(), "mm");
    EXPECT_EQ(Text("S"), "  two  words ");
    EXPECT_EQ(Text("Blank"), "   ");
    EXPECT_EQ(Text("None"), "");
    EXPECT_EQ(Text("Marked"), "a<b&<c>d");
}

TEST_F(LoadTest, NumbersAreReadInAllTheirForms) {
    Load(Node("Integer", "Negative", "<Value>-5</Value>") +
         Node("Integer", "Hex", "<Value>0xFFFFFFFFFFFFFFFF</Value>") +
         Node("Integer", "Large", "<Value>9223372036854775808</Value>") +
         Node("Integer", "Whole", "<Value>4.0</Value>") + Node("Float", "Exponent", "<Value>-1.5E3</Value>") +
         Node("Float", "Infinite", "<Value>0</Value><Max>INF</Max>") + Node("Boolean", "Word", "<Value>true</Value>"));
    EXPECT_EQ(Int("Negative").GetValue(), -5);
    EXPECT_EQ(Int("Hex").GetValue(), -1);
    EXPECT_EQ(Int("Large").GetValue(), INT64_MIN) << "the same 64 bits";
    EXPECT_EQ(Int("Whole").GetValue(), 4);
    EXPECT_EQ(Float("Exponent").GetValue(), -1500.0);
    EXPECT_EQ(Text("Word"), "1");
}

TEST_F(LoadTest, PrefixesForeignAttributesAndOddVersionsDoNotMatter) {
    const Fakes::LogRecorder log("GenApi");
    const std::string text = R"(<g:RegisterDescription xmlns:g="http://www.genicam.org/GenApi/Version_1_0"
  xmlns:xsi="x" xsi:schemaLocation="y" SchemaMajorVersion="1" SchemaMinorVersion="0" MajorVersion="two" MinorVersion="20261121">
<g:Integer Name="I" Color="red"><g:Value>3</g:Value></g:Integer></g:RegisterDescription>)";
    Map = MapOf(text);
    EXPECT_EQ(Int("I").GetValue(), 3);
    GenICam::Version_t version;
    dynamic_cast<IDeviceInfo&>(*Map).GetDeviceVersion(version);
    EXPECT_EQ(version.Major, 0) << "a camera is not refused for its own version";
    EXPECT_EQ(version.Minor, 65535);
    EXPECT_EQ(Warnings(log, "'MajorVersion' is 'two'"), 1u);
}

TEST_F(LoadTest, WhatIsNotKnownIsToldOnceAndIgnored) {
    const Fakes::LogRecorder log("GenApi");
    Load("<Gadget Name=\"G\"><Value>1</Value></Gadget>" +
         Node("Integer", "A", "<Colour>red</Colour><Value>1</Value><Extension><Value>2</Value><Any/></Extension>") +
         Node("Integer", "B", "<Colour>blue</Colour><Value>1</Value>") + Node("StructEntry", "Stray", "<Bit>0</Bit>"));
    EXPECT_EQ(Names(), "A B Device ");
    EXPECT_EQ(Int("A").GetValue(), 1) << "what stands in an extension is none of ours";
    EXPECT_EQ(Warnings(log, "element 'Colour'"), 1u);
    EXPECT_EQ(Warnings(log, "element 'Gadget'"), 1u);
    EXPECT_EQ(Warnings(log, "Extension"), 0u);
}

TEST_F(LoadTest, WhatMayNotStandInANodeIsToldAndIgnored) {
    const Fakes::LogRecorder log("GenApi");
    Load(Node("Integer", "I", "<Value>1</Value><Value>2</Value><Length>x</Length><pPort>Gone</pPort><Value>3</Value>") +
         "<Boolean Name=\"B\" Colour=\"red\" xml:lang=\"en\"><Value>1</Value><pSelected Weight=\"1\">I</pSelected>"
         "<Extension Any=\"1\"/><Min>0</Min><Index>1</Index><Name>x</Name></Boolean>" +
         Node("IntReg", "R", "<Offset>4</Offset><pOffset>R</pOffset>" + Place(0, 4)));
    EXPECT_EQ(Int("I").GetValue() + As<IRegister>("R").GetAddress(), 1);
    for (const char* told :
         {"'Length' of Integer 'I' may not", "'pPort' of Integer 'I' may not",
          "'Value' of Integer 'I' stands there a second time", "attribute 'Colour' of Boolean 'B'",
          "attribute 'Weight' of Boolean 'B'", "'Min' of Boolean 'B' may not", "'Index' of Boolean 'B' is not known",
          "'Name' of Boolean", "'Offset' of IntReg", "'pOffset' of IntReg"}) {
        EXPECT_EQ(Warnings(log, told), 1u) << told;
    }
    EXPECT_EQ(Warnings(log, ""), 10u);
    for (const char* element : {"<pVariable>I</pVariable>", "<Constant>1</Constant>", "<Expression>1</Expression>"}) {
        EXPECT_THAT(FailureOf(Description(Node("SwissKnife", "S", element + std::string("<Formula>1</Formula>")))),
                    HasSubstr("node 'S', property '" + std::string(element, 1, std::strcspn(element, ">") - 1) +
                              "': attribute 'Name' is missing"));
    }
}

TEST_F(LoadTest, OptionalPropertiesWithoutAValidValueAreToldAndCountAsAbsent) {
    const Fakes::LogRecorder log("GenApi");
    Load(
        Node("Boolean", "B", "<Streamable/><Value>1</Value><OnValue>on</OnValue><Streamable>Yes</Streamable>") +
        tests::Value("Base", 3, "<Min>1</Min><Max>9</Max><Unit>mm</Unit>") +
        tests::Above("Integer", "I", "Base",
                     "<DisplayName> </DisplayName><Visibility>beginner</Visibility><pIsLocked/><Min>low</Min>"
                     "<Max>99999999999999999999999</Max><Inc/><Unit/><Representation>Hexnumber</Representation>"
                     "<ValidValueSet>1;two</ValidValueSet>") +
        Node("IntReg", "R",
             "<AccessMode>ReadOnly</AccessMode><Cachable/><Sign>signed</Sign><Endianess>MiddleEndian</Endianess>" +
                 Place(0, 4, "<pIndex Offset=\"\">Base</pIndex>")) +
        Node("SwissKnife", "S", "<pVariable Name=\"Y\"/><pVariable Name=\"X\">I</pVariable><Formula>X</Formula>") +
        Node("Enumeration", "E",
             Node("EnumEntry", "A", "<Symbolic/><NumericValue>x</NumericValue><Value>1</Value>") + "<Value>1</Value>"));
    EXPECT_TRUE(Map->GetNode("B")->IsStreamable());
    EXPECT_EQ(Text("B") + Int("I").GetUnit().c_str() + Map->GetNode("I")->GetDisplayName().c_str(), "1mmI");
    EXPECT_EQ(Int("I").GetMin() + Int("I").GetMax() + Int("I").GetInc(), 1 + 9 + 1);
    EXPECT_EQ(As<IRegister>("R").GetAddress(), 12) << "an index without offset counts in lengths";
    EXPECT_EQ(Text("S") + Text("E"), "3A");
    for (const char* told :
         {"node 'B', property 'Streamable': it is empty", "'B', property 'OnValue': 'on' is not a valid value",
          "'I', property 'DisplayName'", "'Visibility': 'beginner'", "'I', property 'pIsLocked': it is empty", "'low'",
          "'Max': '99999999999999999999999'", "'Inc'", "'Unit'", "'Hexnumber'", "'ValidValueSet': '1;two'",
          "'R', property 'AccessMode': 'ReadOnly'", "'Cachable'", "'signed'", "'MiddleEndian'",
          "'R', property 'Offset'", "'S', property 'pVariable'", "'EnumEntry_E_A', property 'Symbolic'",
          "'NumericValue': 'x'"}) {
        EXPECT_EQ(Warnings(log, told), 1u) << told;
    }
    std::string many;
    for (int i = 0; i < 150; ++i) {
        many += "<pSelected/>";
    }
    Load(tests::Value("Many", 1, many));
    EXPECT_EQ(Warnings(log, "'Many', property 'pSelected'"), 100u);
    EXPECT_EQ(Warnings(log, "50 more properties are ignored."), 1u);
}

TEST_F(LoadTest, ReferencesForShowAreDroppedWithAWarningIfTheyLeadNowhere) {
    const Fakes::LogRecorder log("GenApi");
    Load(Node("Category", "Root", "<pFeature>Gone</pFeature><pFeature>I</pFeature>") +
         Node("Integer", "I",
              "<pAlias>Gone</pAlias><pInvalidator>Gone</pInvalidator><pError>Gone</pError><Value>1</Value>"
              "<pSelected>Gone</pSelected>"));
    FeatureList_t features;
    As<ICategory>("Root").GetFeatures(features);
    ASSERT_EQ(features.size(), 1u);
    EXPECT_EQ(features[0]->GetNode()->GetName(), "I");
    EXPECT_EQ(Map->GetNode("I")->GetAlias(), nullptr);
    EXPECT_FALSE(As<ISelector>("I").IsSelector());
    EXPECT_NO_THROW(Int("I").SetValue(2)) << "nor is there an error node to ask";
    for (const char* property : {"'pFeature'", "'pAlias'", "'pInvalidator'", "'pError'", "'pSelected'"}) {
        EXPECT_EQ(Warnings(log, property), 1u) << property;
    }
}

TEST_F(LoadTest, KindsOfOtherBusesAreThereButNotImplemented) {
    Load("<ConfRom Name=\"Rom\"><Address>0</Address><Length>4</Length><pPort>Device</pPort>"
         "<TextDesc Name=\"Vendor\">0x81</TextDesc><IntKey Name=\"Id\">3</IntKey></ConfRom>" +
         Node("SmartFeature", "Smart", "<FeatureID>{1}</FeatureID><pPort>Device</pPort>") +
         Node("Integer", "Above", "<pValue>Id</pValue>"));
    for (const char* name : {"Rom", "Vendor", "Id", "Smart", "Above"}) {
        EXPECT_EQ(Mode(name), NI) << name;
    }
    EXPECT_THROW(Int("Above").GetValue(), GenICam::AccessException);
    EXPECT_THROW(Int("Smart").SetValue(1, false), GenICam::AccessException);
    EXPECT_THROW(As<IRegister>("Rom").GetLength(), GenICam::AccessException);
    EXPECT_THROW(Text("Rom"), GenICam::AccessException);
}

TEST(EncodingTest, TextsOfOtherEncodingsAreTaken) {
    const std::string head = "<?xml version=\"1.0\" encoding=\"";
    const std::string body = "\"?><RegisterDescription><String Name=\"S\"><Value>";
    const std::string tail = "</Value></String></RegisterDescription>";
    const std::string utf8 = head + "utf-8" + body + "\xC3\xA9\xF0\x9F\x98\x80" + tail;
    std::string utf16le = "\xFF\xFE";
    std::string utf16be = "\xFE\xFF";
    for (const char16_t unit : u"<RegisterDescription><String Name=\"S\"><Value>\u00E9\U0001F600</Value></String>"
                               u"</RegisterDescription>") {
        if (unit == 0) {
            break;
        }
        utf16le += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
        utf16be += {static_cast<char>(unit >> 8), static_cast<char>(unit & 0xFF)};
    }
    const std::string misnamed = head + "ISO-8859-1" + body + "\xC3\xA9\xF0\x9F\x98\x80" + tail;
    for (const std::string& text : {utf8, "\xEF\xBB\xBF" + utf8, "\xEF\xBB\xBF" + misnamed, utf16le, utf16be}) {
        const MapPtr map = MapOf(text);
        EXPECT_EQ(dynamic_cast<IString&>(*map->GetNode("S")).GetValue(), "\xC3\xA9\xF0\x9F\x98\x80");
    }
    const MapPtr latin = MapOf(head + "ISO-8859-1" + body + "\xE9" + tail);
    EXPECT_EQ(dynamic_cast<IString&>(*latin->GetNode("S")).GetValue(), "\xC3\xA9");
    EXPECT_EQ(MapOf(utf16le.substr(0, utf16le.size() / 2 * 2) + '\0')->GetNumNodes(), 1u)
        << "an odd byte behind the end";
}

TEST(EncodingTest, WhatFollowsTheTextInDeviceMemoryIsIgnored) {
    const std::string text = Description(Node("Integer", "I", "<Value>1</Value>"));
    EXPECT_EQ(MapOf(text + std::string(100, '\0') + "rubbish")->GetNumNodes(), 1u);
    EXPECT_EQ(MapOf(text + std::string(100, '\xFF'))->GetNumNodes(), 1u);
    EXPECT_EQ(MapOf(text + " \r\n\t")->GetNumNodes(), 1u);
    const std::string longer = "<Value>2</Value></Integer></RegisterDescription>";
    EXPECT_EQ(MapOf(text + longer)->GetNumNodes(), 1u) << "the rest of a longer file that stood there before";
    EXPECT_EQ(MapOf("<!-- </RegisterDescription> -->" + text)->GetNumNodes(), 1u);
    EXPECT_EQ(MapOf("<g:RegisterDescription><g:Node Name=\"N\"/></g:RegisterDescription >" + longer)->GetNumNodes(),
              1u);
}

TEST(ZipTest, TheOnlyDescriptionIsTakenWhateverTheCallerCallsIt) {
    const std::string text = Description(Node("Integer", "I", "<Value>5</Value>"));
    const std::string archive =
        Zipped({{"readme.txt", "not looked at"}, {"Camera.XML", text}, {"__MACOSX/._Camera.XML", "nor this"}});
    for (const EContentType_t type : {ContentType_Xml, ContentType_ZippedXml}) {
        const MapPtr map(CNodeMapFactory(type, archive.data(), archive.size()).CreateNodeMap());
        EXPECT_NE(map->GetNode("I"), nullptr);
    }
    EXPECT_EQ(MapOf(Zipped({{"folder/", ""}, {"folder/description", text}}))->GetNumNodes(), 1u)
        << "folders do not count";
    for (const char padding : {'\0', '\xFF'}) {
        EXPECT_EQ(MapOf(archive + std::string(200000, padding))->GetNumNodes(), 1u) << "device memory is longer";
    }
    EXPECT_EQ(MapOf(Zipped({{"description", text}}))->GetNumNodes(), 1u) << "the only entry, without a telling name";
}

TEST(ZipTest, BrokenArchivesAndBombsAreRefused) {
    const std::string good = Zipped({{"a.xml", Description("")}});
    std::string flipped = good;
    flipped[45] = static_cast<char>(flipped[45] ^ 0x55);
    EXPECT_NE(FailureOf(flipped), "loaded");
    std::string noise(65u << 20, ' ');
    for (std::size_t at = 0; at < noise.size(); at += 64) {
        noise[at] = static_cast<char>('a' + at * 2654435761u / 64 % 26);
    }
    std::vector<std::pair<std::string, std::string>> many;
    for (int i = 0; i < 65; ++i) {
        many.emplace_back(tests::Numbered("e", i), "");
    }
    const std::vector<std::pair<std::string, const char*>> cases = {
        {good.substr(0, good.size() / 2), ""},
        {"PK\x03\x04 and then nothing", ""},
        {Zipped({{"a.xml", std::string(40u << 20, ' ')}}), "more than 200 times"},
        {Zipped({{"a.xml", noise}}), "more than 67108864 bytes"},
        {Zipped({{"a.xml", "x"}, {"b.xml", "x"}}), "'a.xml' and 'b.xml'"},
        {Zipped({{"a.txt", "x"}, {"b.txt", "x"}}), "no entry that is a description"},
        {Zipped({{"a.xml/", ""}}), "no entry that is a description"},
        {std::string("PK\x05\x06", 4) + std::string(18, '\0'), "no entry that is a description"},
        {Zipped(many), "65 entries"}};
    for (const auto& [archive, told] : cases) {
        EXPECT_THAT(FailureOf(archive),
                    testing::AllOf(HasSubstr("Cannot unpack the camera description"), HasSubstr(told)));
    }
}

TEST(FactoryTest, FilesThatCannotBeReadAreNamed) {
    CNodeMapFactory factory(ContentType_Xml, "/nowhere/at/all.xml");
    EXPECT_FALSE(factory.IsLoaded()) << "nothing is read before it is needed";
    try {
        factory.CreateNodeMap();
        FAIL();
    } catch (const GenICam::RuntimeException& failure) {
        EXPECT_THAT(failure.GetDescription(), HasSubstr("/nowhere/at/all.xml"));
    }
    EXPECT_THROW(CNodeMapFactory().CreateNodeMap(), GenICam::RuntimeException);
    EXPECT_THROW(CNodeMapFactory(ContentType_Xml, static_cast<const void*>(nullptr), 0),
                 GenICam::InvalidArgumentException);
    EXPECT_THROW(CNodeMapFactory(Description("").c_str(), CacheUsage_ForceRead).CreateNodeMap(),
                 GenICam::RuntimeException);
}

TEST(FactoryTest, TheSourceMayGoOnceItIsReleased) {
    auto text = std::make_unique<std::string>(Description(Node("Integer", "I", "<Value>5</Value>")));
    CNodeMapFactory factory(ContentType_Xml, text->data(), text->size());
    const CNodeMapFactory copy = factory;
    EXPECT_FALSE(copy.IsEmpty());
    const MapPtr kept(factory.CreateNodeMap("Cam", false));
    EXPECT_FALSE(factory.IsCameraDescriptionFileDataReleased());
    EXPECT_TRUE(copy.IsLoaded());
    factory.ReleaseCameraDescriptionFileData();
    text->assign(text->size(), 'x');
    text.reset();
    EXPECT_TRUE(copy.IsCameraDescriptionFileDataReleased());
    const MapPtr second(factory.CreateNodeMap());
    EXPECT_EQ(kept->GetDeviceName(), "Cam");
    EXPECT_NE(second->GetNode("I"), nullptr);
}

TEST(FactoryTest, TextsForShowCanBeLeftOut) {
    const std::string text =
        Description(Node("Integer", "I", "<ToolTip>tip</ToolTip><DisplayName>name</DisplayName><Value>5</Value>"));
    const MapPtr full(CNodeMapFactory(text.c_str()).CreateNodeMap());
    const MapPtr bare(CNodeMapFactory(text.c_str(), CacheUsage_Automatic, true).CreateNodeMap());
    EXPECT_EQ(full->GetNode("I")->GetToolTip(), "tip");
    EXPECT_EQ(full->GetNode("I")->GetDisplayName(), "name");
    EXPECT_EQ(bare->GetNode("I")->GetToolTip(), "");
    EXPECT_EQ(bare->GetNode("I")->GetDisplayName(), "I");
}

TEST(LimitsTest, NamesAndNumbersOfThingsAreLimited) {
    EXPECT_THAT(FailureOf(Description(Node("Integer", std::string(2000, 'N'), "<Value>1</Value>"))),
                HasSubstr("2000 characters"));
    EXPECT_THAT(FailureOf(std::string((64u << 20) + 1, ' ')), HasSubstr("67108865 bytes"));
    std::string tags;
    while (tags.size() < (60u << 20)) {
        tags += "<a/><a/><a/><a/><a/><a/><a/><a/><a/><a/><a/><a/><a/><a/><a/><a/>";
    }
    std::replace(tags.begin(), tags.end(), '/', '<');
    EXPECT_THAT(FailureOf(tags), HasSubstr("tags"));
}

} // namespace
