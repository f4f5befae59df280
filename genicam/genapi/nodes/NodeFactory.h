// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/NodeBase.h"

#include <cstddef>

namespace GenApi {

std::size_t NodeSize(NodeKind kind) noexcept; ///< bytes, a multiple of the strictest alignment
NodeBase* ConstructNode(void* place, NodeKind kind, MapCore& core, NodeIndex index);

} // namespace GenApi
