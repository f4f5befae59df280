// SPDX-License-Identifier: Apache-2.0

// Chunks and events of emulated cameras, with the description that they really have: CPU time of the process.

#include <zelmo/zelmo.h>

#include <GenApi/GenApi.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <malloc.h>
#include <string>
#include <vector>

namespace {

double CpuUs() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

/// The one emulated camera: small images, as fast as they are taken.
class Camera {
public:
    Camera() : m_environment(setenv("ZELMO_CAMEMU", "1", 1)) {
        Zelmo::CDeviceInfo info;
        info.SetDeviceClass("HarlixCamEmu");
        object.Attach(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(info));
        object.GrabCameraEvents.SetValue(true);
        object.Open();
        Set("Width", "64");
        Set("Height", "64");
        Set("TestImageSelector", "Black");
        Set("AcquisitionFrameRateEnable", "0");
    }
    void Set(const char* name, const std::string& value) {
        GenApi::CValuePtr(object.GetNodeMap(), name)->FromString(value.c_str());
    }
    void SendChunks(std::int64_t count) {
        static const char* const kChunks[] = {"Timestamp", "Framecounter", "ExposureTime", "Gain",
                                              "OffsetX",   "OffsetY",      "Width",        "Height",
                                              "Stride",    "PixelFormat",  "LineStatusAll"};
        Set("ChunkModeActive", count > 0 ? "1" : "0");
        for (std::int64_t i = 0; i < count; ++i) {
            Set("ChunkSelector", kChunks[i]);
            Set("ChunkEnable", "1");
        }
    }

private:
    const int m_environment;
    const Zelmo::ZelmoScope m_library;

public:
    Zelmo::CInstantCamera object; // goes before the library does
};

/// Argument: chunks. From the drawing to the result in hand, chunks written and parsed.
void Camera_Images(benchmark::State& state) {
    Camera camera;
    camera.SendChunks(state.range(0));
    camera.object.StartGrabbing();
    Zelmo::CGrabResultPtr result;
    for (int i = 0; i < 20; ++i) {
        camera.object.RetrieveResult(5000, result);
    }
    const double before = CpuUs();
    for (auto _ : state) {
        camera.object.RetrieveResult(5000, result);
    }
    state.counters["cpu_us/image"] = (CpuUs() - before) / static_cast<double>(state.iterations());
}
BENCHMARK(Camera_Images)->ArgName("chunks")->Arg(0)->Arg(1)->Arg(11)->UseRealTime();

/// Argument: how many are made.
void Camera_Parsers(benchmark::State& state) {
    Camera camera;
    std::vector<Zelmo::ISelfReliantChunkParser*> parsers(static_cast<std::size_t>(state.range(0)));
    const auto make = [&] {
        for (auto& parser : parsers) {
            parser = dynamic_cast<Zelmo::ISelfReliantChunkParser*>(camera.object.GetDevice()->CreateChunkParser());
        }
    };
    const auto destroy = [&] {
        for (auto* const parser : parsers) {
            parser->Destroy();
        }
    };
    make();
    destroy(); // what is made once is there from now on
    double us = 0;
    std::size_t bytes = 0;
    for (auto _ : state) {
        const std::size_t memory = mallinfo2().uordblks;
        const double begin = CpuUs();
        make();
        us += CpuUs() - begin;
        bytes = mallinfo2().uordblks - memory;
        destroy();
    }
    const auto count = static_cast<double>(parsers.size());
    state.counters["cpu_us_each"] = us / count / static_cast<double>(state.iterations());
    state.counters["kB_each"] = static_cast<double>(bytes) / count / 1024;
}
BENCHMARK(Camera_Parsers)->ArgName("parsers")->Arg(10)->Arg(500)->Unit(benchmark::kMicrosecond);

/// Arguments: events of a burst, places of the queue.
void Camera_EventBurst(benchmark::State& state) {
    Camera camera;
    GenApi::INodeMap& parameters = camera.object.GetEventGrabberNodeMap();
    GenApi::CIntegerPtr(parameters, "NumBuffer")->SetValue(state.range(1));
    camera.Set("EventSelector", "CriticalTemperature");
    camera.Set("EventNotification", "On");
    camera.Set("SimulateEventsCount", std::to_string(state.range(0)));
    camera.Set("TriggerMode", "On"); // no image comes
    std::int64_t handled = 0;
    const auto registration = OnEvent(camera.object, "EventCriticalTemperature", [&] { ++handled; });
    camera.object.StartGrabbing();
    const GenApi::CCommandPtr raise(camera.object.GetNodeMap(), "SimulateEvents");
    const GenApi::CIntegerPtr dropped(parameters, "Statistic_Failed_Event_Count");
    Zelmo::CGrabResultPtr none;
    double raisedUs = 0, handledUs = 0;
    std::int64_t raised = 0;
    for (auto _ : state) {
        const double begin = CpuUs();
        raise->Execute();
        const double full = CpuUs();
        raised += state.range(0);
        while (handled + dropped->GetValue() < raised) {
            camera.object.RetrieveResult(0, none, Zelmo::TimeoutHandling_Return);
        }
        raisedUs += full - begin;
        handledUs += CpuUs() - full;
    }
    state.counters["raise_us_each"] = raisedUs / static_cast<double>(raised);
    state.counters["handle_us_each"] = handledUs / static_cast<double>(handled);
    state.counters["dropped"] = static_cast<double>(dropped->GetValue()) / static_cast<double>(raised);
}
BENCHMARK(Camera_EventBurst)
    ->ArgNames({"events", "NumBuffer"})
    ->ArgsProduct({{1, 16, 64, 65, 640, 6400}, {64}})
    ->ArgsProduct({{64, 6400, 64000}, {65536}})
    ->Unit(benchmark::kMicrosecond);

} // namespace
