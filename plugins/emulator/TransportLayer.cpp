// SPDX-License-Identifier: Apache-2.0
#include "TransportLayer.h"

#include "Device.h"
#include "PluginLog.h"
#include "common/Boundary.h"

#include <Base/GCException.h>
#include <zelmo/DeviceFilter.h>

#include <algorithm>
#include <cstdint>
#include <dlfcn.h>

namespace CamEmu {

namespace {

constexpr const char* kNoDevice = "No device is available or no device contains the provided device info properties.";
constexpr const char* kAmbiguous =
    "Ambiguous device info properties. %i devices match the provided device info properties.";

Zelmo::CInterfaceInfo DescribeInterface() {
    Zelmo::CInterfaceInfo info;
    info.SetInterfaceID("CamEmu").SetFriendlyName("Camera Emulator").SetFullName("CamEmu").SetDeviceClass(kDeviceClass);
    return info;
}

// The file from which this plug-in was loaded; empty when the loader does not tell.
Zelmo::String_t OwnFile() {
    static const char kAnchor = 0;
    Dl_info info{};
    return dladdr(&kAnchor, &info) != 0 && info.dli_fname ? info.dli_fname : "";
}

// A pattern that names the camera was enumerated before, and the user may have renamed the camera since.
bool Matches(const Zelmo::CDeviceInfo& candidate, Zelmo::CDeviceInfo pattern) {
    if (pattern.IsFullNameAvailable() && pattern.IsUserDefinedNameAvailable()) {
        pattern.SetUserDefinedName(candidate.GetUserDefinedName());
        if (pattern.IsFriendlyNameAvailable()) {
            pattern.SetFriendlyName(candidate.GetFriendlyName());
        }
    }
    return candidate.IsSubset(pattern);
}

} // namespace

Zelmo::CTlInfo DescribeTransportLayer() {
    Zelmo::CTlInfo info;
    info.SetFriendlyName("Camera Emulator").SetFullName("CamEmu").SetVendorName("Harlix").SetDeviceClass(kDeviceClass);
    info.SetTLType("CamEmu");
    info.SetModelName("Camera Emulator").SetInfoID("CamEmu").SetVersion("1.0").SetFileName(OwnFile());
    return info;
}

CTransportLayer::CTransportLayer() : m_interface(new Zelmo::CDefaultInterface(this, DescribeInterface())) {
    const std::size_t count = WantedCameras();
    for (std::size_t number = 0; number < count; ++number) {
        m_cameras.push_back(std::make_unique<CPoolCamera>(static_cast<std::uint32_t>(number)));
    }
}

CTransportLayer::~CTransportLayer() = default;

// The plain list; the default interface calls it and adds filter and order.
int CTransportLayer::EnumerateDevices(Zelmo::DeviceInfoList& list, bool addToList) {
    if (!addToList) {
        list.clear();
    }
    return PluginKit::AtBoundary("enumerate the emulated cameras", [&] {
        const Cameras present = LookForCameras();
        for (CPoolCamera* const camera : present) {
            list.push_back(DescribeCamera(camera->camera));
        }
        return static_cast<int>(present.size());
    });
}

int CTransportLayer::EnumerateDevices(Zelmo::DeviceInfoList& list, const Zelmo::DeviceInfoList& filter,
                                      bool addToList) {
    return PluginKit::AtBoundary("enumerate the emulated cameras",
                                 [&] { return m_interface->EnumerateDevices(list, filter, addToList); });
}

Zelmo::IZelmoDevice* CTransportLayer::CreateDevice(const Zelmo::CDeviceInfo& info) {
    return PluginKit::AtBoundary("create the device", [&] { return MakeDevice(TheOne(LookForCameras(), info)); });
}

Zelmo::IZelmoDevice* CTransportLayer::CreateFirstDevice(const Zelmo::CDeviceInfo& info) {
    return PluginKit::AtBoundary("create the device", [&] {
        const Cameras found = Matching(LookForCameras(), info);
        if (found.empty()) {
            throw RUNTIME_EXCEPTION("%s", kNoDevice);
        }
        return MakeDevice(*found.front());
    });
}

Zelmo::IZelmoDevice* CTransportLayer::CreateDevice(const Zelmo::CDeviceInfo& info, const Zelmo::StringList_t&) {
    return CreateDevice(info);
}

Zelmo::IZelmoDevice* CTransportLayer::CreateFirstDevice(const Zelmo::CDeviceInfo& info, const Zelmo::StringList_t&) {
    return CreateFirstDevice(info);
}

Zelmo::IZelmoDevice* CTransportLayer::CreateDevice(const Zelmo::String_t& fullName) {
    return PluginKit::AtBoundary("create the device", [&] {
        Zelmo::CDeviceInfo info;
        info.SetFullName(fullName);
        return CreateDevice(info);
    });
}

void CTransportLayer::DestroyDevice(Zelmo::IZelmoDevice* device) {
    m_devices.Destroy(device);
}

bool CTransportLayer::IsDeviceAccessible(const Zelmo::CDeviceInfo& info, Zelmo::AccessModeSet modes,
                                         Zelmo::EDeviceAccessiblityInfo* accessibilityInfo) {
    return PluginKit::AtBoundary("tell whether the device is accessible", [&] {
        const CPoolCamera& camera = TheOne(KnownCameras(), info);
        Zelmo::EDeviceAccessiblityInfo found = camera.link.LookUp(modes);
        if (found == Zelmo::DeviceAccessibility_Ok && modes.test(Zelmo::Stream) && camera.isStreaming) {
            found = Zelmo::DeviceAccessibility_InUse;
        }
        if (accessibilityInfo) {
            *accessibilityInfo = found;
        }
        return found == Zelmo::DeviceAccessibility_Ok;
    });
}

std::size_t CTransportLayer::GetPrivateProperty(int id, void* data, std::size_t sizeBytes) const {
    if (id != AdmittedPropertyId) {
        return 0;
    }
    if (data && sizeBytes >= 1) {
        *static_cast<std::uint8_t*>(data) = m_isAdmitted ? 1 : 0;
    }
    return 1;
}

void CTransportLayer::SetPrivateProperty(int id, const void* data, std::size_t sizeBytes) {
    if (id == AdmittedPropertyId && data && sizeBytes == 1) {
        m_isAdmitted = *static_cast<const std::uint8_t*>(data) == 1;
    }
}

Zelmo::IZelmoDevice* CTransportLayer::MakeDevice(CPoolCamera& camera) {
    return m_devices.Add(std::make_unique<CDevice>(camera, *this));
}

// The cameras that exist under the global filter.
CTransportLayer::Cameras CTransportLayer::KnownCameras() const {
    const Zelmo::DeviceInfoList* const filter = Zelmo::GetGlobalDeviceFilterInstance();
    Cameras known;
    if (filter && !m_isAdmitted) {
        return known;
    }
    for (const auto& camera : m_cameras) {
        const auto isMeant = [info = DescribeCamera(camera->camera)](const auto& entry) {
            return info.IsSubset(entry);
        };
        if (!filter || std::any_of(filter->begin(), filter->end(), isMeant)) {
            known.push_back(camera.get());
        }
    }
    return known;
}

// Those that answer. One that was removed is back as soon as nobody holds it any more.
CTransportLayer::Cameras CTransportLayer::LookForCameras() const {
    Cameras present = KnownCameras();
    std::erase_if(present, [](CPoolCamera* camera) { return !camera->link.Restore(); });
    return present;
}

CTransportLayer::Cameras CTransportLayer::Matching(Cameras cameras, const Zelmo::CDeviceInfo& pattern) {
    std::erase_if(cameras, [&](CPoolCamera* camera) { return !Matches(DescribeCamera(camera->camera), pattern); });
    return cameras;
}

CPoolCamera& CTransportLayer::TheOne(const Cameras& cameras, const Zelmo::CDeviceInfo& pattern) {
    const Cameras found = Matching(cameras, pattern);
    if (found.empty()) {
        throw RUNTIME_EXCEPTION("%s", kNoDevice);
    }
    if (found.size() > 1) {
        throw RUNTIME_EXCEPTION(kAmbiguous, static_cast<int>(found.size()));
    }
    return *found.front();
}

} // namespace CamEmu
