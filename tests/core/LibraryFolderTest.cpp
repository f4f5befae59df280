// SPDX-License-Identifier: Apache-2.0

// The folders that are looked for from where the library's own file is: here in <folder>/lib.

#include <zelmo/Utilities.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace Zelmo;

struct RegistryCase {
    std::vector<const char*> parents; // of the "share" that exist
    const char* found;
};

class RegistryFolderTest : public testing::TestWithParam<RegistryCase> {};

TEST_P(RegistryFolderTest, NearestThatExistsIsTaken) {
    unsetenv("ZELMO_CONFIG_FILE_REGISTRY_PATH");
    const std::filesystem::path folder = std::getenv("ZELMO_TEST_FOLDER");
    for (const char* parent : GetParam().parents) {
        const std::filesystem::path zelmo = folder / parent / "share" / "zelmo";
        std::filesystem::create_directories(zelmo);
        std::ofstream(zelmo / "ConfigFileRegistry") << "a file counts as well";
    }
    EXPECT_EQ(getZelmoFolderPath(FolderType_Base), folder / "lib");
    EXPECT_EQ(getZelmoFolderPath(FolderType_ConfigFileRegistry), folder.string() + GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(Places, RegistryFolderTest,
                         testing::Values(RegistryCase{{"", "lib"}, "/lib//share/zelmo/ConfigFileRegistry"},
                                         RegistryCase{{""}, "/lib/..//share/zelmo/ConfigFileRegistry"}));

} // namespace
