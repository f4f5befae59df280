// SPDX-License-Identifier: Apache-2.0

// Takes a few images without a camera object, by driving the stream grabber of the first camera step by step.
#include <zelmo/zelmo.h>

#include <GenApi/GenApi.h>

#include <iostream>
#include <vector>

namespace {

using Buffer = std::vector<unsigned char>;

int Grab(Zelmo::IZelmoDevice& camera, Zelmo::IStreamGrabber& grabber, int wanted) {
    const auto number = [&](const char* name) { return GenApi::CIntegerPtr(grabber.GetNodeMap(), name); };
    const auto execute = [&](const char* name) { GenApi::CCommandPtr(camera.GetNodeMap(), name)->Execute(); };

    // Prepare: tell sizes, make buffers known, hand all of them over.
    std::vector<Buffer> buffers(3, Buffer(number("PayloadSize")->GetValue()));
    number("MaxBufferSize")->SetValue(static_cast<std::int64_t>(buffers[0].size()));
    number("MaxNumBuffer")->SetValue(static_cast<std::int64_t>(buffers.size()));
    grabber.PrepareGrab();
    std::vector<Zelmo::StreamBufferHandle> handles;
    for (Buffer& buffer : buffers) {
        handles.push_back(grabber.RegisterBuffer(buffer.data(), buffer.size()));
    }
    grabber.StartStreaming();
    for (Zelmo::StreamBufferHandle handle : handles) {
        grabber.QueueBuffer(handle, nullptr);
    }
    execute("AcquisitionStart");

    // Run: a filled buffer comes back, is looked at, and is handed over again.
    int grabbed = 0;
    Zelmo::GrabResult result;
    while (grabbed < wanted && grabber.GetWaitObject().Wait(5000)) {
        if (grabber.RetrieveResult(result)) {
            ++grabbed;
            std::cout << "image " << result.blockId << ": " << result.sizeX << " x " << result.sizeY << ", first byte "
                      << int{*static_cast<unsigned char*>(result.buffer)} << '\n';
            grabber.QueueBuffer(result.handle, nullptr);
        }
    }

    // Stop: all buffers come back before they are given up.
    execute("AcquisitionStop");
    grabber.StopStreaming();
    grabber.FlushBuffers();
    while (grabber.RetrieveResult(result)) {
    }
    for (Zelmo::StreamBufferHandle handle : handles) {
        grabber.DeregisterBuffer(handle);
    }
    grabber.FinishGrab();
    return grabbed;
}

} // namespace

int main() {
    const Zelmo::ZelmoScope zelmo;
    try {
        Zelmo::CTlFactory& factory = Zelmo::CTlFactory::GetInstance();
        Zelmo::IZelmoDevice* camera = factory.CreateFirstDevice(Zelmo::CDeviceInfo());
        camera->Open(Zelmo::Control | Zelmo::Stream);
        Zelmo::IStreamGrabber* grabber = camera->GetStreamGrabber(0);
        grabber->Open();
        const int grabbed = Grab(*camera, *grabber, 5);
        grabber->Close();
        camera->Close();
        factory.DestroyDevice(camera);
        std::cout << grabbed << " images\n";
        return grabbed == 5 ? 0 : 1;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.what() << '\n';
        return 1;
    }
}
