// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plugins/OpenCamera.h"

#include <zelmo/Lifecycle.h>

#include <cstdlib>

/// What tests of the emulator plug-in share: the plug-in is reached as an application reaches it, through the factory.
namespace Emulator {

using namespace Plugins;

inline constexpr const char* kDeviceClass = "HarlixCamEmu";

/// The library, started with that many cameras and, if given, a device filter.
class Library {
public:
    explicit Library(const char* cameras, const char* filter = nullptr) {
        cameras ? setenv("ZELMO_CAMEMU", cameras, 1) : unsetenv("ZELMO_CAMEMU");
        filter ? setenv("ZELMO_DEVICE_FILTER", filter, 1) : unsetenv("ZELMO_DEVICE_FILTER");
        Zelmo::ZelmoInitialize();
    }
    ~Library() { Zelmo::ZelmoTerminate(false); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    Zelmo::DeviceInfoList Devices() const {
        Zelmo::DeviceInfoList list, emulated;
        Zelmo::CTlFactory::GetInstance().EnumerateDevices(list);
        for (const auto& info : list) {
            if (info.GetDeviceClass() == kDeviceClass) {
                emulated.push_back(info);
            }
        }
        return emulated;
    }
};

inline Zelmo::CDeviceInfo Pattern(const char* serialNumber = nullptr) {
    Zelmo::CDeviceInfo info;
    info.SetDeviceClass(kDeviceClass);
    if (serialNumber) {
        info.SetSerialNumber(serialNumber);
    }
    return info;
}

inline DevicePtr Create(const char* serialNumber = "0815-0000") {
    return DevicePtr(Zelmo::CTlFactory::GetInstance().CreateDevice(Pattern(serialNumber)));
}

/// An open camera, its features at their defaults.
class Camera : public OpenCamera {
public:
    explicit Camera(const char* serialNumber = "0815-0000", Zelmo::AccessModeSet modes = ForStreaming())
        : OpenCamera(Create(serialNumber), modes) {
        Execute("DeviceReset");
    }
};

} // namespace Emulator
