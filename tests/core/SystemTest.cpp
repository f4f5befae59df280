// What the library takes from and leaves in the system around it: its name, and the cache folder.

#include "ZelmoBase/core/GenICamCache.h"
#include "ZelmoBase/core/OsDescription.h"

#include "fakes/LogRecorder.h"
#include "fakes/TempFolder.h"
#include <zelmo/Log.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/utsname.h>
#include <unistd.h>

namespace {

using Fakes::LogLine;
using testing::ElementsAre;
using testing::EndsWith;
namespace fs = std::filesystem;

struct ReleaseCase {
    const char* text;
    const char* name; // null: not found
};

void PrintTo(const ReleaseCase& c, std::ostream* stream) {
    *stream << testing::PrintToString(c.text);
}

class PrettyNameTest : public testing::TestWithParam<ReleaseCase> {};

TEST_P(PrettyNameTest, IsReadFromItsLine) {
    Fakes::TempFolder folder;
    const fs::path file = folder.Path() / "os-release";
    std::ofstream(file) << GetParam().text;
    std::string name;
    EXPECT_EQ(Zelmo::ReadPrettyName(file.c_str(), name), GetParam().name != nullptr);
    EXPECT_EQ(name, GetParam().name != nullptr ? GetParam().name : "");
}

INSTANTIATE_TEST_SUITE_P(Files, PrettyNameTest,
                         testing::Values(ReleaseCase{"NAME=x\nPRETTY_NAME=\"A B\" # \"\nPRETTY_NAME=y\n", "A B"},
                                         ReleaseCase{"PRETTY_NAME=plain text", "plain text"},
                                         ReleaseCase{"PRETTY_NAME=\"open = end", "open = end"},
                                         ReleaseCase{"PRETTY_NAME2=x\nMY_PRETTY_NAME=x\nPRETTY_NAME\n", nullptr},
                                         ReleaseCase{"PRETTY_NAME=", nullptr}));

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

TEST(OsDescriptionTest, NamesDistributionKernelAndMachine) {
    utsname system;
    ASSERT_EQ(uname(&system), 0);
    EXPECT_THAT(Zelmo::DescribeOperatingSystem(),
                EndsWith(std::string(", ") + system.sysname + " " + system.release + ", " + system.machine));
}

class GenICamCacheTest : public testing::Test {
protected:
    GenICamCacheTest() {
        hxlog::LogEnable(true);
        unsetenv("GENICAM_CACHE_V3_1");
        setenv("HOME", m_folder.Path().c_str(), 1);
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

TEST_F(GenICamCacheTest, DefaultIsCreatedInTheHomeFolder) {
    const fs::path home = m_folder.Path() / "not" / "yet";
    setenv("HOME", home.c_str(), 1);
    Zelmo::SetUpGenICamCache();
    EXPECT_EQ(Variable(), home / "genicam_xml_cache");
    EXPECT_TRUE(fs::is_directory(Variable()));
    Zelmo::SetUpGenICamCache(); // what is given stands
    EXPECT_TRUE(m_log.Lines().empty());
}

TEST_F(GenICamCacheTest, UnusableGivenFolderLosesItsVariableAndIsNotCreated) {
    const fs::path file = m_folder.Path() / "file";
    std::ofstream(file) << "x";
    for (const std::string& given : {file.string(), (m_folder.Path() / "missing").string(), std::string()}) {
        m_log.Clear();
        setenv("GENICAM_CACHE_V3_1", given.c_str(), 1);
        Zelmo::SetUpGenICamCache();
        EXPECT_EQ(Variable(), "(unset)");
        EXPECT_THAT(m_log.Lines(), ElementsAre(RemovedLine(given)));
    }
    EXPECT_FALSE(fs::exists(m_folder.Path() / "missing"));
    EXPECT_FALSE(fs::exists(m_folder.Path() / "genicam_xml_cache"));
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

TEST_F(GenICamCacheTest, FolderWithoutWritePermissionIsNotUsed) {
    fs::permissions(m_folder.Path(), fs::perms::all);
    const fs::path readOnly = m_folder.Path() / "read-only";
    fs::create_directory(readOnly);
    fs::permissions(readOnly, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read);
    if (getuid() == 0) {
        ASSERT_EQ(setresuid(65534, 65534, 65534), 0); // permissions do not bind root
    }
    setenv("GENICAM_CACHE_V3_1", readOnly.c_str(), 1);
    Zelmo::SetUpGenICamCache();
    EXPECT_EQ(Variable(), "(unset)");
    EXPECT_THAT(m_log.Lines(), ElementsAre(RemovedLine(readOnly)));
}

TEST_F(GenICamCacheTest, UserWithoutHomeHasNoCache) {
    if (getuid() != 0) {
        GTEST_SKIP() << "only root can become a user without an entry in the password database";
    }
    unsetenv("HOME");
    ASSERT_EQ(setresuid(54321, 54321, 54321), 0);
    Zelmo::SetUpGenICamCache();
    EXPECT_EQ(Variable(), "(unset)");
    EXPECT_THAT(m_log.Lines(), ElementsAre(LogLine{"zelmo.base", 400,
                                                   "Could not build default GenICam cache directory name. GenICam "
                                                   "cache won't be used."}));
}

TEST_F(GenICamCacheTest, FoldersAreCreatedWithParentsInEveryForm) {
    ASSERT_EQ(chdir(m_folder.Path().c_str()), 0);
    EXPECT_TRUE(Zelmo::CreateFolders("relative/a/b/"));
    EXPECT_TRUE(fs::is_directory(m_folder.Path() / "relative/a/b"));
    EXPECT_TRUE(Zelmo::CreateFolders((m_folder.Path() / "x//y").c_str()));
    EXPECT_TRUE(fs::is_directory(m_folder.Path() / "x/y"));
    EXPECT_FALSE(Zelmo::CreateFolders(""));
}

} // namespace
