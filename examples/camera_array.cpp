// SPDX-License-Identifier: Apache-2.0

// Grabs from all cameras at once, and counts the images of each.
#include <zelmo/zelmo.h>

#include <iostream>
#include <vector>

int main() {
    const Zelmo::ZelmoScope zelmo;
    try {
        Zelmo::CTlFactory& factory = Zelmo::CTlFactory::GetInstance();
        Zelmo::DeviceInfoList devices;
        factory.EnumerateDevices(devices);
        Zelmo::CInstantCameraArray cameras(devices.size());
        std::vector<Zelmo::CHandlerRegistration> told; // a pulled camera falls silent: only this tells
        for (std::size_t i = 0; i < cameras.GetSize(); ++i) {
            cameras[i].Attach(factory.CreateDevice(devices[i]));
            told.push_back(OnRemoved(cameras[i], [&cameras] { cameras.StopGrabbing(); }));
        }
        std::vector<int> images(cameras.GetSize());
        cameras.StartGrabbing();
        Zelmo::CGrabResultPtr result;
        for (int i = 0; i < 20 && cameras.RetrieveResult(5000, result); ++i) {
            images[static_cast<std::size_t>(result->GetCameraContext())] += result->GrabSucceeded() ? 1 : 0;
        }
        cameras.StopGrabbing();
        for (std::size_t i = 0; i < cameras.GetSize(); ++i) {
            std::cout << cameras[i].GetDeviceInfo().GetSerialNumber() << ": " << images[i] << " images\n";
        }
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
