// SPDX-License-Identifier: Apache-2.0
#include "MinimalTransportLayer.h"

ZELMO_PLUGIN_EXPORT void GetTLInfoList(Zelmo::TlInfoList& list, bool) {
    list.push_back(Minimal::MinimalTransportLayer::Info());
}

ZELMO_PLUGIN_EXPORT Zelmo::ITransportLayer* Create(const Zelmo::CTlInfo&) {
    return new Minimal::MinimalTransportLayer;
}

ZELMO_PLUGIN_EXPORT void Destroy(Zelmo::ITransportLayer* tl) {
    delete static_cast<Minimal::MinimalTransportLayer*>(tl);
}
