// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCThreadAnnotations.h>
#include <zelmo/DeviceFilter.h>
#include <zelmo/Export.h>
#include <zelmo/TransportLayer.h>

#include <atomic>
#include <vector>

namespace Zelmo {

class CClasslessDevices;
class CRecursiveMutex;
class CTlLibHelper;
class CTlLibraries;
class CTlMap;
class ImplicitTlRefs;
struct CTlEntry;

/// The one door to devices: enumerates those of all transport layers as one list, and makes device objects by picking
/// the transport layer from the device class. Loads the plug-ins at the first enumeration and holds them until the
/// library terminates. There is one factory from the first ZelmoInitialize to the last ZelmoTerminate.
///
/// Each operation throws GenICam::LogicalErrorException once the factory is terminated. Exceptions of transport layers
/// pass through, but for EnumerateDevices, which logs them and goes on with the next transport layer.
/// Threads: any, several at a time. The factory lock is not held while a transport layer enumerates or makes a device.
class ZELMO_API CTlFactory : public IDeviceFactory {
public:
    /// @throws GenICam::RuntimeException when the library is not initialised.
    static CTlFactory& GetInstance();

    /// Lists the devices of all transport layers, these in the order of EnumerateTls and each block in the order of its
    /// transport layer. Every transport layer that took part stays alive until the library terminates. An entry without
    /// a device class is listed, and logged once: no device can be made of it.
    /// @return how many entries @p list has.
    int EnumerateDevices(DeviceInfoList& list, bool addToList = false) override;
    int EnumerateDevices(DeviceInfoList& list, const DeviceInfoList& filter, bool addToList = false) override;

    /// Makes the device that satisfies @p info. With a device class the transport layer of that class decides what a
    /// partial info means; without one all devices are enumerated, and @p strings are not passed on.
    /// @throws GenICam::RuntimeException when no device, more than one, or no transport layer fits, and when the
    ///         one that fits has no device class.
    IZelmoDevice* CreateDevice(const CDeviceInfo& info) override;
    IZelmoDevice* CreateFirstDevice(const CDeviceInfo& info) override; ///< The same, with the first of several.
    IZelmoDevice* CreateDevice(const CDeviceInfo& info, const StringList_t& strings) override;
    IZelmoDevice* CreateFirstDevice(const CDeviceInfo& info, const StringList_t& strings) override;

    /// Deprecated. Makes every device with this full name and returns the last, null when there is none: use the forms
    /// above.
    IZelmoDevice* CreateDevice(const String_t& fullName) override;

    void DestroyDevice(IZelmoDevice* device) override; ///< Null is ignored.
    bool IsDeviceAccessible(const CDeviceInfo& info, AccessModeSet modes = AccessModeSet(),
                            EDeviceAccessiblityInfo* accessibilityInfo = nullptr) override;

    /// Replaces @p list by the entries of all plug-ins, sorted by device class. @return their number.
    int EnumerateTls(TlInfoList& list);

    /// The live transport layer of an entry, or a new one; null when no plug-in has that entry, or it fails. The caller
    /// owns one reference, which goes back through ReleaseTl.
    ITransportLayer* CreateTl(const CTlInfo& info);
    ITransportLayer* CreateTl(const String_t& deviceClass); ///< Of the first entry with that class.
    void ReleaseTl(const ITransportLayer* tl);              ///< Null is ignored.

    /// @throws GenICam::LogicalErrorException after Terminate.
    void checkInitialized() const;

    /// Gives up the filter, the references, the transport layers and the plug-ins, in this order. The destructor runs
    /// it.
    void Terminate();

protected:
    virtual IZelmoDevice* InternalCreateDevice(const CDeviceInfo& info, const StringList_t& strings, bool firstFound);

public:
    virtual ~CTlFactory();

private:
    friend class CTlFactoryInstance;
    class CTlReference;

    CTlFactory();
    CTlFactory(const CTlFactory&) = delete;
    CTlFactory& operator=(const CTlFactory&) = delete;

    int InternalEnumerateTls(TlInfoList& list) GENICAM_REQUIRES(m_lock);
    void ReadEntries(std::vector<CTlEntry>& entries);
    void LoadLibraries() GENICAM_REQUIRES(m_lock);
    CTlMap& Map() const GENICAM_REQUIRES(m_lock);
    ITransportLayer* AddRefLiveTl(const String_t& fullName) GENICAM_REQUIRES(m_lock);
    ITransportLayer* CreateTl(const CTlEntry& entry);
    void KeepAlive(ITransportLayer* tl);
    ITransportLayer* CreateNewTl(const CTlInfo& info, CTlLibHelper& library) GENICAM_REQUIRES(m_lock);
    CTlReference RequireTl(const String_t& deviceClass);
    CDeviceInfo FindDevice(const CDeviceInfo& info, bool firstFound);
    void ReportClassless(const DeviceInfoList& devices, const CTlInfo& transportLayer);
    void EnumerateDevicesOf(const CTlEntry& entry, DeviceInfoList& list, const DeviceInfoList& filter);

    std::atomic<CTlMap*> m_tlMap; // owned, like all pointers here; null once terminated
    ImplicitTlRefs* m_implicitTlRefs GENICAM_GUARDED_BY(m_lock) GENICAM_PT_GUARDED_BY(m_lock);
    CTlLibraries* m_libraries GENICAM_GUARDED_BY(m_lock) GENICAM_PT_GUARDED_BY(m_lock);
    CClasslessDevices* m_classless GENICAM_GUARDED_BY(m_lock) GENICAM_PT_GUARDED_BY(m_lock);
    CRecursiveMutex* m_lock; // guards what the map points to as well, and all calls of plug-ins' exports
};

} // namespace Zelmo
