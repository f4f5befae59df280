// SPDX-License-Identifier: Apache-2.0

// Texts of key/value pairs, set in a map with nodes of all kinds.

#include "Fuzz.h"

#include <zelmo/NodeMapTools.h>

#include <string>

namespace {

bool IsWord(char letter) {
    return (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z') ||
           letter == '_';
}

/// Cuts what fulfils @p belongs off the beginning. @return whether there was something.
template <typename Belongs>
bool Cut(std::string_view& text, Belongs belongs) {
    const std::size_t before = text.size();
    while (!text.empty() && belongs(text.front())) {
        text.remove_prefix(1);
    }
    return text.size() < before;
}

bool CutPair(std::string_view& text) {
    if (!Cut(text, IsWord) || text.empty() || text.front() != '=') {
        return false;
    }
    text.remove_prefix(1);
    return Cut(text, IsWord);
}

bool IsListOfPairs(std::string_view text) {
    if (!CutPair(text)) {
        return false;
    }
    while (!text.empty()) {
        if (!Cut(text, [](char letter) { return letter == ' ' || (letter >= '\t' && letter <= '\r'); }) ||
            !CutPair(text)) {
            return false;
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const Fuzz::MapPtr map = Fuzz::MakeMapOfAllKinds();
    Fuzz::Device device;
    map->Connect(&device);
    std::string failure;
    try {
        Zelmo::SetGenICamNodeValuesFromKeyValueStr(map.get(), text.c_str());
    } catch (const GenICam::GenericException& refusal) {
        failure = refusal.GetDescription();
    }
    const bool isRefused = failure == "Failed to set GenICam node values from key/value string!";
    Fuzz::Require(isRefused != IsListOfPairs(text.c_str()), "pairs are set, and nothing else");
    return 0;
}
