// SPDX-License-Identifier: Apache-2.0
#include "MinimalTransportLayer.h"

#include <zelmo/DeviceFilter.h>

#include <algorithm>

namespace Minimal {
namespace {

constexpr char kDeviceClass[] = "ExampleMinimal";
constexpr char kInterfaceId[] = "ExampleBus";

Zelmo::CDeviceInfo TheCamera() {
    Zelmo::CDeviceInfo info;
    info.SetDeviceClass(kDeviceClass).SetFullName("ExampleMinimal#0001").SetSerialNumber("0001");
    info.SetVendorName("Example").SetModelName("Minimal").SetFriendlyName("Minimal (0001)");
    info.SetInterfaceID(kInterfaceId);
    info.ClearUserProvidedFlag();
    return info;
}

} // namespace

Zelmo::CTlInfo MinimalTransportLayer::Info() {
    Zelmo::CTlInfo info;
    info.SetModelName("Minimal transport layer").SetVersion("1.0");
    info.SetDeviceClass(kDeviceClass).SetFullName("Example/Minimal").SetTLType("Custom");
    return info;
}

MinimalTransportLayer::MinimalTransportLayer() {
    Zelmo::CInterfaceInfo info;
    info.SetInterfaceID(kInterfaceId).SetDeviceClass(kDeviceClass);
    m_interface.reset(new Zelmo::CDefaultInterface(this, info));
}

int MinimalTransportLayer::EnumerateDevices(Zelmo::DeviceInfoList& list, bool addToList) {
    if (!addToList) {
        list.clear();
    }
    const Zelmo::DeviceInfoList found = VisibleCameras();
    for (const Zelmo::CDeviceInfo& camera : found) {
        list.push_back(camera);
    }
    return static_cast<int>(found.size());
}

int MinimalTransportLayer::EnumerateDevices(Zelmo::DeviceInfoList& list, const Zelmo::DeviceInfoList& filter,
                                            bool addToList) {
    return m_interface->EnumerateDevices(list, filter, addToList);
}

Zelmo::DeviceInfoList MinimalTransportLayer::VisibleCameras() {
    Zelmo::DeviceInfoList found;
    if (m_camera.Answers()) { // a real one asks its driver here
        found.push_back(TheCamera());
    }
    const Zelmo::DeviceInfoList* const filter = Zelmo::GetGlobalDeviceFilterInstance();
    if (!filter) {
        return found;
    }
    Zelmo::DeviceInfoList visible;
    if (m_isAdmitted) {
        Zelmo::ApplyDeviceFilter(found, *filter, visible);
    }
    return visible;
}

void MinimalTransportLayer::SetPrivateProperty(int id, const void* data, std::size_t sizeBytes) {
    if (id == AdmittedPropertyId && sizeBytes == 1) {
        m_isAdmitted = *static_cast<const unsigned char*>(data) == 1;
    }
}

Zelmo::IZelmoDevice* MinimalTransportLayer::CreateDevice(const Zelmo::CDeviceInfo& info) {
    for (const Zelmo::CDeviceInfo& camera : VisibleCameras()) {
        if (camera.IsSubset(info)) {
            auto device = std::make_unique<MinimalDevice>(*this, m_camera, camera);
            std::lock_guard lock(m_devicesMutex);
            return m_devices.emplace_back(std::move(device)).get();
        }
    }
    throw RUNTIME_EXCEPTION("Cannot create a device: the only camera here is %s, if it can be reached at all.",
                            TheCamera().GetFullName().c_str());
}

Zelmo::IZelmoDevice* MinimalTransportLayer::CreateFirstDevice(const Zelmo::CDeviceInfo& info) {
    return CreateDevice(info); // with one camera there is no choice
}

Zelmo::IZelmoDevice* MinimalTransportLayer::CreateDevice(const Zelmo::CDeviceInfo& info, const Zelmo::StringList_t&) {
    return CreateDevice(info);
}

Zelmo::IZelmoDevice* MinimalTransportLayer::CreateFirstDevice(const Zelmo::CDeviceInfo& info,
                                                              const Zelmo::StringList_t&) {
    return CreateFirstDevice(info);
}

Zelmo::IZelmoDevice* MinimalTransportLayer::CreateDevice(const Zelmo::String_t& fullName) {
    Zelmo::CDeviceInfo info;
    info.SetFullName(fullName);
    return CreateDevice(info);
}

void MinimalTransportLayer::DestroyDevice(Zelmo::IZelmoDevice* device) {
    std::unique_ptr<MinimalDevice> ending; // ends without the lock: closing may wait for a removal callback
    std::lock_guard lock(m_devicesMutex);
    const auto found =
        std::find_if(m_devices.begin(), m_devices.end(), [&](const auto& own) { return own.get() == device; });
    if (found != m_devices.end()) {
        ending = std::move(*found);
        m_devices.erase(found);
    }
}

bool MinimalTransportLayer::IsDeviceAccessible(const Zelmo::CDeviceInfo& info, Zelmo::AccessModeSet modes,
                                               Zelmo::EDeviceAccessiblityInfo* accessibilityInfo) {
    Zelmo::EDeviceAccessiblityInfo found = Zelmo::DeviceAccessibility_Ok;
    if (!TheCamera().IsSubset(info) || !m_camera.IsPluggedIn()) {
        found = Zelmo::DeviceAccessibility_NotReachable;
    } else if (modes.test(Zelmo::Control) && m_camera.IsControlled()) {
        found = Zelmo::DeviceAccessibility_InUse;
    }
    if (accessibilityInfo) {
        *accessibilityInfo = found;
    }
    return found == Zelmo::DeviceAccessibility_Ok;
}

} // namespace Minimal
