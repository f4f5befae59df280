// SPDX-License-Identifier: Apache-2.0

// The four grab strategies side by side: what an application that looks away for a moment gets, and what not.
#include <zelmo/zelmo.h>

#include <iomanip>
#include <iostream>

using namespace std::chrono_literals;

namespace {

void Grab(Zelmo::CInstantCamera& camera, const char* name, Zelmo::EGrabStrategy strategy) {
    const Zelmo::CGrabCounter counter(camera);
    camera.StartGrabbing(strategy);
    Zelmo::WaitObject::Sleep(500); // busy with something else
    std::cout << std::setw(16) << std::left << name;
    for (int i = 0; i < 4; ++i) {
        Zelmo::CGrabResultPtr result;
        RetrieveResult(camera, 5s, result);
        std::cout << std::setw(6) << std::right << result->GetBlockID();
    }
    camera.StopGrabbing();
    const Zelmo::CGrabStatistics statistics = ReadStatistics(camera, counter);
    std::cout << std::setw(9) << statistics.skipped.value_or(0) << std::setw(6) << statistics.lost.value_or(0) << '\n';
}

} // namespace

int main() {
    const Zelmo::ZelmoScope zelmo;
    try {
        Zelmo::CInstantCamera camera(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(Zelmo::CDeviceInfo()));
        camera.Open();
        camera.OutputQueueSize.SetValue(3);
        std::cout << "STRATEGY        THE FIRST FOUR IMAGES   SKIPPED  LOST\n";
        Grab(camera, "OneByOne", Zelmo::GrabStrategy_OneByOne);
        Grab(camera, "LatestImageOnly", Zelmo::GrabStrategy_LatestImageOnly);
        Grab(camera, "LatestImages", Zelmo::GrabStrategy_LatestImages);
        Grab(camera, "UpcomingImage", Zelmo::GrabStrategy_UpcomingImage);
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
