// SPDX-License-Identifier: Apache-2.0
#include "Suggestions.h"

#include "Output.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace tool {
namespace {

constexpr std::size_t kMostSuggestions = 3;

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

/// Levenshtein distance: insertions, deletions and replacements of one character.
std::size_t Distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

} // namespace

std::vector<std::string> NearMatches(const std::string& word, const std::vector<std::string>& known) {
    const std::string wanted = Lower(word);
    const std::size_t mostErrors = 1 + wanted.size() / 4;
    std::vector<std::pair<std::size_t, std::string>> ranked;
    for (const std::string& name : known) {
        const std::string candidate = Lower(name);
        const std::size_t errors = Distance(wanted, candidate);
        if (errors <= mostErrors) {
            ranked.emplace_back(errors, name);
        } else if (wanted.size() >= 3 && candidate.find(wanted) != std::string::npos) {
            ranked.emplace_back(mostErrors + candidate.size(), name); // the shorter, the nearer
        }
    }
    std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> matches;
    for (std::size_t i = 0; i < std::min(ranked.size(), kMostSuggestions); ++i) {
        matches.push_back(ranked[i].second);
    }
    return matches;
}

std::string DidYouMean(const std::string& word, const std::vector<std::string>& known) {
    const auto matches = NearMatches(word, known);
    return matches.empty() ? "" : " (did you mean " + QuotedList(matches, "or") + "?)";
}

} // namespace tool
