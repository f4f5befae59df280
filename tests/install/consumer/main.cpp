// SPDX-License-Identifier: Apache-2.0
#include <zelmo/UniversalCameraParamsClasses.h>
#include <zelmo/zelmo.h>

#include <cstdlib>
#include <iostream>

using namespace std::chrono_literals;

class Parameter : public Zelmo::CIntegerParameter {}; // needs all of its base from the library
class Format : public Harlix_UniversalCameraParams::EnumParameterClasses::PixelFormatEnumParameter {};

/// What stands in headers only, here compiled by somebody else.
void Grab(const Zelmo::CDeviceInfo& info) {
    Zelmo::CInstantCamera camera(Zelmo::CTlFactory::GetInstance().CreateDevice(info));
    camera.Open();
    const Zelmo::String_t settings = SaveSettings(camera);
    unsigned images = 0;
    const auto counting = OnImage(camera, [&images](const Zelmo::CGrabResultPtr&) { ++images; });
    for (const Zelmo::CGrabResultPtr& image : GrabResults(camera, 3, 10s)) {
        images += image->GrabSucceeded() ? 1 : 0;
    }
    using namespace Harlix_UniversalCameraParams;
    EnumParameterClasses::PixelFormatEnumParameter format(camera.GetNodeMap(), "PixelFormat");
    Zelmo::IEnumParameterT<PixelFormatEnums>& sameFormat = format;
    sameFormat = PixelFormat_Mono12;
    CUniversalCameraParams_Params_v6_1_0 features;
    features._Initialize(&camera.GetNodeMap());
    if (dynamic_cast<EnumParameterClasses::PixelFormatEnumParameter*>(&features.PixelFormat) == nullptr) {
        throw RUNTIME_EXCEPTION("A parameter of the catalogue is not of its class");
    }
    if (EnumParameterClasses::PixelFormatEnumParameter(format).GetValue() != PixelFormat_Mono12) {
        throw RUNTIME_EXCEPTION("A pixel format that was set is not there");
    }
    const Zelmo::CReopenReport report = Reopen(camera, camera.GetDeviceInfo(), settings, 10s);
    if (images != 6 || ReadStatistics(camera).lost.value_or(0) != 0 || !report.notRestored.empty()) {
        throw RUNTIME_EXCEPTION("Of 3 images and as many calls of the handler %u came", images);
    }
}

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
        for (const Zelmo::CDeviceInfo& info : devices) {
            Grab(info);
        }
        return found == expected && !Parameter().IsValid() && !Format().IsValid() ? 0 : 1;
    } catch (const GenICam::GenericException& e) { // caught across the library's boundary
        std::cerr << e.what() << '\n';
        return 2;
    }
}
