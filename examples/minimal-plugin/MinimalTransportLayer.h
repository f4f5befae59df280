// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MinimalCamera.h"
#include "MinimalDevice.h"

#include <zelmo/DefaultInterface.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace Minimal {

/// Finds the one camera, serial number "0001", and makes devices of it. Filter and sort come from a default interface.
/// Owns:    the camera, and the devices until they are given back.
/// Threads: any, several at a time; the references are counted with the factory lock held.
class MinimalTransportLayer final : public Zelmo::ITransportLayer, public Zelmo::ITransportLayerPrivate {
public:
    static Zelmo::CTlInfo Info();

    MinimalTransportLayer();

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
    Zelmo::CTlInfo GetTlInfo() const override { return Info(); }

    void AddRef() override { ++m_references; }
    int Release() override { return --m_references; }
    int GetReferenceCount() const override { return m_references; }
    bool HasPrivateProperty(int) const override { return false; }
    std::size_t GetPrivateProperty(int, void*, std::size_t) const override { return 0; }
    void SetPrivateProperty(int id, const void* data, std::size_t sizeBytes) override;

private:
    struct Delete {
        void operator()(Zelmo::CDefaultInterface* defaultInterface) const { defaultInterface->Delete(); }
    };

    Zelmo::DeviceInfoList VisibleCameras();

    std::atomic<int> m_references{0};
    std::atomic<bool> m_isAdmitted{false};
    MinimalCamera m_camera;
    std::mutex m_devicesMutex;
    std::vector<std::unique_ptr<MinimalDevice>> m_devices;
    std::unique_ptr<Zelmo::CDefaultInterface, Delete> m_interface;
};

} // namespace Minimal
