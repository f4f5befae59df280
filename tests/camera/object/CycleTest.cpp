// SPDX-License-Identifier: Apache-2.0

// What wears out only by repetition. ZELMO_TEST_CYCLES is how many of the full hundred thousand are run; a hundredth
// unless it is set.

#include "fakes/Descriptors.h"
#include <zelmo/zelmo.h>

#include <GenApi/GenApi.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <thread>
#include <vector>

using namespace Zelmo;

namespace {

int CyclesOf(int full) {
    const char* const wanted = std::getenv("ZELMO_TEST_CYCLES");
    return static_cast<int>(full * ((wanted != nullptr ? std::atof(wanted) : 1000) / 100000));
}

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

} // namespace
