// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fakes/transport/StreamDevice.h"
#include <zelmo/zelmo.h>

#include <gtest/gtest.h>

#include <string>

/// A camera object over a scripted device, which is on its own.
class ScriptedCamera : public testing::Test {
protected:
    ~ScriptedCamera() override { camera.DetachDevice(); }
    void Attach(const char* script) {
        device.emplace(script);
        camera.Attach(&*device, Zelmo::Cleanup_None);
    }

    const Zelmo::ZelmoScope library{false};
    std::optional<Fakes::CScriptedDevice> device;
    Zelmo::CInstantCamera camera;
};
