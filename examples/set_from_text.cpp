// SPDX-License-Identifier: Apache-2.0

// Sets features of the first camera from a text of pairs, and tells how large its images are then.
//   set_from_text ["Width=320 Height=240 PixelFormat=Mono12p"]
#include <GenApi/GenApi.h>
#include <zelmo/zelmo.h>

#include <iostream>

int main(int argc, char** argv) {
    const char* const text = argc > 1 ? argv[1] : "Width=320 Height=240 PixelFormat=Mono12p";
    const Zelmo::ZelmoScope zelmo;
    try {
        Zelmo::CInstantCamera camera(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(Zelmo::CDeviceInfo()));
        camera.Open();
        GenApi::INodeMap& nodeMap = camera.GetNodeMap();
        Zelmo::SetGenICamNodeValuesFromKeyValueStr(&nodeMap, text);

        const auto width = static_cast<unsigned>(GenApi::CIntegerPtr(nodeMap, "Width")->GetValue());
        const auto height = static_cast<unsigned>(GenApi::CIntegerPtr(nodeMap, "Height")->GetValue());
        const GenApi::CEnumerationPtr format(nodeMap, "PixelFormat");
        const Zelmo::CPixelTypeMapper mapper(format); // cameras may number their formats as they like
        const Zelmo::EPixelType pixelType = mapper.GetZelmoPixelTypeFromNodeValue(format->GetIntValue());
        std::cout << width << " x " << height << " pixels in "
                  << Zelmo::CPixelTypeMapper::GetNameByPixelType(pixelType, Zelmo::SFNCVersion_2) << ": "
                  << ComputeBufferSize(pixelType, width, height, 0) << " bytes\n";
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
