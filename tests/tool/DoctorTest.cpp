// SPDX-License-Identifier: Apache-2.0
#include "TemporaryFolder.h"
#include "ToolProcess.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace {

using testing::HasSubstr;

tool::Json CheckNamed(const tool::Json& document, const std::string& name) {
    for (const auto& check : document["checks"]) {
        if (check["name"].get<std::string>().find(name) != std::string::npos) {
            return check;
        }
    }
    ADD_FAILURE() << "no check of " << name << " in " << document;
    return {{"verdict", ""}, {"detail", ""}};
}

ToolResult Examine(const std::string& pluginPath, const std::vector<std::string>& arguments = {"doctor", "--json"}) {
    return RunTool(arguments, WithEnvironment({{"ZELMO_TL_PATH", pluginPath}}));
}

TEST(DoctorTest, GivesAVerdictOnEachPartOfTheHost) {
    const ToolResult result = RunTool({"doctor", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    const tool::Json document = result.Document();
    EXPECT_EQ(CheckNamed(document, "HarlixCamEmu")["verdict"], "ok");
    for (const char* name : {"plug-in path", "real-time priority", "open files", "socket buffers", "cache folder"}) {
        const tool::Json check = CheckNamed(document, name);
        EXPECT_THAT(check["verdict"].get<std::string>(), testing::AnyOf("ok", "warning"));
        EXPECT_EQ(check["verdict"] != "ok", check.contains("remedy")) << name;
    }
    EXPECT_THAT(RunTool({"doctor"}).out, HasSubstr("ok       plug-in path: "));
}

TEST(DoctorTest, TellsHowManyCamerasTheDescriptorLimitAllows) {
    const auto detail = [](const char* limit) {
        ToolProcess::Settings settings;
        settings.openFileLimit = static_cast<unsigned>(std::atoi(limit));
        return CheckNamed(RunTool({"doctor", "--json"}, settings).Document(), "open files");
    };
    EXPECT_THAT(detail("64")["detail"].get<std::string>(), HasSubstr("enough for 2 cameras"));
    EXPECT_EQ(detail("64")["verdict"], "warning");
    EXPECT_THAT(detail("64")["remedy"].get<std::string>(), HasSubstr("ulimit -n"));
    EXPECT_THAT(detail("1024")["detail"].get<std::string>(), HasSubstr("enough for 42 cameras"));
    EXPECT_EQ(detail("1024")["verdict"], "ok");
}

TEST(DoctorTest, PluginThatIsNoLibraryIsNamedWithItsCause) {
    TemporaryFolder folder;
    std::ofstream(folder / "libzelmo_TL_text.so") << "no library\n";
    const ToolResult result = Examine(folder.Path().string() + ":" + PRODUCT_PLUGINS);
    EXPECT_EQ(result.exitCode, 8);
    const tool::Json broken = CheckNamed(result.Document(), "libzelmo_TL_text.so");
    EXPECT_EQ(broken["verdict"], "problem");
    EXPECT_THAT(broken["detail"].get<std::string>(),
                testing::AnyOf(HasSubstr("invalid ELF header"), HasSubstr("too short")));
    EXPECT_EQ(CheckNamed(result.Document(), "HarlixCamEmu")["verdict"], "ok") << "the others go on working";
}

TEST(DoctorTest, PluginThatWasCopiedByHalfIsNamed) {
    TemporaryFolder folder;
    const auto file = folder / "libzelmo_TL_half.so";
    std::filesystem::copy_file(TEST_PLUGINS "/faulty/libzelmo_TL_faulty.so", file);
    std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
    const ToolResult result = Examine(folder.Path());
    EXPECT_EQ(result.exitCode, 8);
    EXPECT_THAT(CheckNamed(result.Document(), "libzelmo_TL_half.so")["detail"].get<std::string>(),
                HasSubstr("the file is cut short"));
}

TEST(DoctorTest, PluginWithoutAnExportIsNamed) {
    const ToolResult result = Examine(TEST_PLUGINS "/incomplete", {"doctor", "--json", "-q"});
    EXPECT_EQ(result.exitCode, 8);
    EXPECT_THAT(CheckNamed(result.Document(), "libzelmo_TL_incomplete.so")["detail"].get<std::string>(),
                HasSubstr("exports"));
}

TEST(DoctorTest, DeviceWithoutAClassIsToldOfItsPlugin) {
    const auto settings =
        WithEnvironment({{"ZELMO_TL_PATH", TEST_PLUGINS "/faulty"}, {"ZELMO_TEST_FAULT", "No device class"}});
    const ToolResult result = RunTool({"doctor", "--json"}, settings);
    EXPECT_EQ(result.exitCode, 8);
    EXPECT_THAT(CheckNamed(result.Document(), "Fake/FakeFaulty")["detail"].get<std::string>(), HasSubstr("'lost'"));
    EXPECT_THAT(RunTool({"features"}, settings).err, HasSubstr("no device class"));
}

TEST(DoctorTest, FolderWithoutPluginsIsAProblemWithARemedy) {
    TemporaryFolder folder;
    const ToolResult result = Examine(folder.Path());
    EXPECT_EQ(result.exitCode, 8);
    EXPECT_THAT(CheckNamed(result.Document(), "plug-in path")["remedy"].get<std::string>(), HasSubstr("ZELMO_TL_PATH"));
}

TEST(DoctorTest, BrokenPluginIsMentionedWhereNoCameraIsFound) {
    TemporaryFolder folder;
    std::ofstream(folder / "libzelmo_TL_text.so") << "no library\n";
    const ToolResult result = Examine(folder.Path(), {"info"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.err, HasSubstr("libzelmo_TL_text.so cannot be used"));
}

TEST(DoctorTest, CacheFolderThatCannotBeWrittenIsAWarning) {
    const ToolResult result = RunTool({"doctor", "--json"}, WithEnvironment({{"GENICAM_CACHE_V3_1", "/proc/nowhere"}}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(CheckNamed(result.Document(), "cache folder")["verdict"], "warning");
}

} // namespace
