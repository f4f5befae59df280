// SPDX-License-Identifier: Apache-2.0

// A plug-in without faults: two devices of class "FakeGood".

#include "FakeTransportLayer.h"

using namespace Fakes;

ZELMO_PLUGIN_EXPORT void GetTLInfoList(Zelmo::TlInfoList& list, bool) {
    list.push_back(TlInfo("FakeGood"));
}

ZELMO_PLUGIN_EXPORT Zelmo::ITransportLayer* Create(const Zelmo::CTlInfo& info) {
    LogCall("Create %s", info.GetFullName().c_str());
    return new CountedTransportLayer(info);
}

ZELMO_PLUGIN_EXPORT void Destroy(Zelmo::ITransportLayer* tl) {
    LogCall("Destroy %s", tl->GetTlInfo().GetFullName().c_str());
    delete static_cast<CountedTransportLayer*>(tl);
}
