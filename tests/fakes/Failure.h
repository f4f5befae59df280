// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>

#include <string>

namespace Fakes {

/// The description of the GenICam exception that a step raises. Other exceptions pass.
template <typename Exception = GenICam::RuntimeException, typename Step>
std::string FailureOf(Step&& step) {
    try {
        step();
    } catch (const Exception& e) {
        return e.GetDescription();
    }
    return "nothing raised";
}

} // namespace Fakes
