// SPDX-License-Identifier: Apache-2.0
#include <core/AcquisitionClock.h>
#include <core/BigEndian.h>
#include <core/FrameStream.h>
#include <core/Trigger.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace CamEmu;
using namespace std::chrono_literals;

namespace {

TEST(AcquisitionClockTest, DoesNotDriftOverMillionsOfFramesNorMillennia) {
    CAcquisitionClock clock;
    clock.Start(1000, 3.0); // a period of 333333333.3… ns
    for (int i = 0; i < 3'000'000; ++i) {
        clock.Advance();
    }
    EXPECT_EQ(clock.DueNs(), 1000 + 1'000'000'000'000'000);
    clock.Start(0, 1000.0 / 12'582'912); // the largest image over the slowest link
    for (int i = 0; i < 10'000; ++i) {
        clock.Advance();
    }
    EXPECT_NEAR(static_cast<double>(clock.DueNs()), 1e4 * 12582912e6, 1e3);
}

TEST(AcquisitionClockTest, ANewRateCountsFromTheLastFrame) {
    CAcquisitionClock clock;
    clock.Start(0, 10);
    for (int i = 0; i < 5; ++i) {
        clock.Advance(); // the last one at 400 ms
    }
    clock.SetRate(100);
    EXPECT_EQ(clock.DueNs(), 410'000'000);
    clock.SetRate(100);
    EXPECT_EQ(clock.DueNs(), 410'000'000);
}

TEST(AcquisitionClockTest, CatchesUpAShortDelayAndSkipsALongOne) {
    CAcquisitionClock clock;
    clock.Start(0, 10);
    EXPECT_EQ(clock.SkipBehind(1'000'000'000, 1'000'000'000), 0u);
    EXPECT_EQ(clock.SkipBehind(5'050'000'000, 1'000'000'000), 50u);
    EXPECT_EQ(clock.DueNs(), 5'000'000'000) << "in step with the frames before";
}

TEST(AcquisitionClockTest, AfterAHoldTheNextFrameIsDueAtOnceButNotBeforeItsPeriod) {
    CAcquisitionClock clock;
    clock.Resume(5);
    EXPECT_FALSE(clock.IsRunning());
    clock.Start(0, 10);
    clock.Advance();
    clock.Resume(20'000'000);
    EXPECT_EQ(clock.DueNs(), 100'000'000);
    clock.Advance();
    clock.Resume(7'000'000'000);
    EXPECT_EQ(clock.DueNs(), 7'000'000'000);
    EXPECT_EQ(clock.SkipBehind(7'000'000'000, 0), 0u);
}

/// Collects what comes back; queues buffers again on request.
class CollectingSink final : public IFrameSink {
public:
    explicit CollectingSink(CFrameStream& stream) : m_stream(stream) {}

    void OnFrame(const CFrame& frame) noexcept override {
        const std::lock_guard lock(m_lock);
        m_frames.push_back(frame);
        std::this_thread::sleep_for(m_delay);
        if (m_requeue && frame.status == EFrameStatus::Complete) {
            m_stream.Queue(frame.buffer);
        }
        m_arrived.notify_all();
    }
    bool WaitFor(std::size_t frames) {
        std::unique_lock lock(m_lock);
        return m_arrived.wait_for(lock, 60s, [&] { return m_frames.size() >= frames; });
    }
    std::vector<CFrame> Frames() const {
        const std::lock_guard lock(m_lock);
        return m_frames;
    }
    std::size_t Count(EFrameStatus status) const {
        const std::lock_guard lock(m_lock);
        return static_cast<std::size_t>(
            std::count_if(m_frames.begin(), m_frames.end(), [=](const CFrame& f) { return f.status == status; }));
    }
    std::atomic<bool> m_requeue = false;
    std::chrono::milliseconds m_delay{0}; // of a slow host

private:
    CFrameStream& m_stream;
    mutable std::mutex m_lock;
    std::condition_variable m_arrived;
    std::vector<CFrame> m_frames;
};

class FrameStreamTest : public ::testing::Test {
protected:
    void Configure(double rateHz) { // 0: no limit
        m_settings.rateLimited = rateHz > 0;
        m_settings.rateHz = rateHz > 0 ? rateHz : 1;
        m_settings.exposureUs = 10;
        m_settings.testImage = ETestImage::FrameCounter;
        m_stream.Apply(m_settings);
    }
    void Queue(std::size_t count, std::size_t sizeBytes = 64 * 4) {
        for (std::size_t i = 0; i < count; ++i) {
            m_memory.push_back(std::make_unique<std::vector<std::uint8_t>>(sizeBytes, 0xEE));
            m_stream.Queue({*m_memory.back(), m_memory.back().get()});
        }
    }
    const CImageFormat m_format{64, 4, 0, 0, &PixelFormats()[0]};
    CFrameSettings m_settings;
    std::vector<std::unique_ptr<std::vector<std::uint8_t>>> m_memory;
    CFrameStream m_stream{1};
    CollectingSink m_sink{m_stream};
};

TEST_F(FrameStreamTest, PacedFramesAreStampedExactlyOnePeriodApart) {
    m_settings.linkBytesPerSecond = m_format.PayloadSize() * 700;
    Configure(0);
    Queue(50);
    m_stream.Start(m_format, m_sink);
    m_stream.StartAcquisition(50);
    ASSERT_TRUE(m_sink.WaitFor(50));
    m_stream.Stop();
    const auto frames = m_sink.Frames();
    for (std::size_t i = 1; i < frames.size(); ++i) {
        if (m_stream.Counters().lost == 0) { // else the host stood still for a second
            EXPECT_EQ(frames[i].timestampNs - frames[0].timestampNs, std::llround(static_cast<double>(i) * 1e9 / 700));
        }
        EXPECT_GT(frames[i].timestampNs, frames[i - 1].timestampNs);
    }
}

TEST_F(FrameStreamTest, TimeStampsOfFramesAndTheirChunksCountFromTheSameOrigin) {
    m_settings.chunks = {true, 1u << static_cast<std::uint32_t>(EChunk::Timestamp)};
    m_settings.region = {32, 2, 4, 6, &PixelFormats()[0]};
    Configure(0);
    Queue(2);
    m_stream.Start(m_format, m_sink);
    const std::int64_t originNs = MonotonicNs();
    m_stream.SetTimeOrigin(originNs);
    m_stream.StartAcquisition(1);
    ASSERT_TRUE(m_sink.WaitFor(1));
    const CFrame frame = m_sink.Frames()[0];
    EXPECT_LE(frame.timestampNs, MonotonicNs() - originNs);
    EXPECT_EQ(frame.region, m_settings.region);
    EXPECT_EQ(frame.chunks, m_settings.chunks.enabled);
    const std::uint8_t* const chunk = m_memory[0]->data() + frame.payloadSize - 16; // before its id and length
    EXPECT_EQ(std::uint64_t{GetBigEndian32(chunk)} << 32 | GetBigEndian32(chunk + 4),
              static_cast<std::uint64_t>(frame.timestampNs));
    m_stream.SetTimeOrigin(INT64_MAX);
    m_stream.StartAcquisition(1);
    ASSERT_TRUE(m_sink.WaitFor(2));
    EXPECT_EQ(m_sink.Frames()[1].timestampNs, 0) << "began before the origin";
}

TEST_F(FrameStreamTest, AHostThatIsTooSlowLosesFramesOfTheBurstButNoneBeyondIt) {
    CTriggerSettings triggers;
    triggers.triggers[static_cast<std::size_t>(ETrigger::FrameBurstStart)].isOn = true;
    triggers.burstFrames = 5;
    m_stream.ApplyTriggers(triggers);
    Configure(1000);
    Queue(8);
    m_sink.m_delay = 1200ms; // more than a frame may be late
    m_stream.Start(m_format, m_sink);
    m_stream.StartAcquisition(0);
    m_stream.FireSoftwareTrigger(ETrigger::FrameBurstStart);
    ASSERT_TRUE(m_sink.WaitFor(2));
    m_stream.Stop();
    EXPECT_EQ(m_stream.Counters().begun, 5u);
    EXPECT_EQ(m_stream.Counters().lost, 3u);
    EXPECT_FALSE(m_stream.Status().isFrameActive);
    EXPECT_TRUE(m_stream.Status().waitsForTrigger);
}

TEST(TriggersTest, AnActionIsTakenByTheTriggersThatHaveItAsTheirSource) {
    CTriggers triggers;
    CTriggerSettings settings;
    settings.triggers = {{{true, ETriggerSource::Action2}, {true, ETriggerSource::Action1}, {}}};
    triggers.Apply(settings);
    triggers.FireAction(0, 5);
    EXPECT_FALSE(triggers.IsReadyFor(ETrigger::FrameStart)) << "nothing is acquired";
    triggers.Arm();
    triggers.FireAction(1, 6);
    EXPECT_EQ(triggers.Missed(), 1u) << "the burst was not triggered";
    triggers.FireAction(0, 7);
    EXPECT_FALSE(triggers.MayFrameBegin());
    triggers.FireAction(1, 8);
    EXPECT_TRUE(triggers.MayFrameBegin());
    EXPECT_EQ(triggers.ExposedSinceNs(), 8);
}

TEST_F(FrameStreamTest, ABufferTooSmallFailsAndIsNotTouched) {
    Configure(0);
    m_stream.Start(m_format, m_sink);
    Queue(1, 64 * 4 - 1);
    Queue(1);
    m_stream.StartAcquisition(0);
    ASSERT_TRUE(m_sink.WaitFor(2));
    m_stream.Stop();
    EXPECT_EQ(m_sink.Frames()[0].status, EFrameStatus::TooSmall);
    EXPECT_EQ(*m_memory[0], std::vector<std::uint8_t>(64 * 4 - 1, 0xEE));
    EXPECT_EQ(m_sink.Frames()[1].status, EFrameStatus::Complete);
    EXPECT_EQ(m_stream.Counters().failed, 1u);
}

TEST_F(FrameStreamTest, CancellingEndsAlthoughTheStreamNeverRunsDry) {
    Configure(0);
    m_sink.m_requeue = true;
    m_stream.Start(m_format, m_sink);
    m_stream.StartAcquisition(0);
    for (int i = 0; i < 50; ++i) {
        Queue(3);
        ASSERT_TRUE(m_sink.WaitFor(m_sink.Frames().size() + 5));
        m_stream.CancelQueued(m_sink);
    }
    m_stream.Stop();
    EXPECT_GT(m_sink.Count(EFrameStatus::Cancelled), 0u);
    EXPECT_EQ(m_stream.Counters().lost, 0u);
}

} // namespace
