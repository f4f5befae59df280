// SPDX-License-Identifier: Apache-2.0
#include "common/NodeMap.h"

#include <Base/GCException.h>
#include <GenApi/IDestroy.h>

namespace PluginKit {

NodeMapPtr MakeNodeMap(GenApi::CNodeMapFactory& factory, GenApi::IPort& port) {
    NodeMapPtr nodeMap(factory.CreateNodeMap("Device"));
    if (!nodeMap->Connect(&port, "Device")) {
        throw RUNTIME_EXCEPTION("The description has no port 'Device'.");
    }
    return nodeMap;
}

void CNodeMapDeleter::operator()(GenApi::INodeMap* nodeMap) const {
    if (auto* const destroyable = dynamic_cast<GenApi::IDestroy*>(nodeMap)) {
        destroyable->Destroy();
    }
}

} // namespace PluginKit
