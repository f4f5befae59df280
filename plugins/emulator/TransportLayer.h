// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraPool.h"
#include "common/OwnedDevices.h"

#include <zelmo/DefaultInterface.h>
#include <zelmo/TransportLayer.h>

#include <atomic>
#include <memory>
#include <vector>

namespace CamEmu {

class CDevice;

/// The entry of "GetTLInfoList", and of GetTlInfo.
Zelmo::CTlInfo DescribeTransportLayer();

/// Offers as many cameras as ZELMO_CAMEMU told when it was made; of these, where ZELMO_DEVICE_FILTER is set, the ones
/// that it lets pass, and none at all when it does not admit the device class.
/// Owns:    the cameras, whose settings last as long as it does; the devices that it made; the default interface, which
///          gives enumeration its filter and order.
/// Threads: any; the list of cameras never changes, but those that were removed are left out.
class CTransportLayer final : public Zelmo::ITransportLayer, public Zelmo::ITransportLayerPrivate {
public:
    CTransportLayer();
    ~CTransportLayer(); ///< Destroys the devices that were not given back: their threads run in this plug-in.

    int EnumerateDevices(Zelmo::DeviceInfoList& list, bool addToList) override;
    int EnumerateDevices(Zelmo::DeviceInfoList& list, const Zelmo::DeviceInfoList& filter, bool addToList) override;
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

private:
    using Cameras = std::vector<CPoolCamera*>;

    struct CInterfaceDeleter {
        void operator()(Zelmo::CDefaultInterface* interface) const { interface->Delete(); }
    };

    Cameras KnownCameras() const;
    Cameras LookForCameras() const;
    static Cameras Matching(Cameras cameras, const Zelmo::CDeviceInfo& pattern);
    Zelmo::IZelmoDevice* MakeDevice(CPoolCamera& camera);
    static CPoolCamera& TheOne(const Cameras& cameras, const Zelmo::CDeviceInfo& pattern);

    std::vector<std::unique_ptr<CPoolCamera>> m_cameras;
    PluginKit::COwnedDevices<CDevice> m_devices; // behind the cameras, which they use
    std::atomic<int> m_references = 0;
    std::atomic<bool> m_isAdmitted = false;
    std::unique_ptr<Zelmo::CDefaultInterface, CInterfaceDeleter> m_interface;
};

} // namespace CamEmu
