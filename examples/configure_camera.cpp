// SPDX-License-Identifier: Apache-2.0

// Opens the first camera and sets its exposure through its node map.
#include <GenApi/GenApi.h>
#include <zelmo/zelmo.h>

#include <iostream>

int main() {
    const Zelmo::ZelmoScope zelmo; // starts the library, and stops it at the end of the scope
    try {
        Zelmo::CTlFactory& factory = Zelmo::CTlFactory::GetInstance();
        Zelmo::IZelmoDevice* camera = factory.CreateFirstDevice(Zelmo::CDeviceInfo());
        camera->Open(Zelmo::AccessModeSet(Zelmo::Control));
        GenApi::CFloatPtr exposure(camera->GetNodeMap(), "ExposureTime");
        exposure->SetValue(5000.0); // microseconds
        std::cout << camera->GetDeviceInfo().GetFriendlyName() << ": " << exposure->GetValue() << " us\n";
        factory.DestroyDevice(camera); // closes it as well
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.what() << '\n'; // names the feature too
        return 1;
    }
}
