// SPDX-License-Identifier: Apache-2.0
#include <GenApi/PortImpl.h>

#include <Base/GCException.h>

#include <GenApi/INode.h>

namespace GenApi {

CPortImpl::CPortImpl() = default;

CPortImpl::~CPortImpl() = default;

void CPortImpl::SetPortImpl(IPort* pPort) {
    m_portNode = dynamic_cast<INode*>(pPort);
}

EYesNo CPortImpl::GetSwapEndianess() {
    return No;
}

void CPortImpl::Replay(IPortWriteList* pPortRecorder, bool Invalidate) {
    if (!pPortRecorder) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot replay a null write list");
    }
    try {
        pPortRecorder->Replay(this);
    } catch (...) {
        if (Invalidate) {
            InvalidateNode(); // what was written before the failure holds
        }
        throw;
    }
    if (Invalidate) {
        InvalidateNode();
    }
}

void CPortImpl::InvalidateNode() {
    if (m_portNode) {
        m_portNode->InvalidateNode();
    }
}

} // namespace GenApi
