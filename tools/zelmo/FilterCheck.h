// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace tool {

/// What does not keep to the grammar of ZELMO_DEVICE_FILTER, which the library passes over without a word; empty when
/// all does.
std::string FindFilterFault(std::string_view filter);

} // namespace tool
