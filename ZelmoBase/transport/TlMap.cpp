// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/transport/TlMap.h"

#include "ZelmoBase/transport/TlFactoryLog.h"
#include "ZelmoBase/transport/TlLibHelper.h"
#include <Base/GCException.h>

#include <utility>

namespace Zelmo {

CTlMap::~CTlMap() {
    if (!m_entries.empty()) {
        hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Warn,
                        "There are still %u TLs referenced. Check you calls to CTlFactory::ReleaseTl() and make sure "
                        "you have called DestroyDevice() for each successfully created device.!",
                        static_cast<unsigned int>(m_entries.size()));
    }
    while (!m_entries.empty()) { // a plug-in may release further transport layers meanwhile
        ITransportLayer* const tl = m_entries.begin()->first;
        CTlLibHelper* const library = m_entries.begin()->second.library;
        if (auto* const counted = dynamic_cast<ITransportLayerPrivate*>(tl)) {
            counted->AddRef(); // whatever it gets and releases on its way out must not end it twice
        }
        if (library) {
            library->DestroyTl(tl);
        }
        Remove(tl);
    }
}

void CTlMap::Add(ITransportLayer* tl, CTlLibHelper* library) {
    if (!tl) {
        return;
    }
    String_t fullName = tl->GetTlInfo().GetFullName();
    if (FindByFullName(fullName)) {
        throw LOGICAL_ERROR_EXCEPTION("Tried to add the same transport layer twice");
    }
    Remove(tl); // the same address under another name
    m_byFullName[fullName] = tl;
    m_entries[tl] = {library, std::move(fullName)};
}

void CTlMap::Remove(ITransportLayer* tl) {
    const auto it = m_entries.find(tl);
    if (it == m_entries.end()) {
        return;
    }
    m_byFullName.erase(it->second.fullName);
    m_entries.erase(it);
}

ITransportLayer* CTlMap::FindByFullName(const String_t& name) const {
    const auto it = m_byFullName.find(name);
    return it == m_byFullName.end() ? nullptr : it->second;
}

CTlLibHelper* CTlMap::GetLib(ITransportLayer* tl) const {
    const auto it = m_entries.find(tl);
    return it == m_entries.end() ? nullptr : it->second.library;
}

} // namespace Zelmo
