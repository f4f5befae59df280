// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Options.h"

namespace CLI {
class App;
}

namespace Zelmo {
class CDeviceInfo;
}

namespace tool {

/// The options that grab and bench share, but for the choice of cameras.
void DefineGrabOptions(CLI::App& command, GrabOptions& options);

/// As it is typed: "one-by-one".
const char* GetStrategyName(Zelmo::EGrabStrategy strategy);

/// @throws UsageError for options that do not go together.
void CheckGrabOptions(const GrabOptions& options);

/// @throws ToolError for a camera of a kind that does not do the strategy.
void CheckStrategy(const Zelmo::CDeviceInfo& info, Zelmo::EGrabStrategy strategy);

} // namespace tool
