// SPDX-License-Identifier: Apache-2.0

// What it costs to list cameras and to make one, with a plug-in whose own part is next to nothing; and the work on the
// lists themselves.

#include <zelmo/Lifecycle.h>
#include <zelmo/TlFactory.h>
#include <zelmo/internal/InterfaceBase.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <string>

using namespace Zelmo;

namespace {

CTlFactory& Factory() {
    static const bool kPath = setenv("ZELMO_TL_PATH", MINIMAL_PLUGIN_FOLDER, 1) == 0;
    static const ZelmoScope kLibrary;
    static_cast<void>(kPath);
    return CTlFactory::GetInstance();
}

DeviceInfoList Cameras(std::int64_t count) {
    DeviceInfoList list;
    for (std::int64_t i = 0; i < count; ++i) {
        CDeviceInfo info;
        info.SetDeviceClass("HarlixGigE").SetFullName("camera " + String_t(std::to_string(i).c_str()));
        info.SetSerialNumber(std::to_string(i * 7919 % count).c_str()).SetIpAddress("192.168.0.2");
        list.push_back(info);
    }
    return list;
}

void EnumerateTransportLayers(benchmark::State& state) {
    TlInfoList tls;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Factory().EnumerateTls(tls));
    }
}
BENCHMARK(EnumerateTransportLayers);

void EnumerateDevices(benchmark::State& state) {
    DeviceInfoList devices;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Factory().EnumerateDevices(devices));
    }
    if (devices.size() != 1) {
        state.SkipWithError("the plug-in was not found");
    }
}
BENCHMARK(EnumerateDevices);

void CreateDeviceBy(benchmark::State& state, const CDeviceInfo& info) {
    for (auto _ : state) {
        Factory().DestroyDevice(Factory().CreateDevice(info));
    }
}

void CreateDeviceByClass(benchmark::State& state) {
    CDeviceInfo info;
    CreateDeviceBy(state, info.SetDeviceClass("ExampleMinimal"));
}
BENCHMARK(CreateDeviceByClass);

void CreateDeviceBySerialNumber(benchmark::State& state) {
    CDeviceInfo info;
    CreateDeviceBy(state, info.SetSerialNumber("0001"));
}
BENCHMARK(CreateDeviceBySerialNumber);

void SortDevices(benchmark::State& state) {
    const DeviceInfoList cameras = Cameras(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        DeviceInfoList list(cameras);
        state.ResumeTiming();
        std::sort(list.begin(), list.end());
    }
}
BENCHMARK(SortDevices)->Arg(10)->Arg(1000);

void FilterDevicesByAddress(benchmark::State& state) {
    const DeviceInfoList cameras = Cameras(state.range(0));
    DeviceInfoList filter;
    CDeviceInfo pattern;
    filter.push_back(pattern.SetIpAddress("192.168.000.002"));
    for (auto _ : state) {
        DeviceInfoList found;
        benchmark::DoNotOptimize(ApplyDeviceFilter(cameras, filter, found));
    }
}
BENCHMARK(FilterDevicesByAddress)->Arg(10)->Arg(1000);

} // namespace
