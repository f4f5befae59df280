// SPDX-License-Identifier: Apache-2.0
#include "ScriptedCamera.h"
#include "fakes/Failure.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>
#include <vector>

using namespace Zelmo;
using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

class GrabbingComfortsTest : public ScriptedCamera {
protected:
    /// Whether nothing is left of a session: another one can be had.
    bool IsFree() {
        CGrabResultPtr result;
        return !camera.IsGrabbing() && GrabOne(camera, 5s, result);
    }
};

TEST(ChronoWaitsTest, LimitsAreRoundedUpAndNeverWithoutEndByMistake) {
    EXPECT_EQ(ToTimeoutMs(1ns), 1u);
    EXPECT_EQ(ToTimeoutMs(1ms), 1u);
    EXPECT_EQ(ToTimeoutMs(1000001ns), 2u);
    EXPECT_EQ(ToTimeoutMs(std::chrono::duration<float>(0.25f)), 250u);
    EXPECT_EQ(ToTimeoutMs(std::chrono::duration<unsigned, std::ratio<1, 3>>(1)), 334u);
    EXPECT_EQ(ToTimeoutMs(0s) + ToTimeoutMs(-5h) + ToTimeoutMs(std::chrono::seconds::min()), 0u);
    EXPECT_EQ(ToTimeoutMs(4294967294ms), WaitTimeoutInfinite - 1);
    EXPECT_EQ(ToTimeoutMs(4294967293001us), WaitTimeoutInfinite - 1);
    EXPECT_EQ(ToTimeoutMs(kNoTimeLimit), WaitTimeoutInfinite);
    using Seconds = std::chrono::duration<double>;
    for (const auto tooLong : {Seconds(4294967.2945), Seconds(std::chrono::hours::max()),
                               Seconds(std::numeric_limits<double>::infinity()), Seconds(std::nan(""))}) {
        EXPECT_THROW(ToTimeoutMs(tooLong), GenICam::OutOfRangeException) << tooLong.count();
    }
    EXPECT_THROW(ToTimeoutMs(std::chrono::milliseconds::max() - 1ms), GenICam::OutOfRangeException);
    EXPECT_EQ(Fakes::FailureOf<GenICam::OutOfRangeException>([] { ToTimeoutMs(4294967295ms); }),
              "Cannot wait for 4294967295 milliseconds: the longest limit is 4294967294; kNoTimeLimit waits without "
              "end.");
}

TEST_F(GrabbingComfortsTest, WaitsTakeDurations) {
    WaitObjectEx flag = WaitObjectEx::Create();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(Wait(flag, 1500us));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 1500us);
    flag.Signal();
    EXPECT_TRUE(Wait(flag, kNoTimeLimit));
    Attach("");
    camera.StartGrabbing();
    CGrabResultPtr result;
    EXPECT_THROW(RetrieveResult(camera, 1us, result), GenICam::TimeoutException);
    EXPECT_FALSE(RetrieveResult(camera, 0s, result, TimeoutHandling_Return));
    EXPECT_TRUE(WaitForFrameTriggerReady(camera, 5s)) << "the software trigger is done";
    camera.ExecuteSoftwareTrigger();
    EXPECT_TRUE(RetrieveResult(camera, 5min, result));
    camera.StopGrabbing();
    EXPECT_FALSE(GrabOne(camera, 1ms, result, TimeoutHandling_Return));
}

TEST_F(GrabbingComfortsTest, LoopHasAsManyResultsAsAskedForFailedOnesToo) {
    Attach("source=free;Frame:2:fail");
    std::vector<std::pair<std::int64_t, bool>> seen;
    for (const CGrabResultPtr& image : GrabResults(camera, 4, 5s)) {
        EXPECT_TRUE(image.IsUnique());
        seen.emplace_back(image->GetImageNumber(), image->GrabSucceeded());
    }
    EXPECT_THAT(seen, ElementsAre(std::pair(1, true), std::pair(2, false), std::pair(3, true), std::pair(4, true)));
    EXPECT_TRUE(IsFree());
    EXPECT_THROW((void)GrabResults(camera, 0, 5s).begin(), GenICam::OutOfRangeException);
}

