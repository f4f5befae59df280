// SPDX-License-Identifier: Apache-2.0
#include "ToolProcess.h"

#include <gmock/gmock.h>

#include <csignal>

namespace {

TEST(BenchTest, MeasuresEachCameraAndAllOfThem) {
    const tool::Json all = RunTool({"bench", "--cameras", "all", "--duration", "0.5", "--set", "Height=8", "--set",
                                    "TestImageSelector=White", "--json"})
                               .Document();
    ASSERT_EQ(all["cameras"].size(), 3u);
    std::vector<tool::Json> each(all["cameras"].begin(), all["cameras"].end());
    int frames = 0;
    for (const tool::Json& one : each) {
        frames += one["frames"].get<int>();
        EXPECT_GT(one["frames"], 0);
    }
    EXPECT_EQ(all["frames"], frames);
    each.push_back(all);
    for (const tool::Json& one : each) {
        EXPECT_GT(one["latency_p50_us"], 0);
        EXPECT_LE(one["latency_p50_us"], one["latency_p99_us"]);
        EXPECT_LE(one["latency_p99_us"], one["latency_max_us"]);
        EXPECT_LT(one["latency_max_us"], 0.6e6) << "longer than all of it took";
        EXPECT_NEAR(one["frames_per_s"].get<double>() * one["duration_s"].get<double>(), one["frames"], 0.01);
    }
    EXPECT_NEAR(all["cpu_per_image_us"].get<double>() * frames, all["cpu_s"].get<double>() * 1e6, 1);
    EXPECT_GT(all["cpu_s"], 0);
}

TEST(BenchTest, TakesDevicesAsArgumentsAndOptions) {
    const ToolResult result = RunTool({"bench", "0815-0001", "-d", "0", "--duration", "0.1", "--set", "Height=8"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, testing::ContainsRegex("CAMERA .* LOST +SKIPPED .* P50 US +P99 US +MAX US\n0815-0001 .*\n"
                                                   "0815-0000 .*\nall .*\nCPU: [0-9.]+ us for each image"));
    for (const std::vector<std::string>& wrong : {std::vector<std::string>{"bench", "0", "--all"},
                                                  {"bench", "0", "0"},
                                                  {"bench", "0", "--queue-size", "2"},
                                                  {"bench", "0", "--strategy", "latest-images", "--queue-size", "10"},
                                                  {"bench", "-d", "0", "--cameras", "all"}}) {
        EXPECT_EQ(RunTool(wrong).exitCode, 2) << wrong[2];
    }
}

TEST(BenchTest, SignalEndsItWithWhatWasMeasured) {
    ToolProcess process({"bench", "--all", "--duration", "60", "--json", "--progress", "always"}, {});
    ASSERT_TRUE(process.WaitForOutput("frames_per_s"));
    process.Signal(SIGINT);
    const ToolResult result = process.Wait();
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_LT(result.Document()["duration_s"], 60);
}

} // namespace
