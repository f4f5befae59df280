// SPDX-License-Identifier: Apache-2.0

// What rules say and which one counts, without the folder of rule files.

#include "RuleDocument.h"
#include "ZelmoBase/binding/ConfigFileRegistryImpl.h"

#include "fakes/Failure.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

using namespace Zelmo;
using namespace Binding;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

class BindingRules : public testing::Test {
protected:
    BindingRules() { setenv("ZELMO_DEFAULT_CDF_DIR", "/descriptions", 1); }

    void Add(const std::string& text) { m_rules.AddRules(text); }
    std::string FailureOfAdding(const std::string& text) {
        return Fakes::FailureOf([&] { Add(text); });
    }
    CConfigFileRegistry::CBinding Bind(const CDeviceInfo& device = Device()) const {
        return m_rules.GetXmlFileBinding(device);
    }
    std::string FileOf(const CDeviceInfo& device = Device()) const { return Bind(device).File.str(); }

    CConfigFileRegistryImpl m_rules;
};

std::vector<std::string> Texts(const StringList_t& list) {
    return {list.begin(), list.end()};
}

TEST_F(BindingRules, DeviceThatNoneMatchesDownloads) {
    Add(RuleDocument(Rule("<Name>other</Name><Download>no</Download>")));
    for (const CDeviceInfo& device : {Device(), Device("other", "OtherClass"), CDeviceInfo()}) {
        const auto binding = Bind(device);
        EXPECT_TRUE(binding.IsDefault);
        EXPECT_TRUE(binding.Download);
        EXPECT_FALSE(binding.HasFile);
        EXPECT_STREQ(binding.File.c_str(), "");
        EXPECT_FALSE(binding.HasAdditionalFiles);
        EXPECT_EQ(m_rules.Explain(device).step, BindingStep_Default);
    }
    EXPECT_FALSE(Bind(Device("other")).IsDefault);
}

struct Choice {
    const char* what;
    EBindingStep step;
    const char* file;
    std::vector<std::string> documents;
    friend void PrintTo(const Choice& choice, std::ostream* stream) { *stream << choice.what; }
};

class BindingChoice : public BindingRules, public testing::WithParamInterface<Choice> {};

TEST_P(BindingChoice, TakesOneRule) {
    for (const std::string& document : GetParam().documents) {
        Add(document);
    }
    EXPECT_EQ(FileOf(), GetParam().file);
    const CBindingReport report = m_rules.Explain(Device());
    EXPECT_EQ(report.step, GetParam().step);
    EXPECT_EQ(report.matching.at(report.winner).file, GetParam().file);
    EXPECT_EQ(report.binding.File, GetParam().file);
}

std::string Standard(const std::string& rules) {
    return RuleDocument(rules, "standard");
}

const Choice kChoices[] = {
    {"the only one", BindingStep_HighestPriority, "./a", {Standard(FileRule("a"))}},
    {"last of equals", BindingStep_Last, "./b", {Standard(FileRule("a", "1") + FileRule("b", "1"))}},
    {"last of equal documents", BindingStep_Last, "./b", {Standard(FileRule("a")), Standard(FileRule("b"))}},
    {"custom before standard",
     BindingStep_LastCustom,
     "./custom",
     {RuleDocument(FileRule("custom", "1")), Standard(FileRule("a", "1") + FileRule("b", "1"))}},
    {"last custom",
     BindingStep_LastCustom,
     "./c",
     {Standard(FileRule("a")), RuleDocument(FileRule("b") + FileRule("c")), Standard(FileRule("d"))}},
    {"all custom", BindingStep_LastCustom, "./b", {RuleDocument(FileRule("a") + FileRule("b"))}},
    {"priority before custom",
     BindingStep_HighestPriority,
     "./a",
     {RuleDocument(FileRule("custom", "1")), Standard(FileRule("a", "2"))}},
    {"custom of a lower priority among equals",
     BindingStep_Last,
     "./b",
     {RuleDocument(FileRule("custom")), Standard(FileRule("a", "1") + FileRule("b", "1"))}},
    {"numbers by value", BindingStep_HighestPriority, "./a", {Standard(FileRule("a", "10") + FileRule("b", "9"))}},
    {"negative is very high",
     BindingStep_HighestPriority,
     "./a",
     {Standard(FileRule("a", "-1") + FileRule("b", "4294967294"))}},
    {"32 bits are left",
     BindingStep_HighestPriority,
     "./a",
     {Standard(FileRule("a", "1") + FileRule("b", "4294967296"))}},
    {"no number is 0", BindingStep_HighestPriority, "./a", {Standard(FileRule("a", "1") + FileRule("b", "high"))}},
    {"absent is 0", BindingStep_Last, "./b", {Standard(FileRule("a", "0") + "<Rule><File>./b</File></Rule>")}},
    {"type is exact", BindingStep_Last, "./b", {RuleDocument(FileRule("a"), "Custom") + " ", Standard(FileRule("b"))}},
};

