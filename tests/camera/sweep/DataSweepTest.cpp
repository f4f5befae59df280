// SPDX-License-Identifier: Apache-2.0

// Lives with chunks and events, of a camera and of an array, in which the n-th call of a device fails, for each n.

#include "SweepData.h"

#include "fakes/transport/ScriptedStreamGrabber.h"

#include <zelmo/HandlerRegistration.h>
#include <zelmo/InstantCameraArray.h>

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace {

constexpr const char* kScript = "source=free;chunks=1";

/// What is used over and over again for a whole life of its devices, which have chunks and send events.
class Swept {
public:
    virtual ~Swept() = default;

    virtual Outcome Run() = 0;
    virtual bool IsIdle() = 0;
    virtual int BuffersAlive() const = 0;

    std::vector<SweptDevice*> devices;
    std::vector<std::unique_ptr<SweepData>> data; // of each
    unsigned events = 0;                          // handled so far

protected:
    void Add(SweptDevice& device, Zelmo::CInstantCamera& camera) {
        devices.push_back(&device);
        data.push_back(std::make_unique<SweepData>(device));
        camera.GrabCameraEvents.SetValue(true);
        m_handlers.push_back(OnEvent(camera, "EventValue", [this] { ++events; }));
    }

private:
    std::vector<Zelmo::CHandlerRegistration> m_handlers;
};

class SweptCamera final : public Swept {
public:
    explicit SweptCamera(Zelmo::EGrabLoop loop) : m_camera(m_grabber, Zelmo::GrabStrategy_OneByOne, loop) {
        Add(m_camera.device, m_camera.Object());
    }
    Outcome Run() override { return m_camera.Run(); }
    bool IsIdle() override { return m_camera.IsIdle(); }
    int BuffersAlive() const override { return m_camera.BuffersAlive(); }

private:
    Fakes::CScriptedStreamGrabber m_grabber{kScript};
    SweepCamera m_camera;
};

class SweptArray final : public Swept {
public:
    SweptArray() {
        for (std::size_t i = 0; i < m_stations.size(); ++i) {
            m_cameras[i].SetBufferFactory(&m_memory, Zelmo::Cleanup_None);
            m_cameras[i].MaxNumBuffer.SetValue(3);
            Add(m_stations[i].device, m_cameras[i]);
        }
    }
    ~SweptArray() override { m_cameras.Initialize(0); }

    Outcome Run() override {
        Outcome outcome;
        const auto run = [&outcome](auto&& step) {
            try {
                step();
            } catch (const std::exception& e) {
                outcome.failure += e.what();
            } catch (...) {
                outcome.failure += "something else";
            }
        };
        run([&] {
            for (std::size_t i = 0; i < m_stations.size(); ++i) {
                m_cameras[i].Attach(&m_stations[i].device, Zelmo::Cleanup_None);
            }
            m_cameras.StartGrabbing();
            Zelmo::CGrabResultPtr result;
            while (outcome.images < kImages && m_cameras.RetrieveResult(10000, result)) {
                ++outcome.images;
            }
        });
        run([&] { m_cameras.StopGrabbing(); });
        run([&] { m_cameras.DetachDevice(); });
        return outcome;
    }
    bool IsIdle() override {
        bool isIdle = !m_cameras.IsGrabbing();
        for (std::size_t i = 0; i < m_cameras.GetSize(); ++i) {
            isIdle = isIdle && !m_cameras[i].IsGrabbing() && !m_cameras[i].IsZelmoDeviceAttached() &&
                     GenApi::IsWritable(m_cameras[i].MaxNumBuffer);
        }
        return isIdle;
    }
    int BuffersAlive() const override { return m_memory.alive; }

private:
    struct Station {
        Fakes::CScriptedStreamGrabber grabber{kScript};
        SweptDevice device{grabber};
    };

    CountedMemory m_memory;
    std::array<Station, 2> m_stations;
    Zelmo::CInstantCameraArray m_cameras{2};
};

struct Kind {
    const char* name;
    std::unique_ptr<Swept> (*make)();
};
const Kind kKinds[]{
    {"camera",
     []() -> std::unique_ptr<Swept> { return std::make_unique<SweptCamera>(Zelmo::GrabLoop_ProvidedByUser); }},
    {"loop",
     []() -> std::unique_ptr<Swept> { return std::make_unique<SweptCamera>(Zelmo::GrabLoop_ProvidedByInstantCamera); }},
    {"array", []() -> std::unique_ptr<Swept> { return std::make_unique<SweptArray>(); }},
};

class DataSweep : public testing::TestWithParam<std::tuple<Throw, Kind>> {
protected:
    Outcome Run() {
        for (const auto& data : m_swept->data) {
            data->Refill();
        }
        return m_swept->Run();
    }
    /// What is left of a life.
    std::string FindLeft() const {
        std::string left;
        for (const auto& data : m_swept->data) {
            left += data->ParsersAlive() != 0 ? "parsers " : "";
            left += data->IsClosed() ? "" : "events ";
        }
        left += m_swept->BuffersAlive() != 0 ? "buffers " : "";
        return left + (m_swept->IsIdle() ? "" : "grabbing ");
    }

    const std::unique_ptr<Swept> m_swept = std::get<Kind>(GetParam()).make();
};

/// One life with a call that fails, of chunks and events too, and a plain one behind it, for each call.
TEST_P(DataSweep, WhateverCallFailsNothingIsLeftBehind) {
    const Throw& thrown = std::get<Throw>(GetParam());
    const bool isLoop = std::get<Kind>(GetParam()).name == std::string("loop"); // whose failures are told elsewhere
    for (int life = 0; life < 3; ++life) { // until the thread that lasts from life to life has all that it needs
        ASSERT_EQ(Run().images, kImages);
    }
    const unsigned eventsOfLife = m_swept->events / 3;
    ASSERT_EQ(eventsOfLife, 3 * m_swept->devices.size());
    const ProcessResources before;
    bool struck = true;
    unsigned failures = 0;
    for (unsigned n = 1; struck; n += kSweepStep) {
        SCOPED_TRACE(n);
        std::atomic<unsigned> calls{0};
        for (SweptDevice* const device : m_swept->devices) {
            device->hook = [&] {
                if (++calls == n) {
                    thrown.second();
                }
            };
        }
        const Outcome outcome = Run();
        for (SweptDevice* const device : m_swept->devices) {
            device->hook = nullptr;
            device->TidyUp();
        }
        struck = calls >= n;
        failures += outcome.failure.empty() ? 0 : 1;
        ASSERT_TRUE(outcome.images == kImages || !outcome.failure.empty() || (isLoop && struck)) << outcome.images;
        ASSERT_EQ(FindLeft(), "") << outcome.failure;
        m_swept->events = 0;
        const Outcome next = Run();
        ASSERT_EQ(next.failure, "");
        ASSERT_EQ(next.images, kImages);
        ASSERT_EQ(m_swept->events, eventsOfLife);
        ASSERT_EQ(FindLeft(), "");
        ASSERT_TRUE(ProcessResources::AreBackTo(before));
    }
    EXPECT_GT(failures * kSweepStep, 20U);
}

INSTANTIATE_TEST_SUITE_P(Calls, DataSweep, testing::Combine(testing::ValuesIn(kThrows), testing::ValuesIn(kKinds)),
                         [](const auto& given) {
                             return std::string(std::get<Throw>(given.param).first) + "_" +
                                    std::get<Kind>(given.param).name;
                         });

} // namespace
