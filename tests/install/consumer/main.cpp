// SPDX-License-Identifier: Apache-2.0
#include <zelmo/zelmo.h>

#include <cstdlib>
#include <iostream>

class Parameter : public Zelmo::CIntegerParameter {}; // needs all of its base from the library

// consumer <number of devices to find>
int main(int argc, char** argv) {
    const int expected = argc > 1 ? std::atoi(argv[1]) : 0;
    const Zelmo::ZelmoScope zelmo;
    try {
        if (Zelmo::ComputeBufferSize(Zelmo::PixelType_RGB8Packed, 4, 2, 0) != 24) {
            throw RUNTIME_EXCEPTION("An RGB image of 4 x 2 pixels does not take 24 bytes");
        }
        Zelmo::DeviceInfoList devices;
        const int found = Zelmo::CTlFactory::GetInstance().EnumerateDevices(devices);
        std::cout << "Zelmo " << GetZelmoVersionString() << " in " << Zelmo::getZelmoFolderPath(Zelmo::FolderType_Base)
                  << ", rules in " << Zelmo::getZelmoFolderPath(Zelmo::FolderType_ConfigFileRegistry) << ", " << found
                  << " devices\n";
        return found == expected && !Parameter().IsValid() ? 0 : 1;
    } catch (const GenICam::GenericException& e) { // caught across the library's boundary
        std::cerr << e.what() << '\n';
        return 2;
    }
}
