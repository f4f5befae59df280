// SPDX-License-Identifier: Apache-2.0
#include "Completion.h"

#include <algorithm>
#include <sstream>

namespace tool {
namespace {

bool StartsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

/// A command line up to the word that is being typed.
class TypedLine {
public:
    TypedLine(const std::vector<VerbWords>& verbs, const std::vector<OptionText>& common,
              const std::vector<std::string>& words)
        : m_verbs(verbs), m_options(&common), m_current(words.empty() ? "" : words.back()) {
        for (std::size_t i = 0; i + 1 < words.size(); ++i) {
            Take(words[i]);
        }
    }

    const std::string& GetCurrent() const { return m_current; }
    const std::string& GetDevice() const { return m_device; }
    const std::vector<OptionText>& GetOptions() const { return *m_options; }
    bool HasVerb() const { return m_hasVerb; }
    bool MayBeOption() const { return !m_argumentsOnly; }

    /// The option in front that waits for its value; null without.
    const OptionText* GetOpenOption() const { return m_open; }

    const OptionText* FindOption(const std::string& name) const {
        const auto found = std::find_if(m_options->begin(), m_options->end(), [&](const OptionText& option) {
            return std::find(option.names.begin(), option.names.end(), name) != option.names.end();
        });
        return found == m_options->end() ? nullptr : &*found;
    }

    /// The argument of the verb that the current word is; null when there are no more.
    const OptionText* FindArgument() const {
        std::size_t position = 0;
        for (const OptionText& option : *m_options) {
            if (option.names.empty() && (position++ == m_arguments || option.repeats)) {
                return &option;
            }
        }
        return nullptr;
    }

private:
    void Take(const std::string& word) {
        if (m_open != nullptr) {
            TakeValue(*std::exchange(m_open, nullptr), word);
        } else if (word == "--") {
            m_argumentsOnly = true;
        } else if (StartsWith(word, "-") && !m_argumentsOnly) {
            TakeOption(word);
        } else if (!m_hasVerb) {
            TakeVerb(word);
        } else {
            if (const OptionText* argument = FindArgument()) {
                TakeValue(*argument, word);
            }
            ++m_arguments;
        }
    }

    void TakeValue(const OptionText& option, const std::string& value) {
        if (option.value == "DEVICE") {
            m_device = value;
        }
    }

    void TakeOption(const std::string& word) {
        const std::size_t equals = word.find('=');
        const OptionText* option = FindOption(word.substr(0, equals));
        if (option == nullptr || option->value.empty()) {
            return;
        }
        if (equals == std::string::npos) {
            m_open = option;
        } else {
            TakeValue(*option, word.substr(equals + 1));
        }
    }

    void TakeVerb(const std::string& word) {
        for (const VerbWords& verb : m_verbs) {
            if (verb.name == word) {
                m_options = &verb.options;
                m_hasVerb = true;
            }
        }
    }

