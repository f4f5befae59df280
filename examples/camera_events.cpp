// SPDX-License-Identifier: Apache-2.0

// Has the camera tell when the exposure of an image has ended, which is before the image is there.
#include <zelmo/zelmo.h>

#include <GenApi/GenApi.h>

#include <iostream>

using namespace std::chrono_literals;

int main() {
    const Zelmo::ZelmoScope zelmo;
    try {
        Zelmo::CInstantCamera camera(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(Zelmo::CDeviceInfo()));
        camera.GrabCameraEvents.SetValue(true); // before it is opened
        camera.Open();
        GenApi::CEnumerationPtr(&camera.GetNodeMap(), "EventSelector")->FromString("ExposureEnd");
        GenApi::CEnumerationPtr(&camera.GetNodeMap(), "EventNotification")->FromString("On");
        const GenApi::CIntegerPtr frame(&camera.GetNodeMap(), "EventExposureEndFrameID");
        int events = 0;
        const Zelmo::CHandlerRegistration registration = OnEvent(camera, "EventExposureEnd", [&] { // in GrabResults
            std::cout << "exposed: " << frame->GetValue() << '\n';
            ++events;
        });
        for (const Zelmo::CGrabResultPtr& image : GrabResults(camera, 3, 5s)) {
            std::cout << "image: " << image->GetBlockID() << '\n';
        }
        return events > 0 ? 0 : 1;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
