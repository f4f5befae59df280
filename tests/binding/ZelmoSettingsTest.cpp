// SPDX-License-Identifier: Apache-2.0
#include <zelmo/Log.h>
#include <zelmo/ZelmoSettings.h>

#include "RuleDocument.h"
#include "fakes/LogRecorder.h"

#include <Base/GCException.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

using Binding::Repeated;
using Zelmo::CZelmoSettings;
using Zelmo::String_t;

namespace {

const char* const kUnset = "<unset>";

std::string Setting(const std::string& key) {
    String_t value = kUnset;
    const bool found = CZelmoSettings::GetSetting(key.c_str(), value);
    EXPECT_TRUE(found || value == kUnset);
    return value.c_str();
}

std::string WithSettings(const std::string& body) {
    return "<settings>" + body + "</settings>";
}

class ZelmoSettings : public testing::Test {
protected:
    void SetUp() override {
        hxlog::LogEnable(true);
        CZelmoSettings::ClearSettings();
    }
    void TearDown() override {
        std::filesystem::remove_all(m_beside);
        std::filesystem::remove_all(m_above);
    }

    static void Write(const std::filesystem::path& file, const std::string& content) {
        std::ofstream(file, std::ios::binary) << content;
    }

    // Updates, which must fail, and answers what the log tells about it.
    std::string LoggedFailure() {
        Fakes::LogRecorder log;
        try {
            CZelmoSettings::UpdateSettings();
            ADD_FAILURE() << "the file was read";
        } catch (const GenICam::RuntimeException& e) {
            EXPECT_STREQ(e.GetDescription(), "Failed to process zelmo setting file");
            EXPECT_STREQ(e.GetSourceFileName(), "ZelmoBase/binding/ZelmoSettings.cpp");
        }
        const auto lines = log.Lines();
        if (lines.size() != 1 || lines[0].category != "zelmo.base" || lines[0].priority != GenICam::LogPriority_Error) {
            ADD_FAILURE() << "not one line of the category and level expected";
            return {};
        }
        return lines[0].message;
    }

