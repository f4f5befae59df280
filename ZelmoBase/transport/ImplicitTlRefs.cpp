// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/transport/ImplicitTlRefs.h"

#include "ZelmoBase/transport/TlFactoryLog.h"
#include <zelmo/TlFactory.h>

#include <utility>

namespace Zelmo {

ImplicitTlRefs::ImplicitTlRefs() {
    m_tls.reserve(8);
}

ImplicitTlRefs::~ImplicitTlRefs() {
    if (!m_tls.empty()) {
        hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Warn,
                        "~ImplicitTlRefs(): There shoudln't be any refs upon destruction");
    }
    ReleaseAll();
}

void ImplicitTlRefs::Add(ITransportLayer* tl) {
    if (!tl || !m_held.insert(tl).second) {
        return;
    }
    m_tls.push_back(tl);
    if (auto* const counted = dynamic_cast<ITransportLayerPrivate*>(tl)) {
        counted->AddRef();
    }
}

void ImplicitTlRefs::Forget(ITransportLayer* tl) {
    if (m_held.erase(tl) != 0) {
        std::erase(m_tls, tl);
    }
}

void ImplicitTlRefs::ReleaseAll() {
    m_held.clear();
    for (ITransportLayer* const tl : std::exchange(m_tls, {})) {
        CTlFactory::GetInstance().ReleaseTl(tl);
    }
}

} // namespace Zelmo
