// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/binding/BindingRule.h"
#include <zelmo/BindingReport.h>

#include <cstddef>
#include <vector>

namespace Zelmo {

struct CBindingChoice {
    EBindingStep step = BindingStep_Default;
    std::size_t winner = 0; ///< Index of the rule; there is none with BindingStep_Default.
};

/// Which of the rules that match a device counts. A higher priority beats all; among equal ones a custom rule beats
/// standard ones, and then the last one wins.
CBindingChoice ChooseRule(const std::vector<CBindingRule>& matching);

} // namespace Zelmo
