// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Zelmo {

/// Whether something of any kind is there, links followed; not if it cannot be looked at.
bool PathExists(const std::string& path);

} // namespace Zelmo