INSTANTIATE_TEST_SUITE_P(All, BindingChoice, testing::ValuesIn(kChoices));

struct Match {
    const char* elements;
    const char* model;
    bool matches;
    friend void PrintTo(const Match& match, std::ostream* stream) { *stream << match.elements << ' ' << match.model; }
};

class BindingMatch : public BindingRules, public testing::WithParamInterface<Match> {};

TEST_P(BindingMatch, ComparesWholeTexts) {
    Add(RuleDocument(Rule(GetParam().elements)));
    EXPECT_NE(Bind(Device(GetParam().model)).IsDefault, GetParam().matches);
}

INSTANTIATE_TEST_SUITE_P(
    All, BindingMatch,
    testing::Values(Match{"<Name>ab</Name>", "abc", false}, Match{"<Name>bc</Name>", "abc", false},
                    Match{"<Name>abc</Name>", "ABC", true}, Match{"<Name>A.C</Name>", "abc", true},
                    Match{"<Name>a|ab|abc</Name>", "abc", true}, Match{"<Name>x</Name><Name>abc</Name>", "abc", true},
                    Match{"<Name>abc</Name><Name>x</Name>", "abc", false}, Match{"<Name> abc </Name>", "abc", false},
                    Match{"<Name> abc </Name>", " abc ", true}, Match{"<Name/>", "", true},
                    Match{"<Name/>", "a", false}, Match{"<Name>&lt;&amp;></Name>", "<&>", true},
                    Match{"<Name><![CDATA[a<]]></Name>", "a<", true},
                    Match{"<!-- any --><Name>abc</Name>", "abc", true},
                    Match{"<Manufacturer>Vend</Manufacturer>", "abc", false},
                    Match{"<Manufacturer>vendor</Manufacturer><SerialNumber>[0-9]{4}</SerialNumber>", "abc", true},
                    Match{"<SerialNumber>081</SerialNumber>", "abc", false}, Match{"<File>x</File>", "abc", true},
                    Match{"<Name>M\xc3\xbcller</Name>", "M\xc3\xbcller", true}));

TEST_F(BindingRules, MissingPropertiesAreMatchedAsEmptyTexts) {
    Add(RuleDocument(Rule("<Name>.+</Name><File>./named</File>") + Rule("<Name></Name><File>./unnamed</File>")));
    CDeviceInfo device;
    device.SetDeviceClass("TestClass");
    EXPECT_EQ(FileOf(device), "./unnamed");
    EXPECT_EQ(FileOf(), "./named");
}

struct FileName {
    const char* inRule;
    const char* resolved;
};

class BindingFile : public BindingRules, public testing::WithParamInterface<FileName> {};

TEST_P(BindingFile, IsMadeAPath) {
    setenv("ZELMO_TEST_X", "/opt", 1);
    setenv("ZELMO_TEST_NAME", "b.zip", 1);
    unsetenv("ZELMO_TEST_UNSET");
    const std::string name = GetParam().inRule;
    Add(RuleDocument(Rule("<File>" + name + "</File><AdditionalFile>" + name + ";x</AdditionalFile>")));
    const auto binding = Bind();
    EXPECT_EQ(binding.File, GetParam().resolved);
    EXPECT_EQ(binding.HasFile, *GetParam().resolved != '\0');
    EXPECT_THAT(Texts(binding.AdditionalFiles), ElementsAre(GetParam().resolved, "/descriptions/x"));
    EXPECT_EQ(m_rules.Explain(Device()).matching[0].file, name) << "as it was written";
}

