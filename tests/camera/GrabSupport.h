// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/GrabEngine.h"
#include "camera/Support.h"
#include "fakes/Failure.h"
#include "fakes/transport/ScriptedStreamGrabber.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

/// Looks again and again, ten seconds at most.
template <typename Condition>
bool Eventually(Condition&& holds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!holds() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    return holds();
}

/// A stream grabber whose frames are begun by hand, and buffers of an application, none of which is lost in the end.
class GrabTest : public testing::Test, public Zelmo::IGrabEngineObserver {
protected:
    ~GrabTest() override {
        EXPECT_THAT(m_grabber.Violations(), testing::IsEmpty());
        EXPECT_EQ(m_story.alive, 0U);
    }
    void OnGrabCountReached() override { ++m_countReached; }
    virtual Zelmo::CGrabEngine& Engine() = 0;

    void UseApplicationMemory() {
        Engine().SetBufferFactory(ShareBufferFactory(new ApplicationMemory(m_story), Zelmo::Cleanup_Delete, nullptr));
    }
    /// Until @p ready results stand in the queue and @p waiting buffers are to be filled: nothing is on its way then.
    bool Settles(std::size_t ready, std::size_t waiting) {
        return Eventually([&] { return Engine().GetNumReadyBuffers() == ready; }) && m_grabber.WaitForQueued(waiting);
    }

    const Zelmo::CInstantCamera* const m_camera = reinterpret_cast<Zelmo::CInstantCamera*>(0xCA); // only printed
    CameraLog m_log; // before all that logs
    BufferStory m_story;
    Fakes::CScriptedStreamGrabber m_grabber;
    std::atomic<int> m_countReached{0};
};
