// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "OptionText.h"

#include <string>
#include <vector>

namespace tool {

/// A feature as completion offers it.
struct FeatureChoice {
    std::string name;
    bool isCommand = false;
    std::vector<std::string> values; ///< Entries of an enumeration, truth values; empty when nothing can be guessed.
};

/// What only a look at the cameras tells.
class CompletionSource {
public:
    virtual ~CompletionSource() = default;
    virtual std::vector<std::string> GetDevices() = 0;
    virtual std::vector<FeatureChoice> GetFeatures(const std::string& device) = 0; ///< Empty: of the only camera.
};

/// One verb as it is typed.
struct VerbWords {
    std::string name;
    std::vector<OptionText> options; ///< Those of all verbs too.
};

/// What can stand for a word.
struct Completion {
    std::vector<std::string> words;
    bool files = false; ///< Names of files, which the shell knows best.
};

/// @param words what stands behind the name of the tool; the last one is being typed, and may be empty.
Completion Complete(const std::vector<VerbWords>& verbs, const std::vector<OptionText>& common,
                    const std::vector<std::string>& words, CompletionSource& source);

/// A script for "bash", "zsh" or "fish" that asks the tool.
const char* GetCompletionScript(const std::string& shell);

} // namespace tool
