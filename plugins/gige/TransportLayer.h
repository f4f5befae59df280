// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Surroundings.h"
#include "common/OwnedDevices.h"

#include <zelmo/DefaultInterface.h>
#include <zelmo/GigEVisionNetwork.h>
#include <zelmo/TransportLayer.h>

#include <atomic>
#include <memory>
#include <vector>

namespace Gige {

class CDevice;

/// The entry of "GetTLInfoList", and of GetTlInfo.
Zelmo::CTlInfo DescribeTransportLayer();

/// Offers the cameras on the networks that ZELMO_GIGE told when it was made; of these, where ZELMO_DEVICE_FILTER is
/// set, the ones that it lets pass. Without them, and when the filter does not admit the device class, it sends
/// nothing.
/// Owns:    what devices share; the devices that it made; the default interface, which gives enumeration its filter and
///          order.
/// Threads: any. Enumeration and looking for one camera take up to 1.1 s on the caller's thread, without a lock.
class CTransportLayer final : public Zelmo::ITransportLayer,
                              public Zelmo::ITransportLayerPrivate,
                              public Zelmo::IGigEVisionNetwork {
public:
    CTransportLayer();
    ~CTransportLayer(); ///< Destroys the devices that were not given back: their threads run in this plug-in.

    int EnumerateDevices(Zelmo::DeviceInfoList& list, bool addToList) override;
    int EnumerateDevices(Zelmo::DeviceInfoList& list, const Zelmo::DeviceInfoList& filter, bool addToList) override;
    /// An info that was enumerated finds its camera by the full name, whatever its address is now.
    Zelmo::IZelmoDevice* CreateDevice(const Zelmo::CDeviceInfo& info) override;
    Zelmo::IZelmoDevice* CreateFirstDevice(const Zelmo::CDeviceInfo& info) override;
    Zelmo::IZelmoDevice* CreateDevice(const Zelmo::CDeviceInfo& info, const Zelmo::StringList_t& strings) override;
    Zelmo::IZelmoDevice* CreateFirstDevice(const Zelmo::CDeviceInfo& info, const Zelmo::StringList_t& strings) override;
    Zelmo::IZelmoDevice* CreateDevice(const Zelmo::String_t& fullName) override;
    void DestroyDevice(Zelmo::IZelmoDevice* device) override;
    bool IsDeviceAccessible(const Zelmo::CDeviceInfo& info, Zelmo::AccessModeSet modes,
                            Zelmo::EDeviceAccessiblityInfo* accessibilityInfo) override;
    Zelmo::CTlInfo GetTlInfo() const override { return DescribeTransportLayer(); }

    void AddRef() override { ++m_references; }
    int Release() override { return --m_references; }
    int GetReferenceCount() const override { return m_references; }
    bool HasPrivateProperty(int id) const override { return id == AdmittedPropertyId; }
    std::size_t GetPrivateProperty(int id, void* data, std::size_t sizeBytes) const override;
    void SetPrivateProperty(int id, const void* data, std::size_t sizeBytes) override;

    bool ForceIp(const Zelmo::String_t& mac, const Zelmo::String_t& address, const Zelmo::String_t& mask,
                 const Zelmo::String_t& gateway) override;
    void RestartIpConfiguration(const Zelmo::String_t& mac) override;
    Zelmo::GigEIpConfiguration GetIpConfiguration(const Zelmo::CDeviceInfo& device) override;
    void SetIpConfiguration(const Zelmo::CDeviceInfo& device, const Zelmo::GigEIpConfiguration& configuration) override;
    std::vector<Zelmo::GigEActionAnswer> IssueAction(std::uint32_t deviceKey, std::uint32_t groupKey,
                                                     std::uint32_t groupMask, const Zelmo::String_t& destination,
                                                     std::size_t expectedAnswers, std::uint32_t timeoutMs,
                                                     std::uint64_t scheduledTicks) override;

private:
    struct CInterfaceDeleter {
        void operator()(Zelmo::CDefaultInterface* interface) const { interface->Delete(); }
    };
    struct CEntry {
        CFoundCamera camera;
        Zelmo::CDeviceInfo info;
    };
    using Entries = std::vector<CEntry>;

    bool IsAdmitted() const;
    void CheckAdmitted() const;
    Entries LookFor(const CSearch& search);
    Entries LookFor(const Zelmo::CDeviceInfo& pattern);
    CFoundCamera LookForOne(const Zelmo::CDeviceInfo& pattern);
    static CFoundCamera TheOne(Entries found);
    Zelmo::EDeviceAccessiblityInfo LookUp(const Zelmo::CDeviceInfo& info, Zelmo::AccessModeSet modes);
    Zelmo::IZelmoDevice* MakeDevice(CFoundCamera camera);

    CDeviceSurroundings m_surroundings;
    PluginKit::COwnedDevices<CDevice> m_devices; // behind what they use
    std::atomic<int> m_references = 0;
    std::atomic<bool> m_isAdmitted = false;
    std::unique_ptr<Zelmo::CDefaultInterface, CInterfaceDeleter> m_interface;
};

} // namespace Gige
