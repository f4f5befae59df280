// SPDX-License-Identifier: Apache-2.0

// What an application's own memory sees of a grab's end. ZELMO_TEST_CYCLES is how many of the full hundred thousand are
// run; a hundredth unless it is set.

#include "GigE.h"

#include <fakes/Cycles.h>
#include <fakes/Unmappable.h>
#include <zelmo/zelmo.h>

#include <chrono>
#include <mutex>
#include <random>
#include <thread>

using namespace GigE;
using namespace Zelmo;

namespace {

/// Memory that is gone once it was given back.
class UnmappingFactory final : public IBufferFactory {
public:
    void AllocateBuffer(std::size_t sizeBytes, void** buffer, long& context) override {
        const std::lock_guard guard(m_lock);
        m_buffers.push_back(std::make_unique<Fakes::Unmappable>(sizeBytes));
        *buffer = m_buffers.back()->Address();
        context = static_cast<long>(m_buffers.size() - 1);
    }
    void FreeBuffer(void* /*buffer*/, long context) override {
        const std::lock_guard guard(m_lock);
        m_buffers[static_cast<std::size_t>(context)]->Take();
        ++m_freed;
    }
    void DestroyBufferFactory() override {}

    /// Of all that were handed out none may be away; they are unmapped for good.
    void ExpectAllBack() {
        const std::lock_guard guard(m_lock);
        EXPECT_EQ(m_freed, m_buffers.size());
        m_buffers.clear();
        m_freed = 0;
    }

private:
    std::mutex m_lock;
    std::vector<std::unique_ptr<Fakes::Unmappable>> m_buffers;
    std::size_t m_freed = 0;
};

class GigEBufferTest : public testing::Test {
protected:
    enum class EEnd { Stop, Close, Destroy, Silence };
    static constexpr EGrabStrategy kStrategies[] = {GrabStrategy_OneByOne, GrabStrategy_LatestImageOnly,
                                                    GrabStrategy_LatestImages, GrabStrategy_UpcomingImage};

    void Open(EEnd end) {
        m_camera.emplace((end == EEnd::Silence ? CreateImpatient() : Create()).release(), Cleanup_Delete);
        m_camera->SetBufferFactory(&m_factory, Cleanup_None);
        m_camera->Open();
        for (const auto& [name, value] : {std::pair("Width", "64"),
                                          {"Height", "48"},
                                          {"TestImageSelector", "FrameCounter"},
                                          {"AcquisitionFrameRateEnable", "0"}}) {
            GenApi::CValuePtr(m_camera->GetNodeMap(), name)->FromString(value);
        }
        m_camera->MaxNumBuffer.SetValue(4);
    }
    /// Grabs by one of the strategies, ends it at some moment and in that way, and looks at what is still held then.
    void Cycle(EGrabStrategy strategy, EEnd end) {
        if (!m_camera) {
            Open(end);
        }
        std::vector<CGrabResultPtr> held;
        m_camera->StartGrabbing(strategy);
        for (unsigned wanted = m_random() % 3; held.size() < wanted;) {
            CGrabResultPtr result;
            ASSERT_TRUE(m_camera->RetrieveResult(60000, result));
            held.push_back(result);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(m_random() % 3000));
        End(end);
        for (CGrabResultPtr& result : held) {
            ExpectIntact(result);
            result.Release();
        }
        m_factory.ExpectAllBack();
    }
    void End(EEnd end) {
        if (end == EEnd::Silence) {
            m_served.Stop();
            while (!m_camera->IsCameraDeviceRemoved()) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }
        if (end == EEnd::Stop) {
            m_camera->StopGrabbing();
        } else if (end == EEnd::Close) {
            m_camera->Close();
        } else {
            m_camera->DestroyDevice();
        }
        if (end != EEnd::Stop) {
            m_camera.reset();
        }
        if (end == EEnd::Silence) {
            m_served.Continue();
        }
    }
    void ExpectIntact(const CGrabResultPtr& result) {
        if (result->GrabSucceeded()) {
            CamEmu::CFrameRecord record;
            EXPECT_EQ(
                CamEmu::CheckFrame({static_cast<std::uint8_t*>(result->GetBuffer()), result->GetPayloadSize()}, record),
                CamEmu::EFrameCheck::Intact);
            ++m_intact;
        }
    }

    Served m_served{1, {"--rate", "20000000"}};
    const Library m_library;
    UnmappingFactory m_factory; // needed until the last result is gone
    std::optional<CInstantCamera> m_camera;
    std::mt19937 m_random{1};
    int m_intact = 0;
};

TEST_F(GigEBufferTest, NobodyWritesIntoMemoryThatWasGivenBack) {
    const int cycles = Fakes::CyclesOf(10000);
    for (int cycle = 0; cycle < cycles; ++cycle) {
        SCOPED_TRACE(cycle);
        Cycle(kStrategies[cycle % 4], static_cast<EEnd>(m_random() % 3));
        if (cycle % 100 == 99) {
            m_served.Type("faults"); // reads what it has told, which would fill the pipe and stop it
        }
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(m_intact, cycles / 2);
}

TEST_F(GigEBufferTest, NorWhenTheCameraIsRemoved) {
    for (int cycle = 0; cycle < Fakes::CyclesOf(400); ++cycle) {
        SCOPED_TRACE(cycle);
        Cycle(kStrategies[cycle % 4], EEnd::Silence);
        ASSERT_FALSE(HasFailure());
    }
}

} // namespace
