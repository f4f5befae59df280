// SPDX-License-Identifier: Apache-2.0

// Grabs that trigger the camera, and grabs that outlive it.

#include "ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

using testing::HasSubstr;
using testing::Not;

namespace {

TEST(TriggerOptionTest, EachImageIsTriggeredAndTheSettingsArePutBack) {
    for (const std::string trigger : {"software", "software:50"}) {
        for (const std::string cameras : {"1", "2"}) {
            const auto run = RunTool(
                {"grab", "--all", "-n", "5", "--trigger", trigger, "--set", "AcquisitionFrameRate=0.1", "--json"},
                WithEnvironment({{"ZELMO_CAMEMU", cameras}}));
            EXPECT_EQ(run.exitCode, 0) << run.err;
            EXPECT_THAT(run.out, HasSubstr("\"frames\":5"));
        }
    }
    EXPECT_EQ(RunTool({"grab", "--trigger", "hardware"}, WithEnvironment({{"ZELMO_CAMEMU", "1"}})).exitCode, 2);
    EXPECT_EQ(RunTool({"grab", "--trigger", "software:0"}, WithEnvironment({{"ZELMO_CAMEMU", "1"}})).exitCode, 2);
}

TEST(ReconnectOptionTest, GrabGoesOnWithTheSettingsOfBefore) {
    const std::vector<std::string> removal{"--set",  "SimulateRemovalDelay=10",
                                           "--set",  "SimulateRemovalDuration=100",
                                           "--set",  "SimulateRemovalSettings=Default",
                                           "--set",  "Width=320",
                                           "--exec", "SimulateRemoval"};
    const auto grab = [&removal](std::vector<std::string> words) {
        words.insert(words.end(), removal.begin(), removal.end());
        return RunTool(words, WithEnvironment({{"ZELMO_CAMEMU", "2"}}));
    };
    for (const std::string reconnect : {"--reconnect", "--reconnect=20"}) { // for ever, or not so long
        const auto run = grab({"grab", "-d", "0", "-n", "30", reconnect, "--raw", "-o", "-"});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(run.out.size(), 30U * 320 * 1024);
        EXPECT_THAT(run.err, testing::ContainsRegex("was removed after (10|9) images; waiting for it to come back"));
        EXPECT_THAT(run.err, HasSubstr("came back after "));
        EXPECT_THAT(run.err, Not(HasSubstr("not restored")));
    }
    EXPECT_EQ(grab({"grab", "-d", "0", "-n", "30"}).exitCode, 9);
    EXPECT_EQ(grab({"grab", "--all", "-n", "30"}).exitCode, 9);
    const auto both = grab({"grab", "--all", "-n", "30", "--reconnect", "--json"});
    EXPECT_EQ(both.exitCode, 0) << both.err;
    const tool::Json summary = both.Events().back();
    for (const tool::Json& camera : summary["cameras"]) {
        EXPECT_EQ(camera["frames"], 30);
        EXPECT_THAT(both.err, HasSubstr(camera["device"].get<std::string>() + " came back"));
    }
    for (const std::string limit : {"0", "-1", "1s", "soon", "nan", "inf"}) {
        EXPECT_EQ(grab({"grab", "-d", "0", "--reconnect=" + limit}).exitCode, 2) << limit;
    }
}

/// A camera that goes after ten images, for good.
std::vector<std::string> Vanishing(std::vector<std::string> words) {
    for (const char* word :
         {"--set", "SimulateRemovalDelay=10", "--set", "SimulateRemovalDuration=-1", "--exec", "SimulateRemoval"}) {
        words.emplace_back(word);
    }
    return words;
}

TEST(ReconnectOptionTest, CameraThatComesBackTellsItsChunksAndEvents) {
    const auto run =
        RunTool({"grab", "-n", "6", "--reconnect", "--chunks", "Gain", "--events", "ExposureEnd", "--set",
                 "SimulateRemovalDelay=3", "--set", "SimulateRemovalSettings=Default", "--exec", "SimulateRemoval"},
                WithEnvironment({{"ZELMO_CAMEMU", "1"}}));
    EXPECT_EQ(run.exitCode, 0) << run.err;
    const std::size_t removal = run.out.find("frame  0815-0000  3  ChunkGain=0\n");
    ASSERT_NE(removal, std::string::npos);
    const std::string event = "ExposureEnd  EventExposureEnd=";
    EXPECT_THAT(run.out.substr(0, removal), HasSubstr(event));
    EXPECT_THAT(run.out.substr(removal), HasSubstr(event)); // ahead of which image, a slow host decides
    EXPECT_THAT(run.out.substr(removal), HasSubstr("frame  0815-0000  6  ChunkGain=0\n"));
}

TEST(ReconnectOptionTest, WaitEndsWithTheGrabAndWithItsUser) {
    const auto settings = WithEnvironment({{"ZELMO_CAMEMU", "1"}});
    EXPECT_EQ(RunTool(Vanishing({"grab", "--duration", "1", "--reconnect"}), settings).exitCode, 9);
    EXPECT_EQ(RunTool(Vanishing({"grab", "-n", "10", "--reconnect"}), settings).exitCode, 0); // all are there
    ToolProcess run(Vanishing({"grab", "-n", "20", "--reconnect"}), settings);
    ASSERT_TRUE(run.WaitForOutput("waiting for it to come back"));
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // it looks again and again until it is told to stop
    run.Signal(SIGINT);
    EXPECT_EQ(run.Wait().exitCode, 130);
}

TEST(ReconnectOptionTest, CameraThatDoesNotComeBackInTimeEndsTheGrab) {
    const auto run =
        RunTool(Vanishing({"grab", "-n", "30", "--reconnect", "0.3"}), WithEnvironment({{"ZELMO_CAMEMU", "1"}}));
    EXPECT_EQ(run.exitCode, 9);
    EXPECT_THAT(run.err, HasSubstr("did not come back within 300 ms"));
}

} // namespace
