// SPDX-License-Identifier: Apache-2.0
#include "PriorityNames.h"

#include <Log/Logger.h>

#include <algorithm>
#include <charconv>
#include <strings.h>

namespace GenICam {

namespace {

constexpr int kPriorityOff = -1;

struct NamedPriority {
    std::string_view name;
    int priority;
};

// of two names of one number the first is the one that is written
constexpr NamedPriority kNamedPriorities[] = {
    {"FATAL", LogPriority_Fatal},   {"EMERG", LogPriority_Emerg},   {"ALERT", LogPriority_Alert},
    {"CRIT", LogPriority_Crit},     {"ERROR", LogPriority_Error},   {"WARN", LogPriority_Warn},
    {"NOTICE", LogPriority_Notice}, {"INFO", LogPriority_Info},     {"DEBUG", LogPriority_Debug},
    {"NOTSET", LogPriority_NotSet}, {"CRITICAL", LogPriority_Crit}, {"WARNING", LogPriority_Warn},
    {"OFF", kPriorityOff},
};

bool EqualsIgnoringCase(std::string_view left, std::string_view right) noexcept {
    return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

} // namespace

std::string PriorityName(int priority) {
    const auto* found = std::ranges::find(kNamedPriorities, priority, &NamedPriority::priority);
    return found != std::end(kNamedPriorities) ? std::string(found->name) : std::to_string(priority);
}

bool ParsePriority(std::string_view text, int& priority) {
    const auto* found = std::ranges::find_if(
        kNamedPriorities, [&](const NamedPriority& named) { return EqualsIgnoringCase(named.name, text); });
    if (found != std::end(kNamedPriorities)) {
        priority = found->priority;
        return true;
    }
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return false;
    }
    priority = number;
    return true;
}

} // namespace GenICam
