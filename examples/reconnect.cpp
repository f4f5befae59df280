// SPDX-License-Identifier: Apache-2.0

// Grabs 50 images from a camera whose cable is pulled meanwhile: waits until it is back, and goes on.
#include <zelmo/zelmo.h>

#include <GenApi/GenApi.h>

#include <iostream>

using namespace std::chrono_literals;

int main() {
    const Zelmo::ZelmoScope zelmo;
    try {
        Zelmo::CInstantCamera camera(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(Zelmo::CDeviceInfo()));
        const auto told = OnRemoved(camera, [&camera] { camera.StopGrabbing(); }); // the loop below ends then
        camera.Open();
        // Only an emulated camera does this on demand: it goes after 20 images, for half a second, and forgets all.
        GenApi::INodeMap* const nodes = &camera.GetNodeMap();
        GenApi::CIntegerPtr(nodes, "Width")->SetValue(64);
        const Zelmo::String_t settings = SaveSettings(camera);
        GenApi::CIntegerPtr(nodes, "SimulateRemovalDelay")->SetValue(20);
        GenApi::CIntegerPtr(nodes, "SimulateRemovalDuration")->SetValue(500);
        GenApi::CEnumerationPtr(nodes, "SimulateRemovalSettings")->FromString("Default");
        GenApi::CCommandPtr(nodes, "SimulateRemoval")->Execute();
        int images = 0;
        while (images < 50) {
            for (const Zelmo::CGrabResultPtr& image : GrabResults(camera, 50 - images, 5s)) {
                images += image->GetWidth() == 64 ? 1 : 0;
            }
            if (camera.IsCameraDeviceRemoved()) {
                std::cout << "gone after " << images << " images\n";
                Reopen(camera, camera.GetDeviceInfo(), settings, 30s);
            }
        }
        std::cout << images << " images in all\n";
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
