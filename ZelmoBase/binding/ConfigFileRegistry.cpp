// SPDX-License-Identifier: Apache-2.0
#include <zelmo/ConfigFileRegistry.h>

#include "ZelmoBase/binding/AsRuntimeException.h"
#include "ZelmoBase/binding/ConfigFileRegistryImpl.h"
#include "ZelmoBase/binding/ConfigFileRegistryInstance.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/Mutex.h"

#include <Base/GCAllocating.h>

namespace Zelmo {
namespace {

struct RegistryHolder {
    CMutex lock; // held while the rules are read: plug-ins open devices on several threads
    CConfigFileRegistry* registry ZELMO_GUARDED_BY(lock) = nullptr;
};

// Made at its first use, so that it outlives an application's static object that starts and ends the library.
RegistryHolder& Holder() {
    static RegistryHolder holder;
    return holder;
}

String_t TextOrEmpty(const char* text) {
    return text != nullptr ? String_t(text) : String_t();
}

} // namespace

CConfigFileRegistry::CBinding::CBinding(bool download, bool hasFile, const char* file, bool isDefault)
    : IsDefault(isDefault), Download(download), HasFile(hasFile), File(TextOrEmpty(file)), HasAdditionalFiles(false) {}

CConfigFileRegistry::CBinding::CBinding(bool download, bool hasFile, const char* file, bool hasAdditionalFiles,
                                        StringList_t& additionalFiles)
    : IsDefault(false), Download(download), HasFile(hasFile), File(TextOrEmpty(file)),
      HasAdditionalFiles(hasAdditionalFiles), AdditionalFiles(additionalFiles) {}

CConfigFileRegistry::CConfigFileRegistry() {
    AsRuntimeException([this] {
        m_impl = std::make_unique<CConfigFileRegistryImpl>();
        m_impl->AddRulesFromResources("ConfigFileRegistryStandardRules");
        m_impl->AddRulesFromRegistryDir();
    });
}

CConfigFileRegistry::~CConfigFileRegistry() = default;

CConfigFileRegistry& CConfigFileRegistry::GetInstance() {
    return CConfigFileRegistryInstance::Get();
}

CConfigFileRegistry::CBinding CConfigFileRegistry::GetXmlFileBinding(const CDeviceInfo& device) const {
    return GenICam::Allocating([&] { return m_impl->GetXmlFileBinding(device); });
}

CConfigFileRegistry& CConfigFileRegistryInstance::Get() {
    RegistryHolder& holder = Holder();
    CLockGuard guard(holder.lock);
    if (holder.registry == nullptr) {
        holder.registry = AsRuntimeException([] { return new CConfigFileRegistry; });
    }
    return *holder.registry;
}

void CConfigFileRegistryInstance::Destroy() noexcept {
    const auto destroy = [] {
        RegistryHolder& holder = Holder();
        CLockGuard guard(holder.lock);
        delete holder.registry;
        holder.registry = nullptr;
    };
    // dropped: that a log appender stops the library while this thread reads the rules
    RunGuarded(destroy, [](const char*) {});
}

} // namespace Zelmo
