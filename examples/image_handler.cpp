// SPDX-License-Identifier: Apache-2.0

// Has each image delivered by a thread of the camera object's.
#include <zelmo/zelmo.h>

#include <iostream>
#include <thread>

using namespace std::chrono_literals;

namespace {

class Counter : public Zelmo::CImageEventHandler {
public:
    void OnImageGrabbed(Zelmo::CInstantCamera& /*camera*/, const Zelmo::CGrabResultPtr& result) override {
        images += result->GrabSucceeded() && std::this_thread::get_id() != m_creator ? 1 : 0;
    }

    int images = 0; // that came on another thread

private:
    const std::thread::id m_creator = std::this_thread::get_id();
};

} // namespace

int main() {
    const Zelmo::ZelmoScope zelmo;
    try {
        Counter counter; // goes after the camera, which knows it
        Zelmo::CInstantCamera camera(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(Zelmo::CDeviceInfo()));
        camera.RegisterImageEventHandler(&counter, Zelmo::RegistrationMode_Append, Zelmo::Cleanup_None);
        camera.StartGrabbing(20, Zelmo::GrabStrategy_OneByOne, Zelmo::GrabLoop_ProvidedByInstantCamera);
        const bool hasEnded = Wait(camera.GetGrabStopWaitObject(), 10s); // meanwhile do something else
        camera.StopGrabbing();
        std::cout << counter.images << " images by the camera's thread\n";
        return hasEnded ? 0 : 1;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
