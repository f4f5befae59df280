// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/NodeMap.h"

namespace Gige {

/// A node map of its own over a built-in description, connected to @p port, which must outlive it. The text is parsed
/// once in the process.
/// @throws GenICam::RuntimeException
PluginKit::NodeMapPtr MakeConnectionNodeMap(GenApi::IPort& port);
PluginKit::NodeMapPtr MakeEventNodeMap(GenApi::IPort& port);

} // namespace Gige
