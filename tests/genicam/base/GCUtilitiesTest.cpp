// SPDX-License-Identifier: Apache-2.0
#include <Base/GCTypes.h>
#include <Base/GCUtilities.h>
#include <fakes/TempFolder.h>

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <tuple>

using namespace GenICam;
using testing::ElementsAre;

namespace {

TEST(EnvironmentTest, EmptyVariableExistsAndMissingOneDoesNot) {
    setenv("ZELMO_TEST_EMPTY", "", 1);
    gcstring value("old");
    EXPECT_TRUE(DoesEnvironmentVariableExist("ZELMO_TEST_EMPTY"));
    EXPECT_TRUE(GetValueOfEnvironmentVariable("ZELMO_TEST_EMPTY", value));
    EXPECT_EQ(value, "");
    value = "old";
    EXPECT_FALSE(GetValueOfEnvironmentVariable("ZELMO_TEST_MISSING", value));
    EXPECT_EQ(value, "old");
    EXPECT_THROW(GetValueOfEnvironmentVariable("ZELMO_TEST_MISSING"), RuntimeException);
}

/// Text, what becomes of it, and what becomes of it with blanks replaced.
using Replacement = std::tuple<std::string, std::string, std::string>;

class ReplaceEnvironmentVariablesTest : public testing::TestWithParam<Replacement> {};

TEST_P(ReplaceEnvironmentVariablesTest, ReplacesEveryReferenceOnce) {
    const auto& [text, expected, expectedWithoutBlanks] = GetParam();
    setenv("ZELMO_TEST_A", "a b", 1);
    setenv("ZELMO_TEST_NESTED", "$(ZELMO_TEST_A)", 1);
    gcstring replaced(text), blankless(text);
    ReplaceEnvironmentVariables(replaced);
    ReplaceEnvironmentVariables(blankless, true);
    EXPECT_EQ(replaced.view(), expected);
    EXPECT_EQ(blankless.view(), expectedWithoutBlanks);
}

INSTANTIATE_TEST_SUITE_P(Texts, ReplaceEnvironmentVariablesTest,
                         testing::Values(Replacement{"", "", ""}, Replacement{"$(ZELMO_TEST_A)", "a b", "a%20b"},
                                         Replacement{"x $(ZELMO_TEST_A)/$(ZELMO_TEST_A) y", "x a b/a b y",
                                                     "x%20a%20b/a%20b%20y"},
                                         Replacement{"$(ZELMO_TEST_NESTED)", "$(ZELMO_TEST_A)", "$(ZELMO_TEST_A)"},
                                         Replacement{"50$ $(open", "50$ $(open", "50$%20$(open"}));

TEST(EnvironmentTest, ReplacingAMissingVariableRaisesAndLeavesTheTextAlone) {
    gcstring text("$(HOME) $(ZELMO_TEST_MISSING)");
    EXPECT_THROW(ReplaceEnvironmentVariables(text), RuntimeException);
    EXPECT_EQ(text, "$(HOME) $(ZELMO_TEST_MISSING)");
}

TEST(UrlTest, EveryByteSurvivesCodingThereAndBack) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    EXPECT_EQ(UrlDecode(UrlEncode(gcstring(all))), gcstring(all));
    EXPECT_EQ(UrlDecode("%zz%4a%2"), "%zzJ%2") << "broken codes stand as they are";
    EXPECT_EQ(UrlEncode("file:///a b%\xC3\xA4.xml"), "file:///a%20b%25%C3%A4.xml");
}

TEST(FolderSettingTest, ValueSetWinsOverTheVariableUntilItIsTakenBack) {
    unsetenv("GENICAM_CACHE_V3_1");
    EXPECT_THROW(GetGenICamCacheFolder(), RuntimeException);
    setenv("GENICAM_CACHE_V3_1", "/from/environment", 1);
    EXPECT_EQ(GetGenICamCacheFolder(), "/from/environment");
    setenv("GENICAM_CLPROTOCOL", "/protocol", 1);
    SetGenICamCacheFolder("/set");
    EXPECT_EQ(GetGenICamCacheFolder() + GetGenICamCLProtocolFolder(), "/set/protocol");
    SetGenICamCacheFolder("");
    EXPECT_EQ(GetGenICamCacheFolder(), "/from/environment");
}

TEST(TokenizeTest, LeavesOutEmptyPartsAndReplacesTheList) {
    gcstring_vector tokens{"old"};
    Tokenize(",a,,b c,", tokens);
    EXPECT_THAT(tokens, ElementsAre("a", "b c"));
    Tokenize("a;b c", tokens, "; ");
    EXPECT_THAT(tokens, ElementsAre("a", "b", "c"));
    Tokenize(",,", tokens);
    EXPECT_TRUE(tokens.empty());
}

TEST(FilesTest, PatternFindsFilesButNoFolders) {
    const Fakes::TempFolder folder;
    const std::string base = folder.Path().string() + "/";
    for (const char* name : {"b.xml", "a.xml", "c.txt"}) {
        std::ofstream(base + name) << name;
    }
    std::filesystem::create_directory(base + "d.xml");

    gcstring_vector files{"old"};
    GetFiles((base + "*.xml").c_str(), files, true);
    EXPECT_THAT(files, ElementsAre((base + "a.xml").c_str(), (base + "b.xml").c_str()));
    EXPECT_TRUE(DoesFileExist((base + "c.txt").c_str()));
    EXPECT_FALSE(DoesFileExist(folder.Path().c_str()));
    GetFiles((base + "none/*").c_str(), files);
    EXPECT_TRUE(files.empty());
}

TEST(FilesTest, ModulePathIsThatOfTheLibraryWithTheFunction) {
    const gcstring path = GetModulePathFromFunction(reinterpret_cast<const void*>(&DoesFileExist));
    EXPECT_NE(path.find("/libgenicam.so"), gcstring::npos) << path;
    EXPECT_EQ(path[0], '/');
    int onTheStack = 0;
    EXPECT_THROW(GetModulePathFromFunction(&onTheStack), RuntimeException);
}

TEST(IntegralCastTest, RefusesWhatDoesNotFit) {
    EXPECT_EQ(INTEGRAL_CAST<std::uint8_t>(255), 255);
    EXPECT_EQ(INTEGRAL_CAST<std::int32_t>(GC_INT32_MIN), GC_INT32_MIN);
    EXPECT_EQ(INTEGRAL_CAST2<std::int64_t>(std::uint64_t(GC_INT64_MAX)), GC_INT64_MAX);
    EXPECT_THROW(INTEGRAL_CAST<std::uint8_t>(256), RuntimeException);
    EXPECT_THROW(INTEGRAL_CAST<std::uint8_t>(-1), RuntimeException);
    EXPECT_THROW(INTEGRAL_CAST<std::uint64_t>(-1), RuntimeException);
    EXPECT_THROW(INTEGRAL_CAST2<std::int64_t>(GC_UINT64_MAX), RuntimeException);
    EXPECT_THROW(INTEGRAL_CAST2<int>(GC_UINT32_MAX), RuntimeException);
}

} // namespace
