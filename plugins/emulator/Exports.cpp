#include "TransportLayer.h"

#include <Base/GCException.h>

ZELMO_PLUGIN_EXPORT void GetTLInfoList(Zelmo::TlInfoList& list, bool) {
    list.push_back(CamEmu::DescribeTransportLayer());
}

ZELMO_PLUGIN_EXPORT Zelmo::ITransportLayer* Create(const Zelmo::CTlInfo& info) {
    if (info.GetFullName() != CamEmu::DescribeTransportLayer().GetFullName())
        return nullptr;
    return new CamEmu::CTransportLayer;
}

ZELMO_PLUGIN_EXPORT void Destroy(Zelmo::ITransportLayer* tl) {
    delete dynamic_cast<CamEmu::CTransportLayer*>(tl);
}
