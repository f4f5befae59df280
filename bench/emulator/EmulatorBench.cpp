// SPDX-License-Identifier: Apache-2.0

// What an image of the emulator costs, from the queue of empty buffers to the result in hand.

#include <GenApi/GenApi.h>
#include <zelmo/Device.h>
#include <zelmo/Lifecycle.h>
#include <zelmo/StreamGrabber.h>
#include <zelmo/TlFactory.h>
#include <zelmo/WaitObject.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

double ProcessCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

/// The one emulated camera, open.
class Camera {
public:
    Camera() {
        setenv("ZELMO_CAMEMU", "1", 1);
        Zelmo::ZelmoInitialize();
        Zelmo::CDeviceInfo info;
        info.SetDeviceClass("HarlixCamEmu");
        m_device = Zelmo::CTlFactory::GetInstance().CreateFirstDevice(info);
        m_device->Open(Zelmo::Control | Zelmo::Stream);
    }
    ~Camera() {
        Zelmo::CTlFactory::GetInstance().DestroyDevice(m_device);
        Zelmo::ZelmoTerminate(false);
    }
    Zelmo::IZelmoDevice& Device() { return *m_device; }
    GenApi::INode* Node(const char* name) { return m_device->GetNodeMap()->GetNode(name); }
    void Set(const char* name, const std::string& value) { GenApi::CValuePtr(Node(name))->FromString(value.c_str()); }

private:
    Zelmo::IZelmoDevice* m_device = nullptr;
};

/// A running stream with eight buffers.
class Stream {
public:
    explicit Stream(Camera& camera) : m_grabber(*camera.Device().GetStreamGrabber(0)) {
        m_grabber.Open();
        const auto size = static_cast<std::size_t>(GenApi::CIntegerPtr(camera.Node("PayloadSize"))->GetValue());
        GenApi::CIntegerPtr(m_grabber.GetNodeMap()->GetNode("MaxBufferSize"))
            ->SetValue(static_cast<std::int64_t>(size));
        m_grabber.PrepareGrab();
        m_buffers.assign(8, std::vector<std::uint8_t>(size));
        m_grabber.StartStreaming();
        for (auto& buffer : m_buffers) {
            m_grabber.QueueBuffer(m_grabber.RegisterBuffer(buffer.data(), size), nullptr);
        }
        GenApi::CCommandPtr(camera.Node("AcquisitionStart"))->Execute();
    }
    ~Stream() { m_grabber.Close(); }

    void TakeOneAndQueueAgain() {
        Zelmo::GrabResult result;
        while (!m_grabber.RetrieveResult(result)) {
            m_grabber.GetWaitObject().Wait(Zelmo::WaitTimeoutInfinite);
        }
        if (result.status != Zelmo::GrabStatus_Grabbed) {
            throw std::runtime_error("a frame failed");
        }
        m_grabber.QueueBuffer(result.handle, nullptr);
    }

private:
    Zelmo::IStreamGrabber& m_grabber;
    std::vector<std::vector<std::uint8_t>> m_buffers;
};

// The argument is the width and height of the image, in pixels.
void Stream_Frames(benchmark::State& state, const char* testImage, const char* pixelFormat) {
    Camera camera;
    const std::string size = std::to_string(state.range(0));
    camera.Set("Width", size);
    camera.Set("Height", size);
    camera.Set("PixelFormat", pixelFormat);
    camera.Set("TestImageSelector", testImage);
    camera.Set("AcquisitionFrameRateEnable", "0");
    Stream stream(camera);
    for (int i = 0; i < 16; ++i) {
        stream.TakeOneAndQueueAgain();
    }
    const double before = ProcessCpuSeconds();
    for (auto _ : state) {
        stream.TakeOneAndQueueAgain();
    }
    state.counters["cpu_us/frame"] = 1e6 * (ProcessCpuSeconds() - before) / static_cast<double>(state.iterations());
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(Stream_Frames, MovingRamp, "GreyHorizontalRampMoving", "Mono8")->Arg(64)->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Stream_Frames, MovingDiagonal, "MovingDiagonalGrayGradient_8Bit", "Mono8")
    ->Arg(64)
    ->Arg(2048)
    ->UseRealTime();
BENCHMARK_CAPTURE(Stream_Frames, FrameCounter, "FrameCounter", "Mono8")->Arg(64)->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Stream_Frames, Scene, "Off", "Mono8")->Arg(64)->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Stream_Frames, SceneMono12p, "Off", "Mono12p")->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Stream_Frames, SceneRgb8, "Off", "RGB8")->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Stream_Frames, SceneYCbCr, "Off", "YCbCr422_8")->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Stream_Frames, SceneMono12, "Off", "Mono12")->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Stream_Frames, SceneBayer12, "Off", "BayerGR12")->Arg(2048)->UseRealTime();

// The moving ramp in a format of each kind, beside the similar one of grey.
void Stream_Ramp(benchmark::State& state, const char* pixelFormat) {
    Stream_Frames(state, "GreyHorizontalRampMoving", pixelFormat);
}
BENCHMARK_CAPTURE(Stream_Ramp, Mono8, "Mono8")->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Stream_Ramp, BayerGB8, "BayerGB8")->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Stream_Ramp, Mono12, "Mono12")->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Stream_Ramp, BayerGB12, "BayerGB12")->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Stream_Ramp, YCbCr422, "YCbCr422_8")->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Stream_Ramp, Rgb8, "RGB8")->Arg(2048)->UseRealTime();

Zelmo::String_t Description() {
    Camera camera;
    Zelmo::String_t url, bytes;
    dynamic_cast<Zelmo::IDescriptionSource&>(camera.Device()).GetDescription(url, bytes);
    return bytes;
}

// From the text to a node map.
void Description_Load(benchmark::State& state) {
    const Zelmo::String_t text = Description();
    for (auto _ : state) {
        GenApi::INodeMap* const nodeMap = GenApi::CNodeMapFactory(text).CreateNodeMap();
        benchmark::DoNotOptimize(nodeMap);
        dynamic_cast<GenApi::IDestroy*>(nodeMap)->Destroy();
    }
}
BENCHMARK(Description_Load)->Unit(benchmark::kMicrosecond);

void Device_OpenClose(benchmark::State& state) {
    Camera camera;
    for (auto _ : state) {
        camera.Device().Close();
        camera.Device().Open(Zelmo::Control | Zelmo::Stream);
    }
}
BENCHMARK(Device_OpenClose)->Unit(benchmark::kMicrosecond);

} // namespace
