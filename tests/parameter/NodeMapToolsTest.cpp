// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/parameter/NodeMapFromResource.h"
#include "fakes/Failure.h"
#include "genicam/genapi/MapFixture.h"
#include <zelmo/NodeMapTools.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <locale>
#include <string>

namespace {

using namespace Zelmo;
using Fakes::FailureOf;
using tests::Node;
using tests::Value;

const char* const kWrongForm = "Failed to set GenICam node values from key/value string!";
constexpr std::size_t kLong = 10'000'000;

std::string Repeated(const std::string& part, std::size_t bytes) {
    std::string text;
    text.reserve(bytes + part.size());
    while (text.size() < bytes) {
        text += part;
    }
    return text;
}

class NodeMapToolsTest : public tests::MapTest {
protected:
    NodeMapToolsTest() {
        Load(Node("Category", "Root", "<pFeature>Width</pFeature>") + Value("Width", 10, "<Min>0</Min><Max>999</Max>") +
             Value("Height", 10) + Value("Line_2", 10) + Node("StringReg", "Label", tests::Place(16, 64)) +
             Value("Fixed", 10, "<ImposedAccessMode>RO</ImposedAccessMode>") + Node("Node", "Plain", "") +
             Node("Enumeration", "Mode",
                  Node("EnumEntry", "Off", "<Value>0</Value>") + Node("EnumEntry", "On", "<Value>1</Value>") +
                      "<Value>0</Value>"));
    }
    void Set(const std::string& text) { SetGenICamNodeValuesFromKeyValueStr(Map.get(), text.c_str()); }
    template <class Exception = GenICam::RuntimeException>
    std::string FailureOfSetting(const std::string& text) {
        return FailureOf<Exception>([&] { Set(text); });
    }
    void ExpectNothingSet() {
        for (const char* name : {"Width", "Height", "Line_2"}) {
            EXPECT_EQ(Text(name), "10") << name;
        }
    }
};

TEST_F(NodeMapToolsTest, PairsAreSetFromLeftToRight) {
    std::string order;
    for (const char* name : {"Width", "Height", "Mode"}) {
        GenApi::Register(
            Map->GetNode(name), [&order](GenApi::INode* node) { order += node->GetName().c_str() + std::string(" "); },
            GenApi::cbPostInsideLock);
    }
    Set("Width=100 Height=200  \t\r\n\v\f Mode=On\nLine_2=0x1F Label=_a9Z_ Width=7");
    EXPECT_EQ(order, "Width Height Mode Width ");
    EXPECT_EQ(Text("Width") + " " + Text("Height") + " " + Text("Mode") + " " + Text("Line_2") + " " + Text("Label"),
              "7 200 On 31 _a9Z_");
}

class WrongFormTest : public NodeMapToolsTest, public testing::WithParamInterface<const char*> {};

TEST_P(WrongFormTest, SetsNothing) {
    EXPECT_EQ(FailureOfSetting(GetParam()), kWrongForm);
    ExpectNothingSet();
    EXPECT_EQ(FailureOfSetting(std::string("Height=5 ") + GetParam()), kWrongForm);
    ExpectNothingSet();
}

INSTANTIATE_TEST_SUITE_P(Texts, WrongFormTest,
                         testing::Values("", " ", "Width", "Width=", "=100", "=", "Width = 100", "Width= 100",
                                         "Width =100", "Width=100 ", "Width=100\n", "Width=100;Height=200",
                                         "Width=100 Height", "Width=100 =200", "Width=100=200", "Width==100",
                                         "Width=-100", "Gain=1.5", "Label=\"a\"", "Label=a\\ b", "Label=a\xC3\xA9",
                                         "L\xE4nge=1", "Width=100\xA0Height=200"));

TEST_F(NodeMapToolsTest, WhiteSpaceBeforeTheFirstPairIsAWrongForm) {
    EXPECT_EQ(FailureOfSetting(" Width=100"), kWrongForm);
    ExpectNothingSet();
}

// A locale in which every byte above 127 is a letter, and the underscore a blank.
TEST_F(NodeMapToolsTest, LettersAndBlanksAreThoseOfAsciiInAnyLocale) {
    static std::ctype_base::mask table[std::ctype<char>::table_size];
    std::copy_n(std::ctype<char>::classic_table(), std::size(table), table);
    std::fill(table + 128, std::end(table), std::ctype_base::alpha);
    table[static_cast<unsigned char>('_')] = std::ctype_base::space;
    const std::locale former = std::locale::global(std::locale(std::locale(), new std::ctype<char>(table)));
    EXPECT_EQ(FailureOfSetting("Label=\xE4"), kWrongForm);
    Set("Label=a_b");
    std::locale::global(former);
    EXPECT_EQ(Text("Label"), "a_b");
}

TEST_F(NodeMapToolsTest, FailureNamesTheKeyAndLeavesEarlierPairsSet) {
    int width = 100;
    for (const char* key : {"Depth", "Root", "Plain", "width"}) { // a category and a plain node have no value
        const std::string pair = "Width=" + std::to_string(++width);
        EXPECT_EQ(FailureOfSetting(pair + " " + key + "=1 Height=200"),
                  std::string("Failed to set GenICam node value (key=") + key + ")");
        EXPECT_EQ("Width=" + Text("Width"), pair);
        EXPECT_EQ(Text("Height"), "10");
    }
}

TEST_F(NodeMapToolsTest, RefusalOfANodePasses) {
    EXPECT_THROW(Set("Width=100 Fixed=1 Height=200"), GenICam::AccessException);
    EXPECT_EQ(Text("Width") + " " + Text("Fixed") + " " + Text("Height"), "100 10 10");
    EXPECT_THROW(Set("Width=1000"), GenICam::OutOfRangeException);
    EXPECT_THROW(Set("Mode=Perhaps"), GenICam::InvalidArgumentException);
    Port.TimesOut = true;
    EXPECT_THROW(Set("Label=a"), GenICam::TimeoutException);
}

TEST_F(NodeMapToolsTest, MissingMapOrTextIsRefused) {
    const auto failure = [](GenApi::INodeMap* map, const char* text) {
        return FailureOf<GenICam::InvalidArgumentException>([&] { SetGenICamNodeValuesFromKeyValueStr(map, text); });
    };
    const std::string what = "Cannot set GenICam node values from a key/value string: the ";
    EXPECT_EQ(failure(nullptr, "Width=100"), what + "node map is null.");
    EXPECT_EQ(failure(Map.get(), nullptr), what + "string is null.");
}

TEST_F(NodeMapToolsTest, LongTextsAreSetAndFailLikeShortOnes) {
    const std::string pairs = Repeated("Height=200 Line_2=2 ", kLong);
    EXPECT_EQ(FailureOfSetting(pairs + "Width=100;"), kWrongForm);
    EXPECT_EQ(FailureOfSetting(pairs), kWrongForm); // the last blank
    ExpectNothingSet();
    Set(pairs + "Width=100");
    EXPECT_EQ(Text("Width") + Text("Height") + Text("Line_2"), "1002002");

    const std::string word(kLong, 'a');
    const std::string blanks(kLong, ' ');
    Set("Height=3" + blanks + "Width=3");
    EXPECT_EQ(Text("Width") + Text("Height"), "33");
    for (const std::string& text : {word, word + "=" + word + ".", "Width=4" + blanks, "Width=4" + blanks + "="}) {
        EXPECT_EQ(FailureOfSetting(text), kWrongForm);
    }
    EXPECT_EQ(Text("Width"), "3");
    EXPECT_EQ(FailureOfSetting(word + "=4"), "Failed to set GenICam node value (key=" + word + ")");
    EXPECT_THROW(Set("Width=" + word), GenICam::InvalidArgumentException);
}

TEST(DefaultTransportLayerParams, AreABooleanWhichIsTrue) {
    const tests::MapPtr map(CreateDefaultTransportLayerParamsNodeMap());
    const GenApi::CBooleanPtr enable(map.get(), "ChunkNodeMapSupportEnable");
    ASSERT_TRUE(enable.IsValid());
    EXPECT_TRUE(enable->GetValue());
    GenApi::INode* const node = enable->GetNode();
    EXPECT_TRUE(node->IsStreamable());
    EXPECT_EQ(node->GetVisibility(), GenApi::Guru);
    const GenApi::CCategoryPtr root(map.get(), "Root");
    GenApi::FeatureList_t features;
    root->GetFeatures(features);
    ASSERT_EQ(features.size(), 1u);
    EXPECT_EQ(features[0]->GetNode(), node);
    EXPECT_EQ(map->GetNumNodes(), 2u); // no port
    EXPECT_EQ(map->GetDeviceName(), "Device");
    EXPECT_FALSE(GenApi::IsWritable(map->GetNode("Root")));
    SetGenICamNodeValuesFromKeyValueStr(map.get(), "ChunkNodeMapSupportEnable=0");
    EXPECT_FALSE(enable->GetValue());
    const tests::MapPtr fresh(CreateDefaultTransportLayerParamsNodeMap());
    EXPECT_TRUE(GenApi::CBooleanPtr(fresh.get(), "ChunkNodeMapSupportEnable")->GetValue());
}

TEST(NodeMapFromResource, UnknownNamesHaveNone) {
    for (const char* name : {static_cast<const char*>(nullptr), "", "defaultTransportLayerParams", "Device"}) {
        EXPECT_EQ(CreateNodeMapFromResource(name), nullptr);
    }
    DestroyNodeMap(CreateNodeMapFromResource("InstantCameraParams"));
}

} // namespace
