// SPDX-License-Identifier: Apache-2.0
#include "ToolProcess.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

struct Refusal {
    std::vector<std::string> words;
    int exitCode;
    const char* message;
};

TEST(IpTest, RefusesWhatItCannotDoAndSaysWhy) {
    for (const Refusal& one : {Refusal{{"force"}, 2, "A camera is missing behind 'zelmo ip force'"},
                               Refusal{{"persistent", "0"}, 2, "An address is missing, such as 'zelmo ip persistent 0"},
                               Refusal{{"dhcp", "0", "10.0.0.2/24"}, 2, "'zelmo ip dhcp' takes no address"},
                               Refusal{{"restart", "0", "--gateway", "10.0.0.1"}, 2, "takes no --gateway"},
                               Refusal{{"dhcp", "4711"}, 3, "No camera matches '4711'"},
                               Refusal{{"dhcp", "0815-0001"}, 7, "0815-0001 is no GigE Vision camera"}}) {
        std::vector<std::string> words = one.words;
        words.insert(words.begin(), "ip");
        const ToolResult result = RunTool(words);
        EXPECT_EQ(result.exitCode, one.exitCode) << words[1];
        EXPECT_THAT(result.err, HasSubstr(one.message));
        EXPECT_EQ(result.out, "");
    }
}

TEST(IpTest, WithoutCamerasOnEthernetTheListIsEmptyAndNoError) {
    const ToolResult result = RunTool({"ip", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.Document()["cameras"], tool::Json::array());
    EXPECT_THAT(RunTool({"ip"}).err, HasSubstr("ZELMO_GIGE is 'off'"));
}

} // namespace
