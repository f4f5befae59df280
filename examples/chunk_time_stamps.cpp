// SPDX-License-Identifier: Apache-2.0

// Has the camera send chunk data with each image, and reads when the image was taken from there.
#include <zelmo/zelmo.h>

#include <GenApi/GenApi.h>

#include <iostream>

using namespace std::chrono_literals;

int main() {
    const Zelmo::ZelmoScope zelmo;
    try {
        Zelmo::CInstantCamera camera(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(Zelmo::CDeviceInfo()));
        camera.Open();
        GenApi::CBooleanPtr(&camera.GetNodeMap(), "ChunkModeActive")->SetValue(true);
        GenApi::CEnumerationPtr(&camera.GetNodeMap(), "ChunkSelector")->FromString("Timestamp");
        GenApi::CBooleanPtr(&camera.GetNodeMap(), "ChunkEnable")->SetValue(true);
        std::int64_t first = -1;
        for (const Zelmo::CGrabResultPtr& image : GrabResults(camera, 5, 5s)) {
            // each image has a node map of its own, as long as it is held
            const GenApi::CIntegerPtr timeStamp(&image->GetChunkDataNodeMap(), "ChunkTimestamp");
            if (GenApi::IsReadable(timeStamp)) {
                first = first < 0 ? timeStamp->GetValue() : first;
                std::cout << "image " << image->GetBlockID() << " after " << timeStamp->GetValue() - first << " ns\n";
            }
        }
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
