// SPDX-License-Identifier: Apache-2.0
#include "Escape.h"
#include "InProcess.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fstream>

namespace {

using testing::HasSubstr;
using tool::ExitCode;

class SettingsTest : public InProcess {
protected:
    tool::Json Document() { return tool::Json::parse(m_data.str()); }
    TemporaryFolder m_folder;
    const std::string m_file = m_folder / "settings.txt";
};

TEST_F(SettingsTest, WhatWasSavedIsLoadedAgainAndDiffTellsTheDifferenceBefore) {
    ASSERT_EQ(Run({"set", "Width=640", "OffsetX=100", "Gain=3.3", "ImageFilename=/a b"}), ExitCode::Done);
    ASSERT_EQ(Run({"save", m_file}), ExitCode::Done) << m_messages.str() << m_thrown;
    EXPECT_GT(Document()["lines"], 10);
    EXPECT_EQ(Run({"diff", m_file}), ExitCode::Done);
    ASSERT_EQ(Run({"set", "OffsetX=1900", "Gain=1", "Width=32", "OffsetX=1900"}), ExitCode::Feature);
    EXPECT_EQ(Run({"diff", m_file}), ExitCode::Failed);
    EXPECT_EQ(Document()["differences"].size(), 3u);
    EXPECT_EQ(Document()["differences"][0]["file_value"], 640);
    EXPECT_EQ(Run({"load", m_file, "--verify"}), ExitCode::Done) << m_messages.str();
    EXPECT_EQ(Run({"diff", m_file}), ExitCode::Done);
}

TEST_F(SettingsTest, WhatGetPrintsOfATextSetAccepts) {
    std::string text = "a\\n \xC2\x9B\xE2\x82\xAC\xFF\xC0\xAF=";
    for (char c = 1; c < 0x20; ++c) {
        text += c;
    }
    const std::string line = "DeviceUserID=" + tool::Escape(text);
    EXPECT_THAT(line, testing::StartsWith("DeviceUserID=a\\\\n \\xC2\\x9B\xE2\x82\xAC\\xFF\\xC0\\xAF=\\x01"));
    for (const std::vector<std::string>& words : {std::vector<std::string>{"set", line}, {"get", "DeviceUserID"}}) {
        ASSERT_EQ(Run(words, {}), ExitCode::Done) << m_thrown;
        EXPECT_EQ(m_data.str(), line + "\n");
    }
    for (const char* wrong : {"A=\\", "A=\\q", "A=\\x1", "A=\\x1g", "A=\\x00", "A=\\x-1"}) {
        EXPECT_EQ(Run({"set", wrong}), ExitCode::Usage) << wrong;
    }
}

TEST_F(SettingsTest, FailuresAreToldByNameAndLeaveNoFileBehind) {
    std::ofstream(m_file) << "# {05D8C294-F295-4dfb-9D01-096BD04049F4}\nWidth\t99999\nNope\t1\nGain\t2\n";
    EXPECT_EQ(Run({"load", m_file}), ExitCode::Feature);
    EXPECT_EQ(Document()["failures"].size(), 2u);
    EXPECT_THAT(m_messages.str(), HasSubstr("Width: it could not be set on camera 0815-0000: Value = 99999"));
    EXPECT_EQ(Run({"diff", m_file}), ExitCode::Feature);
    std::ofstream(m_file) << "Width\t64\n";
    EXPECT_EQ(Run({"load", m_file}), ExitCode::Failed);
    EXPECT_THAT(m_thrown, HasSubstr("does not hold the identifier of feature bags; 'zelmo save' writes such files"));
    EXPECT_EQ(Run({"save", m_folder / "no" + "/file"}), ExitCode::Failed);
    EXPECT_EQ(Run({"save", m_folder / "tl.txt", "--nodemap", "tl"}), ExitCode::Feature);
    EXPECT_EQ(m_folder.List(), std::vector<std::string>{"settings.txt"});
}

TEST_F(SettingsTest, RemovedCameraExplainsAllThatFails) {
    std::ofstream(m_file) << "# {05D8C294-F295-4dfb-9D01-096BD04049F4}\nSimulateRemoval\t1\nWidth\t64\n";
    EXPECT_EQ(Run({"load", m_file}), ExitCode::Removed);
    EXPECT_EQ(Document()["failures"].size(), 1u);
    EXPECT_THAT(m_messages.str(), HasSubstr("Camera 0815-0000 was removed meanwhile"));
}

} // namespace
