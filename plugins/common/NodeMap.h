// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/INodeMap.h>
#include <GenApi/NodeMapFactory.h>

#include <memory>

namespace PluginKit {

struct CNodeMapDeleter {
    void operator()(GenApi::INodeMap* nodeMap) const;
};
using NodeMapPtr = std::unique_ptr<GenApi::INodeMap, CNodeMapDeleter>;

/// A node map of @p factory, connected to @p port, which must outlive it.
/// @throws GenICam::RuntimeException
NodeMapPtr MakeNodeMap(GenApi::CNodeMapFactory& factory, GenApi::IPort& port);

} // namespace PluginKit
