// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"

#include "CommonOptions.h"
#include "Documentation.h"
#include "Errors.h"
#include "OptionText.h"
#include "Suggestions.h"

#include <algorithm>
#include <cstring>

namespace tool {

CommandLine::CommandLine() : m_app(std::make_unique<CLI::App>("Find, configure and grab from cameras", "zelmo")) {
    m_app->set_help_flag("-h,--help", "Help; 'zelmo VERB --help' explains a verb");
    DefineGlobalOptions();
    m_verbs.push_back(MakeListVerb());
    m_verbs.push_back(MakeInfoVerb());
    m_verbs.push_back(MakeFeaturesVerb());
    m_verbs.push_back(MakeDescribeVerb());
    m_verbs.push_back(MakeGetVerb());
    m_verbs.push_back(MakeSetVerb());
    m_verbs.push_back(MakeExecVerb());
    m_verbs.push_back(MakeSaveVerb());
    m_verbs.push_back(MakeLoadVerb());
    m_verbs.push_back(MakeDiffVerb());
    m_verbs.push_back(MakeXmlVerb());
    m_verbs.push_back(MakeNodemapVerb());
    m_verbs.push_back(MakeBindingVerb());
    m_verbs.push_back(MakeGrabVerb());
    m_verbs.push_back(MakeBenchVerb());
    m_verbs.push_back(MakeIpVerb());
    m_verbs.push_back(MakeServeVerb());
    m_verbs.push_back(MakeDoctorVerb());
    for (const auto& verb : m_verbs) {
        CLI::App* command = m_app->add_subcommand(verb->GetName(), verb->GetSummary());
        command->set_help_flag("-h,--help", "Show this help");
        command->fallthrough(); // the tool's options may stand behind the verb too
        verb->Define(*command);
        m_commands.push_back(command);
    }
    DefineGenerator();
}

CommandLine::~CommandLine() = default;

void CommandLine::DefineGlobalOptions() {
    m_app->add_flag("--json", m_global.json, "Print JSON; errors too, on standard error");
    m_app->add_flag("-q,--quiet", m_global.quiet, "No notes, no progress, no warnings");
    m_app->add_flag("-v,--verbose", m_global.verbosity, "Show the library's log; twice: debug lines too");
    DefineChoice(*m_app, "--progress", m_global.progress, {"auto", "always", "never"},
                 "Progress line; auto: on a terminal");
    m_app->add_option("--filter", m_global.filter, "Only cameras that pass, as ZELMO_DEVICE_FILTER")
        ->type_name("FILTER");
    m_app->add_option("--log", m_global.logLevels, "Log level, such as zelmo.base=debug")
        ->type_name("CATEGORY=LEVEL")
        ->allow_extra_args(false);
    m_app->add_option("--log-file", m_global.logFile, "Append the log to this file")
        ->type_name("FILE")
        ->check(NotEmpty());
    m_app->add_flag("--version", m_version, "Print the versions of library and plug-ins");
}

void CommandLine::DefineGenerator() {
    m_generator = m_app->add_subcommand("generate", "Write a document that is made of these definitions");
    m_generator->group(""); // hidden
    m_generator->add_option("WHAT", m_generated)->required()->check(CLI::IsMember({"man", "bash", "zsh", "fish"}));
}

CommandLine::Request CommandLine::Parse(int argc, const char* const* argv) {
    if (argc > 2 && std::strcmp(argv[1], "complete") == 0 && std::strcmp(argv[2], "--") == 0) {
        m_typed.assign(argv + 3, argv + argc); // half a command line, which would not pass as one
        return Request::Complete;
    }
    try {
        ParseOrThrow(argc, argv);
    } catch (const CLI::CallForHelp&) {
        return Request::Help;
    }
    if (m_version) {
        return Request::Version;
    }
    if (m_generator->parsed()) {
        return Request::Document;
    }
    if (FindVerb() == m_verbs.size()) {
        throw UsageError("A verb is missing; 'zelmo --help' lists them");
    }
    return Request::RunVerb;
}

void CommandLine::ParseOrThrow(int argc, const char* const* argv) {
    try {
        m_app->parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        throw;
    } catch (const CLI::ExtrasError&) {
        throw UsageError(ExplainUnexpected());
    } catch (const CLI::ParseError& error) {
        const std::size_t verb = FindVerb();
        const std::string help = verb < m_verbs.size() ? "zelmo " + m_verbs[verb]->GetName() : "zelmo";
        throw UsageError(std::string(error.what()) + ". '" + help + " --help' explains the options");
    }
}

std::string CommandLine::ExplainUnexpected() const {
    const auto extras = m_app->remaining(true);
    const std::string word = extras.empty() ? "" : extras.front();
    const std::size_t verb = FindVerb();
    std::vector<std::string> known = GetOptionNames(*m_app);
    if (verb < m_verbs.size()) {
        const auto own = GetOptionNames(*m_commands[verb]);
        known.insert(known.end(), own.begin(), own.end());
    }
    const bool isArgument = std::find(known.begin(), known.end(), word) != known.end(); // it stands behind "--"
    if (word.rfind("-", 0) == 0 && !isArgument) {
        const std::string help = verb < m_verbs.size() ? "zelmo " + m_verbs[verb]->GetName() : "zelmo";
        return "There is no option '" + word + "'" + DidYouMean(word, known) + "; '" + help + " --help' lists them";
    }
    if (verb < m_verbs.size()) {
        return "'" + word + "' is one argument too many; 'zelmo " + m_verbs[verb]->GetName() + " --help' explains them";
    }
    known.clear();
    for (const auto& one : m_verbs) {
        known.push_back(one->GetName());
    }
    return "There is no verb '" + word + "'" + DidYouMean(word, known) + "; 'zelmo --help' lists them";
}

std::size_t CommandLine::FindVerb() const {
    std::size_t i = 0;
    while (i < m_commands.size() && !m_app->got_subcommand(m_commands[i])) {
        ++i;
    }
    return i;
}

Verb& CommandLine::GetVerb() {
    return *m_verbs[FindVerb()];
}

std::string CommandLine::GetHelp() const {
    const std::size_t verb = FindVerb();
    return verb < m_verbs.size() ? MakeVerbHelp(*m_app, *m_verbs[verb], *m_commands[verb])
                                 : MakeToolHelp(*m_app, m_verbs);
}

std::string CommandLine::GetDocument() const {
    return m_generated == "man" ? MakeManualPage(*m_app, m_verbs, m_commands) : GetCompletionScript(m_generated);
}

Completion CommandLine::GetCompletion(CompletionSource& source) const {
    const std::vector<OptionText> common = DescribeOptions(*m_app);
    std::vector<VerbWords> verbs;
    for (std::size_t i = 0; i < m_verbs.size(); ++i) {
        verbs.push_back({m_verbs[i]->GetName(), DescribeOptions(*m_commands[i])});
        verbs.back().options.insert(verbs.back().options.end(), common.begin(), common.end());
    }
    return Complete(verbs, common, m_typed, source);
}

} // namespace tool
