// SPDX-License-Identifier: Apache-2.0

// What wears out only by repetition, and what outlives the library. ZELMO_TEST_CYCLES is how many of the full hundred
// thousand are run; a hundredth unless it is set.

#include "fakes/Cycles.h"
#include "fakes/Descriptors.h"
#include "fakes/MappedPlugins.h"
#include <zelmo/zelmo.h>

#include <GenApi/GenApi.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace Zelmo;
using Fakes::CyclesOf;

namespace {

long Threads() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

class CycleTest : public testing::Test {
protected:
    CycleTest() {
        setenv("ZELMO_CAMEMU", "2", 1);
        setenv("ZELMO_TL_PATH", TEST_PLUGINS "/good:" TEST_PLUGINS "/minimal:" EMULATOR_FOLDER, 1);
    }
    static CDeviceInfo Emulated() {
        CDeviceInfo info;
        info.SetDeviceClass("HarlixCamEmu");
        return info;
    }
};

TEST_F(CycleTest, AttachOpenCloseDetachDestroyLeaveNothing) {
    const ZelmoScope zelmo;
    CInstantCamera camera;
    int descriptors = 0;
    long threads = 0;
    for (int cycle = 0; cycle < CyclesOf(100000); ++cycle) {
        IZelmoDevice* const device = CTlFactory::GetInstance().CreateFirstDevice(Emulated());
        camera.Attach(device, Cleanup_Delete);
        camera.Open();
        camera.Close();
        camera.DetachDevice();
        camera.Attach(device, Cleanup_Delete);
        camera.DestroyDevice();
        if (cycle == 10) { // what lasts is there by now
            descriptors = Fakes::OpenDescriptors();
            threads = Threads();
        }
    }
    EXPECT_EQ(Fakes::OpenDescriptors(), descriptors);
    EXPECT_EQ(Threads(), threads);
}

TEST_F(CycleTest, InitialiseAndTerminateWithThreePluginsLeaveNothing) {
    int descriptors = 0;
    for (int cycle = 0; cycle < CyclesOf(5000); ++cycle) {
        {
            const ZelmoScope zelmo;
            DeviceInfoList devices;
            EXPECT_GE(CTlFactory::GetInstance().EnumerateDevices(devices), 3);
        }
        if (cycle == 5) {
            descriptors = Fakes::OpenDescriptors();
        }
    }
    EXPECT_EQ(Fakes::OpenDescriptors(), descriptors);
}

TEST_F(CycleTest, ResultsAreHeldOverDestroyAndTerminateAndReleasedElsewhere) {
    for (int cycle = 0; cycle < CyclesOf(1000); ++cycle) {
        std::vector<CGrabResultPtr> held;
        {
            const ZelmoScope zelmo;
            CInstantCamera camera(CTlFactory::GetInstance().CreateFirstDevice(Emulated()));
            camera.Open();
            GenApi::CIntegerPtr(camera.GetNodeMap(), "Height")->SetValue(4);
            GenApi::CBooleanPtr(camera.GetNodeMap(), "AcquisitionFrameRateEnable")->SetValue(false);
            camera.MaxNumBuffer.SetValue(64);
            camera.StartGrabbing(64);
            while (camera.IsGrabbing()) {
                CGrabResultPtr result;
                camera.RetrieveResult(10000, result);
                held.push_back(result);
            }
            camera.DestroyDevice();
        }
        ASSERT_EQ(held.size(), 64U);
        std::vector<std::jthread> threads;
        for (CGrabResultPtr& result : held) {
            threads.emplace_back([moved = std::move(result)]() mutable {
                EXPECT_NE(moved->GetBuffer(), nullptr);
                moved.Release();
            });
        }
    }
}

/// Which parsers the results have that outlive all else.
struct Parsers {
    const char* what;
    bool sendsChunks, hasNodeMaps;
    int pool;
    friend std::ostream& operator<<(std::ostream& stream, const Parsers& p) { return stream << p.what; }
};

class HeldChunksTest : public CycleTest, public testing::WithParamInterface<Parsers> {
protected:
    static constexpr int kImages = 6;

    HeldChunksTest() { alarm(120); } // who waits for ever is ended
    ~HeldChunksTest() override { alarm(0); }