INSTANTIATE_TEST_SUITE_P(
    All, BindingFile,
    testing::Values(FileName{"", ""}, FileName{"a.zip", "/descriptions/a.zip"}, FileName{"./a.zip", "./a.zip"},
                    FileName{"sub/a.zip", "sub/a.zip"}, FileName{"/x/a.zip", "/x/a.zip"}, FileName{".", "."},
                    FileName{"..", ".."}, FileName{"...", "/descriptions/..."}, FileName{"/", "/"},
                    FileName{"$(ZELMO_TEST_X)/a.zip", "/opt/a.zip"}, FileName{"%ZELMO_TEST_X%/a", "/opt/a"},
                    FileName{"%ZELMO_TEST_NAME%", "/descriptions/b.zip"}, FileName{"%ZELMO_TEST_UNSET%", ""},
                    FileName{"a%ZELMO_TEST_UNSET%", "/descriptions/a"}, FileName{"a$$b%%c", "/descriptions/a$b%c"},
                    FileName{"$()a", "/descriptions/$()a"}, FileName{"100%", "/descriptions/100%"}));

TEST_F(BindingRules, LastElementOfAKindStandsButAdditionalFilesAddUp) {
    Add(RuleDocument(Rule("<File>./a</File><AdditionalFile>./1;;./2;</AdditionalFile><Download>no</Download>"
                          "<File>./b</File><AdditionalFile/><AdditionalFile>;./3</AdditionalFile>"
                          "<Download>\n\t YES </Download>")));
    const auto binding = Bind();
    EXPECT_EQ(binding.File, "./b");
    EXPECT_THAT(Texts(binding.AdditionalFiles), ElementsAre("./1", "", "./2", "", "./3"));
    EXPECT_TRUE(binding.Download);
}

struct Fault {
    std::string text;
    const char* message;
    friend void PrintTo(const Fault& fault, std::ostream* stream) { *stream << fault.text.substr(0, 100); }
};

class BindingFault : public BindingRules, public testing::WithParamInterface<Fault> {};

TEST_P(BindingFault, NamesItsCauseAndLeavesTheRulesBefore) {
    Add(RuleDocument(FileRule("before")));
    EXPECT_THAT(FailureOfAdding(GetParam().text), StartsWith(GetParam().message));
    EXPECT_EQ(FileOf(), "./before");
}

const char kNoLayer[] = "CConfigFileRegistryImpl parser expected <TransportLayer> but found unexpected node: ";
const char kNoRule[] = "CConfigFileRegistryImpl parser expected <Rule> but found unexpected node: ";
const char kElement[] = "CConfigFileRegistry::ProcessRuleNode: unexpected element ";
const char kWord[] = "CConfigFileRegistry::ProcessRuleNode: download attribute must be set to 'yes' or 'no'.";
const char kExpression[] = "Invalid XML configuration file binding rule: Invalid regular expression '";

