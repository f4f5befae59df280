// SPDX-License-Identifier: Apache-2.0
#include "ToolProcess.h"
#include "serving/OwnAddress.h"

#include <gmock/gmock.h>

#include <csignal>

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(ServeTest, ListsTheFaultsThatItCanMake) {
    const ToolResult text = RunTool({"serve", "--list-faults"});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_THAT(text.out, ContainsRegex("FAULT +PARAMETER .*\npacket-loss +packets in a row +1 +1 to 65535 "));
    const tool::Json faults = RunTool({"serve", "--list-faults", "--json"}).Document()["faults"];
    EXPECT_EQ(std::count(text.out.begin(), text.out.end(), '\n'), static_cast<std::ptrdiff_t>(faults.size()) + 1);
    for (const tool::Json& fault : faults) {
        EXPECT_THAT(text.out, HasSubstr("\n" + fault["name"].get<std::string>() + " "));
        EXPECT_THAT(text.out, HasSubstr(fault["text"].get<std::string>()));
        EXPECT_EQ(fault.contains("default"), fault.contains("parameter"));
    }
}

TEST(ServeTest, ServesWithAllThatItWasGivenUntilItIsToldToEnd) {
    const std::vector<std::string> all{"serve",
                                       "--cameras",
                                       "2",
                                       "--address",
                                       Serving::OwnAddressText(10),
                                       "--address",
                                       Serving::OwnAddressText(11),
                                       "--interface",
                                       "lo",
                                       "--rate",
                                       "1000000",
                                       "--fault",
                                       "packet-loss=0.25,2",
                                       "--fault",
                                       "silencex1",
                                       "--seed",
                                       "7",
                                       "--schema",
                                       "1.0",
                                       "--allow-redirect",
                                       "--json",
                                       "-q"};
    ToolProcess process(all, {});
    process.Type("faults\nquit\n");
    const ToolResult result = process.Wait();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, IsEmpty());
    const auto events = result.Events();
    ASSERT_EQ(events.size(), 5u) << result.out;
    EXPECT_EQ(events[0]["type"], "serving");
    EXPECT_EQ(events[1]["address"], Serving::OwnAddressText(11));
    EXPECT_EQ(events[0]["description_schema"], "1.0");
    EXPECT_EQ(events[2]["faults"][0]["rate"], 0.25);
    EXPECT_EQ(events[3]["faults"][1]["times_left"], 1);
    EXPECT_EQ(events[4]["type"], "summary");
}

TEST(ServeTest, ATableIsPrintedForPeopleAndASignalEndsIt) {
    ToolProcess process({"serve", "--address", Serving::OwnAddressText(10)}, {});
    ASSERT_TRUE(process.WaitForOutput("Ctrl+C ends it"));
    process.Signal(SIGTERM);
    const ToolResult result = process.Wait();
    EXPECT_EQ(result.exitCode, 143);
    EXPECT_THAT(result.out, ContainsRegex("SERIAL +NAME +ADDRESS +PORT .*\n.* " + Serving::OwnAddressText(10) +
                                          " +3956 .* lo\nSERIAL .*BLOCKS"));
}

TEST(ServeTest, WrongOptionsAreToldByTheToolAndByTheProgramAlike) {
    struct {
        std::vector<std::string> options;
        const char* named;
    } const cases[] = {
        {{"--cameras", "0"}, "--cameras"},
        {{"--cameras", "2", "--address", "127.0.0.2"}, "--cameras 2"},
        {{"--address", ""}, "--address"},
        {{"--address", "here"}, "'here'"},
        {{"--address", "192.0.2.1"}, "--interface"},
        {{"--rate", "1"}, "--rate"},
        {{"--fault", "sunspots"}, "sunspots"},
        {{"--seed", "4294967296"}, "--seed"},
        {{"--schema", "2.0"}, "--schema"},
        {{"here"}, "here"},
    };
    for (const auto& one : cases) {
        std::vector<std::string> words{"serve", "--json"};
        words.insert(words.end(), one.options.begin(), one.options.end());
        const ToolResult result = RunTool(words);
        EXPECT_EQ(result.exitCode, 2) << one.named;
        EXPECT_EQ(result.Error()["code"], "usage");
        EXPECT_EQ(result.Error()["exit_code"], 2);
        EXPECT_THAT(result.Error()["message"].get<std::string>(), HasSubstr(one.named));
        EXPECT_THAT(result.out, IsEmpty());
    }
}

TEST(ServeTest, HelpNamesTheOptions) {
    const std::string help = RunTool({"serve", "--help"}).out;
    for (const char* option : {"--cameras", "--address", "--interface", "--rate", "--fault", "--seed", "--schema",
                               "--manage-addresses", "--allow-redirect", "--list-faults"}) {
        EXPECT_THAT(help, HasSubstr(option));
    }
}

} // namespace