    const std::vector<VerbWords>& m_verbs;
    const std::vector<OptionText>* m_options; // those that may stand where the current word is
    const OptionText* m_open = nullptr;       // an option that waits for its value
    std::string m_current;
    std::string m_device;
    std::size_t m_arguments = 0;
    bool m_hasVerb = false;
    bool m_argumentsOnly = false; // behind "--"
};

void AddFeatures(const TypedLine& line, const std::string& kind, const std::string& typed, CompletionSource& source,
                 std::vector<std::string>& words) {
    const bool wantsValue = kind == "NAME=VALUE";
    for (const FeatureChoice& feature : source.GetFeatures(line.GetDevice())) {
        if (feature.isCommand != (kind == "COMMAND")) {
            continue;
        }
        const std::string assignment = feature.name + "=";
        if (!wantsValue) {
            words.push_back(feature.name);
        } else if (!StartsWith(typed, assignment)) {
            words.push_back(assignment);
        } else {
            for (const std::string& value : feature.values) {
                words.push_back(assignment + value);
            }
        }
    }
}

/// The entries of a selector of the camera behind those that stand there already, as in "Timestamp,Ga".
void AddEntries(const TypedLine& line, const std::string& selector, const std::string& typed, CompletionSource& source,
                std::vector<std::string>& words) {
    const std::string before = typed.substr(0, typed.rfind(',') + 1);
    words.push_back(before + "all");
    for (const FeatureChoice& feature : source.GetFeatures(line.GetDevice())) {
        if (feature.name == selector) {
            for (const std::string& entry : feature.values) {
                words.push_back(before + entry);
            }
        }
    }
}

/// Everything that may stand for the value; @p typed only where it changes what is offered.
Completion OfferValues(const TypedLine& line, const std::string& kind, const std::string& typed,
                       CompletionSource& source) {
    Completion offer;
    if (kind == "FILE" || kind == "PATTERN" || kind == "IMAGE") {
        offer.files = true;
    } else if (kind == "DEVICE") {
        offer.words = source.GetDevices();
    } else if (kind == "FEATURE" || kind == "GLOB" || kind == "COMMAND" || kind == "NAME=VALUE") {
        AddFeatures(line, kind, typed, source, offer.words);
    } else if (StartsWith(kind, "CHUNK")) {
        AddEntries(line, "ChunkSelector", typed, source, offer.words);
    } else if (StartsWith(kind, "EVENT")) {
        AddEntries(line, "EventSelector", typed, source, offer.words);
    } else if (kind.find('|') != std::string::npos) {
        std::istringstream choices(kind);
        for (std::string choice; std::getline(choices, choice, '|');) {
            offer.words.push_back(choice);
        }
    }
    return offer;
}

/// For "--device=08" and the like.
Completion OfferBehindEquals(const TypedLine& line, const std::string& name, const std::string& typed,
                             CompletionSource& source) {
    const OptionText* option = line.FindOption(name);
    Completion offer = option != nullptr ? OfferValues(line, option->value, typed, source) : Completion();
    offer.files = false; // a shell does not look for files behind "="
    for (std::string& word : offer.words) {
        word.insert(0, name + "=");
    }
    return offer;
}

/// Words that a shell would cut or change are left out, as the scripts offer words as they are.
void KeepFitting(std::vector<std::string>& words, const std::string& typed) {
    const auto fits = [&](const std::string& word) {
        return StartsWith(word, typed) && word.find_first_of(" \t\n'\"\\$`*?[]{}()<>|&;!~#") == std::string::npos;
    };
    words.erase(std::remove_if(words.begin(), words.end(), [&](const auto& word) { return !fits(word); }), words.end());
}

std::vector<std::string> NamesOf(const std::vector<OptionText>& options) {
    std::vector<std::string> names;
    for (const OptionText& option : options) {
        names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return names;
}

// Each script asks the tool: 'zelmo complete -- WORDS' prints one word a line, and ":files" where names of files fit.

constexpr const char* kBashScript = R"(# bash completion of zelmo; generated
_zelmo() {
    local line="${COMP_LINE:0:COMP_POINT}" words word offer breaks kept=
    read -ra words <<< "$line"
    [[ "$line" == *[[:space:]] ]] && words+=("")
    word="${words[-1]}"
    mapfile -t offer < <("${words[0]/#\~/$HOME}" complete -- "${words[@]:1}" 2> /dev/null)
    if [[ "${offer[0]-}" == ":files" ]]; then
        compopt -o filenames 2> /dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
    fi
    # readline completes only what stands behind the last of its word breaks
    breaks="${COMP_WORDBREAKS//[^=:]/}"
    [[ -n "$breaks" ]] && kept="${word%"${word##*[$breaks]}"}"
    COMPREPLY=("${offer[@]#"$kept"}")
    [[ "${offer[0]-}" == *= ]] && compopt -o nospace 2> /dev/null
    return 0
}
complete -F _zelmo zelmo
)";

constexpr const char* kZshScript = R"(#compdef zelmo
# zsh completion of zelmo; generated
local -a offer
offer=("${(@f)$("${(Q)words[1]}" complete -- "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" 2> /dev/null)}")
if [[ "${offer[1]}" == ":files" ]]; then
    _files
elif [[ "${offer[1]}" == *= ]]; then
    compadd -S '' -- "${offer[@]}"
elif [[ -n "${offer[1]}" ]]; then
    compadd -- "${offer[@]}"
fi
)";

constexpr const char* kFishScript = R"(# fish completion of zelmo; generated
function __zelmo_complete
    set -l before (commandline -opc)
    set -l current (commandline -ct)
    set -l offer (command $before[1] complete -- $before[2..-1] "$current" 2> /dev/null)
    if test "$offer[1]" = ":files"
        __fish_complete_path "$current"
    else
        string join \n -- $offer
    end
end
complete -c zelmo -f -a '(__zelmo_complete)'
)";

} // namespace

Completion Complete(const std::vector<VerbWords>& verbs, const std::vector<OptionText>& common,
                    const std::vector<std::string>& words, CompletionSource& source) {
    const TypedLine line(verbs, common, words);
    const std::string& current = line.GetCurrent();
    const std::size_t equals = current.find('=');
    const bool isOption = StartsWith(current, "-") && line.MayBeOption();
    Completion offer;
    if (const OptionText* open = line.GetOpenOption()) {
        offer = OfferValues(line, open->value, current, source);
    } else if (isOption && equals != std::string::npos) {
        offer = OfferBehindEquals(line, current.substr(0, equals), current.substr(equals + 1), source);
    } else if (!isOption && !line.HasVerb()) {
        for (const VerbWords& verb : verbs) {
            offer.words.push_back(verb.name);
        }
    } else if (const OptionText* argument = isOption ? nullptr : line.FindArgument()) {
        offer = OfferValues(line, argument->value, current, source);
    } else if (line.MayBeOption()) {
        offer.words = NamesOf(line.GetOptions());
    }
    KeepFitting(offer.words, current);
    return offer;
}

const char* GetCompletionScript(const std::string& shell) {
    return shell == "bash" ? kBashScript : shell == "zsh" ? kZshScript : kFishScript;
}

} // namespace tool
