// SPDX-License-Identifier: Apache-2.0
#include "TransportLayer.h"
#include "common/Boundary.h"

ZELMO_PLUGIN_EXPORT void GetTLInfoList(Zelmo::TlInfoList& list, bool) {
    PluginKit::AtBoundary("describe the camera emulator", [&] { list.push_back(CamEmu::DescribeTransportLayer()); });
}

ZELMO_PLUGIN_EXPORT Zelmo::ITransportLayer* Create(const Zelmo::CTlInfo& info) {
    return PluginKit::AtBoundary("create the camera emulator", [&] {
        const bool isOurs = info.GetFullName() == CamEmu::DescribeTransportLayer().GetFullName();
        return isOurs ? new CamEmu::CTransportLayer : nullptr;
    });
}

ZELMO_PLUGIN_EXPORT void Destroy(Zelmo::ITransportLayer* tl) {
    delete dynamic_cast<CamEmu::CTransportLayer*>(tl);
}
