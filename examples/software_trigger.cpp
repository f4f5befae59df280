// SPDX-License-Identifier: Apache-2.0

// Triggers each image by software, as soon as the camera is ready for it.
#include <zelmo/zelmo.h>

#include <GenApi/GenApi.h>

#include <iostream>

using namespace std::chrono_literals;

int main() {
    const Zelmo::ZelmoScope zelmo;
    try {
        Zelmo::CInstantCamera camera(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(Zelmo::CDeviceInfo()));
        camera.Open();
        const auto set = [&camera](const char* name, const char* value) {
            GenApi::CEnumerationPtr(&camera.GetNodeMap(), name)->FromString(value);
        };
        set("TriggerSelector", "FrameStart");
        set("TriggerMode", "On");
        set("TriggerSource", "Software");
        camera.StartGrabbing(5);
        int images = 0;
        while (camera.IsGrabbing()) {
            WaitForFrameTriggerReady(camera, 2s);
            camera.ExecuteSoftwareTrigger();
            Zelmo::CGrabResultPtr result;
            RetrieveResult(camera, 2s, result);
            images += result->GrabSucceeded() ? 1 : 0;
        }
        set("TriggerMode", "Off");
        std::cout << images << " images, each triggered\n";
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
