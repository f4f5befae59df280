// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/INodeMap.h>
#include <GenApi/NodeMapFactory.h>
#include <zelmo/NodeMapTools.h>

#include <memory>

namespace Minimal {

/// Ends node maps as they must be ended.
struct NodeMapDeleter {
    void operator()(GenApi::INodeMap* nodeMap) const { Zelmo::DestroyNodeMap(nodeMap); }
};
using NodeMapPtr = std::unique_ptr<GenApi::INodeMap, NodeMapDeleter>;

/// A node map of a description. @throws GenICam::RuntimeException for a broken one.
inline NodeMapPtr MakeNodeMap(const char* xml) {
    GenApi::CNodeMapFactory factory((GenApi::gcstring(xml)));
    return NodeMapPtr(factory.CreateNodeMap());
}

} // namespace Minimal
