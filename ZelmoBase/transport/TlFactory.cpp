// SPDX-License-Identifier: Apache-2.0
#include <zelmo/TlFactory.h>

#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/Mutex.h"
#include "ZelmoBase/core/ScopeGuard.h"
#include "ZelmoBase/transport/ClasslessDevices.h"
#include "ZelmoBase/transport/GlobalDeviceFilter.h"
#include "ZelmoBase/transport/ImplicitTlRefs.h"
#include "ZelmoBase/transport/TlFactoryInstance.h"
#include "ZelmoBase/transport/TlFactoryLog.h"
#include "ZelmoBase/transport/TlLibraries.h"
#include "ZelmoBase/transport/TlMap.h"
#include <Base/GCException.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace Zelmo {
namespace {

std::atomic<CTlFactory*> theFactory{nullptr};

ITransportLayerPrivate* Counted(ITransportLayer* tl) {
    return dynamic_cast<ITransportLayerPrivate*>(tl);
}

int Count(std::size_t size) {
    return static_cast<int>(size & 0x7FFFFFFF);
}

/// Whether the device filter lets a transport layer take part: unless patterns name other device classes only.
bool IsAdmitted(const String_t& deviceClass) {
    bool admitted = true;
    if (const DeviceInfoList* const filter = GetGlobalDeviceFilterInstance()) {
        for (const CDeviceInfo& pattern : *filter) {
            if (!pattern.IsDeviceClassAvailable()) {
                continue;
            }
            admitted = pattern.GetDeviceClass() == deviceClass;
            if (admitted) {
                break;
            }
        }
    }
    return admitted;
}

/// For log lines only: the class that the transport layer itself tells, else that of its entry.
String_t DeviceClassOf(ITransportLayer* tl, const CTlInfo& info) {
    String_t deviceClass = info.GetDeviceClass();
    RunGuarded(
        [&] {
            if (tl) {
                deviceClass = tl->GetTlInfo().GetDeviceClass();
            }
        },
        [](const char*) {});
    return deviceClass;
}

} // namespace

void CTlFactoryInstance::Create() {
    theFactory = new CTlFactory;
}

void CTlFactoryInstance::Destroy() noexcept {
    delete theFactory.load();
    theFactory = nullptr;
}

/// One reference to a transport layer, given back at the end of the scope; a failure in that ends the process.
class CTlFactory::CTlReference {
public:
    CTlReference(CTlFactory& factory, ITransportLayer* tl) noexcept : m_factory(factory), m_tl(tl) {}
    CTlReference(const CTlReference&) = delete;
    CTlReference& operator=(const CTlReference&) = delete;
    ~CTlReference() { m_factory.ReleaseTl(m_tl); }

    explicit operator bool() const { return m_tl != nullptr; }
    ITransportLayer* operator->() const { return m_tl; }

    void KeepAlive() { m_factory.KeepAlive(m_tl); }

private:
    CTlFactory& m_factory;
    ITransportLayer* m_tl;
};

CTlFactory& CTlFactory::GetInstance() {
    CTlFactory* const factory = theFactory;
    if (!factory) {
        throw RUNTIME_EXCEPTION("TLFactory not instanciated, you must call ZelmoInitialize()");
    }
    return *factory;
}

CTlFactory::CTlFactory()
    : m_tlMap(new CTlMap), m_implicitTlRefs(new ImplicitTlRefs), m_libraries(new CTlLibraries),
      m_classless(new CClasslessDevices), m_lock(new CRecursiveMutex) {
    auto filter = std::make_unique<DeviceInfoList>();
    if (ParseDeviceFilter(*filter) > 0) {
        SetGlobalDeviceFilter(std::move(filter));
    }
}

CTlFactory::~CTlFactory() {
    Terminate();
}

