// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "camera/object/CameraTest.h"
#include "camera/object/ScriptedEvents.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// An array whose calls of its own operations can be met on their way.
class HookedArray : public Zelmo::CInstantCameraArray {
public:
    using CInstantCameraArray::CInstantCameraArray;
    ~HookedArray() override {
        onStop = nullptr;
        Initialize(0);
    }

    void StopGrabbing() override {
        if (const std::function<void()> step = onStop) { // a copy: it may take itself out
            step();
        }
        if (!skipsStop) {
            CInstantCameraArray::StopGrabbing();
        }
    }
    Zelmo::CInstantCamera* CreateInstantCamera() override {
        return onCreate ? onCreate() : CInstantCameraArray::CreateInstantCamera();
    }
    void DestroyInstantCamera(Zelmo::CInstantCamera* camera) override {
        destroyed += std::to_string(camera->GetCameraContext());
        CInstantCameraArray::DestroyInstantCamera(camera);
        if (const std::function<void()> step = onDestroy) {
            step();
        }
    }

    std::function<void()> onStop, onDestroy;
    std::function<Zelmo::CInstantCamera*()> onCreate;
    bool skipsStop = false; ///< The base is not called.
    std::string destroyed;  ///< Contexts of the cameras.
};

/// A scripted camera with events, and the diary of the camera object that it is attached to.
struct Station {
    explicit Station(const char* script) : device(script, "Life", Features()) {
        events.nodeMap = device.CStreamDevice::GetNodeMap();
        device.eventGrabber = &events;
        device.eventAdapter = &events;
    }
    static std::vector<Fakes::CFeature> Features() {
        return {
            {"Integer", "EventSelector", 8, ""}, {"Integer", "EventValue", 9, ""}, {"Integer", "EventOther", 10, ""}};
    }

    ScriptedEvents events;
    LifeDevice device;
    Diary diary;
};

/// An array over scripted cameras.
class ArrayTest : public testing::Test {
protected:
    static constexpr const char* kCategory = "zelmo.base.InstantCamera";

    ArrayTest() { hxlog::LogEnable(true); }
    ~ArrayTest() override {
        for (const auto& station : m_stations) {
            station->diary.on.clear();
            station->device.hook = nullptr;
        }
        m_array.onStop = m_array.onDestroy = nullptr;
        m_result.Release();
        m_array.Initialize(0);
        for (const auto& station : m_stations) {
            EXPECT_THAT(station->device.Grabber().Violations(), testing::IsEmpty());
            EXPECT_EQ(station->device.faults, 0);
        }
    }

    /// As many cameras, each with its device and a diary.
    void Make(std::size_t count, const char* script = "") {
        m_array.Initialize(count);
        for (std::size_t i = 0; i < count; ++i) {
            m_stations.push_back(std::make_unique<Station>(script));
            Attach(i);
        }
        m_log.Clear();
    }
    void Attach(std::size_t i) {
        m_array[i].RegisterConfiguration(&Life(i), Zelmo::RegistrationMode_ReplaceAll, Zelmo::Cleanup_None);
        m_array[i].RegisterImageEventHandler(&Life(i), Zelmo::RegistrationMode_ReplaceAll, Zelmo::Cleanup_None);
        m_array[i].Attach(&Device(i), Zelmo::Cleanup_None);
    }
    LifeDevice& Device(std::size_t i) { return m_stations[i]->device; }
    ScriptedEvents& Events(std::size_t i) { return m_stations[i]->events; }
    Diary& Life(std::size_t i) { return m_stations[i]->diary; }

    /// Delivers a frame of each of these cameras, and waits until all are ready.
    void Fill(const std::vector<std::size_t>& cameras) {
        for (const std::size_t i : cameras) {
            const auto before = m_array[i].NumReadyBuffers.GetValue();
            EXPECT_EQ(Device(i).Grabber().Deliver(), 1U);
            EXPECT_TRUE(Eventually([&] { return m_array[i].NumReadyBuffers.GetValue() > before; }));
        }
    }
    bool Retrieve(unsigned ms = kPatience) { return m_array.RetrieveResult(ms, m_result, kReturns); }
    /// The camera of the next result, which must come; -1 for none.
    long Next(unsigned ms = kPatience) { return Retrieve(ms) ? m_result->GetCameraContext() : -1; }
    std::string Failure(const std::function<void()>& step) { return Fakes::FailureOf<GenICam::GenericException>(step); }
    std::size_t Grabbing() const { // cameras
        std::size_t count = 0;
        for (std::size_t i = 0; i < m_array.GetSize(); ++i) {
            count += m_array[i].IsGrabbing() ? 1 : 0;
        }
        return count;
    }
    bool IsStopped() const { return !m_array.IsGrabbing() && Grabbing() == 0; }

    /// The array's own lines, without "Camera <address>: Array ", with a bar between.
    std::string Logged() {
        char address[32];
        std::snprintf(address, sizeof address, "%p", static_cast<const void*>(&m_array));
        const std::string head = std::string("Camera ") + address + ": Array ";
        std::string lines;
        for (const Fakes::LogLine& line : m_log.Lines()) {
            if (line.message.starts_with(head)) {
                EXPECT_EQ(line.priority, GenICam::LogPriority_Notice);
                EXPECT_EQ(line.category, kCategory);
                lines += line.message.substr(head.size()) + "|";
            }
        }
        m_log.Clear();
        return lines;
    }
    std::string Errors() { // all lines of the level
        std::string lines;
        for (const Fakes::LogLine& line : m_log.Lines()) {
            lines += line.priority == GenICam::LogPriority_Error ? line.message + "|" : "";
        }
        m_log.Clear();
        return lines;
    }

    Fakes::LogRecorder m_log{kCategory};
    std::vector<std::unique_ptr<Station>> m_stations;
    HookedArray m_array;
    Zelmo::CGrabResultPtr m_result;
};
