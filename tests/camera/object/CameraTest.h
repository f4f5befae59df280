// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "LifeDevice.h"
#include "fakes/Failure.h"
#include "fakes/LogRecorder.h"

#include <zelmo/zelmo.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>

constexpr unsigned kPatience = 10000; // ms
constexpr auto kRaises = Zelmo::TimeoutHandling_ThrowException;
constexpr auto kReturns = Zelmo::TimeoutHandling_Return;

/// Looks again and again, ten seconds at most.
template <typename Condition>
bool Eventually(Condition&& holds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatience);
    while (!holds() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    return holds();
}

/// Writes down a camera's life; does more at an event where it is told to.
class Diary : public Zelmo::CConfigurationEventHandler, public Zelmo::CImageEventHandler {
public:
    using Camera = Zelmo::CInstantCamera;
    using More = std::function<void(Camera&)>;

    /// What more is done at which event. Threads: any.
    class Hooks {
    public:
        struct Slot {
            Hooks& hooks;
            std::string event;
            void operator=(More more) {
                const std::lock_guard lock(hooks.m_lock);
                hooks.m_hooks[event] = std::move(more);
            }
        };
        void operator=(std::map<std::string, More> hooks) {
            const std::lock_guard lock(m_lock);
            m_hooks = std::move(hooks);
        }
        Slot operator[](std::string event) { return {*this, std::move(event)}; }
        void clear() { *this = std::map<std::string, More>(); }
        void erase(const std::string& event) {
            const std::lock_guard lock(m_lock);
            m_hooks.erase(event);
        }
        More Find(const std::string& event) const { // a copy: it may take itself out
            const std::lock_guard lock(m_lock);
            const auto found = m_hooks.find(event);
            return found != m_hooks.end() ? found->second : nullptr;
        }

    private:
        mutable std::mutex m_lock;
        std::map<std::string, More> m_hooks;
    };
    Hooks on; ///< May throw.

    std::string Told() {
        const std::lock_guard lock(m_lock);
        return std::exchange(m_story, {});
    }
    std::size_t Count(const std::string& event) const {
        const std::lock_guard lock(m_lock);
        const auto found = m_counts.find(event);
        return found != m_counts.end() ? found->second : 0;
    }

    void OnAttach(Camera& camera) override { Tell("attach", camera); }
    void OnAttached(Camera& camera) override { Tell("attached", camera); }
    void OnDetach(Camera& camera) override { Tell("detach", camera); }
    void OnDetached(Camera& camera) override { Tell("detached", camera); }
    void OnDestroy(Camera& camera) override { Tell("destroy", camera); }
    void OnDestroyed(Camera& camera) override { Tell("destroyed", camera); }
    void OnOpen(Camera& camera) override { Tell("open", camera); }
    void OnOpened(Camera& camera) override { Tell("opened", camera); }
    void OnClose(Camera& camera) override { Tell("close", camera); }
    void OnClosed(Camera& camera) override { Tell("closed", camera); }
    void OnGrabStart(Camera& camera) override { Tell("start", camera); }
    void OnGrabStarted(Camera& camera) override { Tell("started", camera); }
    void OnGrabStop(Camera& camera) override { Tell("stop", camera); }
    void OnGrabStopped(Camera& camera) override { Tell("stopped", camera); }
    void OnGrabError(Camera& camera, const char* message) override {
        error = message;
        Tell("error", camera);
    }
    void OnCameraDeviceRemoved(Camera& camera) override { Tell("removed", camera); }
    void OnConfigurationRegistered(Camera& camera) override { Tell("registered", camera); }
    void OnConfigurationDeregistered(Camera& camera) override { Tell("deregistered", camera); }

    void OnImagesSkipped(Camera& camera, unsigned long count) override {
        Tell("skipped" + std::to_string(count), camera);
    }
    void OnImageGrabbed(Camera& camera, const Zelmo::CGrabResultPtr& result) override {
        Tell("image" + std::to_string(result->GetImageNumber()), camera);
        Tell("image", camera, false);
    }

    std::string error; // of the last OnGrabError

private:
    void Tell(const std::string& event, Camera& camera, bool isWritten = true) {
        {
            const std::lock_guard lock(m_lock);
            m_story += isWritten ? event + " " : "";
            ++m_counts[event];
        }
        if (const More more = on.Find(event)) {
            more(camera);
        }
    }

    mutable std::mutex m_lock;
    std::string m_story;
    std::map<std::string, std::size_t> m_counts;
};

/// A camera object with a diary in place of the default configuration, and a scripted device.
class CameraTest : public testing::Test {
protected:
    static constexpr const char* kCategory = "zelmo.base.InstantCamera";

    CameraTest() {
        hxlog::LogEnable(true);
        m_camera.RegisterConfiguration(&m_diary, Zelmo::RegistrationMode_ReplaceAll, Zelmo::Cleanup_None);
        m_diary.Told();
        m_log.Clear();
    }
    ~CameraTest() override {
        m_diary.on.clear();
        m_device.hook = nullptr;
        m_camera.DetachDevice();
        EXPECT_THAT(m_device.Grabber().Violations(), testing::IsEmpty());
        EXPECT_EQ(m_device.Callbacks(), 0U);
    }

    void Attach() { m_camera.Attach(&m_device, Zelmo::Cleanup_None); }
    void AttachAndOpen() {
        Attach();
        m_camera.Open();
        m_diary.Told();
        m_device.life.clear();
    }
    std::string Failure(const std::function<void()>& step) { return Fakes::FailureOf<GenICam::GenericException>(step); }
    bool Retrieve(unsigned ms = kPatience) { return m_camera.RetrieveResult(ms, m_result, kReturns); }
    std::string Line(const std::string& text) const { // of a log line about this camera
        char address[32];
        std::snprintf(address, sizeof address, "%p", static_cast<const void*>(&m_camera));
        return std::string("Camera ") + address + ": " + text;
    }
    bool WasLogged(int priority, const std::string& text) const { return m_log.Contains(kCategory, priority, text); }
    /// Whether the lock nodes are as they are without session and open device.
    bool IsUnlocked() {
        return GenApi::IsWritable(m_camera.MaxNumBuffer) && GenApi::IsWritable(m_camera.OutputQueueSize) &&
               GenApi::IsWritable(m_camera.GrabCameraEvents);
    }

    Fakes::LogRecorder m_log{kCategory};
    Diary m_diary;
    LifeDevice m_device;
    Zelmo::CInstantCamera m_camera;
    Zelmo::CGrabResultPtr m_result;
};