INSTANTIATE_TEST_SUITE_P(
    All, BindingFault,
    testing::Values(
        Fault{"", "CXmlNode::LoadFromString failed, Error="}, Fault{"<a>", "CXmlNode::LoadFromString failed, Error="},
        Fault{Repeated("<BindingRules>", 100'000), "CXmlNode::LoadFromString failed, Error="},
        Fault{"<!-- nothing -->", "CConfigFileRegistryImpl parser expected <TransportLayer> but found unexpected "
                                  "node: ."},
        Fault{"<BindingRules>text</BindingRules>", kNoLayer},
        Fault{"<BindingRules><Transportlayer/></BindingRules>",
              "CConfigFileRegistryImpl parser expected <TransportLayer> but found unexpected node: Transportlayer."},
        Fault{"<BindingRules><TransportLayer/></BindingRules>",
              "CConfigFileRegistry::ProcessTransportLayerNode: XML Parsing failed, TL without name"},
        Fault{RuleDocument(""), "CConfigFileRegistryImpl parser expected <Rule> but found unexpected node: ."},
        Fault{RuleDocument(Rule("<Name>x</Name>") + "<rule/>"),
              "CConfigFileRegistryImpl parser expected <Rule> but found unexpected node: rule."},
        Fault{RuleDocument(Rule("<Name>x</Name>") + "text"), kNoRule},
        Fault{RuleDocument(Rule("")), "CConfigFileRegistry::ProcessRuleNode: unexpected element  found."},
        Fault{RuleDocument(Rule("text")), kElement},
        Fault{RuleDocument(Rule("<Name>x</Name><name>x</name>")),
              "CConfigFileRegistry::ProcessRuleNode: unexpected element name found."},
        Fault{RuleDocument(Rule("<Download>true</Download>")), kWord},
        Fault{RuleDocument(Rule("<Download/><Download>yes</Download>")), kWord},
        Fault{RuleDocument(Rule("<Name>(</Name><Manufacturer>)</Manufacturer>")),
              "Invalid XML configuration file binding rule: Invalid regular expression ')' ("},
        Fault{RuleDocument(Rule("<Name>*</Name>")), kExpression},
        Fault{RuleDocument(Rule("<Name>" + Repeated("(", 100'000) + "</Name>")), kExpression}));

TEST_F(BindingRules, ExpressionOfExponentialCostFailsAndNamesTheLibrarysReason) {
    Add(RuleDocument(Rule("<Name>(a*)*(a*)*(a*)*(a|a)*b</Name>")));
    EXPECT_THAT(Fakes::FailureOf([this] { Bind(Device(std::string(200, 'a').c_str())); }),
                StartsWith("Error occurred when matching regular expression: The complexity of matching"));
    EXPECT_TRUE(Bind(Device("b")).Download);
}

TEST_F(BindingRules, RulesByTheTenThousandAreReadAndSearched) {
    const int rules = 20'000;
    Add(RuleDocument(Repeated(Rule("<Name>other</Name>"), rules) + FileRule("last")));
    EXPECT_EQ(m_rules.CountRules(), rules + 1u);
    EXPECT_EQ(FileOf(), "./last");
    EXPECT_EQ(m_rules.Explain(Device("other")).matching.size(), rules + 1u);
}

struct StandardBinding {
    const char* deviceClass;
    const char* vendor;
    const char* model;
    bool isDefault, download;
    const char* file; // in /descriptions
};

class StandardRules : public BindingRules, public testing::WithParamInterface<StandardBinding> {};

TEST_P(StandardRules, BindEachKindOfCamera) {
    m_rules.AddRulesFromResources("ConfigFileRegistryStandardRules");
    EXPECT_EQ(m_rules.CountRules(), 9u);
    const StandardBinding& expected = GetParam();
    const auto binding = Bind(Device(expected.model, expected.deviceClass, expected.vendor));
    EXPECT_EQ(binding.IsDefault, expected.isDefault);
    EXPECT_EQ(binding.Download, expected.download);
    EXPECT_EQ(binding.HasFile, *expected.file != '\0');
    EXPECT_EQ(binding.File, *expected.file != '\0' ? std::string("/descriptions/") + expected.file : "");
    EXPECT_FALSE(binding.HasAdditionalFiles);
}

INSTANTIATE_TEST_SUITE_P(
    All, StandardRules,
    testing::Values(StandardBinding{"Harlix1394", "Harlix", "Q102f", false, false, "Harlix_Q1_Q3_Q6_1394.zip"},
                    StandardBinding{"Harlix1394", "Other", "q601FCFC", false, false, "Harlix_Q1_Q3_Q6_1394.zip"},
                    StandardBinding{"Harlix1394", "Other", "Q202f", false, false, "Harlix_tarn_1394.zip"},
                    StandardBinding{"Harlix1394", "Other", "B102f", false, false, "Harlix_tarn_1394.zip"},
                    StandardBinding{"HarlixGigE", "Other", "", false, true, ""},
                    StandardBinding{"HarlixUsb", "Other", "x", false, true, ""},
                    StandardBinding{"HarlixCameraLink", "Harlix", "x", false, true, "Harlix_CameraLink.zip"},
                    StandardBinding{"HarlixCameraLink", "Other", "kvQ1", true, true, ""},
                    StandardBinding{"HarlixCamEmu", "harlix", "Emulation", false, true, ""},
                    StandardBinding{"HarlixCamEmu", "Other", "Emulation", true, true, ""}));

} // namespace
