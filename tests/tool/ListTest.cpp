// SPDX-License-Identifier: Apache-2.0
#include "TemporaryFolder.h"
#include "ToolProcess.h"

#include <gmock/gmock.h>

#include <csignal>
#include <fstream>

namespace {

using testing::HasSubstr;

std::vector<std::string> Serials(const tool::Json& devices) {
    std::vector<std::string> serials;
    for (const auto& device : devices) {
        serials.push_back(device["serial_number"]);
    }
    return serials;
}

TEST(ListTest, ShowsEachCameraInOneLineWithItsIndex) {
    const ToolResult result = RunTool({"list"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr("INDEX  SERIAL"));
    EXPECT_THAT(result.out, HasSubstr("\n2      0815-0002  "));
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 4);
    EXPECT_EQ(result.err, "");
}

TEST(ListTest, NoCameraIsAnEmptyListAHintAndNoError) {
    const ToolResult text = RunTool({"list"}, WithEnvironment({{"ZELMO_CAMEMU", "0"}}));
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_EQ(text.out, "");
    EXPECT_THAT(text.err, testing::AllOf(HasSubstr("No camera found"), HasSubstr("HarlixCamEmu")));
    const ToolResult json = RunTool({"list", "--json", "-q"}, WithEnvironment({{"ZELMO_CAMEMU", "0"}}));
    EXPECT_EQ(json.Document()["devices"], tool::Json::array());
    EXPECT_EQ(json.err, "");
}

TEST(ListTest, FilterLimitsWhatIsListed) {
    const auto listed = [](const std::string& filter) {
        return Serials(RunTool({"list", "--json", "--filter", filter}).Document()["devices"]);
    };
    EXPECT_THAT(listed("SerialNumber=0815-0001"), testing::ElementsAre("0815-0001"));
    EXPECT_THAT(listed("SerialNumber = 0815-0002 || SerialNumber=0815-0000"),
                testing::ElementsAre("0815-0000", "0815-0002"));
    EXPECT_THAT(listed("DeviceClass=HarlixUsb"), testing::IsEmpty());
}

TEST(ListTest, FilterWithoutAConditionIsWrongUsage) {
    const ToolResult result = RunTool({"list", "--filter", "nonsense"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.err, HasSubstr("KEY=VALUE"));
}

TEST(ListTest, TransportLayersStandWithTheirClass) {
    EXPECT_THAT(RunTool({"list", "--tls"}).out, testing::ContainsRegex("\nHarlixCamEmu .*/libzelmo_TL_camemu[.]so\n"));
    const auto layers = RunTool({"list", "--tls", "--json"}).Document()["transport_layers"];
    ASSERT_EQ(layers.size(), 2u);
    EXPECT_EQ(layers[0]["device_class"], "HarlixGigE");
    EXPECT_EQ(layers[1]["device_class"], "HarlixCamEmu");
}

TEST(ListTest, WatchTellsWhatIsThereAndEndsAtItsLimits) {
    const auto counted = RunTool({"list", "--watch", "--json", "--count", "3"}).Events();
    ASSERT_EQ(counted.size(), 4u);
    EXPECT_EQ(counted[0]["type"], "arrival");
    EXPECT_EQ(counted[0]["serial_number"], "0815-0000");
    EXPECT_EQ(counted[3]["type"], "summary");
    EXPECT_EQ(counted[3]["arrivals"], 3);
    const ToolResult timed = RunTool({"list", "--watch", "--duration", "0.05", "--interval", "20"});
    EXPECT_EQ(timed.exitCode, 0);
    EXPECT_THAT(timed.out, testing::StartsWith("+ 0815-0000"));
}

TEST(ListTest, WatchEndsWithASummaryAtEitherSignal) {
    for (const auto& [signal, exitCode] : {std::pair(SIGINT, 130), std::pair(SIGTERM, 143)}) {
        ToolProcess process({"list", "--watch", "--json"}, {});
        ASSERT_TRUE(process.WaitForOutput("0815-0002"));
        process.Signal(signal);
        const ToolResult result = process.Wait();
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_EQ(result.Events().back()["type"], "summary");
    }
}

TEST(ListTest, StreamsEndWhenNobodyReadsThemAlsoWithNothingToWrite) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{"list", "--watch", "--interval", "3600000"},
                                                  {"grab", "-d", "0", "--duration", "3600", "--timeout", "3600000",
                                                   "--set", "AcquisitionFrameRate=0.01", "--json"},
                                                  {"bench", "0", "--duration", "3600", "--progress", "always"}}) {
        ToolProcess process(words, {});
        ASSERT_TRUE(process.WaitForOutput(words[0] == "bench" ? "fps" : "0815-0000"));
        process.StopReading();
        const ToolResult result = process.Wait();
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.err, HasSubstr("Nobody reads standard output any more"));
    }
}

