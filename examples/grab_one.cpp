// SPDX-License-Identifier: Apache-2.0

// Takes a single image.
#include <zelmo/zelmo.h>

#include <iostream>

using namespace std::chrono_literals;

int main() {
    const Zelmo::ZelmoScope zelmo;
    try {
        Zelmo::CInstantCamera camera(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(Zelmo::CDeviceInfo()));
        Zelmo::CGrabResultPtr result;
        if (!GrabOne(camera, 5s, result)) { // opens the camera, and closes it again
            std::cerr << result->GetErrorDescription() << '\n';
            return 1;
        }
        if (result->GetImageSize() > result->GetBufferSize()) { // before pixels are touched: cameras may send nonsense
            std::cerr << "The camera tells of an image that is larger than its buffer.\n";
            return 1;
        }
        std::cout << result->GetWidth() << " x " << result->GetHeight() << ", first byte "
                  << int{*static_cast<unsigned char*>(result->GetBuffer())} << '\n';
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
