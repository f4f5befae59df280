// SPDX-License-Identifier: Apache-2.0
#include "serving/server/ServeOptions.h"
#include "serving/server/ServeError.h"

#include <gmock/gmock.h>

namespace Serving {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::optional<CServeOptions> Parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "zelmo-serve");
    std::string help;
    return ParseServeOptions(static_cast<int>(arguments.size()), arguments.data(), help);
}

TEST(ServeOptionsTest, WhatIsWrongIsNamed) {
    struct {
        std::vector<const char*> arguments;
        std::vector<const char*> named;
    } const cases[] = {
        {{"--address", "127.0.0.300"}, {"--address", "'127.0.0.300'", "127.0.0.2"}},
        {{"--address", "localhost"}, {"--address", "'localhost'"}},
        {{"--address", "127.0.0.2", "--address", "127.0.0.2"}, {"127.0.0.2 is given twice"}},
        {{"--address", "127.0.0.2", "--cameras", "2"}, {"--cameras 2", "1 times --address"}},
        {{"--address", "192.0.2.1"}, {"127.0.0.0/8", "--interface"}},
        {{"--address", "127.0.0.2", "--address", "192.0.2.1"}, {"--interface"}},
        {{"--fault", "sunspots"}, {"--fault", "sunspots", "--list-faults"}},
        {{"--fault", "packet-loss=2"}, {"packet-loss=2", "rate"}},
        {{"--cameras", "0"}, {"--cameras", "1", "1000"}},
        {{"--cameras", "1001"}, {"--cameras"}},
        {{"--rate", "999"}, {"--rate", "1000"}},
        {{"--rate", "10000000001"}, {"--rate", "10000000000"}},
        {{"--rate", "fast"}, {"--rate", "fast"}},
        {{"--schema", "1.2"}, {"--schema", "1.2"}},
        {{"--seed", "-1"}, {"--seed", "-1"}},
        {{"--port", "1"}, {"--port", "--help"}},
        {{"cameras"}, {"cameras"}},
    };
    for (const auto& one : cases) {
        try {
            Parse(one.arguments);
            ADD_FAILURE() << one.arguments.back() << " was accepted";
        } catch (const CServeError& error) {
            EXPECT_EQ(error.Exit(), EExit::Usage) << error.what();
            for (const char* name : one.named) {
                EXPECT_THAT(error.what(), HasSubstr(name));
            }
        }
    }
}

TEST(ServeOptionsTest, EachOptionIsTaken) {
    const auto options = Parse(
        {"--cameras", "2",          "--address", "192.0.2.1", "--address",          "192.0.2.2",        "--interface",
         "eth1",      "--rate",     "1000",      "--fault",   "packet-loss=0.5,3",  "--fault",          "silencex1",
         "--seed",    "4294967295", "--schema",  "1.0",       "--manage-addresses", "--allow-redirect", "--json",
         "-q"});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->cameras, 2u);
    EXPECT_THAT(options->addresses, ElementsAre(0xC0000201u, 0xC0000202u));
    EXPECT_EQ(options->interface, "eth1");
    EXPECT_EQ(options->rateBytesPerS, 1000u);
    ASSERT_EQ(options->faults.size(), 2u);
    EXPECT_EQ(options->faults[0].setting.parameter, 3u);
    EXPECT_EQ(options->faults[1].fault, EFault::Silence);
    EXPECT_EQ(options->seed, 0xFFFFFFFFu);
    EXPECT_FALSE(options->isSchema11);
    EXPECT_TRUE(options->manageAddresses && options->allowRedirect && options->json && options->quiet);
    EXPECT_FALSE(options->listFaults);
    EXPECT_FALSE(Parse({"--help"}));
}

} // namespace
} // namespace Serving
