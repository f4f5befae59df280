// SPDX-License-Identifier: Apache-2.0
#include "ScarceResources.h"
#include "SweepCamera.h"

#include "fakes/LogRecorder.h"
#include "fakes/transport/ScriptedStreamGrabber.h"

#include <zelmo/Log.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

namespace {

using Zelmo::EGrabLoop;

class CameraSweep : public testing::TestWithParam<std::tuple<Throw, EGrabLoop>> {
protected:
    Fakes::CScriptedStreamGrabber m_grabber{"source=free"};
};

/// One life of a device with a call that fails, and a plain one behind it, for each call.
TEST_P(CameraSweep, WhateverCallOfTheDeviceFailsNothingIsLeftBehind) {
    const auto& [thrown, loop] = GetParam();
    SweepCamera camera(m_grabber, Zelmo::GrabStrategy_OneByOne, loop);
    for (int life = 0; life < 3; ++life) { // until the thread that lasts from life to life has all that it needs
        ASSERT_EQ(camera.Run().images, kImages);
    }
    const ProcessResources before;
    bool struck = true;
    unsigned failures = 0;
    for (unsigned n = 1; struck; ++n) {
        SCOPED_TRACE(n);
        std::atomic<unsigned> calls{0};
        camera.device.hook = [&calls, n, &fail = thrown.second] {
            if (++calls == n) {
                fail();
            }
        };
        const Outcome outcome = camera.Run();
        camera.device.hook = nullptr;
        struck = calls >= n;
        failures += outcome.failure.empty() ? 0 : 1;
        ASSERT_TRUE(outcome.images == kImages || !outcome.failure.empty() ||
                    (loop == Zelmo::GrabLoop_ProvidedByInstantCamera && struck))
            << outcome.images;
        camera.device.TidyUp();
        ASSERT_TRUE(camera.IsIdle());
        ASSERT_EQ(camera.BuffersAlive(), 0);
        const Outcome next = camera.Run();
        ASSERT_EQ(next.failure, "");
        ASSERT_EQ(next.images, kImages);
        ASSERT_TRUE(ProcessResources::AreBackTo(before));
        ASSERT_THAT(m_grabber.Violations(), testing::IsEmpty());
    }
    EXPECT_GT(failures, 10U);
}

INSTANTIATE_TEST_SUITE_P(Calls, CameraSweep,
                         testing::Combine(testing::ValuesIn(kThrows),
                                          testing::Values(Zelmo::GrabLoop_ProvidedByUser,
                                                          Zelmo::GrabLoop_ProvidedByInstantCamera)));

class CameraResourceSweep : public testing::TestWithParam<EGrabLoop> {
protected:
    Fakes::CNullStreamGrabber m_grabber{Fakes::CNullStreamGrabber::EPace::Free};
};

TEST_P(CameraResourceSweep, LackOfMemoryInALifeIsToldAndNothingIsLeftBehind) {
    SweepCamera camera(m_grabber, Zelmo::GrabStrategy_OneByOne, GetParam());
    for (int life = 0; life < 3; ++life) { // until the thread that lasts from life to life has all that it needs
        ASSERT_EQ(camera.Run().images, kImages);
    }
    const ProcessResources before;
    bool struck = true;
    for (unsigned long n = 1; struck; n += kSweepStep) {
        SCOPED_TRACE(n);
        ScarceResources::Arm({"new", 0, n});
        const Outcome outcome = camera.Run();
        struck = ScarceResources::Disarm();
        ASSERT_TRUE(outcome.images == kImages || !outcome.failure.empty() ||
                    (GetParam() == Zelmo::GrabLoop_ProvidedByInstantCamera && struck))
            << outcome.images;
        ASSERT_TRUE(camera.IsIdle());
        const Outcome next = camera.Run();
        ASSERT_EQ(next.failure, "");
        ASSERT_EQ(next.images, kImages);
        ASSERT_EQ(camera.BuffersAlive(), 0);
        ASSERT_TRUE(ProcessResources::AreBackTo(before));
    }
}

INSTANTIATE_TEST_SUITE_P(Loops, CameraResourceSweep,
                         testing::Values(Zelmo::GrabLoop_ProvidedByUser, Zelmo::GrabLoop_ProvidedByInstantCamera));

} // namespace
