// SPDX-License-Identifier: Apache-2.0

// Images with chunk data that outlive their session, camera object, device, plug-in and library.

#include "fakes/MappedPlugins.h"
#include <zelmo/zelmo.h>

#include <GenApi/GenApi.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace Zelmo;

namespace {

constexpr const char* kEmulator = "libzelmo_TL_camemu.so";
constexpr int kImages = 6;

CGrabResultPtr g_left; // until the process ends

struct Parsers {
    const char* what;
    bool sendsChunks, hasNodeMaps;
    int pool;
    friend std::ostream& operator<<(std::ostream& stream, const Parsers& p) { return stream << p.what; }
};

class HeldChunksTest : public testing::TestWithParam<Parsers> {
protected:
    struct Held {
        CGrabResultPtr result;
        std::int64_t timeStamp;
        char firstByte;
    };

    HeldChunksTest() {
        setenv("ZELMO_CAMEMU", "1", 1);
        setenv("ZELMO_TL_PATH", TEST_PLUGINS "/good:" EMULATOR_FOLDER, 1);
        alarm(120); // who waits for ever is ended
    }
    ~HeldChunksTest() override { alarm(0); }

    static IZelmoDevice* MakeDevice() {
        CDeviceInfo emulated;
        emulated.SetDeviceClass("HarlixCamEmu");
        return CTlFactory::GetInstance().CreateFirstDevice(emulated);
    }
    static std::unique_ptr<CInstantCamera> MakeCamera(IZelmoDevice* device) {
        auto camera = std::make_unique<CInstantCamera>(device);
        camera->Open();
        const auto set = [&](const char* name, const char* value) {
            GenApi::CValuePtr(camera->GetNodeMap(), name)->FromString(value);
        };
        set("Height", "8");
        set("Width", "64");
        set("ChunkModeActive", GetParam().sendsChunks ? "1" : "0");
        for (const char* const chunk : {"Timestamp", "Width", "Height", "PayloadCRC16"}) {
            set("ChunkSelector", chunk);
            set("ChunkEnable", "1");
        }
        camera->MaxNumBuffer.SetValue(kImages);
        camera->ChunkNodeMapsEnable.SetValue(GetParam().hasNodeMaps);
        camera->StaticChunkNodeMapPoolSize.SetValue(GetParam().pool);
        return camera;
    }
    static Held Take(CInstantCamera& camera) {
        Held held;
        EXPECT_TRUE(camera.RetrieveResult(10000, held.result));
        held.timeStamp = static_cast<std::int64_t>(held.result->GetTimeStamp());
        held.firstByte = *static_cast<char*>(held.result->GetBuffer());
        return held;
    }
    static testing::AssertionResult IsSound(const Held& held) {
        const CGrabResultData& result = *held.result.operator->();
        const bool hasParser = GetParam().sendsChunks && GetParam().hasNodeMaps;
        const GenApi::CIntegerPtr timeStamp(result.GetChunkDataNodeMap(), "ChunkTimestamp");
        if (result.IsChunkDataAvailable() != hasParser || result.CheckCRC() != hasParser ||
            GenApi::IsReadable(timeStamp) != hasParser || (hasParser && timeStamp->GetValue() != held.timeStamp)) {
            return testing::AssertionFailure() << "the chunks are not those of the image";
        }
        return result.GetWidth() == 64 && *static_cast<char*>(result.GetBuffer()) == held.firstByte
                   ? testing::AssertionSuccess()
                   : testing::AssertionFailure() << "this is not the image";
    }
    static void DropElsewhere(Held held) {
        std::jthread([held = std::move(held)]() mutable { held.result.Release(); });
    }
};

INSTANTIATE_TEST_SUITE_P(All, HeldChunksTest,
                         testing::Values(Parsers{"of results", true, true, 0},
                                         Parsers{"of a pool", true, true, kImages},
                                         Parsers{"one for all", true, false, 0}, Parsers{"none", false, true, 0}));

TEST_P(HeldChunksTest, AreReadableOverStopDetachDestroyAndTerminateAndThePluginStaysOnlyForParsers) {
    auto library = std::make_unique<ZelmoScope>();
    IZelmoDevice* const device = MakeDevice();
    std::unique_ptr<CInstantCamera> camera = MakeCamera(device);
    camera->StartGrabbing(kImages);
    std::vector<Held> held;
    while (camera->IsGrabbing() && held.size() < kImages - 1) {
        held.push_back(Take(*camera));
    }
    const Held read = held.front();
    std::jthread reader([&read](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            EXPECT_TRUE(IsSound(read));
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
        for (const Held& one : held) {
            EXPECT_TRUE(IsSound(one));
        }
        DropElsewhere(std::move(held.back()));
        held.pop_back();
    }
    const auto mapped = GetParam().sendsChunks ? std::vector<std::string>{kEmulator} : std::vector<std::string>();
    EXPECT_THAT(Fakes::MappedPlugins(), testing::ElementsAreArray(mapped));

    library = std::make_unique<ZelmoScope>();
    camera = MakeCamera(MakeDevice());
    camera->StartGrabbing(1);
    held.push_back(Take(*camera));
    EXPECT_TRUE(IsSound(held.back()));
    reader = {};
    camera.reset();
    library.reset();
    EXPECT_TRUE(IsSound(held.back()));
    EXPECT_THAT(Fakes::MappedPlugins(), testing::ElementsAreArray(mapped));
    g_left = held.back().result;
}

} // namespace