TEST_F(GrabbingComfortsTest, HoweverTheLoopIsLeftTheSessionEnds) {
    Attach("source=free");
    for (const CGrabResultPtr& image : GrabResults(camera, 100, 5s)) {
        if (image->GetImageNumber() == 2) {
            break;
        }
    }
    EXPECT_TRUE(IsFree());
    const auto fail = [this] {
        for (const CGrabResultPtr& image : GrabResults(camera, 100, 5s)) {
            throw std::out_of_range("in the body of " + std::to_string(image->GetImageNumber()));
        }
    };
    EXPECT_THROW(fail(), std::out_of_range);
    EXPECT_TRUE(IsFree());
    device->Grabber().SetScript("source=free;frames=3"); // then no more
    int count = 0;
    const auto grab = [&] {
        for (const CGrabResultPtr& image : GrabResults(camera, 100, 50ms)) {
            count += image.IsValid() ? 1 : 0;
        }
    };
    EXPECT_EQ(Fakes::FailureOf<GenICam::TimeoutException>(grab), "Grab timed out.");
    EXPECT_EQ(count, 3);
    EXPECT_FALSE(camera.IsGrabbing());
}

TEST_F(GrabbingComfortsTest, StopFromElsewhereEndsTheLoopAndItsSuccessorGoesOn) {
    Attach("source=free");
    int count = 0;
    for (const CGrabResultPtr& image : GrabResults(camera, 100, 5s)) {
        count += image.IsValid() ? 1 : 0;
        if (count == 3) {
            camera.StopGrabbing();
        }
    }
    EXPECT_EQ(count, 3);
    for (const CGrabResultPtr& image : GrabResults(camera, 2, 5s)) {
        if (image->GetImageNumber() == 2) { // the session is over
            camera.StartGrabbing();
        }
    }
    EXPECT_TRUE(camera.IsGrabbing()) << "it is not the loop's";
    CGrabResultPtr result;
    EXPECT_TRUE(RetrieveResult(camera, 5s, result));
}

TEST_F(GrabbingComfortsTest, StatisticsLeaveOutWhatNobodyCounts) {
    Attach("");
    EXPECT_THROW(ReadStatistics(camera), GenICam::RuntimeException) << "of a closed camera";
    camera.Open();
    const CGrabCounter counter(camera);
    const auto skippedOf = [&](std::uint64_t frames) { // of which one at least must be
        camera.StartGrabbing(GrabStrategy_LatestImageOnly);
        EXPECT_TRUE(device->Grabber().WaitForQueued(5));
        const std::uint64_t calls = device->Grabber().Calls(Fakes::EOperation::RetrieveResult);
        device->Grabber().Deliver(frames);
        while (device->Grabber().Calls(Fakes::EOperation::RetrieveResult) < calls + frames) {
            std::this_thread::yield();
        }
        std::uint64_t retrieved = 0;
        CGrabResultPtr result;
        for (std::uint64_t seen = 0; seen < frames && RetrieveResult(camera, 5s, result); ++retrieved) {
            seen += 1 + static_cast<std::uint64_t>(result->GetNumberOfSkippedImages());
        }
        camera.StopGrabbing();
        return frames - retrieved;
    };
    const std::uint64_t skippedAtFirst = skippedOf(5);
    EXPECT_GT(skippedAtFirst, 0u);
    const CGrabStatistics statistics = ReadStatistics(camera, counter);
    EXPECT_EQ(statistics.skipped, skippedAtFirst);
    EXPECT_FALSE(statistics.delivered || statistics.failed || statistics.lost || statistics.underruns);
    const std::uint64_t skippedThen = skippedOf(4);
    EXPECT_EQ(ReadStatistics(camera, counter).skipped, skippedThen) << "each session for itself";
    EXPECT_FALSE(ReadStatistics(camera).skipped);
}

} // namespace
