// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SweepSession.h"

#include "fakes/transport/StreamDevice.h"

#include <zelmo/InstantCamera.h>

#include <Base/GCException.h>

#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

/// What a call of the device throws.
using Throw = std::pair<const char*, void (*)()>;
inline const Throw kThrows[]{
    {"access", [] { throw ACCESS_EXCEPTION("told to fail"); }},
    {"std", [] { throw std::runtime_error("told to fail"); }},
    {"alloc", [] { throw std::bad_alloc(); }},
    {"int", [] { throw 1; }},
};

/// A device around a stream grabber of the test's, with a hook at each call of its own. It has features for chunks and
/// events, but none of them before SweepData gives it some.
class SweptDevice final : public Fakes::CStreamDevice {
public:
    explicit SweptDevice(Zelmo::IStreamGrabber& grabber, std::int32_t width = 64, std::int32_t height = 16)
        : CStreamDevice({}, width, height, true,
                        {{"Boolean", "ChunkModeActive", kChunkMode, ""},
                         {"Integer", "EventSelector", kChunkMode + 1, ""},
                         {"Integer", "EventValue", kChunkMode + 2, ""}}),
          m_grabber(grabber) {}

    std::function<void()> hook; ///< Before each call, on its thread; may throw.
    std::function<Zelmo::IChunkParser*()> makeParser;
    Zelmo::IEventGrabber* eventGrabber = nullptr;
    Zelmo::IEventAdapter* eventAdapter = nullptr;

    void SetChunkMode(bool isActive) { SetValue(kChunkMode, isActive ? 1 : 0); }

    void Open(Zelmo::AccessModeSet modes) override {
        Called();
        FakeDevice::Open(modes);
    }
    void Close() override {
        Called();
        FakeDevice::Close();
    }
    bool IsOpen() const override {
        Called();
        return FakeDevice::IsOpen();
    }
    const Zelmo::CDeviceInfo& GetDeviceInfo() const override {
        Called();
        return FakeDevice::GetDeviceInfo();
    }
    Zelmo::IStreamGrabber* GetStreamGrabber(std::size_t) override {
        Called();
        return &m_grabber;
    }
    GenApi::INodeMap* GetNodeMap() override {
        Called();
        return CStreamDevice::GetNodeMap();
    }
    GenApi::INodeMap* GetTLNodeMap() override {
        Called();
        return nullptr;
    }
    Zelmo::IEventGrabber* GetEventGrabber() override {
        Called();
        return eventGrabber;
    }
    Zelmo::IEventAdapter* CreateEventAdapter() override {
        Called();
        return eventAdapter;
    }
    void DestroyEventAdapter(Zelmo::IEventAdapter*) override { Called(); }
    Zelmo::IChunkParser* CreateChunkParser() override {
        Called();
        return makeParser ? makeParser() : nullptr;
    }
    bool IsChunkNodeMapDescriptionAvailable() const override {
        Called();
        return static_cast<bool>(makeParser);
    }
    Zelmo::DeviceCallbackHandle RegisterRemovalCallback(Zelmo::DeviceRemovalCallback& callback) override {
        Called();
        const auto handle = CStreamDevice::RegisterRemovalCallback(callback);
        ++callbacks;
        return handle;
    }
    void DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle handle) override {
        Called();
        CStreamDevice::DeregisterRemovalCallback(handle);
        --callbacks;
    }

    int callbacks = 0; ///< Registered now.

    /// After a life: what it has refused to forget, or to close.
    void TidyUp() {
        callbacks = 0;
        if (FakeDevice::IsOpen()) {
            FakeDevice::Close();
        }
    }
    void Called() const {
        if (hook) {
            hook();
        }
    }

private:
    static constexpr int kChunkMode = Count;

    void OnFeature(EFeature feature) override {
        if (feature == Start || feature == Stop) {
            Called();
        }
    }

    Zelmo::IStreamGrabber& m_grabber;
};

/// A camera object, over and over again used for a whole life of a device: attach, open, start, twenty images, stop,
/// close, detach.
class SweepCamera final : private Zelmo::CImageEventHandler {
public:
    SweepCamera(Zelmo::IStreamGrabber& grabber, Zelmo::EGrabStrategy strategy, Zelmo::EGrabLoop loop)
        : device(grabber), m_strategy(strategy), m_loop(loop) {
        m_camera.SetBufferFactory(&m_memory, Zelmo::Cleanup_None);
        m_camera.RegisterImageEventHandler(this, Zelmo::RegistrationMode_Append, Zelmo::Cleanup_None);
        m_camera.MaxNumBuffer.SetValue(5);
    }
    ~SweepCamera() override { m_camera.DetachDevice(); }

    Outcome Run() {
        Outcome outcome;
        m_images = 0;
        try {
            m_camera.Attach(&device, Zelmo::Cleanup_None);
            m_camera.Open();
            m_camera.StartGrabbing(kImages, m_strategy, m_loop);
            outcome.started = true;
            Retrieve();
        } catch (const std::exception& e) {
            outcome.failure = e.what();
        } catch (...) {
            outcome.failure = "something else";
        }
        m_camera.StopGrabbing();
        m_camera.Close();
        m_camera.DetachDevice();
        m_camera.GetExtensionInterface().JoinGrabLoopThread();
        outcome.images = m_images;
        return outcome;
    }

    /// Whether nothing is as it is only while a device is attached, open or grabbed from.
    bool IsIdle() {
        return !m_camera.IsGrabbing() && !m_camera.IsZelmoDeviceAttached() && device.callbacks == 0 &&
               m_camera.GetGrabStopWaitObject().Wait(0) && m_camera.GetQueuedBufferCount() == 0 &&
               GenApi::IsWritable(m_camera.MaxNumBuffer) && GenApi::IsWritable(m_camera.OutputQueueSize) &&
               GenApi::IsWritable(m_camera.GrabCameraEvents);
    }
    int BuffersAlive() const { return m_memory.alive; }

    Zelmo::CInstantCamera& Object() { return m_camera; }

    SweptDevice device;

private:
    void Retrieve() {
        if (m_loop == Zelmo::GrabLoop_ProvidedByInstantCamera) {
            if (!m_camera.GetGrabStopWaitObject().Wait(10000)) {
                throw std::runtime_error("the session does not end");
            }
            return;
        }
        Zelmo::CGrabResultPtr result;
        while (m_images < kImages && m_camera.RetrieveResult(10000, result)) {
        }
    }
    void OnImageGrabbed(Zelmo::CInstantCamera&, const Zelmo::CGrabResultPtr&) override { ++m_images; }

    const Zelmo::EGrabStrategy m_strategy;
    const Zelmo::EGrabLoop m_loop;
    CountedMemory m_memory;
    std::atomic<unsigned> m_images{0};
    Zelmo::CInstantCamera m_camera;
};
