// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IValue.h>

#include <string>
#include <string_view>

namespace GenApi {

/// The value as text that sets exactly this value again: as the node shows it where that tells all of a number, else
/// with as many digits as it takes.
std::string ExactText(IValue& feature);

/// Whether @p text stands for the value that the feature has now, as the device tells: what a cache keeps may be what
/// was written, not what the device made of it. Floating-point numbers are the same when their text form, with the
/// notation and precision of the node, cannot tell them apart, since devices round.
bool HasValue(IValue& feature, std::string_view text);

} // namespace GenApi
