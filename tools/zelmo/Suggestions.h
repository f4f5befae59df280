// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace tool {

/// Up to three of @p known that @p word may have been meant for, best first: names that contain it, and names a few
/// typing errors away; case does not matter.
std::vector<std::string> NearMatches(const std::string& word, const std::vector<std::string>& known);

/// " (did you mean 'a', 'b' or 'c'?)", or empty without near matches.
std::string DidYouMean(const std::string& word, const std::vector<std::string>& known);

} // namespace tool
