// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Json.h"

namespace tool {

class Feature;

/// All that the description says of a feature and what holds now: texts, value, limits, entries with their
/// availability, selectors, what locks it, aliases, registers behind it. What cannot be read stands in "errors".
Json DescribeFeature(const Feature& feature);

} // namespace tool
