// SPDX-License-Identifier: Apache-2.0

// Sets up a camera by the names and types of its features: the compiler sees a wrong name, and a wrong kind of value.
#include <zelmo/UniversalCameraParams.h>
#include <zelmo/zelmo.h>

#include <iostream>

using namespace Harlix_UniversalCameraParams;

int main() {
    const Zelmo::ZelmoScope zelmo; // starts the library, and stops it at the end of the scope
    try {
        Zelmo::CInstantCamera camera(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(Zelmo::CDeviceInfo()));
        camera.Open();
        CUniversalCameraParams_Params_v6_1_0 features; // one reference for each feature that any camera has
        features._Initialize(&camera.GetNodeMap());
        features.PixelFormat.SetValue(PixelFormat_Mono12);
        features.Width.SetValue(features.Width.GetMax() / 2, Zelmo::IntegerValueCorrection_Nearest);
        features.ExposureTime.TrySetValue(5000.0); // microseconds
        std::cout << features.PixelFormat.ToString() << ", " << features.Width.GetValue() << " pixels a line, gain "
                  << features.GainRaw.GetValueOrDefault(-1) << '\n'; // invalid where the camera has no such feature
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.what() << '\n'; // names the feature too
        return 1;
    }
}
