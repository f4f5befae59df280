// SPDX-License-Identifier: Apache-2.0

// Saves the settings of the camera, grabs with others, and puts the saved ones back.
#include <zelmo/zelmo.h>

#include <GenApi/GenApi.h>

#include <iostream>

using namespace std::chrono_literals;

int main() {
    const Zelmo::ZelmoScope zelmo;
    try {
        Zelmo::CInstantCamera camera(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(Zelmo::CDeviceInfo()));
        camera.Open();
        const GenApi::CIntegerPtr width(&camera.GetNodeMap(), "Width");
        const Zelmo::String_t settings = SaveSettings(camera); // a text: it may as well go to a file
        width->SetValue(64);
        for (const Zelmo::CGrabResultPtr& image : GrabResults(camera, 3, 5s)) {
            std::cout << "image " << image->GetImageNumber() << " has a width of " << image->GetWidth() << '\n';
        }
        for (const Zelmo::String_t& failure : RestoreSettings(camera, settings)) {
            std::cerr << failure << '\n';
        }
        std::cout << "the width is " << width->GetValue() << " again\n";
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
