// SPDX-License-Identifier: Apache-2.0

// The registry of the process and its folder of rule files. Each case is a process of its own, as the folder is looked
// up once a process.

#include "RuleDocument.h"

#include <zelmo/BindingReport.h>
#include <zelmo/ConfigFileRegistry.h>
#include <zelmo/Lifecycle.h>
#include <zelmo/Log.h>

#include "fakes/Failure.h"
#include "fakes/LogRecorder.h"
#include "fakes/TempFolder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <latch>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Zelmo;
using namespace Binding;
using Fakes::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

const char kCategory[] = "zelmo.base.TlFactory";

class ConfigFileRegistry : public testing::Test {
protected:
    ConfigFileRegistry() {
        hxlog::LogEnable(true);
        fs::create_directory(m_folder);
        UseFolder(m_folder);
    }

    static void UseFolder(const fs::path& folder) { setenv("ZELMO_CONFIG_FILE_REGISTRY_PATH", folder.c_str(), 1); }
    std::string PathOf(const std::string& file) const { return (m_folder / file).string(); }
    void Write(const std::string& file, const std::string& text) const {
        std::ofstream(PathOf(file), std::ios::binary) << text;
    }
    /// A rule file of equal priority whose rule binds its own name.
    void WriteRules(const std::string& file) const { Write(file, RuleDocument(FileRule(file))); }

    static std::string BoundFile() { return CConfigFileRegistry::GetInstance().GetXmlFileBinding(Device()).File.str(); }
    static std::string FailureOfReading() {
        return Fakes::FailureOf([] { CConfigFileRegistry::GetInstance(); });
    }
    LogLine ReadLine(const std::string& file) const {
        return {kCategory, GenICam::LogPriority_Info, "Adding rules from file: '" + PathOf(file) + "'"};
    }

    const Fakes::TempFolder m_temp;
    const fs::path m_folder = m_temp.Path() / "rules";
};

TEST_F(ConfigFileRegistry, ReadsTheRuleFilesOfItsFolderInOrderOfTheirBytes) {
    for (const char* file : {"rules_site.XML", "RulesB.xml", "RulesA.xml", "Rules.xml", "site_rules.xml", "Rules.txt",
                             "Rules.xml.bak", "Rulesxml", ".xml"}) {
        WriteRules(file);
    }
    fs::create_directories(m_folder / "RulesFolder.xml");
    fs::create_directories(m_folder / "sub");
    WriteRules("sub/RulesZ.xml");
    std::ofstream(m_temp.Path() / "elsewhere") << RuleDocument(FileRule("linked"));
    fs::create_symlink(m_temp.Path() / "elsewhere", m_folder / "RulesLink.xml");
    ASSERT_EQ(mkfifo(PathOf("RulesPipe.xml").c_str(), 0600), 0); // nobody ever writes

    const Fakes::LogRecorder log;
    EXPECT_EQ(BoundFile(), "./rules_site.XML");
    EXPECT_THAT(log.Lines(), ElementsAre(ReadLine("Rules.xml"), ReadLine("RulesA.xml"), ReadLine("RulesB.xml"),
                                         ReadLine("RulesLink.xml"), ReadLine("rules_site.XML")));
    const CBindingReport report = ExplainBinding(Device());
    EXPECT_EQ(report.matching.at(report.winner).origin, PathOf("rules_site.XML"));
    EXPECT_EQ(report.matching.at(3).file, "./linked");
    EXPECT_EQ(report.step, BindingStep_LastCustom);
}

class NoRuleFolder : public ConfigFileRegistry, public testing::WithParamInterface<const char*> {};

TEST_P(NoRuleFolder, LeavesTheStandardRules) {
    std::ofstream(m_temp.Path() / "file") << "no folder";
    UseFolder(m_temp.Path() / GetParam());
    const Fakes::LogRecorder log;
    const CConfigFileRegistry& registry = CConfigFileRegistry::GetInstance();
    EXPECT_FALSE(registry.GetXmlFileBinding(Device("Q102f", "Harlix1394")).IsDefault);
    EXPECT_TRUE(registry.GetXmlFileBinding(Device()).IsDefault);
    EXPECT_THAT(log.Lines(), IsEmpty());
    EXPECT_FALSE(CheckRuleFolder().obstacle.empty());
}

INSTANTIATE_TEST_SUITE_P(All, NoRuleFolder, testing::Values("missing", "file", "file/below"));

TEST_F(ConfigFileRegistry, FolderThatCannotBeListedLeavesTheStandardRules) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "to root every folder is open";
    }
    WriteRules("Rules.xml");
    fs::permissions(m_folder, fs::perms::owner_exec);
    EXPECT_TRUE(CConfigFileRegistry::GetInstance().GetXmlFileBinding(Device()).IsDefault);
    EXPECT_FALSE(CheckRuleFolder().obstacle.empty());
    fs::permissions(m_folder, fs::perms::owner_all);
}

