// SPDX-License-Identifier: Apache-2.0

// A plug-in that lacks "Destroy".

#include "FakeTransportLayer.h"

using namespace Fakes;

ZELMO_PLUGIN_EXPORT void GetTLInfoList(Zelmo::TlInfoList& list, bool) {
    list.push_back(TlInfo("FakeIncomplete"));
}

ZELMO_PLUGIN_EXPORT Zelmo::ITransportLayer* Create(const Zelmo::CTlInfo& info) {
    return new CountedTransportLayer(info);
}
