// SPDX-License-Identifier: Apache-2.0
#include "TemporaryFolder.h"
#include "ToolProcess.h"

#include <gmock/gmock.h>

#include <cstdio>
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

TEST(DoctorTest, GivesAVerdictOnEachPartOfTheHost) {
    const ToolResult result = RunTool({"doctor", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    const tool::Json document = result.Document();
    EXPECT_EQ(CheckNamed(document, "HarlixCamEmu")["verdict"], "ok");
    for (const char* name : {"plug-in path", "real-time priority", "open files", "socket buffers", "cache folder"}) {
        const tool::Json check = CheckNamed(document, name);
        EXPECT_THAT(check["verdict"].get<std::string>(), testing::AnyOf("ok", "warning"));
        EXPECT_TRUE(check["verdict"] == "ok" || check.contains("remedy")) << name; // what is well may have a hint
    }
    EXPECT_THAT(RunTool({"doctor"}).out, HasSubstr("ok       plug-in path: "));
}

TEST(DoctorTest, CountsTheDescriptorsThatGrabbingTakes) {
    const auto limited = [](unsigned files, const std::vector<std::string>& words) {
        ToolProcess::Settings settings;
        settings.openFileLimit = files;
        return RunTool(words, settings);
    };
    const tool::Json few = CheckNamed(limited(64, {"doctor", "--json"}).Document(), "open files");
    EXPECT_EQ(few["verdict"], "warning");
    EXPECT_THAT(few["remedy"].get<std::string>(), HasSubstr("ulimit -n"));
    const std::string many = CheckNamed(limited(1024, {"doctor", "--json"}).Document(), "open files")["detail"];
    unsigned cameras = 0;
    unsigned each = 0;
    unsigned process = 0;
    ASSERT_EQ(std::sscanf(many.c_str(),
                          "the limit is 1024, enough for %u grabbing cameras: each takes %u, as measured "
                          "with an emulated one, and the process %u",
                          &cameras, &each, &process),
              3)
        << many;
    EXPECT_EQ(cameras, (1024 - process) / each);
    const std::vector<std::string> grab{"grab", "--all", "--duration", "0.3", "-q"};
    EXPECT_EQ(limited(process + 3 * each + 12, grab).exitCode, 0) << many;
    EXPECT_EQ(limited(process + 3 * each - each / 2, grab).exitCode, 1) << many;
}

TEST(DoctorTest, PluginThatEndsTheProcessIsNamedAndTheOtherChecksAreMade) {
    const ToolResult result = RunTool(
        {"doctor", "--json", "-q"},
        WithEnvironment({{"ZELMO_TL_PATH", TEST_PLUGINS "/faulty"}, {"ZELMO_TEST_FAULT", "GetTLInfoList abort"}}));
    EXPECT_EQ(result.exitCode, 8);
    EXPECT_THAT(CheckNamed(result.Document(), "plug-ins")["detail"].get<std::string>(),
                testing::ContainsRegex("ended by signal 6 .* while loading the plug-in '.*/libzelmo_TL_faulty.so'"));
    EXPECT_EQ(CheckNamed(result.Document(), "settings file")["verdict"], "ok");
}

TEST(DoctorTest, BrokenSettingsFileIsNamedAndTheOtherChecksAreMade) {
    TemporaryFolder folder; // the file lies beside the library
    std::filesystem::copy_file(PRODUCT_PLUGINS "/libzelmo.so.6", folder / "libzelmo.so.6");
    std::ofstream(folder / "zelmo.xml") << "<settings><setting";
    const auto environment = WithEnvironment({{"LD_LIBRARY_PATH", folder.Path()}, {"ZELMO_TL_PATH", PRODUCT_PLUGINS}});
    const ToolResult result = RunTool({"doctor", "--json", "-q"}, environment);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(CheckNamed(result.Document(), "settings file")["detail"].get<std::string>(),
                HasSubstr(folder / "zelmo.xml"));
    CheckNamed(result.Document(), "real-time priority");
    EXPECT_THAT(RunTool({"list"}, environment).err, HasSubstr("'zelmo doctor' looks for the cause"));
}

TEST(DoctorTest, DeviceFilterOffItsGrammarIsTold) {
    const auto environment = WithEnvironment({{"ZELMO_DEVICE_FILTER", "SerialNumber=0815-0000 || nonsense"}});
    const ToolResult result = RunTool({"doctor", "--json"}, environment);
    EXPECT_EQ(result.exitCode, 0);
    const tool::Json check = CheckNamed(result.Document(), "device filter");
    EXPECT_EQ(check["verdict"], "warning");
    EXPECT_THAT(check["detail"].get<std::string>(), HasSubstr("'nonsense' is no condition KEY=VALUE"));
    EXPECT_THAT(RunTool({"list"}, environment).err, HasSubstr("'nonsense' is no condition KEY=VALUE"));
}

struct BadPlugin {
    std::string folder;
    const char* check;
    const char* told;     // a regular expression
    const char* toOthers; // what another verb says of it
    int exitCode = 3;     // of that one
};

TEST(DoctorTest, BadPluginIsNamedWithItsCauseAndTheOthersGoOnWorking) {
    const TemporaryFolder text, half, empty;
    std::ofstream(text / "libzelmo_TL_text.so") << "no library\n";
    const auto cut = half / "libzelmo_TL_half.so";
    std::filesystem::copy_file(TEST_PLUGINS "/faulty/libzelmo_TL_faulty.so", cut);
    std::filesystem::resize_file(cut, std::filesystem::file_size(cut) / 2);
    for (const auto& [folder, check, told, toOthers, exitCode] :
         {BadPlugin{text.Path(), "libzelmo_TL_text.so", "invalid ELF header|too short",
                    "libzelmo_TL_text.so cannot be used"},
          BadPlugin{half.Path(), "libzelmo_TL_half.so", "the file is cut short", "libzelmo_TL_half.so"},
          BadPlugin{TEST_PLUGINS "/incomplete", "libzelmo_TL_incomplete.so", "exports", "libzelmo_TL_incomplete.so"},
          BadPlugin{TEST_PLUGINS "/faulty", "Fake/FakeFaulty", "'lost'", "no device class", 1},
          BadPlugin{empty.Path(), "plug-in path", "ZELMO_TL_PATH", "No camera"}}) {
        SCOPED_TRACE(check);
        const auto run = [&own = folder](const std::vector<std::string>& words, const std::string& others) {
            return RunTool(words,
                           WithEnvironment({{"ZELMO_TL_PATH", own + others}, {"ZELMO_TEST_FAULT", "No device class"}}));
        };
        const ToolResult alone = run({"doctor", "--json", "-q"}, "");
        EXPECT_EQ(alone.exitCode, 8);
        const tool::Json bad = CheckNamed(alone.Document(), check);
        EXPECT_EQ(bad["verdict"], "problem");
        EXPECT_THAT(bad.value("detail", "") + bad.value("remedy", ""), testing::ContainsRegex(told));
        EXPECT_EQ(CheckNamed(run({"doctor", "--json"}, ":" PRODUCT_PLUGINS).Document(), "HarlixCamEmu")["verdict"],
                  "ok");
        const ToolResult other = run({"features"}, "");
        EXPECT_EQ(other.exitCode, exitCode);
        EXPECT_THAT(other.err, HasSubstr(toOthers));
    }
}

TEST(DoctorTest, CacheFolderThatCannotBeWrittenIsAWarning) {
    const ToolResult result = RunTool({"doctor", "--json"}, WithEnvironment({{"GENICAM_CACHE_V3_1", "/proc/nowhere"}}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(CheckNamed(result.Document(), "cache folder")["verdict"], "warning");
}

} // namespace