    static std::unique_ptr<CInstantCamera> MakeCamera(IZelmoDevice* device) {
        auto camera = std::make_unique<CInstantCamera>(device);
        camera->Open();
        const auto set = [&](const char* name, const char* value) {
            GenApi::CValuePtr(camera->GetNodeMap(), name)->FromString(value);
        };
        set("Width", "64");
        set("ChunkModeActive", GetParam().sendsChunks ? "1" : "0");
        for (const char* const chunk : {"Timestamp", "Width", "PayloadCRC16"}) {
            set("ChunkSelector", chunk);
            set("ChunkEnable", "1");
        }
        camera->MaxNumBuffer.SetValue(kImages);
        camera->ChunkNodeMapsEnable.SetValue(GetParam().hasNodeMaps);
        camera->StaticChunkNodeMapPoolSize.SetValue(GetParam().pool);
        return camera;
    }
    static CGrabResultPtr Take(CInstantCamera& camera) {
        CGrabResultPtr result;
        EXPECT_TRUE(camera.RetrieveResult(10000, result));
        return result;
    }
    static bool IsSound(const CGrabResultPtr& result) {
        const bool hasParser = GetParam().sendsChunks && GetParam().hasNodeMaps;
        const GenApi::CIntegerPtr timeStamp(result->GetChunkDataNodeMap(), "ChunkTimestamp");
        return result->GetWidth() == 64 && result->IsChunkDataAvailable() == hasParser &&
               result->CheckCRC() == hasParser && GenApi::IsReadable(timeStamp) == hasParser &&
               (!hasParser || timeStamp->GetValue() == static_cast<std::int64_t>(result->GetTimeStamp()));
    }
    static void ExpectMappedForParsersOnly() {
        EXPECT_EQ(Fakes::MappedPlugins(),
                  GetParam().sendsChunks ? std::set<std::string>{"libzelmo_TL_camemu.so"} : std::set<std::string>());
    }
};

INSTANTIATE_TEST_SUITE_P(All, HeldChunksTest,
                         testing::Values(Parsers{"of results", true, true, 0}, Parsers{"of a pool", true, true, 6},
                                         Parsers{"one for all", true, false, 0}, Parsers{"none", false, true, 0}));

CGrabResultPtr g_left; // until the process ends

TEST_P(HeldChunksTest, AreReadableOverStopDetachDestroyAndTerminateAndThePluginStaysOnlyForParsers) {
    auto library = std::make_unique<ZelmoScope>();
    IZelmoDevice* const device = CTlFactory::GetInstance().CreateFirstDevice(Emulated());
    std::unique_ptr<CInstantCamera> camera = MakeCamera(device);
    camera->StartGrabbing(kImages);
    std::vector<CGrabResultPtr> held;
    while (held.size() < kImages - 1) {
        held.push_back(Take(*camera));
    }
    EXPECT_GT(Fakes::MappedPlugins().size(), 1U);
    g_left = held.front();
    std::jthread reader([](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            EXPECT_TRUE(IsSound(g_left));
        }
    });
    const std::pair<const char*, std::function<void()>> steps[] = {
        {"stop", [&] { camera->StopGrabbing(); }},
        {"detach", [&] { camera->DetachDevice(); }},
        {"destroy", [&] { CTlFactory::GetInstance().DestroyDevice(device); }},
        {"camera", [&] { camera.reset(); }},
        {"terminate", [&] { library.reset(); }},
    };
    for (const auto& [name, step] : steps) {
        SCOPED_TRACE(name);
        step();
        EXPECT_TRUE(std::all_of(held.begin(), held.end(), IsSound));
        std::jthread([dropped = std::move(held.back())]() mutable { dropped.Release(); }).join();
        held.pop_back();
    }
    ExpectMappedForParsersOnly();

    library = std::make_unique<ZelmoScope>();
    camera = MakeCamera(CTlFactory::GetInstance().CreateFirstDevice(Emulated()));
    camera->StartGrabbing(1);
    const CGrabResultPtr later = Take(*camera);
    camera.reset();
    library.reset();
    EXPECT_TRUE(IsSound(later));
    ExpectMappedForParsersOnly();
}

} // namespace
