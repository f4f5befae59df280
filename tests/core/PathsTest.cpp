// SPDX-License-Identifier: Apache-2.0
#include <zelmo/Utilities.h>

#include "fakes/Failure.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace Zelmo;

// The layer is linked into the test program: its own folder is the base.
std::string ProgramFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

struct VariableCase {
    eFolderType type;
    const char* variable;
    const char* tooLongMessage;
};

void PrintTo(const VariableCase& c, std::ostream* stream) {
    *stream << c.variable;
}

class VariableFolderTest : public testing::TestWithParam<VariableCase> {};

TEST_P(VariableFolderTest, FirstAnswerStandsForTheRestOfTheProcess) {
    setenv(GetParam().variable, "/first", 1);
    const char* first = getZelmoFolderPath(GetParam().type);
    setenv(GetParam().variable, "/second", 1);
    EXPECT_STREQ(first, "/first");
    EXPECT_EQ(getZelmoFolderPath(GetParam().type), first);
}

TEST_P(VariableFolderTest, EmptyVariableIsReadAgain) {
    setenv(GetParam().variable, "", 1);
    EXPECT_STREQ(getZelmoFolderPath(GetParam().type), "");
    setenv(GetParam().variable, "/later", 1);
    EXPECT_STREQ(getZelmoFolderPath(GetParam().type), "/later");
}

TEST_P(VariableFolderTest, PathMustBeShorterThan4096Bytes) {
    setenv(GetParam().variable, std::string(4096, 'x').c_str(), 1);
    EXPECT_EQ(Fakes::FailureOf<GenICam::GenericException>([] { getZelmoFolderPath(GetParam().type); }),
              GetParam().tooLongMessage);
    setenv(GetParam().variable, std::string(4095, 'x').c_str(), 1);
    EXPECT_EQ(getZelmoFolderPath(GetParam().type), std::string(4095, 'x'));
}

INSTANTIATE_TEST_SUITE_P(
    Folders, VariableFolderTest,
    testing::Values(VariableCase{FolderType_CameraDescriptions, "ZELMO_DEFAULT_CDF_DIR", "ZelmoTL path too long"},
                    VariableCase{FolderType_ConfigFileRegistry, "ZELMO_CONFIG_FILE_REGISTRY_PATH",
                                 "ZelmoConfigFileRegistry path too long"},
                    VariableCase{FolderType_TransportLayers, "ZELMO_TL_PATH", "ZelmoTL path too long"}));

TEST(FolderPathTest, WithoutVariablesTheBaseFolderServes) {
    for (const char* variable : {"ZELMO_DEFAULT_CDF_DIR", "ZELMO_CONFIG_FILE_REGISTRY_PATH", "ZELMO_TL_PATH"}) {
        unsetenv(variable);
    }
    EXPECT_EQ(getZelmoFolderPath(FolderType_TransportLayers), ProgramFolder());
    EXPECT_EQ(getZelmoFolderPath(FolderType_CameraDescriptions), ProgramFolder());
    EXPECT_EQ(getZelmoFolderPath(FolderType_ConfigFileRegistry), ProgramFolder() + "//share/zelmo/ConfigFileRegistry");
    const char* base = getZelmoFolderPath(FolderType_Base);
    EXPECT_EQ(getZelmoFolderPath(FolderType_BaseAlias), base);
    EXPECT_EQ(getZelmoFolderPath(FolderType_SecondBaseAlias), base);
}

TEST(FolderPathTest, FirstCallsOfSeveralThreadsAgree) {
    setenv("ZELMO_TL_PATH", "/plugins", 1);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] { EXPECT_STREQ(getZelmoFolderPath(FolderType_TransportLayers), "/plugins"); });
    }
}

} // namespace
