// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Verb.h"

#include <CLI/App.hpp>

namespace tool {

/// Texts that are made of the definitions of options and verbs; lines of at most 80 columns.

std::string MakeToolHelp(const CLI::App& app,
                         const std::vector<std::unique_ptr<Verb>>& verbs); ///< One screen of 24 lines.
std::string MakeVerbHelp(const CLI::App& app, const Verb& verb, const CLI::App& command);

/// Source of a manual page in man's macros.
std::string MakeManualPage(const CLI::App& app, const std::vector<std::unique_ptr<Verb>>& verbs,
                           const std::vector<CLI::App*>& commands);

} // namespace tool
