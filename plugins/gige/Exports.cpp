// SPDX-License-Identifier: Apache-2.0
#include "TransportLayer.h"
#include "common/Boundary.h"

ZELMO_PLUGIN_EXPORT void GetTLInfoList(Zelmo::TlInfoList& list, bool) {
    PluginKit::AtBoundary("describe the transport layer for GigE Vision",
                          [&] { list.push_back(Gige::DescribeTransportLayer()); });
}

ZELMO_PLUGIN_EXPORT Zelmo::ITransportLayer* Create(const Zelmo::CTlInfo& info) {
    return PluginKit::AtBoundary("create the transport layer for GigE Vision", [&] {
        const bool isOurs = info.GetFullName() == Gige::DescribeTransportLayer().GetFullName();
        return isOurs ? new Gige::CTransportLayer : nullptr;
    });
}

ZELMO_PLUGIN_EXPORT void Destroy(Zelmo::ITransportLayer* tl) {
    delete dynamic_cast<Gige::CTransportLayer*>(tl);
}