struct BrokenFile {
    const char* what;
    std::string text;
    const char* cause;
    friend void PrintTo(const BrokenFile& file, std::ostream* stream) { *stream << file.what; }
};

class BrokenRuleFile : public ConfigFileRegistry, public testing::WithParamInterface<BrokenFile> {};

TEST_P(BrokenRuleFile, FailsTheRegistryUntilItIsMended) {
    WriteRules("RulesA.xml");
    Write("RulesB.xml", GetParam().text);
    WriteRules("RulesC.xml");
    for (int attempt = 0; attempt < 2; ++attempt) {
        const Fakes::LogRecorder log;
        const std::string failure = FailureOfReading();
        EXPECT_THAT(failure, testing::HasSubstr(GetParam().cause));
        EXPECT_EQ(log.Count(kCategory, GenICam::LogPriority_Error,
                            "Cannot read rule file " + PathOf("RulesB.xml") + ": " + failure),
                  1u);
        EXPECT_FALSE(log.Contains(kCategory, GenICam::LogPriority_Info, "RulesC.xml"));
    }
    WriteRules("RulesB.xml");
    EXPECT_EQ(BoundFile(), "./RulesC.xml");
}

INSTANTIATE_TEST_SUITE_P(
    All, BrokenRuleFile,
    testing::Values(BrokenFile{"empty", "", "RulesB.xml failed, Error="},
                    BrokenFile{"binary", std::string(1'000'000, '<'), "RulesB.xml failed, Error="},
                    BrokenFile{"element", RuleDocument(Rule("<Model>a</Model>")), "unexpected element Model found."},
                    BrokenFile{"expression", RuleDocument(Rule("<Name>q(</Name>")), "regular expression 'q(' ("}));

TEST_F(ConfigFileRegistry, LinkThatLeadsNowhereFails) {
    fs::create_symlink("nowhere", m_folder / "RulesLink.xml");
    EXPECT_THAT(FailureOfReading(),
                StartsWith("CXmlNode::LoadFromFile " + PathOf("RulesLink.xml") + " failed, Error="));
}

TEST_F(ConfigFileRegistry, IsMadeOnceForManyThreads) {
    WriteRules("Rules.xml");
    const Fakes::LogRecorder log;
    std::latch ready(8);
    std::vector<std::jthread> threads;
    std::vector<CConfigFileRegistry*> seen(8);
    for (std::size_t i = 0; i < seen.size(); ++i) {
        threads.emplace_back([&, i] {
            ready.arrive_and_wait();
            seen[i] = &CConfigFileRegistry::GetInstance();
            for (int round = 0; round < 50; ++round) {
                EXPECT_EQ(seen[i]->GetXmlFileBinding(Device()).File, "./Rules.xml");
                EXPECT_TRUE(seen[i]->GetXmlFileBinding(Device("Model", "other")).IsDefault);
            }
        });
    }
    threads.clear();
    EXPECT_THAT(seen, testing::Each(&CConfigFileRegistry::GetInstance()));
    EXPECT_THAT(log.Lines(), ElementsAre(ReadLine("Rules.xml")));
}

TEST_F(ConfigFileRegistry, KeepsItsRulesUntilTheLastTerminate) {
    WriteRules("RulesA.xml");
    ZelmoInitialize();
    ZelmoInitialize();
    EXPECT_EQ(BoundFile(), "./RulesA.xml");
    WriteRules("RulesB.xml");
    ZelmoTerminate();
    EXPECT_EQ(BoundFile(), "./RulesA.xml");
    ZelmoTerminate(false);
    EXPECT_EQ(BoundFile(), "./RulesB.xml");
    ZelmoInitialize();
    EXPECT_EQ(BoundFile(), "./RulesB.xml") << "a start does not end what came before";
    ZelmoTerminate();
}

TEST_F(ConfigFileRegistry, CheckTellsOfEachFileAsItIsNow) {
    WriteRules("RulesA.xml");
    EXPECT_EQ(BoundFile(), "./RulesA.xml");
    Write("RulesB.xml", "<a/>");
    Write("RulesC.xml", RuleDocument(FileRule("1") + FileRule("2")));
    const Fakes::LogRecorder log;
    const CRuleFolderReport report = CheckRuleFolder();
    EXPECT_THAT(log.Lines(), IsEmpty());
    EXPECT_EQ(report.folder, m_folder.string());
    EXPECT_TRUE(report.obstacle.empty());
    ASSERT_EQ(report.files.size(), 3u);
    EXPECT_EQ(report.files[1].path, PathOf("RulesB.xml"));
    EXPECT_THAT(report.files[1].failure.str(), StartsWith("CConfigFileRegistryImpl parser expected <TransportLayer>"));
    EXPECT_TRUE(report.files[2].failure.empty());
    EXPECT_EQ(report.files[2].rules, 2u);
    EXPECT_EQ(BoundFile(), "./RulesA.xml");
}

} // namespace