void CTlFactory::Terminate() {
    if (!m_lock) {
        return;
    }
    {
        CLockGuard lock(*m_lock);
        SetGlobalDeviceFilter(nullptr);
        m_implicitTlRefs->ReleaseAll();
        delete m_implicitTlRefs; // a plug-in that ends may still come back to it, or to the map
        m_implicitTlRefs = nullptr;
        delete m_tlMap.load();
        m_tlMap = nullptr;
        delete std::exchange(m_libraries, nullptr);
        delete std::exchange(m_classless, nullptr);
    }
    delete std::exchange(m_lock, nullptr);
}

void CTlFactory::checkInitialized() const {
    if (!m_tlMap) {
        throw LOGICAL_ERROR_EXCEPTION("Do not use any zelmo object after Zelmo::ZelmoTerminate() has been called.");
    }
}

int CTlFactory::InternalEnumerateTls(TlInfoList& list) {
    std::vector<CTlEntry> entries;
    m_libraries->Search(entries);
    for (CTlEntry& entry : entries) {
        list.push_back(std::move(entry.info));
    }
    return Count(list.size());
}

void CTlFactory::LoadLibraries() {
    if (m_libraries->NeedsSearch()) {
        TlInfoList unused;
        InternalEnumerateTls(unused);
    }
}

/// All entries in the order of their device classes, each with the plug-in that makes its transport layer.
void CTlFactory::ReadEntries(std::vector<CTlEntry>& entries) {
    CLockGuard lock(*m_lock);
    if (m_libraries->NeedsSearch()) {
        m_libraries->Search(entries);
    } else {
        m_libraries->ReadEntries(entries);
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const CTlEntry& a, const CTlEntry& b) { return a.info < b.info; });
}

int CTlFactory::EnumerateTls(TlInfoList& list) {
    checkInitialized();
    list.clear();
    std::vector<CTlEntry> entries;
    ReadEntries(entries);
    list.reserve(entries.size());
    for (CTlEntry& entry : entries) {
        list.push_back(std::move(entry.info));
    }
    return Count(list.size());
}

/// Not null while the factory is not terminated, which checkInitialized has seen.
CTlMap& CTlFactory::Map() const {
    return *m_tlMap;
}

ITransportLayer* CTlFactory::AddRefLiveTl(const String_t& fullName) {
    ITransportLayer* const tl = Map().FindByFullName(fullName);
    if (auto* const counted = Counted(tl)) {
        counted->AddRef();
    }
    return tl;
}

ITransportLayer* CTlFactory::CreateTl(const CTlInfo& info) {
    checkInitialized();
    CLockGuard lock(*m_lock);
    if (ITransportLayer* const tl = AddRefLiveTl(info.GetFullName())) {
        return tl;
    }
    LoadLibraries();
    CTlLibHelper* const library = m_libraries->FindLibrary(info);
    return library ? CreateNewTl(info, *library) : nullptr;
}

/// The same for an entry that was just read: its plug-in is known, and is not asked again for all that it has.
ITransportLayer* CTlFactory::CreateTl(const CTlEntry& entry) {
    checkInitialized();
    CLockGuard lock(*m_lock);
    ITransportLayer* const tl = AddRefLiveTl(entry.info.GetFullName());
    return tl ? tl : CreateNewTl(entry.info, *entry.library);
}

ITransportLayer* CTlFactory::CreateTl(const String_t& deviceClass) {
    checkInitialized();
    CLockGuard lock(*m_lock);
    LoadLibraries();
    CTlInfo info;
    return m_libraries->FindEntry(deviceClass, info) ? CreateTl(info) : nullptr;
}

ITransportLayer* CTlFactory::CreateNewTl(const CTlInfo& info, CTlLibHelper& library) {
    CTlMap& tlMap = Map();
    try {
        ITransportLayer* const tl = library.CreateTl(info);
        if (!tl) {
            return nullptr;
        }
        // What could not be added is nobody's, unless the plug-in gave the same object out twice.
        ScopeGuard destroy([&] {
            if (!tlMap.GetLib(tl)) {
                RunGuarded([&] { library.DestroyTl(tl); }, [](const char*) {});
            }
        });
        tlMap.Add(tl, &library);
        destroy.Dismiss();
        auto* const counted = Counted(tl);
        if (counted) {
            counted->AddRef();
        }
        const unsigned char admitted = 1;
        if (counted && IsAdmitted(info.GetDeviceClass())) {
            counted->SetPrivateProperty(ITransportLayerPrivate::AdmittedPropertyId, &admitted, sizeof admitted);
        }
        return tl;
    } catch (const GenICam::GenericException& e) {
        hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Notice, "Trying to create TL '%s' - %s",
                        info.GetFullName().c_str(), e.GetDescription());
        return nullptr;
    }
}

