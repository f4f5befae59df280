// SPDX-License-Identifier: Apache-2.0
#include "DecodePng.h"
#include "TemporaryFolder.h"
#include "ToolProcess.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The tool in a folder of the test's own.
class GrabTest : public testing::Test {
protected:
    ToolResult Run(const std::vector<std::string>& arguments) { return RunTool(arguments, InFolder()); }

    ToolProcess::Settings InFolder() const {
        ToolProcess::Settings settings;
        settings.folder = m_folder.Path();
        return settings;
    }

    TemporaryFolder m_folder;
};

TEST_F(GrabTest, WritesTheImagesOfOneCameraAndSumsUp) {
    const ToolResult result = Run({"grab", "-d", "0815-0001", "-n", "3", "-o", "img-%06d.png"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(m_folder.List(), ElementsAre("img-000001.png", "img-000002.png", "img-000003.png"));
    EXPECT_EQ(DecodePng(m_folder / "img-000003.png").width, 1024u);
    EXPECT_THAT(result.out,
                testing::ContainsRegex(
                    "CAMERA +FRAMES +FAILED +LOST +SKIPPED +SECONDS +FPS +MB/S\n0815-0001 +3 +0 +[0-9]+ +0 "));
    EXPECT_THAT(result.err, HasSubstr("Images of 0815-0001: img-000001.png to img-000003.png\n"));
}

TEST_F(GrabTest, SettingsHoldForTheImagesOrNothingStarts) {
    EXPECT_EQ(Run({"grab", "-d", "0", "--set", "Width=640", "--set", "Height=48", "-o", "a.png", "-q"}).exitCode, 0);
    EXPECT_EQ(DecodePng(m_folder / "a.png").width, 640u);
    EXPECT_EQ(DecodePng(m_folder / "a.png").height, 48u);
    const ToolResult refused = Run({"grab", "-d", "0", "--set", "Width=99999", "-o", "b.png"});
    EXPECT_EQ(refused.exitCode, 7);
    EXPECT_THAT(refused.err, HasSubstr("Width: 99999 is above the maximum of 2048 (step 4) on camera 0815-0000"));
    EXPECT_EQ(Run({"grab", "-d", "0", "--set", "Width", "-o", "b.png"}).exitCode, 2);
    EXPECT_THAT(m_folder.List(), ElementsAre("a.png"));
}

TEST_F(GrabTest, CommandsAndSettingsAreDoneInTheOrderGiven) {
    const std::vector<std::string> set{"--set", "ForceFailedBufferCount=2"};
    const std::vector<std::string> execute{"--exec", "ForceFailedBuffer"};
    const auto run = [&](const std::vector<std::string>& first, const std::vector<std::string>& second) {
        std::vector<std::string> arguments{"grab", "-d", "0", "-n", "3", "--json"};
        arguments.insert(arguments.end(), first.begin(), first.end());
        arguments.insert(arguments.end(), second.begin(), second.end());
        return Run(arguments);
    };
    EXPECT_EQ(run(set, execute).Events().back()["failed"], 2);
    EXPECT_EQ(run(execute, set).Events().back()["failed"], 1);
    EXPECT_EQ(run({"--exec", "SimulateRemoval"}, {}).exitCode, 9);
    EXPECT_EQ(run({"--exec", "SimulateRemoval"}, set).exitCode, 9);
    EXPECT_EQ(run({"--exec", "Width"}, {}).exitCode, 7);
}

TEST_F(GrabTest, StreamsTakeTheBytesOfAllImagesAndNothingElse) {
    const std::size_t bytes = 64 * 8 * 3;
    std::ofstream(m_folder / "out") << "";
    ToolProcess::Settings toFile = InFolder();
    toFile.output = m_folder / "out";
    for (const std::vector<std::string>& words : {std::vector<std::string>{"-o", "-"},
                                                  {"-o", "-", "--json"},
                                                  {"-o", "/dev/stdout", "--raw"},
                                                  {"-o", "/dev/fd/1", "--raw"}}) {
        std::vector<std::string> arguments{"grab", "-d", "0", "-n", "3", "--set", "Width=64", "--set", "Height=8"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const ToolResult result = Run(arguments);
        EXPECT_EQ(result.out.size(), bytes) << words[1];
        EXPECT_THAT(result.err, HasSubstr(words.back() == "--json" ? "\"frames\":3" : "Mono8, 64 x 8"));
        std::filesystem::resize_file(m_folder / "out", 0);
        EXPECT_EQ(RunTool(arguments, toFile).exitCode, 0);
        EXPECT_EQ(std::filesystem::file_size(m_folder / "out"), bytes) << words[1];
    }
    EXPECT_THAT(m_folder.List(), ElementsAre("out"));
    EXPECT_EQ(Run({"grab", "--all", "-o", "-"}).exitCode, 2);
    EXPECT_EQ(Run({"grab", "-d", "0", "-o", "/dev/full", "--raw"}).exitCode, 1);
}

TEST_F(GrabTest, NamedPipesTakeAllImagesAndTheirReaderEndsTheGrab) {
    ASSERT_EQ(mkfifo((m_folder / "pipe").c_str(), 0600), 0);
    const std::vector<std::string> arguments{"grab", "-d", "0", "--duration", "3600", "-o", "pipe", "--raw"};
    auto inTime = arguments;
    inTime.insert(inTime.end(), {"--timeout", "20"});
    EXPECT_EQ(Run(inTime).exitCode, 5) << "nobody reads";
    ToolProcess process(arguments, InFolder());
    std::vector<char> images(2 * 1024 * 1024);
    std::ifstream(m_folder / "pipe").read(images.data(), static_cast<std::streamsize>(images.size()));
    const ToolResult result = process.Wait();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("Nobody reads pipe any more"));
    EXPECT_THAT(m_folder.List(), ElementsAre("pipe"));
}

TEST_F(GrabTest, DurationEndsItAndTheSummaryAddsUp) {
    const auto events =
        Run({"grab", "--all", "--duration", "0.3", "--set", "Height=8", "--set", "TestImageSelector=White", "--json"})
            .Events();
    const tool::Json& summary = events.back();
    EXPECT_GE(summary["duration_s"], 0.3);
    ASSERT_EQ(summary["cameras"].size(), 3u);
    int frames = 0;
    for (const auto& camera : summary["cameras"]) {
        EXPECT_GT(camera["frames"], 0);
        frames += camera["frames"].get<int>();
    }
    EXPECT_EQ(summary["frames"], frames);
    EXPECT_EQ(static_cast<int>(events.size()), frames + 2);
}

TEST_F(GrabTest, ProgressIsWrittenWhenAskedForAndSilentOtherwise) {
    const std::vector<std::string> arguments{"grab", "-d", "0", "-d", "2", "-n", "2", "--progress"};
    const auto with = [&](const char* when) {
        auto all = arguments;
        all.push_back(when);
        return Run(all).err;
    };
    EXPECT_THAT(with("always"), testing::AllOf(HasSubstr("\r["), HasSubstr("4/4 images"),
                                               testing::ContainsRegex("fps: 0815-0000 [0-9.]+, 0815-0002 [0-9.]+ ")));
    EXPECT_EQ(with("auto"), "");
    EXPECT_EQ(with("never"), "");
}

class GrabSignalTest : public GrabTest, public testing::WithParamInterface<std::pair<int, int>> {};

TEST_P(GrabSignalTest, StopsTheCamerasSumsUpAndLeavesWholeFilesOnly) {
    ToolProcess process({"grab", "--all", "--duration", "60", "-o", "%d.png", "--json"}, InFolder());
    ASSERT_TRUE(process.WaitForOutput("\"number\":2"));
    process.Signal(GetParam().first);
    const ToolResult result = process.Wait();
    EXPECT_EQ(result.exitCode, GetParam().second);
    const auto events = result.Events();
    const tool::Json& summary = events.back();
    EXPECT_EQ(summary["type"], "summary");
    const auto files = m_folder.List();
    EXPECT_EQ(files.size(), summary["frames"].get<std::size_t>());
    for (const std::string& file : files) {
        EXPECT_EQ(DecodePng(m_folder / file).width, 1024u);
    }
}

INSTANTIATE_TEST_SUITE_P(Signals, GrabSignalTest, testing::Values(std::pair(SIGINT, 130), std::pair(SIGTERM, 143)));

TEST_F(GrabTest, SecondInterruptLeavesAtOnceAndTakesPartialFilesAlong) {
    ToolProcess::Settings settings = InFolder();
    // Who leaves at once joins nobody, and a thread that has just ended would count as a leak under that sanitizer.
    const char* options = std::getenv("TSAN_OPTIONS");
    settings.environment["TSAN_OPTIONS"] = std::string(options ? options : "") + ":report_thread_leaks=0";
    ToolProcess process({"grab", "--all", "--duration", "60", "-o", "%d.png", "--json"}, settings);
    ASSERT_TRUE(process.WaitForOutput("\"number\":1"));
    process.Signal(SIGINT);
    process.Signal(SIGINT);
    const ToolResult result = process.Wait();
    EXPECT_EQ(result.exitCode, 130) << result.err;
    for (const std::string& file : m_folder.List()) {
        EXPECT_GT(DecodePng(m_folder / file).width, 0u) << file;
    }
}

TEST_F(GrabTest, FullDiskStopsItNamesTheFileAndLeavesNoPartialOne) {
    ToolProcess::Settings settings = InFolder();
    settings.fileSizeLimit = 10'000; // no image of that size fits
    const ToolResult result = RunTool({"grab", "--all", "--duration", "60", "-o", "%d.png", "--json"}, settings);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.Error()["message"].get<std::string>(),
                testing::ContainsRegex("Cannot write '.*1\\.png': File too large"));
    EXPECT_THAT(m_folder.List(), IsEmpty());
    EXPECT_EQ(result.Events().back()["frames"], 0);
}

struct Folder {
    const char* pattern;
    const char* message;
};

std::ostream& operator<<(std::ostream& stream, const Folder& one) {
    return stream << one.pattern;
}

class GrabFolderTest : public GrabTest, public testing::WithParamInterface<Folder> {};

TEST_P(GrabFolderTest, ThatCannotBeWrittenIsToldBeforeTheCameraStarts) {
    std::ofstream(m_folder / "file") << "x";
    const ToolResult result = Run({"grab", "-d", "0", "-o", GetParam().pattern, "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.Error()["message"].get<std::string>(), HasSubstr(GetParam().message));
    EXPECT_EQ(result.out, "") << "the camera was started";
    EXPECT_THAT(m_folder.List(), ElementsAre("file"));
}

INSTANTIATE_TEST_SUITE_P(Folders, GrabFolderTest,
                         testing::Values(Folder{"missing/%d.png", "mkdir -p 'missing'"},
                                         Folder{"file/%d.png", "not a folder"},
                                         Folder{"file/below/%d.png", "Not a directory"},
                                         Folder{"/proc/%d.png", "'/proc'"},
                                         Folder{"%s/%d.png", "mkdir -p '0815-0000'"}));

} // namespace
