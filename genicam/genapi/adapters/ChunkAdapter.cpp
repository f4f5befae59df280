// SPDX-License-Identifier: Apache-2.0
#include <GenApi/ChunkAdapter.h>

#include "genicam/genapi/adapters/ChunkPorts.h"

#include <Base/GCException.h>

namespace GenApi {

CChunkAdapter::CChunkAdapter(INodeMap* pNodeMap, int64_t MaxChunkCacheSize)
    : m_ports(std::make_unique<ChunkPorts>(MaxChunkCacheSize)) {
    if (pNodeMap != nullptr) {
        AttachNodeMap(pNodeMap);
    }
}

CChunkAdapter::~CChunkAdapter() = default;

void CChunkAdapter::AttachNodeMap(INodeMap* pNodeMap) {
    if (pNodeMap == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot attach a null node map to a chunk adapter");
    }
    m_ports->Connect(*pNodeMap);
}

void CChunkAdapter::DetachNodeMap() {
    m_ports->Disconnect();
}

void CChunkAdapter::DetachBuffer() {
    m_ports->Detach();
}

void CChunkAdapter::UpdateBuffer(uint8_t* pBaseAddress) {
    if (pBaseAddress == nullptr) {
        throw RUNTIME_EXCEPTION("Cannot update the buffer of a chunk adapter to null");
    }
    m_ports->MoveTo(pBaseAddress);
}

void CChunkAdapter::ClearCaches() {
    m_ports->ClearCopies();
}

} // namespace GenApi