TEST(ListTest, StandardOutputThatIsFullIsTold) {
    ToolProcess::Settings settings;
    settings.output = "/dev/full";
    const ToolResult result = RunTool({"list"}, settings);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("Cannot write to standard output"));
}

TEST(InfoTest, TellsIdentityAndWhetherItCanBeOpened) {
    const ToolResult text = RunTool({"info", "0815-0001"});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_THAT(text.out, testing::AllOf(HasSubstr("SerialNumber      0815-0001\n"),
                                         HasSubstr("Access            can be opened\n")));
    const tool::Json json = RunTool({"info", "2", "--json"}).Document();
    EXPECT_EQ(json["serial_number"], "0815-0002");
    EXPECT_EQ(json["accessible"], true);
    EXPECT_EQ(json["access_state"], "ok");
}

TEST(InfoTest, WithoutADeviceTheOnlyCameraIsMeant) {
    EXPECT_EQ(RunTool({"info"}, WithEnvironment({{"ZELMO_CAMEMU", "1"}})).exitCode, 0);
    const ToolResult several = RunTool({"info"});
    EXPECT_EQ(several.exitCode, 3);
    EXPECT_THAT(several.err, testing::AllOf(HasSubstr("3 cameras are there"), HasSubstr("\n  2: 0815-0002")));
}

struct NoDevice {
    std::vector<std::string> arguments;
    const char* cameras;
    const char* code;
    const char* message;
};

std::ostream& operator<<(std::ostream& stream, const NoDevice& one) {
    return stream << one.arguments[0] << ' ' << one.message;
}

class NoDeviceTest : public testing::TestWithParam<NoDevice> {};

TEST_P(NoDeviceTest, EndsWithThreeAndListsCandidatesOrWhereWasLooked) {
    std::vector<std::string> arguments = GetParam().arguments;
    arguments.push_back("--json");
    const ToolResult result = RunTool(arguments, WithEnvironment({{"ZELMO_CAMEMU", GetParam().cameras}}));
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.Error()["code"], GetParam().code);
    EXPECT_THAT(result.Error()["message"].get<std::string>(), HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Verbs, NoDeviceTest,
    testing::Values(NoDevice{{"info", "4711"}, "3", "no_device", "No camera matches '4711'"},
                    NoDevice{{"info", "ModelName=Emulation"}, "3", "ambiguous_device", "0: 0815-0000"},
                    NoDevice{{"get", "Width", "-d", "4711"}, "3", "no_device", "1: 0815-0001"},
                    NoDevice{{"set", "Width=64"}, "0", "no_device", "Plug-ins were looked for in"},
                    NoDevice{{"grab", "-d", "0", "-d", "4711"}, "3", "no_device", "'4711'"},
                    NoDevice{{"grab", "--all"}, "0", "no_device", "ZELMO_CAMEMU"},
                    NoDevice{{"info", "--filter", "SerialNumber=9"}, "3", "no_device", "SerialNumber=9"}));

TEST(VersionTest, NamesLibraryCommitAndPlugins) {
    EXPECT_THAT(RunTool({"--version"}).out,
                testing::ContainsRegex("zelmo 6\\.1\\.0\\.[0-9]+ \\(commit [0-9a-z]+\\)\nplug-in HarlixGigE "));
    EXPECT_EQ(RunTool({"--version", "--json"}).Document()["transport_layers"][0]["device_class"], "HarlixGigE");
}

TEST(LogTest, LibrarysLinesGoWhereTheOptionsSay) {
    const char* line = "Trying to load TL lib";
    EXPECT_EQ(RunTool({"list"}).err, "");
    EXPECT_THAT(RunTool({"list", "-v"}).err, HasSubstr(line));
    EXPECT_THAT(RunTool({"list", "--log", "zelmo.base.TlFactory=notice"}).err, HasSubstr(line));
    EXPECT_EQ(RunTool({"list", "--log", "other.category=debug"}).err, "");
    for (const auto& message : RunTool({"list", "-v", "--json"}).Messages()) {
        EXPECT_EQ(message["type"], "log");
    }
    TemporaryFolder folder;
    EXPECT_EQ(RunTool({"list", "-v", "--log-file", folder / "log"}).err, "");
    std::ifstream file(folder / "log");
    EXPECT_THAT(std::string(std::istreambuf_iterator<char>(file), {}), HasSubstr(line));
}

TEST(LogTest, WrongLogOptionsAreTold) {
    EXPECT_EQ(RunTool({"list", "--log", "zelmo.base=loud"}).exitCode, 2);
    EXPECT_EQ(RunTool({"list", "--log-file", "/proc/self/log"}).exitCode, 1);
    TemporaryFolder folder;
    const ToolResult result = RunTool({"list", "--log-file", folder / "new/log"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("mkdir -p"));
    EXPECT_THAT(folder.List(), testing::IsEmpty());
}

} // namespace
