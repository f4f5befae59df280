// SPDX-License-Identifier: Apache-2.0
#include "ToolProcess.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::Not;

std::vector<std::string> On0(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"-d", "0815-0000"});
    return arguments;
}

tool::Json FeatureNamed(const tool::Json& document, const std::string& name) {
    for (const auto& feature : document["features"]) {
        if (feature["name"] == name) {
            return feature;
        }
    }
    ADD_FAILURE() << "no feature " << name;
    return {};
}

TEST(FeaturesTest, ShowsTheTreeOfCategories) {
    const ToolResult result = RunTool(On0({"features"}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr("\nImageFormatControl\n"));
    EXPECT_THAT(result.out, testing::ContainsRegex("\n  Width +RW +integer\n"));
    EXPECT_THAT(result.out, Not(HasSubstr("Root")));
}

TEST(FeaturesTest, GlobAndVisibilityNarrowItToCategoriesThatHoldSomething) {
    const ToolResult some = RunTool(On0({"features", "exposure*", "--values"}));
    EXPECT_THAT(some.out,
                testing::ContainsRegex(
                    "^AcquisitionControl\n  ExposureTime +RW +float +[0-9.]+ us +\\([0-9.]+ to [0-9.]+\\)\n$"));
    const std::string beginner = RunTool(On0({"features", "--visibility", "beginner"})).out;
    const std::string all = RunTool(On0({"features", "--visibility", "invisible"})).out;
    EXPECT_LT(beginner.size(), all.size());
    const ToolResult none = RunTool(On0({"features", "Frobnicate*", "--json"}));
    EXPECT_EQ(none.exitCode, 7);
    EXPECT_EQ(none.Error()["code"], "unknown_feature");
}

TEST(GetTest, PrintsWhatSetAcceptsInTheOrderAsked) {
    const ToolResult got = RunTool(On0({"get", "PixelFormat", "ExposureTime", "Width", "AcquisitionFrameRateEnable"}));
    EXPECT_EQ(got.exitCode, 0);
    EXPECT_THAT(got.out,
                testing::MatchesRegex("PixelFormat=.*\nExposureTime=.*\nWidth=.*\nAcquisitionFrameRateEnable=.*\n"));
    std::vector<std::string> arguments{"set"};
    std::istringstream lines(got.out);
    for (std::string line; std::getline(lines, line);) {
        arguments.push_back(line);
    }
    const ToolResult set = RunTool(On0(arguments));
    EXPECT_EQ(set.exitCode, 0);
    EXPECT_EQ(set.out, got.out);
    EXPECT_EQ(set.err, "");
}

TEST(GetTest, UnknownFeatureIsNamedWithNearMatchesAndTheOthersAreTold) {
    const ToolResult result = RunTool(On0({"get", "Width", "Hieght", "Gain"}));
    EXPECT_EQ(result.exitCode, 7);
    EXPECT_THAT(result.out, testing::MatchesRegex("Width=.*\nGain=.*\n"));
    EXPECT_THAT(result.err,
                testing::AllOf(HasSubstr("Hieght: camera 0815-0000 has no such feature"), HasSubstr("'Height'")));
    const ToolResult json = RunTool(On0({"get", "Width", "Hieght", "--json"}));
    EXPECT_EQ(json.exitCode, 7);
    EXPECT_EQ(json.Document()["features"].size(), 1u);
    EXPECT_EQ(json.Error()["feature"], "Hieght");
    EXPECT_EQ(json.Error()["code"], "unknown_feature");
}

TEST(GetTest, CommandsAndCategoriesHaveNoValue) {
    for (const char* name : {"DeviceReset", "ImageFormatControl"}) {
        const ToolResult result = RunTool(On0({"get", name, "--json"}));
        EXPECT_EQ(result.exitCode, 7);
        EXPECT_EQ(result.Error()["code"], "no_value");
    }
}

TEST(GetTest, OtherNodeMapsCanBeAsked) {
    const ToolResult stream = RunTool(On0({"get", "PayloadSize", "--nodemap", "stream", "--json"}));
    EXPECT_EQ(FeatureNamed(stream.Document(), "PayloadSize")["type"], "integer");
    EXPECT_EQ(RunTool(On0({"get", "DeviceAccessStatus", "--nodemap", "tl"})).out, "DeviceAccessStatus=OpenReadWrite\n");
    EXPECT_EQ(RunTool(On0({"get", "OutputQueueSize", "--nodemap", "camera"})).out, "OutputQueueSize=5\n");
    EXPECT_EQ(RunTool(On0({"get", "Status", "--nodemap", "event"})).out, "Status=Closed\n");
}

TEST(DescribeTest, TellsRelationsRegistersAndAvailabilityAndGoesOnAfterAMistake) {
    const ToolResult result = RunTool(On0({"describe", "Width", "Hieght", "AcquisitionStatusSelector", "--json"}));
    EXPECT_EQ(result.exitCode, 7);
    EXPECT_THAT(result.Error()["message"].get<std::string>(), HasSubstr("'Height'"));
    const tool::Json width = FeatureNamed(result.Document(), "Width");
    EXPECT_EQ(width["kind"], "Integer");
    EXPECT_EQ(width["step"], 4);
    EXPECT_EQ(width["categories"], tool::Json({"ImageFormatControl"}));
    EXPECT_EQ(width["locked_by"].dump(), R"([{"name":"RegionLocked","of":"Width","holds":false}])");
    EXPECT_EQ(width["registers"].dump(), R"([{"name":"WidthReg","address":776,"length_bytes":4}])");
    const tool::Json selector = FeatureNamed(result.Document(), "AcquisitionStatusSelector");
    EXPECT_EQ(selector["selects"], tool::Json({"AcquisitionStatus"}));
    EXPECT_EQ(selector["enum_entries"][0]["available"], true);
    EXPECT_THAT(RunTool(On0({"describe", "Width"})).out,
                testing::ContainsRegex("\n +locked if +RegionLocked: does not hold now\n"));
}

TEST(XmlTest, DeliversTheDescriptionByteByByte) {
    const ToolResult text = RunTool({"xml", "0815-0000"});
    const tool::Json json = RunTool({"xml", "0815-0000", "--json"}).Document();
    EXPECT_EQ(json["xml"], text.out);
    EXPECT_EQ(json["size_bytes"], text.out.size());
    EXPECT_THAT(text.out, testing::AllOf(HasSubstr("<RegisterDescription"), HasSubstr("Name=\"WidthReg\"")));
    EXPECT_EQ(RunTool({"xml", "0815-0000", "--out", "/nowhere/a.xml"}).exitCode, 1);
}

TEST(SetTest, ReportsEachInOrderAsItThenReads) {
    const ToolResult text = RunTool(On0({"set", "Width=0x40", "DeviceUserID=my cam", "Width=128"}));
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_EQ(text.out, "Width=64\nDeviceUserID=my cam\nWidth=128\n");
    const tool::Json json = RunTool(On0({"set", "Width=64", "Height=1", "--json"})).Document();
    EXPECT_EQ(json["settings"][0]["requested"], 64);
    EXPECT_EQ(json["settings"][0]["value"], 64);
    EXPECT_EQ(json["settings"][0]["ok"], true);
    EXPECT_EQ(json["settings"][1]["name"], "Height");
}

TEST(SetTest, RefusalDoesNotKeepTheOthersFromBeingSet) {
    const ToolResult result = RunTool(On0({"set", "Width=64", "Width=1", "Height=32", "--json"}));
    EXPECT_EQ(result.exitCode, 7);
    const tool::Json settings = result.Document()["settings"];
    EXPECT_EQ(settings[0]["ok"], true);
    EXPECT_EQ(settings[1]["ok"], false);
    EXPECT_EQ(settings[1]["error"]["code"], "value_refused");
    EXPECT_EQ(settings[2]["value"], 32);
    EXPECT_EQ(result.Error()["feature"], "Width");
}

struct Refusal {
    const char* assignment;
    const char* message;
    const char* code = "value_refused";
};

std::ostream& operator<<(std::ostream& stream, const Refusal& one) {
    return stream << one.assignment;
}

class RefusalTest : public testing::TestWithParam<Refusal> {};

TEST_P(RefusalTest, TellsWhatWasFoundAndWhatIsPermitted) {
    const ToolResult result = RunTool(On0({"set", GetParam().assignment, "--json"}));
    EXPECT_EQ(result.exitCode, 7);
    EXPECT_EQ(result.Error()["code"], GetParam().code);
    EXPECT_THAT(result.Error()["message"].get<std::string>(),
                testing::AllOf(HasSubstr(GetParam().message), HasSubstr("on camera 0815-0000")));
}

INSTANTIATE_TEST_SUITE_P(
    Values, RefusalTest,
    testing::Values(Refusal{"Width=99999", "Width: 99999 is above the maximum of 2048 (step 4) on camera 0815-0000"},
                    Refusal{"Width=4", "Width: 4 is below the minimum of 32 (step 4) on camera 0815-0000"},
                    Refusal{"Width=65", "permitted: multiples of it above 32, such as 64 and 68"},
                    Refusal{"Width=wide", "Width: 'wide' is no integer on camera 0815-0000; permitted: 32 to 2048"},
                    Refusal{"Width=99999999999999999999", "is no integer"},
                    Refusal{"ExposureTime=1e99", "ExposureTime: 1e99 is above the maximum of 1000000 us"},
                    Refusal{"ExposureTime=-1", "-1 is below the minimum of 10 us"},
                    Refusal{"ExposureTime=nan", "no number"}, Refusal{"ExposureTime=10 ms", "'10 ms' is no number"},
                    Refusal{"PixelFormat=Mono99", "permitted: Mono8, "}, Refusal{"PixelFormat=mono8", "is no entry"},
                    Refusal{"AcquisitionFrameRateEnable=maybe", "true and false"},
                    Refusal{"DeviceUserID=1234567890123456789012345678901234567890123456789012345678901234567890"
                            "1234567890123456789012345678901234567890123456789012345678901234567890",
                            "140 characters"},
                    Refusal{"SensorWidth=1", "SensorWidth: it cannot be written", "not_available"},
                    Refusal{"AcquisitionFrameCount=1", "another feature switches it on", "not_available"}));

TEST(SetTest, TextWithoutAnEqualsSignIsWrongUsageAndNothingIsSet) {
    const ToolResult result = RunTool(On0({"set", "Width=64", "Height"}));
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(RunTool(On0({"set", "=64"})).exitCode, 2);
}

TEST(ExecTest, RunsACommandAndRefusesWhatIsNone) {
    const ToolResult done = RunTool(On0({"exec", "DeviceReset", "--json"}));
    EXPECT_EQ(done.exitCode, 0);
    EXPECT_EQ(done.Document()["command"], "DeviceReset");
    EXPECT_GE(done.Document()["took_ms"], 0.0);
    EXPECT_EQ(RunTool(On0({"exec", "DeviceReset"})).err, "DeviceReset done on camera 0815-0000\n");
    const ToolResult noCommand = RunTool(On0({"exec", "Width"}));
    EXPECT_EQ(noCommand.exitCode, 7);
    EXPECT_THAT(noCommand.err, HasSubstr("of type integer"));
    EXPECT_EQ(RunTool(On0({"exec", "DeviceRset"})).exitCode, 7);
}

} // namespace
