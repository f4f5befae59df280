// SPDX-License-Identifier: Apache-2.0
#include "Documentation.h"

#include "OptionText.h"

#include <sstream>

namespace tool {
namespace {

constexpr std::size_t kColumns = 80;

using Verbs = std::vector<std::unique_ptr<Verb>>;

std::string JoinNames(const OptionText& option) {
    std::string text;
    for (const std::string& name : option.names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text + (option.value.empty() ? "" : (text.empty() ? "" : " ") + option.value);
}

/// @p text broken at blanks, behind @p first; the lines that follow are indented by @p indent.
std::string Wrap(const std::string& first, const std::string& text, std::size_t indent) {
    std::string result;
    std::string line = first + std::string(first.size() < indent ? indent - first.size() : 0, ' ');
    if (!first.empty() && first.size() >= indent && !text.empty()) {
        result = first + "\n";
        line = std::string(indent, ' ');
    }
    std::istringstream words(text);
    bool fresh = true;
    for (std::string word; words >> word; fresh = false) {
        if (!fresh && line.size() + 1 + word.size() > kColumns) {
            result += line + "\n";
            line = std::string(indent, ' ');
            fresh = true;
        }
        line += (fresh ? "" : " ") + word;
    }
    return result + line + "\n";
}

std::string MakeUsage(const Verb& verb, const CLI::App& command) {
    std::string usage = "zelmo " + verb.GetName() + " [OPTIONS]";
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_positional()) {
            const std::string name = option->get_name(true) + (option->get_items_expected_max() > 1 ? "..." : "");
            usage += option->get_required() ? " " + name : " [" + name + "]";
        }
    }
    return Wrap("Usage:", usage, 7);
}

/// Text for man's macros: a leading dot or quote would be a request, a backslash starts an escape, and a plain hyphen
/// may be typeset as something that cannot be copied.
std::string Roff(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else {
            result += c;
        }
    }
    return !result.empty() && (result[0] == '.' || result[0] == '\'') ? "\\&" + result : result;
}

std::string RoffOptions(const CLI::App& app) {
    std::string text;
    for (const OptionText& option : DescribeOptions(app)) {
        text += ".TP\n.B " + Roff(JoinNames(option)) + "\n" + Roff(option.description) + "\n";
    }
    return text;
}

const char* const kExitCodes[] = {
    "0: done",
    "1: failed on the device or the host (disk full, input/output)",
    "2: wrong usage",
    "3: no device, or more than one, matches",
    "4: access denied or in use",
    "5: time-out",
    "6: data quality below what was asked (--max-lost)",
    "7: feature unknown, not available, or value refused",
    "8: a plug-in could not be loaded",
    "9: device removed",
    "130, 143: stopped by SIGINT, SIGTERM",
};

const char* const kEnvironment[][2] = {
    {"ZELMO_TL_PATH", "Folders of plug-ins, separated by colons; default: the folder of the library."},
    {"ZELMO_DEVICE_FILTER", "Cameras that count as present; see --filter."},
    {"ZELMO_CONFIG_FILE_REGISTRY_PATH", "Folder of the rule files that 'binding' tells of."},
    {"ZELMO_DEFAULT_CDF_DIR", "Folder of the description files that rules name."},
    {"ZELMO_GIGE", "Where cameras on Ethernet are looked for: interfaces and addresses; off: nowhere; default: on all "
                   "interfaces that are up."},
    {"ZELMO_GIGE_PORTS", "Ports of this host that they may use, as in 40000-40100; default: any."},
    {"ZELMO_CAMEMU", "Number of emulated cameras."},
    {"ZELMO_LOG_LEVEL, ZELMO_LOG_FILE", "Level and file of the library's log."},
    {"NO_COLOR", "When set, nothing is coloured."},
};

} // namespace

std::string MakeToolHelp(const CLI::App& app, const Verbs& verbs) {
    constexpr std::size_t verbIndent = 12;
    std::string help = app.get_description() + "\nUsage: zelmo VERB [OPTIONS] [ARGUMENTS] with one of these verbs:\n";
    for (const auto& verb : verbs) {
        help += Wrap("  " + verb->GetName(), verb->GetSummary(), verbIndent);
    }
    std::string options; // by name only: all of it has to fit one screen
    for (const OptionText& option : DescribeOptions(app)) {
        options += (options.empty() ? "" : "; ") + JoinNames(option);
    }
    help += Wrap("", "Emulated cameras keep settings for one process: see --set of 'grab'.", 0);
    return help + Wrap("", "Options of all verbs, which the help of each verb explains: " + options, 0);
}

std::string MakeVerbHelp(const CLI::App& app, const Verb& verb, const CLI::App& command) {
    constexpr std::size_t indent = 24;
    constexpr std::size_t commonIndent = 32;
    std::string help = Wrap("", verb.GetSummary(), 0) + MakeUsage(verb, command);
    if (!verb.GetDetails().empty()) {
        help += "\n" + Wrap("", verb.GetDetails(), 0);
    }
    help += "\nOptions:\n";
    for (const OptionText& option : DescribeOptions(command)) {
        help += Wrap("  " + JoinNames(option), option.description, indent);
    }
    help += "\nOptions of all verbs:\n";
    for (const OptionText& option : DescribeOptions(app)) {
        help += Wrap("  " + JoinNames(option), option.description, commonIndent);
    }
    help += "\nExamples:\n";
    for (const Example& example : verb.GetExamples()) {
        help += "  " + example.command + "\n" + Wrap("", example.effect, 6);
    }
    return help;
}

std::string MakeManualPage(const CLI::App& app, const Verbs& verbs, const std::vector<CLI::App*>& commands) {
    std::string page = ".TH ZELMO 1\n.SH NAME\nzelmo \\- " + Roff(app.get_description()) +
                       "\n.SH SYNOPSIS\n.B zelmo\n.I VERB\n[OPTIONS] [ARGUMENTS]\n.SH VERBS\n";
    for (std::size_t i = 0; i < verbs.size(); ++i) {
        page += ".SS " + verbs[i]->GetName() + "\n" + Roff(verbs[i]->GetSummary()) + ".\n" +
                Roff(verbs[i]->GetDetails()) + "\n.PP\n" + Roff(MakeUsage(*verbs[i], *commands[i])) +
                RoffOptions(*commands[i]);
    }
    page += ".SH OPTIONS OF ALL VERBS\n" + RoffOptions(app) + ".SH EXAMPLES\n";
    for (const auto& verb : verbs) {
        for (const Example& example : verb->GetExamples()) {
            page += ".TP\n.B " + Roff(example.command) + "\n" + Roff(example.effect) + "\n";
        }
    }
    page += ".SH EXIT STATUS\n";
    for (const char* line : kExitCodes) {
        page += Roff(line) + "\n.br\n";
    }
    page += ".SH ENVIRONMENT\n";
    for (const auto& [name, effect] : kEnvironment) {
        page += ".TP\n.B " + Roff(name) + "\n" + Roff(effect) + "\n";
    }
    return page;
}

} // namespace tool
