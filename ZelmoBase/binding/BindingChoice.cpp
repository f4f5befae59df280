// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/binding/BindingChoice.h"

#include <algorithm>
#include <cstdint>

namespace Zelmo {

CBindingChoice ChooseRule(const std::vector<CBindingRule>& matching) {
    if (matching.empty()) {
        return {};
    }
    const auto byPriority = [](const CBindingRule& a, const CBindingRule& b) { return a.priority < b.priority; };
    const std::uint32_t highest = std::max_element(matching.begin(), matching.end(), byPriority)->priority;
    const auto isHighest = [&](const CBindingRule& rule) { return rule.priority == highest; };
    const auto isCustom = [&](const CBindingRule& rule) { return isHighest(rule) && rule.custom; };

    const auto indexOf = [&](auto last) { return static_cast<std::size_t>(matching.rend() - last) - 1; };
    const auto last = std::find_if(matching.rbegin(), matching.rend(), isHighest);
    const auto lastCustom = std::find_if(matching.rbegin(), matching.rend(), isCustom);
    if (std::count_if(matching.begin(), matching.end(), isHighest) == 1) {
        return {BindingStep_HighestPriority, indexOf(last)};
    }
    if (lastCustom != matching.rend()) {
        return {BindingStep_LastCustom, indexOf(lastCustom)};
    }
    return {BindingStep_Last, indexOf(last)};
}

} // namespace Zelmo
