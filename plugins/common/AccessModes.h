// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/AccessMode.h>

#include <string>

namespace PluginKit {

/// Whether one camera cannot be open for both at the same time.
bool Exclude(Zelmo::AccessModeSet a, Zelmo::AccessModeSet b);

std::string NamesOf(Zelmo::AccessModeSet modes); ///< "Control|Stream"

} // namespace PluginKit
