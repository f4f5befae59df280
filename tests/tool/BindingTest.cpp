// SPDX-License-Identifier: Apache-2.0
#include "TemporaryFolder.h"
#include "ToolProcess.h"

#include <gmock/gmock.h>

#include <fstream>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using tool::Json;

class BindingVerbTest : public testing::Test {
protected:
    void WriteRules(const std::string& file, const std::string& rules) const {
        std::ofstream(m_rules / file) << "<BindingRules type='custom'><TransportLayer name='HarlixCamEmu'>" + rules +
                                             "</TransportLayer></BindingRules>";
    }
    ToolResult Run(const std::vector<std::string>& arguments) const {
        return RunTool(arguments, WithEnvironment({{"ZELMO_CONFIG_FILE_REGISTRY_PATH", m_rules.Path()},
                                                   {"ZELMO_DEFAULT_CDF_DIR", m_descriptions.Path()}}));
    }
    Json Bind(const std::string& device) const { return Run({"binding", device, "--json"}).Document(); }

    TemporaryFolder m_rules;
    TemporaryFolder m_descriptions;
};

TEST_F(BindingVerbTest, TellsWhichOfSeveralCountsAndWhichFilesAreMissing) {
    std::ofstream(m_descriptions / "there.xml") << "x";
    WriteRules("RulesA.xml", "<Rule><File>first.xml</File></Rule>");
    WriteRules("RulesB.xml", "<Rule><SerialNumber>.*1</SerialNumber><Download>no</Download><File>there.xml</File>"
                             "<AdditionalFile>gone.xml;;there.xml</AdditionalFile></Rule>");
    const Json binding = Bind("0815-0001");
    EXPECT_EQ(binding["reason"], "last_custom");
    EXPECT_EQ(binding["file"], Json({{"path", m_descriptions / "there.xml"}, {"exists", true}}));
    EXPECT_EQ(binding["additional_files"][0], Json({{"path", m_descriptions / "gone.xml"}, {"exists", false}}));
    std::vector<bool> chosen;
    for (const Json& rule : binding["rules"]) {
        chosen.push_back(rule["chosen"]);
    }
    EXPECT_THAT(chosen, ElementsAre(false, false, true));
    EXPECT_EQ(binding["rules"][2]["origin"], m_rules / "RulesB.xml");
    EXPECT_EQ(binding["rules"][2]["file"], "there.xml");

    const std::string text = Run({"binding", "0815-0001"}).out;
    EXPECT_THAT(text, HasSubstr("from the file " + (m_descriptions / "there.xml") + "\n"));
    EXPECT_THAT(text, HasSubstr("Added        " + (m_descriptions / "gone.xml") + " (missing)\n"));
    EXPECT_THAT(text, HasSubstr("it is the last custom one"));
    EXPECT_THAT(Run({"binding", "0"}).out,
                HasSubstr("from the camera; where that fails, the file " + (m_descriptions / "first.xml")));
}

TEST_F(BindingVerbTest, SaysThatACameraCannotBeOpenedAndThatItCannot) {
    WriteRules("Rules.xml", "<Rule><Download>no</Download></Rule>");
    const ToolResult told = Run({"binding", "0"});
    EXPECT_EQ(told.exitCode, 0);
    EXPECT_THAT(told.out, HasSubstr("from nowhere: the rule forbids the download and names no file"));
    const ToolResult opened = Run({"features", "-d", "0"});
    EXPECT_EQ(opened.exitCode, 1);
    EXPECT_THAT(opened.err, HasSubstr(m_rules / "Rules.xml"));
}

TEST_F(BindingVerbTest, BrokenRuleFileIsNamedAndHidesNoCamera) {
    std::ofstream(m_rules / "RulesBroken.xml") << "<BindingRules";
    WriteRules("RulesGood.xml", "<Rule><Name>x</Name></Rule>");
    EXPECT_EQ(Run({"list", "--json"}).Document()["devices"].size(), 3u);
    const ToolResult result = Run({"binding", "0"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("Cannot read rule file " + (m_rules / "RulesBroken.xml")));
    EXPECT_THAT(result.err, HasSubstr("'zelmo doctor' tells which rule file is at fault"));

    const ToolResult doctor = Run({"doctor", "--json", "-q"});
    EXPECT_EQ(doctor.exitCode, 1);
    std::vector<std::string> names;
    const Json document = doctor.Document();
    for (const Json& check : document["checks"]) {
        if (check["name"].get<std::string>().rfind("rule", 0) != 0) {
            continue;
        }
        names.push_back(check["name"]);
        if (check["name"] == "rule folder") {
            EXPECT_EQ(check["detail"], "2 rule files in " + m_rules.Path().string());
        } else {
            EXPECT_EQ(check["verdict"], "problem");
            EXPECT_THAT(check["detail"].get<std::string>(), HasSubstr(m_rules / "RulesBroken.xml: CXmlNode"));
            EXPECT_THAT(check["remedy"].get<std::string>(), HasSubstr("Mend the file or remove it"));
        }
    }
    EXPECT_THAT(names, ElementsAre("rule folder", "rule file RulesBroken.xml"));
}

TEST_F(BindingVerbTest, DoctorWarnsOfAFolderThatIsSetAndMissing) {
    const ToolResult result =
        RunTool({"doctor"}, WithEnvironment({{"ZELMO_CONFIG_FILE_REGISTRY_PATH", m_rules / "missing"}}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr("warning  rule folder: " + (m_rules / "missing")));
    EXPECT_THAT(RunTool({"doctor"}).out, HasSubstr("ok       rule folder: "));
}

} // namespace
