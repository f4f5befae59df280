// SPDX-License-Identifier: Apache-2.0

// Lists the cameras that can be reached now. Try it without a camera: ZELMO_CAMEMU=2 list_devices
#include <zelmo/zelmo.h>

#include <iostream>

int main() {
    const Zelmo::ZelmoScope zelmo; // starts the library, and stops it at the end of the scope
    try {
        Zelmo::DeviceInfoList devices;
        Zelmo::CTlFactory::GetInstance().EnumerateDevices(devices);
        for (const Zelmo::CDeviceInfo& device : devices) {
            std::cout << device.GetModelName() << "  serial number " << device.GetSerialNumber() << "  ("
                      << device.GetDeviceClass() << ")\n";
        }
        std::cout << devices.size() << " cameras\n";
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
