// SPDX-License-Identifier: Apache-2.0
#include "MinimalTransportLayer.h"

#include "MinimalDevice.h"

namespace Minimal {
namespace {

constexpr char kDeviceClass[] = "ExampleMinimal";

Zelmo::CDeviceInfo TheCamera() {
    Zelmo::CDeviceInfo info;
    info.SetDeviceClass(kDeviceClass).SetFullName("ExampleMinimal#0001").SetSerialNumber("0001");
    info.SetVendorName("Example").SetModelName("Minimal").SetFriendlyName("Minimal (0001)");
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
    info.SetInterfaceID("default").SetDeviceClass(kDeviceClass);
    m_interface.reset(new Zelmo::CDefaultInterface(this, info));
}

int MinimalTransportLayer::EnumerateDevices(Zelmo::DeviceInfoList& list, bool addToList) {
    if (!addToList) {
        list.clear();
    }
    list.push_back(TheCamera()); // a real one asks its driver here
    return 1;
}

int MinimalTransportLayer::EnumerateDevices(Zelmo::DeviceInfoList& list, const Zelmo::DeviceInfoList& filter,
                                            bool addToList) {
    return m_interface->EnumerateDevices(list, filter, addToList);
}

Zelmo::IZelmoDevice* MinimalTransportLayer::CreateDevice(const Zelmo::CDeviceInfo& info) {
    if (!TheCamera().IsSubset(info)) {
        throw RUNTIME_EXCEPTION("Cannot create a device: the only camera here is %s.",
                                TheCamera().GetFullName().c_str());
    }
    return new MinimalDevice(*this, TheCamera());
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
    auto* const own = static_cast<MinimalDevice*>(device);
    own->Close();
    delete own;
}

bool MinimalTransportLayer::IsDeviceAccessible(const Zelmo::CDeviceInfo& info, Zelmo::AccessModeSet,
                                               Zelmo::EDeviceAccessiblityInfo* accessibilityInfo) {
    const bool known = TheCamera().IsSubset(info);
    if (accessibilityInfo) {
        *accessibilityInfo = known ? Zelmo::DeviceAccessibility_Ok : Zelmo::DeviceAccessibility_NotReachable;
    }
    return known;
}

} // namespace Minimal
