// SPDX-License-Identifier: Apache-2.0

// What the library takes from and leaves in the system around it: its name, and the cache folder.

#include "ZelmoBase/core/GenICamCache.h"
#include "ZelmoBase/core/OsDescription.h"

#include "fakes/LogRecorder.h"
#include "fakes/TempFolder.h"
#include <zelmo/Log.h>

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <utility>

namespace {

using Fakes::LogLine;
using testing::ElementsAre;
namespace fs = std::filesystem;

// The text of a file, and the name in it; null: none.
class PrettyNameTest : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(PrettyNameTest, IsReadFromItsLine) {
    const auto [text, expected] = GetParam();
    Fakes::TempFolder folder;
    const fs::path file = folder.Path() / "os-release";
    std::ofstream(file) << text;
    std::string name;
    EXPECT_EQ(Zelmo::ReadPrettyName(file.c_str(), name), expected != nullptr);
    EXPECT_EQ(name, expected != nullptr ? expected : "");
}

INSTANTIATE_TEST_SUITE_P(Files, PrettyNameTest,
                         testing::Values(std::pair("NAME=x\nPRETTY_NAME=\"A B\" # \"\nPRETTY_NAME=y\n", "A B"),
                                         std::pair("PRETTY_NAME=plain text", "plain text"),
                                         std::pair("PRETTY_NAME=\"open = end", "open = end"),
                                         std::pair("PRETTY_NAME2=x\nMY_PRETTY_NAME=x\nPRETTY_NAME\n", nullptr),
                                         std::pair("PRETTY_NAME=", nullptr)));

TEST(OsDescriptionTest, CommandOutputLosesOneNewline) {
    std::string output;
    EXPECT_TRUE(Zelmo::ReadCommandOutput("printf 'a\\n\\n'", output));
    EXPECT_EQ(output, "a\n");
    EXPECT_TRUE(Zelmo::ReadCommandOutput("readlink /proc/self/fd/1", output));
    EXPECT_THAT(output, testing::StartsWith("/tmp/cmd-output"));
    EXPECT_FALSE(fs::exists(output));
    EXPECT_FALSE(Zelmo::ReadCommandOutput("(echo x; exit 3)", output));
    EXPECT_FALSE(Zelmo::ReadCommandOutput("(echo x >&2)", output));
    EXPECT_FALSE(Zelmo::ReadCommandOutput("no-such-command", output));
}

class GenICamCacheTest : public testing::Test {
protected:
    GenICamCacheTest() {
        hxlog::LogEnable(true);
        unsetenv("GENICAM_CACHE_V3_1");
        setenv("HOME", m_folder.Path().c_str(), 1);
    }

    // Permissions do not bind root, but for access() the real user counts.
    static void BecomeUser(uid_t user) {
        if (getuid() == 0) {
            EXPECT_EQ(setresuid(user, 0, 0), 0);
        }
    }
    static std::string Variable() {
        const char* value = std::getenv("GENICAM_CACHE_V3_1");
        return value != nullptr ? value : "(unset)";
    }
    static LogLine RemovedLine(const std::string& folder) {
        return {"zelmo.base", 400,
                "Directory '" + folder +
                    "' from GENICAM_CACHE_V3_1 does not exist. Removing GENICAM_CACHE_V3_1 from environment."};
    }

    Fakes::TempFolder m_folder;
    Fakes::LogRecorder m_log;
};

TEST_F(GenICamCacheTest, DefaultInTheHomeFolderIsNamedButLeftToWhoUsesIt) {
    ASSERT_EQ(chdir(m_folder.Path().c_str()), 0);
    for (const std::string& home : {(m_folder.Path() / "not" / "yet").string(), std::string("relative//not/")}) {
        unsetenv("GENICAM_CACHE_V3_1");
        setenv("HOME", home.c_str(), 1);
        Zelmo::SetUpGenICamCache();
        EXPECT_EQ(Variable(), home + "/genicam_xml_cache");
        Zelmo::SetUpGenICamCache(); // a second start
        EXPECT_EQ(Variable(), home + "/genicam_xml_cache");
    }
    EXPECT_TRUE(fs::is_empty(m_folder.Path()));
    EXPECT_TRUE(m_log.Lines().empty());
}

TEST_F(GenICamCacheTest, UnusableGivenFolderLosesItsVariableAndIsNotCreated) {
    const std::string folder = m_folder.Path();
    std::ofstream(folder + "/file") << "x";
    fs::create_directory(folder + "/read-only");
    fs::permissions(folder, fs::perms::all);
    fs::permissions(folder + "/read-only", fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read);
    BecomeUser(65534);
    for (const std::string& given : {folder + "/file", folder + "/missing", folder + "/read-only", std::string()}) {
        m_log.Clear();
        setenv("GENICAM_CACHE_V3_1", given.c_str(), 1);
        Zelmo::SetUpGenICamCache();
        EXPECT_EQ(Variable(), "(unset)");
        EXPECT_THAT(m_log.Lines(), ElementsAre(RemovedLine(given)));
    }
    EXPECT_FALSE(fs::exists(folder + "/missing"));
    EXPECT_FALSE(fs::exists(folder + "/genicam_xml_cache"));
}

TEST_F(GenICamCacheTest, FolderThatCannotBeCreatedIsNotUsed) {
    std::ofstream(m_folder.Path() / "file") << "x";
    setenv("HOME", (m_folder.Path() / "file").c_str(), 1);
    const std::string wanted = (m_folder.Path() / "file" / "genicam_xml_cache").string();
    Zelmo::SetUpGenICamCache();
    EXPECT_EQ(Variable(), "(unset)");
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(LogLine{"zelmo.base", 400,
                                    "Could not create directory '" + wanted + "'. GenICam cache won't be used."},
                            RemovedLine(wanted)));
}

TEST_F(GenICamCacheTest, UserWithoutHomeHasNoCache) {
    if (getuid() != 0) {
        GTEST_SKIP() << "only root can become a user without an entry in the password database";
    }
    unsetenv("HOME");
    BecomeUser(54321);
    Zelmo::SetUpGenICamCache();
    EXPECT_EQ(Variable(), "(unset)");
    EXPECT_THAT(m_log.Lines(), ElementsAre(LogLine{"zelmo.base", 400,
                                                   "Could not build default GenICam cache directory name. GenICam "
                                                   "cache won't be used."}));
}

} // namespace
