// SPDX-License-Identifier: Apache-2.0

// Lives with chunks and events, of a camera and of an array, in which the n-th call of a device or the n-th allocation
// fails, for each n.

#include "ScarceResources.h"
#include "SweepData.h"

#include "fakes/transport/NullTransport.h"

#include <zelmo/HandlerRegistration.h>
#include <zelmo/InstantCameraArray.h>

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace {

/// Sends images with chunks, whatever they are.
struct ChunkSource {
    ChunkSource() { grabber.SetContent(std::vector<std::uint8_t>(1024)); }

    Fakes::CNullStreamGrabber grabber{Fakes::CNullStreamGrabber::EPace::Free};
};

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
    explicit SweptCamera(Zelmo::EGrabLoop loop) : m_camera(m_source.grabber, Zelmo::GrabStrategy_OneByOne, loop) {
        Add(m_camera.device, m_camera.Object());
    }
    Outcome Run() override { return m_camera.Run(); }
    bool IsIdle() override { return m_camera.IsIdle(); }
    int BuffersAlive() const override { return m_camera.BuffersAlive(); }

private:
    ChunkSource m_source;
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
        ChunkSource source;
        SweptDevice device{source.grabber};
    };

    CountedMemory m_memory;
    std::array<Station, 2> m_stations;
    Zelmo::CInstantCameraArray m_cameras{2};
};

struct Kind {
    const char* name;
    bool hasLoop; // which is told of failures that the caller is not told of
    std::unique_ptr<Swept> (*make)();
};
const Kind kKinds[]{
    {"camera", false,
     []() -> std::unique_ptr<Swept> { return std::make_unique<SweptCamera>(Zelmo::GrabLoop_ProvidedByUser); }},
    {"loop", true,
     []() -> std::unique_ptr<Swept> { return std::make_unique<SweptCamera>(Zelmo::GrabLoop_ProvidedByInstantCamera); }},
    {"array", false, []() -> std::unique_ptr<Swept> { return std::make_unique<SweptArray>(); }},
};

/// Lives of one kind.
class Lives {
protected:
    explicit Lives(const Kind& kind) : m_swept(kind.make()) {}

    /// Until the thread that lasts from life to life has all that it needs.
    void WarmUp() {
        for (int life = 0; life < 3; ++life) {
            ASSERT_EQ(RunLife().images, kImages);
            ASSERT_EQ(m_swept->events, 3 * m_swept->devices.size());
        }
    }
    /// A plain life, behind one with a failure.
    void ExpectWell(const ProcessResources& before) {
        const Outcome next = RunLife();
        ASSERT_EQ(next.failure, "");
        ASSERT_EQ(next.images, kImages);
        ASSERT_EQ(m_swept->events, 3 * m_swept->devices.size());
        ASSERT_EQ(FindLeft(), "");
        ASSERT_TRUE(ProcessResources::AreBackTo(before));
    }
    Outcome RunLife() {
        m_swept->events = 0;
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

    const std::unique_ptr<Swept> m_swept;
};

class DataSweep : public testing::TestWithParam<std::tuple<Throw, Kind>>, protected Lives {
protected:
    DataSweep() : Lives(std::get<Kind>(GetParam())) {}
};

/// One life with a call that fails, of chunks and events too, and a plain one behind it, for each call.
TEST_P(DataSweep, WhateverCallFailsNothingIsLeftBehind) {
    const auto& [thrown, kind] = GetParam();
    ASSERT_NO_FATAL_FAILURE(WarmUp());
    const ProcessResources before;
    bool struck = true;
    unsigned failures = 0;
    for (unsigned n = 1; struck; n += kSweepStep) {
        SCOPED_TRACE(n);
        std::atomic<unsigned> calls{0};
        for (SweptDevice* const device : m_swept->devices) {
            device->hook = [&calls, n, &fail = thrown.second] {
                if (++calls == n) {
                    fail();
                }
            };
        }
        const Outcome outcome = RunLife();
        for (SweptDevice* const device : m_swept->devices) {
            device->hook = nullptr;
            device->TidyUp();
        }
        struck = calls >= n;
        failures += outcome.failure.empty() ? 0 : 1;
        ASSERT_TRUE(outcome.images == kImages || !outcome.failure.empty() || (kind.hasLoop && struck));
        ASSERT_EQ(FindLeft(), "") << outcome.failure;
        ASSERT_NO_FATAL_FAILURE(ExpectWell(before));
    }
    EXPECT_GT(failures * kSweepStep, 20U);
}

INSTANTIATE_TEST_SUITE_P(Calls, DataSweep, testing::Combine(testing::ValuesIn(kThrows), testing::ValuesIn(kKinds)),
                         [](const auto& given) {
                             return std::string(std::get<Throw>(given.param).first) + "_" +
                                    std::get<Kind>(given.param).name;
                         });

class DataResourceSweep : public testing::TestWithParam<Kind>, protected Lives {
protected:
    DataResourceSweep() : Lives(GetParam()) {}
};

TEST_P(DataResourceSweep, LackOfMemoryIsToldAndNothingIsLeftBehind) {
    ASSERT_NO_FATAL_FAILURE(WarmUp());
    const ProcessResources before;
    bool struck = true;
    for (unsigned long n = 1; struck; n += kSweepStep) {
        SCOPED_TRACE(n);
        for (const auto& data : m_swept->data) {
            data->Refill();
        }
        ScarceResources::Arm({"new", 0, n});
        const Outcome outcome = m_swept->Run();
        struck = ScarceResources::Disarm();
        ASSERT_TRUE(outcome.images == kImages || !outcome.failure.empty() || (GetParam().hasLoop && struck));
        ASSERT_EQ(FindLeft(), "") << outcome.failure;
        ASSERT_NO_FATAL_FAILURE(ExpectWell(before));
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, DataResourceSweep, testing::ValuesIn(kKinds),
                         [](const auto& given) { return std::string(given.param.name); });

} // namespace
