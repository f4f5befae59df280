// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"
#include "Errors.h"

#include <gmock/gmock.h>

#include <sstream>

namespace {

using testing::HasSubstr;
using testing::Not;
using tool::CommandLine;
using tool::ExitCode;

CommandLine::Request Parse(CommandLine& line, std::vector<const char*> words) {
    words.insert(words.begin(), "zelmo");
    return line.Parse(static_cast<int>(words.size()), words.data());
}

std::string ErrorOf(const std::vector<const char*>& words) {
    CommandLine line;
    try {
        Parse(line, words);
    } catch (const tool::ToolError& error) {
        EXPECT_EQ(error.GetExitCode(), ExitCode::Usage);
        EXPECT_EQ(error.GetCode(), "usage");
        return error.what();
    }
    ADD_FAILURE() << "was accepted";
    return {};
}

std::string HelpOf(const std::vector<const char*>& words) {
    CommandLine line;
    EXPECT_EQ(Parse(line, words), CommandLine::Request::Help);
    return line.GetHelp();
}

void ExpectColumns(const std::string& text, std::size_t columns) {
    std::istringstream lines(text);
    for (std::string one; std::getline(lines, one);) {
        EXPECT_LE(one.size(), columns) << one;
    }
}

const char* const kVerbs[] = {"list", "info", "features", "describe", "get",  "set",   "exec", "save",  "load",
                              "diff", "xml",  "nodemap",  "binding",  "grab", "bench", "ip",   "serve", "doctor"};

std::vector<std::string> AllVerbs() {
    return {std::begin(kVerbs), std::end(kVerbs)};
}

TEST(CommandLineTest, HelpOfTheToolFitsOneScreenAndNamesEveryVerb) {
    const std::string help = HelpOf({"--help"});
    EXPECT_LE(std::count(help.begin(), help.end(), '\n'), 24);
    ExpectColumns(help, 80);
    for (const char* verb : kVerbs) {
        EXPECT_THAT(help, HasSubstr("\n  " + std::string(verb) + " "));
    }
    EXPECT_THAT(help, Not(HasSubstr("generate"))) << "the build's own verb is hidden";
}

class VerbHelpTest : public testing::TestWithParam<const char*> {};

TEST_P(VerbHelpTest, ShowsUsageAndExamplesThatTheToolAccepts) {
    const std::string help = HelpOf({GetParam(), "-h"});
    ExpectColumns(help, 80);
    EXPECT_THAT(help, HasSubstr("Usage: zelmo " + std::string(GetParam())));
    std::istringstream lines(help.substr(help.find("\nExamples:\n") + 11));
    int examples = 0;
    for (std::string one; std::getline(lines, one);) {
        if (one.rfind("  zelmo ", 0) != 0) {
            continue;
        }
        ++examples;
        one.erase(std::remove(one.begin(), one.end(), '\''),
                  one.end()); // quotes around words without blanks, and a filter
        std::istringstream words(one.substr(8));
        std::vector<std::string> parts{std::istream_iterator<std::string>(words), {}};
        std::vector<const char*> arguments;
        for (const auto& part : parts) {
            arguments.push_back(part.c_str());
        }
        if (one.find("||") == std::string::npos && one.find("left camera") == std::string::npos) {
            CommandLine line;
            EXPECT_EQ(Parse(line, arguments), CommandLine::Request::RunVerb) << one;
        }
    }
    EXPECT_GE(examples, 2);
}

INSTANTIATE_TEST_SUITE_P(Verbs, VerbHelpTest, testing::ValuesIn(kVerbs));

TEST(CommandLineTest, OptionsOfAllVerbsMayStandBeforeAndBehindTheVerb) {
    for (const std::vector<const char*>& words :
         {std::vector<const char*>{"--json", "-vv", "--log", "a=debug", "--log", "b=info", "list"},
          std::vector<const char*>{"list", "-v", "--log", "a=debug", "--json", "-v", "--log", "b=info"}}) {
        CommandLine line;
        EXPECT_EQ(Parse(line, words), CommandLine::Request::RunVerb);
        EXPECT_TRUE(line.GetGlobalOptions().json);
        EXPECT_EQ(line.GetGlobalOptions().verbosity, 2);
        EXPECT_THAT(line.GetGlobalOptions().logLevels, testing::ElementsAre("a=debug", "b=info"));
        EXPECT_EQ(line.GetVerb().GetName(), "list");
    }
}

struct Wrong {
    std::vector<const char*> words;
    const char* message;
};

std::ostream& operator<<(std::ostream& stream, const Wrong& one) {
    for (const char* word : one.words) {
        stream << word << ' ';
    }
    return stream;
}

class WrongUsageTest : public testing::TestWithParam<Wrong> {};

TEST_P(WrongUsageTest, TellsWhatIsWrongAndWhereHelpIs) {
    EXPECT_THAT(ErrorOf(GetParam().words), HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, WrongUsageTest,
    testing::Values(Wrong{{}, "A verb is missing"}, Wrong{{"lst"}, "no verb 'lst' (did you mean 'list'?)"},
                    Wrong{{"frobnicate"}, "'zelmo --help' lists them"},
                    Wrong{{"grab", "--duratoin", "3"}, "no option '--duratoin' (did you mean '--duration'?)"},
                    Wrong{{"list", "extra"}, "'extra' is one argument too many"}, Wrong{{"get"}, "zelmo get --help"},
                    Wrong{{"set"}, "required"}, Wrong{{"grab", "-n", "0"}, "--count: '0' is no whole number from 1"},
                    Wrong{{"grab", "-n", "-3"}, "'-3' is no whole number"},
                    Wrong{{"grab", "--duration", "nan"}, "'nan' is no number from 0.001"},
                    Wrong{{"grab", "--timeout", "99999999999"}, "--timeout"},
                    Wrong{{"grab", "--raw"}, "--raw requires --output"}, Wrong{{"grab", "--all", "-d", "1"}, "--all"},
                    Wrong{{"grab", "-o"}, "-o"},
                    Wrong{{"grab", "--strategy", "latest"}, "'latest' is none of one-by-one|latest-image-only"},
                    Wrong{{"bench", "--cameras", "2"}, "--cameras"}, Wrong{{"bench", "-n", "2"}, "-n"},
                    Wrong{{"list", "--watch", "--tls"}, "--tls"}, Wrong{{"list", "--count", "2"}, "--watch"},
                    Wrong{{"list", "--progress", "sometimes"}, "sometimes"},
                    Wrong{{"features", "--visibility", "wizard"}, "wizard"}, Wrong{{"get", "A", "--nodemap", "x"}, "x"},
                    Wrong{{"nodemap", "--", "a", "-q"}, "'-q' is one argument too many"},
                    Wrong{{"load", "a", "-d", ""}, "--device: the text is empty"},
                    Wrong{{"info", ""}, "DEVICE: the text"}, Wrong{{"nodemap", "a", "--memory="}, "--memory"},
                    Wrong{{"list", "--log-file", ""}, "--log-file: the text"},
                    Wrong{{"ip", "shw"}, "shw not in {show,force"},
                    Wrong{{"ip", "force", "a", "192.168.7.20"}, "'192.168.7.20' is no address with a prefix"},
                    Wrong{{"ip", "force", "a", "192.168.7.20/31"}, "a prefix from 1 to 30"},
                    Wrong{{"ip", "force", "a", "192.168.7.255/24"}, "no address that a camera can have"},
                    Wrong{{"ip", "force", "a", "239.1.1.1/24"}, "no address that a camera can have"},
                    Wrong{{"ip", "force", "a", "1.2.3.4/24", "--gateway", "router"}, "'router' is no address"}));

TEST(CommandLineTest, ManualPageKnowsEveryVerb) {
    CommandLine line;
    EXPECT_EQ(Parse(line, {"generate", "man"}), CommandLine::Request::Document);
    const std::string page = line.GetDocument();
    EXPECT_THAT(page, testing::StartsWith(".TH ZELMO 1\n"));
    for (const char* verb : kVerbs) {
        EXPECT_THAT(page, HasSubstr(".SS " + std::string(verb) + "\n"));
    }
    EXPECT_THAT(page, HasSubstr("\\-\\-max\\-lost N"));
}

struct FakeSource : tool::CompletionSource {
    std::vector<std::string> GetDevices() override { return {"08-1", "08-2", "left camera"}; }
    std::vector<tool::FeatureChoice> GetFeatures(const std::string& device) override {
        return {{"Width" + device, false, {}},
                {"Format", false, {"Mono8", "Mono12"}},
                {"Reset", true, {}},
                {"ChunkSelector", false, {"Gain", "Time"}}};
    }
};

struct Typed {
    std::vector<const char*> words;
    std::vector<std::string> offered;
};

std::ostream& operator<<(std::ostream& stream, const Typed& one) {
    return stream << Wrong{one.words, nullptr};
}

class CompletionTest : public testing::TestWithParam<Typed> {};

TEST_P(CompletionTest, OffersWhatFitsTheWordThatIsTyped) {
    std::vector<const char*> words{"complete", "--"};
    words.insert(words.end(), GetParam().words.begin(), GetParam().words.end());
    CommandLine line;
    ASSERT_EQ(Parse(line, words), CommandLine::Request::Complete);
    FakeSource source;
    const tool::Completion completion = line.GetCompletion(source);
    EXPECT_EQ(completion.files ? std::vector<std::string>{":files"} : completion.words, GetParam().offered);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, CompletionTest,
    testing::Values(Typed{{"de"}, {"describe"}}, Typed{{"--json", "fe"}, {"features"}},
                    Typed{{"grab", "--max"}, {"--max-lost"}}, Typed{{"list", "--pro"}, {"--progress"}},
                    Typed{{"--progress", "n"}, {"never"}}, Typed{{"--nope", ""}, AllVerbs()},
                    Typed{{"info", ""}, {"08-1", "08-2"}}, Typed{{"get", "-d", "08-"}, {"08-1", "08-2"}},
                    Typed{{"get", "--device=08-2"}, {"--device=08-2"}}, Typed{{"get", "-d", "7", "W"}, {"Width7"}},
                    Typed{{"get", "Format", "F"}, {"Format"}}, Typed{{"exec", ""}, {"Reset"}},
                    Typed{{"exec", "Reset", "R"}, {}}, Typed{{"set", "Fo"}, {"Format="}},
                    Typed{{"set", "Format=M"}, {"Format=Mono8", "Format=Mono12"}},
                    Typed{{"grab", "--set", "Format=Mono1"}, {"Format=Mono12"}},
                    Typed{{"grab", "--strategy", "up"}, {"upcoming-image"}}, Typed{{"grab", "-n", ""}, {}},
                    Typed{{"save", ""}, {":files"}}, Typed{{"xml", "--out", "a"}, {":files"}},
                    Typed{{"get", "--", "-"}, {}}, Typed{{"grab", "--chunks", "T"}, {"Time"}},
                    Typed{{"grab", "--chunks=Time,"},
                          {"--chunks=Time,all", "--chunks=Time,Gain", "--chunks=Time,Time"}},
                    Typed{{"grab", "--events", ""}, {"all"}}, Typed{{"bench", "08-1", "08-2"}, {"08-2"}},
                    Typed{{"ip", "d"}, {"dhcp"}}, Typed{{"ip", "force", "08-"}, {"08-1", "08-2"}}));

} // namespace
