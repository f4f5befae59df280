// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "GrabCounts.h"
#include "Options.h"

#include <string>
#include <vector>

namespace tool {

/// For people: a line for each way in which images are missing, with the likely cause and what helps. Empty when all
/// came.
std::vector<std::string> ExplainLosses(const std::string& camera, const GrabCounts& counts, const LossClues& clues,
                                       const GrabOptions& options);

} // namespace tool
