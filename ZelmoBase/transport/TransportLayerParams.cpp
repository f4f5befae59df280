// SPDX-License-Identifier: Apache-2.0
#include <zelmo/TransportLayerParams.h>

#include <GenApi/IDestroy.h>
#include <GenApi/NodeMapFactory.h>

#include <Base/GCException.h>

#include "ZelmoBase/core/BuiltinDocuments.h"

namespace Zelmo {

GenApi::INodeMap* CreateDefaultTransportLayerParamsNodeMap() {
    std::string_view document;
    if (!FindBuiltinDocument("DefaultTransportLayerParams", document)) {
        return nullptr;
    }
    try {
        GenApi::CNodeMapFactory factory(GenApi::ContentType_Xml, document.data(), document.size());
        return factory.CreateNodeMap("Device");
    } catch (const GenICam::GenericException&) {
        return nullptr;
    }
}

void DestroyNodeMap(GenApi::INodeMap* nodeMap) {
    if (nodeMap) {
        dynamic_cast<GenApi::IDestroy&>(*nodeMap).Destroy();
    }
}

} // namespace Zelmo
