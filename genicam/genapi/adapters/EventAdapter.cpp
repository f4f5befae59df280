// SPDX-License-Identifier: Apache-2.0
#include <GenApi/EventAdapter.h>

#include "genicam/genapi/adapters/EventNodes.h"

#include <Base/GCException.h>

namespace GenApi {

CEventAdapter::CEventAdapter(INodeMap* pNodeMap) : m_nodes(std::make_unique<EventNodes>()) {
    if (pNodeMap != nullptr) {
        AttachNodeMap(pNodeMap);
    }
}

CEventAdapter::~CEventAdapter() = default;

void CEventAdapter::AttachNodeMap(INodeMap* pNodeMap) {
    if (pNodeMap == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot attach a null node map to an event adapter");
    }
    m_nodes->Connect(*pNodeMap);
}

void CEventAdapter::DetachNodeMap() {
    m_nodes->Disconnect();
}

} // namespace GenApi
