// SPDX-License-Identifier: Apache-2.0
#include "FilePattern.h"
#include "Errors.h"

#include <gmock/gmock.h>

namespace {

using tool::FilePattern;

struct NameCase {
    const char* pattern;
    bool severalCameras;
    bool severalImages;
    const char* name; // of image 42 of camera 0815
};

std::ostream& operator<<(std::ostream& stream, const NameCase& one) {
    return stream << one.pattern;
}

class FileNameTest : public testing::TestWithParam<NameCase> {};

TEST_P(FileNameTest, HoldsNumberAndCameraWhereTheyBelong) {
    FilePattern pattern(GetParam().pattern);
    pattern.Complete(GetParam().severalCameras, GetParam().severalImages);
    EXPECT_EQ(pattern.GetName("0815", 42), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(
    Patterns, FileNameTest,
    testing::Values(NameCase{"a.png", false, false, "a.png"}, NameCase{"a-%d.png", false, true, "a-42.png"},
                    NameCase{"a-%06d.png", false, true, "a-000042.png"},
                    NameCase{"a-%4d.png", false, true, "a-  42.png"}, NameCase{"a-%1d.png", false, true, "a-42.png"},
                    NameCase{"100%%-%d.png", false, true, "100%-42.png"},
                    NameCase{"%s/%d.png", true, true, "0815/42.png"}, NameCase{"%d-%s.png", true, true, "42-0815.png"},
                    NameCase{"a.png", false, true, "a-000042.png"}, NameCase{"v1.2/a", false, true, "v1.2/a-000042"},
                    NameCase{"a.b.png", false, true, "a.b-000042.png"},
                    NameCase{"a-%06d.png", true, true, "a-0815-000042.png"},
                    NameCase{"a.png", true, false, "a-0815.png"}, NameCase{"a.png", true, true, "a-0815-000042.png"},
                    NameCase{"%s", true, true, "0815-000042"}, NameCase{"%d", true, true, "0815-42"}));

TEST(FilePatternTest, CameraNeverLeavesTheFolder) {
    FilePattern pattern("%s.png");
    EXPECT_EQ(pattern.GetName("../../etc/passwd", 1), "_.._.._etc_passwd.png");
    EXPECT_EQ(pattern.GetName("my cam:1\n", 1), "my_cam_1_.png");
    EXPECT_EQ(pattern.GetName("", 1), "_.png");
}

TEST(FilePatternTest, TellsTheExtensionInLowerCase) {
    EXPECT_EQ(FilePattern("a/b.PNG").GetExtension(), ".png");
    EXPECT_EQ(FilePattern("a.b/c").GetExtension(), "");
    EXPECT_EQ(FilePattern("a.%d").GetExtension(), "");
}

class BadPatternTest : public testing::TestWithParam<const char*> {};

TEST_P(BadPatternTest, IsWrongUsageAndShowsAnExample) {
    try {
        FilePattern pattern(GetParam());
        FAIL() << "was accepted";
    } catch (const tool::ToolError& error) {
        EXPECT_EQ(error.GetExitCode(), tool::ExitCode::Usage);
        EXPECT_THAT(error.what(), testing::AllOf(testing::HasSubstr(GetParam()), testing::HasSubstr("img-%06d.png")));
    }
}

INSTANTIATE_TEST_SUITE_P(Patterns, BadPatternTest,
                         testing::Values("", "folder/", "%", "a%", "a-%n.png", "%x.png", "%d%d.png", "%s%s.png",
                                         "%5s.png", "%-6d.png", "%ld.png", "%*d.png", "%21d.png",
                                         "%99999999999999999999d.png", "%6$d.png"));

} // namespace
