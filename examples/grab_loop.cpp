// SPDX-License-Identifier: Apache-2.0

// Grabs 100 images from the first camera, in a loop of its own.
#include <zelmo/zelmo.h>

#include <iostream>

using namespace std::chrono_literals;

int main() {
    const Zelmo::ZelmoScope zelmo; // starts the library, and stops it at the end of the scope
    try {
        Zelmo::CInstantCamera camera(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(Zelmo::CDeviceInfo()));
        int images = 0;
        for (const Zelmo::CGrabResultPtr& image : GrabResults(camera, 100, 5s)) {
            images += image->GrabSucceeded() ? 1 : 0; // else it says why: GetErrorDescription
        }
        std::cout << images << " images\n";
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