void CTlFactory::ReleaseTl(const ITransportLayer* released) {
    if (!released) {
        return;
    }
    checkInitialized();
    CLockGuard lock(*m_lock);
    auto* const tl = const_cast<ITransportLayer*>(released);
    auto* const counted = Counted(tl);
    if (counted && counted->Release() != 0) {
        return;
    }
    if (CTlLibHelper* const library = Map().GetLib(tl)) {
        library->DestroyTl(tl);
    }
    Map().Remove(tl);
    if (m_implicitTlRefs) {
        m_implicitTlRefs->Forget(tl);
    }
}

/// Holds a transport layer until the library terminates.
void CTlFactory::KeepAlive(ITransportLayer* tl) {
    CLockGuard lock(*m_lock);
    if (m_implicitTlRefs) { // else a transport layer that ends with the factory came back: it cannot be kept
        m_implicitTlRefs->Add(tl);
    }
}

int CTlFactory::EnumerateDevices(DeviceInfoList& list, bool addToList) {
    return EnumerateDevices(list, DeviceInfoList(), addToList);
}

int CTlFactory::EnumerateDevices(DeviceInfoList& list, const DeviceInfoList& filter, bool addToList) {
    checkInitialized();
    if (!addToList) {
        list.clear();
    }
    std::vector<CTlEntry> entries;
    ReadEntries(entries);
    for (const CTlEntry& entry : entries) {
        EnumerateDevicesOf(entry, list, filter);
    }
    return Count(list.size());
}

/// A transport layer that fails does not hide the devices of the others.
void CTlFactory::EnumerateDevicesOf(const CTlEntry& entry, DeviceInfoList& list, const DeviceInfoList& filter) {
    ITransportLayer* tl = nullptr;
    DeviceInfoList devices; // its own: a transport layer that replaces instead of appending hides nothing of the others
    try {
        tl = CreateTl(entry);
        if (tl) {
            tl->EnumerateDevices(devices, filter, true);
        }
    } catch (const GenICam::GenericException& e) {
        hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Warn, "Exception while enumerating %s devices. Error: '%s'",
                        DeviceClassOf(tl, entry.info).c_str(), e.GetDescription());
    } catch (...) {
        hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Notice, "Unknown error while enumerating %s devices.",
                        DeviceClassOf(tl, entry.info).c_str());
    }
    if (!tl) {
        return;
    }
    ReportClassless(devices, entry.info);
    for (CDeviceInfo& device : devices) { // also what was found before a failure
        list.push_back(std::move(device));
    }
    const auto keepAndRelease = [&] {
        KeepAlive(tl);
        ReleaseTl(tl);
    };
    RunGuarded(keepAndRelease, [](const char*) {}); // one without a counter ends here; a failure of that is logged
}

void CTlFactory::ReportClassless(const DeviceInfoList& devices, const CTlInfo& transportLayer) {
    if (std::any_of(devices.begin(), devices.end(), CClasslessDevices::IsClassless)) {
        CLockGuard lock(*m_lock);
        m_classless->Report(devices, transportLayer);
    }
}

IZelmoDevice* CTlFactory::CreateDevice(const CDeviceInfo& info) {
    return InternalCreateDevice(info, StringList_t(), false);
}

IZelmoDevice* CTlFactory::CreateFirstDevice(const CDeviceInfo& info) {
    return InternalCreateDevice(info, StringList_t(), true);
}