    const std::filesystem::path m_folder = std::getenv("ZELMO_TEST_FOLDER");
    const std::filesystem::path m_beside = m_folder / "lib" / "zelmo.xml";
    const std::filesystem::path m_above = m_folder / "zelmo.xml";
};

TEST_F(ZelmoSettings, AreKeptByExactKeyUntilCleared) {
    EXPECT_TRUE(CZelmoSettings::SetSetting("key", "old"));
    EXPECT_TRUE(CZelmoSettings::SetSetting("key", "new"));
    EXPECT_TRUE(CZelmoSettings::SetSetting("", "of the empty key"));
    EXPECT_EQ(Setting("key"), "new");
    EXPECT_EQ(Setting("Key"), kUnset);
    EXPECT_EQ(Setting(""), "of the empty key");
    CZelmoSettings::ClearSettings();
    EXPECT_EQ(Setting("key"), kUnset);
}

TEST_F(ZelmoSettings, StayAsTheyAreWithoutAFile) {
    CZelmoSettings::SetSetting("key", "value");
    Fakes::LogRecorder log;
    CZelmoSettings::UpdateSettings();
    EXPECT_EQ(Setting("key"), "value");
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(ZelmoSettings, ComeFromTheFileBesideTheLibraryAlone) {
    Write(m_above, WithSettings("<setting name='a'><v>above</v></setting><setting name='b'><v>above</v></setting>"));
    CZelmoSettings::UpdateSettings();
    EXPECT_EQ(Setting("a"), "above");
    CZelmoSettings::ClearSettings();

    Write(m_beside, WithSettings("<setting name='a'><v>beside</v></setting>"));
    CZelmoSettings::UpdateSettings();
    EXPECT_EQ(Setting("a"), "beside");
    EXPECT_EQ(Setting("b"), kUnset);
}

TEST_F(ZelmoSettings, LinkIntoNowhereCountsAsMissing) {
    std::filesystem::create_symlink("nowhere.xml", m_beside);
    Write(m_above, WithSettings("<setting name='a'><v>above</v></setting>"));
    CZelmoSettings::UpdateSettings();
    EXPECT_EQ(Setting("a"), "above");
}

TEST_F(ZelmoSettings, UpdateKeepsForeignKeysAndReplacesItsOwn) {
    Write(m_beside, WithSettings("<setting name='file'><v>1</v></setting>"));
    CZelmoSettings::UpdateSettings();
    CZelmoSettings::SetSetting("own", "kept");
    CZelmoSettings::SetSetting("file", "changed");
    CZelmoSettings::UpdateSettings();
    EXPECT_EQ(Setting("own"), "kept");
    EXPECT_EQ(Setting("file"), "1");
}

struct File {
    const char* what;
    const char* text;
    const char* value; // of the key "a"
};

class ZelmoSettingsFile : public ZelmoSettings, public testing::WithParamInterface<File> {};

TEST_P(ZelmoSettingsFile, GivesTheValueOfTheFirstChild) {
    Write(m_beside, GetParam().text);
    CZelmoSettings::UpdateSettings();
    EXPECT_EQ(Setting("a"), GetParam().value) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    All, ZelmoSettingsFile,
    testing::Values(
        File{"plain", "<settings><setting name='a'><value>1</value></setting></settings>", "1"},
        File{"any child", "<settings><setting x='' name='a'><x/><value>1</value></setting></settings>", ""},
        File{"white space and entities", "<settings><setting name='a'><v> &amp; </v></setting></settings>", " & "},
        File{"text before the child", "<settings><setting name='a'>1<v>2</v></setting></settings>", ""},
        File{"comment before the child", "<settings><setting name='a'><!--c--><v>2</v></setting></settings>", "2"},
        File{"no child", "<settings><setting name='a'/></settings>", kUnset},
        File{"no name", "<settings><setting Name='a'><v>1</v></setting></settings>", kUnset},
        File{"other elements",
             "<?xml version='1.0'?><!--c--><settings>text<other name='a'><v>1</v></other>"
             "<setting name='b'><v>2</v></setting><!--c--><setting name='a'><v>3</v></setting></settings>",
             "3"},
        File{"deeper", "<settings><group><setting name='a'><v>1</v></setting></group></settings>", kUnset},
        File{"twice", "<settings><setting name='a'><v>1</v></setting><setting name='a'><v>2</v></setting></settings>",
             "2"},
        File{"foreign root", "<config><setting name='a'><v>1</v></setting></config>", kUnset},
        File{"comments only", "<?xml version='1.0'?><!-- nothing -->", kUnset}));

class BrokenSettingsFile : public ZelmoSettings, public testing::WithParamInterface<std::string> {};

TEST_P(BrokenSettingsFile, FailsTheUpdateAndNamesFileAndCause) {
    CZelmoSettings::SetSetting("key", "kept");
    Write(m_beside, GetParam());
    const std::string file = m_beside;
    const std::string expected =
        "Cannot read settings file " + file + ": CXmlNode::LoadFromFile " + file + " failed, Error=";
    EXPECT_EQ(LoggedFailure().substr(0, expected.size()), expected);
    EXPECT_EQ(Setting("key"), "kept");
}

INSTANTIATE_TEST_SUITE_P(All, BrokenSettingsFile,
                         testing::Values("", "<settings><setting name='a'><v>1</v></settings>", "name=value\n",
                                         Repeated("<settings>", 100'000), std::string(1'000'000, '<')));

TEST_F(ZelmoSettings, FolderOrPipeOfThatNameIsFoundAndFails) {
    Write(m_above, WithSettings("<setting name='a'><v>above</v></setting>"));
    std::filesystem::create_directory(m_beside);
    EXPECT_NE(LoggedFailure().find(m_beside.string()), std::string::npos);
    std::filesystem::remove(m_beside);
    ASSERT_EQ(mkfifo(m_beside.c_str(), 0600), 0); // nobody ever writes
    EXPECT_NE(LoggedFailure().find(m_beside.string()), std::string::npos);
    EXPECT_EQ(Setting("a"), kUnset);
}

TEST_F(ZelmoSettings, AreSharedByManyThreads) {
    Write(m_beside, WithSettings("<setting name='file'><v>1</v></setting>"));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            const std::string key = "thread" + std::to_string(t);
            for (int i = 0; i < 200; ++i) {
                CZelmoSettings::SetSetting(key.c_str(), std::to_string(i).c_str());
                CZelmoSettings::UpdateSettings();
                EXPECT_EQ(Setting(key), std::to_string(i));
                EXPECT_EQ(Setting("file"), "1");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
