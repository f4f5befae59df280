// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SystemChecks.h"

namespace tool {

class Output;

/// Settings file, plug-ins, rule files, cache folder and network: all that needs the library, which must not run yet.
/// They are looked at in a process of their own, so that nothing which is loaded for it can end or block this one.
std::vector<Check> CheckLibrary(Library& library, Output& output);

} // namespace tool