IZelmoDevice* CTlFactory::CreateDevice(const CDeviceInfo& info, const StringList_t& strings) {
    return InternalCreateDevice(info, strings, false);
}

IZelmoDevice* CTlFactory::CreateFirstDevice(const CDeviceInfo& info, const StringList_t& strings) {
    return InternalCreateDevice(info, strings, true);
}

/// The device that satisfies a pattern without a device class. @throws GenICam::RuntimeException for none, or several.
CDeviceInfo CTlFactory::FindDevice(const CDeviceInfo& info, bool firstFound) {
    DeviceInfoList filter;
    filter.push_back(info);
    DeviceInfoList found;
    EnumerateDevices(found, filter, false);
    if (found.empty()) {
        constexpr char message[] = "No device is available or no device contains the provided device info properties.";
        hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Error, message);
        throw RUNTIME_EXCEPTION(message);
    }
    if (found.size() > 1 && !firstFound) {
        constexpr char message[] =
            "Ambiguous device info properties. %i devices match the provided device info properties.";
        const int count = Count(found.size());
        hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Error, message, count);
        throw RUNTIME_EXCEPTION(message, count);
    }
    if (CClasslessDevices::IsClassless(
            found.front())) { // looking for its transport layer would lead back here, for ever
        CLockGuard lock(*m_lock);
        throw RUNTIME_EXCEPTION("%s", m_classless->Describe(found.front()).c_str());
    }
    return found.front();
}

CTlFactory::CTlReference CTlFactory::RequireTl(const String_t& deviceClass) {
    ITransportLayer* const tl = CreateTl(deviceClass);
    if (!tl) {
        throw RUNTIME_EXCEPTION("The transport layer for device class '%s' could not be created.", deviceClass.c_str());
    }
    return CTlReference(*this, tl);
}

IZelmoDevice* CTlFactory::InternalCreateDevice(const CDeviceInfo& info, const StringList_t& strings, bool firstFound) {
    checkInitialized();
    if (!info.IsDeviceClassAvailable()) {
        return CreateDevice(FindDevice(info, firstFound)); // without the strings: they were meant for one known layer
    }
    CTlReference tl = RequireTl(info.GetDeviceClass());
    IZelmoDevice* const device = firstFound ? tl->CreateFirstDevice(info, strings) : tl->CreateDevice(info, strings);
    tl.KeepAlive();
    return device;
}

IZelmoDevice* CTlFactory::CreateDevice(const String_t& fullName) {
    hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Warn,
                    "The function CTlFactory::CreateDevice(const String_t& fullname) is deprecated. Please use "
                    "CTlFactory::CreateDevice(const CDeviceInfo& di) instead.");
    checkInitialized();
    DeviceInfoList all;
    EnumerateDevices(all, false);
    IZelmoDevice* device = nullptr;
    for (const CDeviceInfo& info : all) {
        if (info.GetFullName() != fullName) {
            continue;
        }
        CTlReference tl(*this, CreateTl(info.GetDeviceClass()));
        if (tl) {
            device = tl->CreateDevice(fullName);
            tl.KeepAlive();
        }
    }
    return device;
}

bool CTlFactory::IsDeviceAccessible(const CDeviceInfo& info, AccessModeSet modes,
                                    EDeviceAccessiblityInfo* accessibilityInfo) {
    checkInitialized();
    if (!info.IsDeviceClassAvailable()) {
        return IsDeviceAccessible(FindDevice(info, false), modes, accessibilityInfo);
    }
    CTlReference tl = RequireTl(info.GetDeviceClass());
    const bool accessible = tl->IsDeviceAccessible(info, modes, accessibilityInfo);
    tl.KeepAlive();
    return accessible;
}

void CTlFactory::DestroyDevice(IZelmoDevice* device) {
    checkInitialized();
    if (!device) {
        return;
    }
    CTlReference tl(*this, CreateTl(device->GetDeviceInfo().GetDeviceClass()));
    if (!tl) {
        return;
    }
    tl->DestroyDevice(device);
    tl.KeepAlive();
}

} // namespace Zelmo
