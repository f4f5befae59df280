// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/core/ScopeGuard.h"
#include "camera/GrabSupport.h"
#include "camera/SessionOwner.h"
#include "fakes/ScarceMemory.h"

#include <future>
#include <signal.h>

using namespace Zelmo;
using Fakes::EOperation;
using Numbers = std::vector<std::int64_t>;

namespace {

constexpr unsigned kPatience = 10000; // ms
constexpr auto kRaises = TimeoutHandling_ThrowException;

/// Writes down what the session asks for.
class ToldOwner final : public SessionOwner {
public:
    ToldOwner(const CInstantCamera* camera, std::atomic<int>& countReached)
        : SessionOwner(camera), m_countReached(countReached) {}
    void OnGrabError(const char* message) noexcept override { events += message; }
    void StopCamera() override {
        events += " stop";
        session.Stop();
    }
    void OnGrabCountReached() override { ++m_countReached; }

    std::string events;

private:
    std::atomic<int>& m_countReached;
};

class GrabSessionTest : public GrabTest {
protected:
    CGrabEngine& Engine() override { return m_session->GetEngine(); }
    void Start(const CGrabSettings& settings = {}, unsigned long records = 4294967295) {
        m_owner.Start(m_grabber, settings, records);
    }
    bool Retrieve(unsigned ms = kPatience) { return m_session->Retrieve(ms, m_result, TimeoutHandling_Return); }
    /// Image number, id, skipped images and block id of the next result; nothing without one.
    Numbers Next() { return Next(m_result); }
    Numbers Next(CGrabResultPtr& result) {
        if (!m_session->Retrieve(kPatience, result, TimeoutHandling_Return)) {
            return {};
        }
        return {result->GetImageNumber(), result->GetID(), result->GetNumberOfSkippedImages(),
                static_cast<std::int64_t>(result->GetBlockID())};
    }
    std::string Failure(unsigned ms = 0) { // of a call with another pointer
        CGrabResultPtr other;
        return Fakes::FailureOf<GenICam::GenericException>([&] { m_session->Retrieve(ms, other, kRaises); });
    }
    /// What a thread gets that is inside Retrieve by the end of this call.
    std::future<Numbers> Waiter() {
        auto next = std::async(std::launch::async, [this] {
            for (;;) {
                try {
                    return Next(m_waitersResult);
                } catch (const GenICam::RuntimeException&) { // it met the look from below
                }
            }
        });
        EXPECT_TRUE(Eventually([&] { return Failure() == "There is already a thread waiting for a result."; }));
        return next;
    }

    ToldOwner m_owner{m_camera, m_countReached};
    std::string& m_events = m_owner.events;
    CCameraLock& m_cameraLock = m_owner.cameraLock;
    CGrabSession* const m_session = &m_owner.session;
    CGrabResultPtr m_result;
    CGrabResultPtr m_waitersResult;
};

TEST_F(GrabSessionTest, ResultsCarryTheirNumbersAndGoWithTheNextCall) {
    UseApplicationMemory();
    for (const std::int64_t before : {0, 5}) {
        Start({.strategy = GrabStrategy_LatestImageOnly});
        m_grabber.Deliver(4);
        ASSERT_TRUE(Settles(1, 9));
        EXPECT_EQ(Next(), (Numbers{1, before + 4, 3, before + 3}));
        m_grabber.Deliver();
        EXPECT_EQ(Next(), (Numbers{2, before + 5, 0, before + 4}));
        EXPECT_EQ(m_result->GetCameraContext(), 42);
        m_session->Stop();
        EXPECT_EQ(m_story.alive, 1U);
        EXPECT_FALSE(m_session->Retrieve(kPatience, m_result, kRaises));
        EXPECT_FALSE(m_result.IsValid());
        EXPECT_EQ(m_story.alive, 0);
    }
}

TEST_F(GrabSessionTest, CountedSessionEndsWithItsLastImage) {
    UseApplicationMemory();
    for (const auto& [strategy, buffers] :
         {std::pair(GrabStrategy_OneByOne, 3U), {GrabStrategy_LatestImageOnly, 10U}}) {
        m_result.Release();
        Start({strategy, 3, buffers});
        EXPECT_EQ(m_story.alive, buffers);
        for (int image = 1; image <= 3; ++image) {
            EXPECT_EQ(m_grabber.Deliver(), 1);
            EXPECT_TRUE(Retrieve());
        }
        EXPECT_FALSE(m_session->IsGrabbing() || m_grabber.IsOpen());
    }
    EXPECT_EQ(m_events, " stop stop");
}

TEST_F(GrabSessionTest, TimeoutIsToldAsAskedFor) {
    Start({GrabStrategy_OneByOne, 0, 1});
    EXPECT_EQ(Failure(0), "Grab timed out.");
    EXPECT_EQ(m_log.Count("zelmo.base.InstantCamera", GenICam::LogPriority_Info), 0u);
    EXPECT_FALSE(Retrieve(0) || Retrieve(7));
    EXPECT_TRUE(m_log.Contains("zelmo.base.InstantCamera", GenICam::LogPriority_Info,
                               "Camera 0xca: Grab timed out. timeout=7 queued_buffers=1"));
    EXPECT_EQ(m_grabber.Deliver(), 1);
    EXPECT_TRUE(Retrieve());
    EXPECT_EQ(Failure(1), "Grab timed out. No buffers are available for grabbing.");
}

TEST_F(GrabSessionTest, WaiterOfAnEarlierSessionLeavesAndHindersNoOtherAndNeedsNoCameraLock) {
    Start();
    for (int round = 0; round < 400; ++round) {
        auto earlier = Waiter();
        m_session->Stop();
        Start();
        EXPECT_FALSE(Retrieve(round % 100 == 0 ? 50 : 0)); // not refused, and by the end of its own time
        ASSERT_EQ(earlier.wait_for(std::chrono::milliseconds(kPatience / 2)), std::future_status::ready);
        EXPECT_EQ(earlier.get(), Numbers());
    }
    EXPECT_EQ(m_log.Count("zelmo.base.InstantCamera", GenICam::LogPriority_Info, "Camera 0xca: Grab timed out."), 4U);
    auto waiter = Waiter();
    CCameraGuard lock(m_cameraLock); // as a handler has it that joins the waiter
    m_session->Stop();
    EXPECT_EQ(waiter.wait_for(std::chrono::milliseconds(kPatience)), std::future_status::ready);
    EXPECT_EQ(waiter.get(), Numbers());
}

TEST_F(GrabSessionTest, TimeIsUpAlsoWhereNoThreadTakesTheSignalOfTheTimer) {
    sigset_t alarm;
    sigset_t before;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &alarm, &before), 0);
    const ScopeGuard restore([&before] { pthread_sigmask(SIG_SETMASK, &before, nullptr); });
    Start(); // the engine's thread does not take it either
    EXPECT_EQ(Failure(20), "Grab timed out.");
}

TEST_F(GrabSessionTest, LackOfMemoryOrRecordsCostsNoImage) {
    Start({}, 1);
    m_grabber.Deliver(2);
    ASSERT_TRUE(Settles(2, 8));
    std::size_t allocations = 0;
    for (std::size_t count = 0; !m_result; ++count) {
        CGrabResultPtr fresh; // made anew, as for each image
        const bool fails =
            ScarceMemory::Fails<GenICam::BadAllocException>(count, [&] { m_session->Retrieve(0, fresh, kRaises); });
        ASSERT_EQ(fresh.IsValid(), !fails);
        m_result = fresh;
        allocations = count;
    }
    EXPECT_EQ(allocations, 1U); // the record's control block; the buffer had its own when it was queued
    EXPECT_EQ(Failure(),
              "Cannot retrieve grab result. The maximum number of available grab results (1) has been reached. "
              "Check the MaxNumGrabResults setting of the camera object.");
    EXPECT_EQ(Next(), (Numbers{2, 2, 0, 1}));
}

TEST_F(GrabSessionTest, FailedEngineIsForwardedOnceAndBeforeItsResults) {
    m_grabber.SetScript("RetrieveResult:2:throw-access");
    Start();
    m_grabber.Deliver(2);
    ASSERT_TRUE(Engine().GetStopObject().Wait(kPatience));
    ASSERT_EQ(Engine().GetNumReadyBuffers(), 1);
    EXPECT_EQ(Failure(kPatience), "RetrieveResult was told to fail");
    EXPECT_EQ(m_events, "RetrieveResult was told to fail stop");
    EXPECT_FALSE(Retrieve());
}

TEST_F(GrabSessionTest, UpcomingImageIsAskedForByTheCallAndTakenBackByItsTimeout) {
    Start({GrabStrategy_UpcomingImage, 0, 1});
    m_grabber.Deliver(2); // lost: no call has asked
    EXPECT_EQ(Failure(20), "Grab timed out.");
    auto waiter = Waiter();
    ASSERT_TRUE(m_grabber.WaitForQueued(1));
    m_grabber.Deliver(2);
    EXPECT_EQ(waiter.get(), (Numbers{1, 1, 0, 2})); // what came back unfilled has no id
    const auto flushed = m_grabber.Calls(EOperation::FlushBuffers);
    EXPECT_EQ(Failure(1), "Grab timed out."); // no buffer is free: there is nothing to take back
    EXPECT_EQ(m_grabber.Calls(EOperation::FlushBuffers), flushed);
}

TEST_F(GrabSessionTest, RequestForAnUpcomingImageEndsWithItsCallAndItsSession) {
    for (const std::string fault : {"false", "stall=20"}) {
        m_grabber.SetScript("GetWaitObject:1:" + fault); // which no longer, or not yet, lets the thread heed requests
        Start({GrabStrategy_UpcomingImage});
        EXPECT_NE(Failure(fault == "false" ? kPatience : 0), "nothing raised");
        if (!m_session->IsGrabbing()) {
            Start({GrabStrategy_UpcomingImage});
        }
        const auto calls = m_grabber.Calls(EOperation::RetrieveResult);
        m_grabber.SignalWaitObject(); // which comes behind requests
        EXPECT_TRUE(Eventually([&] { return m_grabber.Calls(EOperation::RetrieveResult) > calls; }));
        EXPECT_EQ(Engine().GetNumQueuedBuffers(), 0U);
        m_session->Stop();
    }
}

TEST_F(GrabSessionTest, WhatAnEarlierCallHasLeftIsNoUpcomingImage) {
    Start({.strategy = GrabStrategy_UpcomingImage, .buffers = 3, .maxNumQueuedBuffer = 1}, 1);
    auto first = Waiter();
    ASSERT_TRUE(m_grabber.WaitForQueued(1));
    m_grabber.Deliver(2);
    EXPECT_EQ(first.get(), (Numbers{1, 1, 0, 0}));
    auto refused = std::async(std::launch::async, [this] { return Failure(kPatience); }); // there is but one record
    ASSERT_TRUE(m_grabber.WaitForQueued(1));
    m_grabber.Deliver();
    EXPECT_THAT(refused.get(), testing::StartsWith("Cannot retrieve grab result."));
    Engine().RequestBuffer(); // as of a call that ended by a failure of its wait
    ASSERT_TRUE(m_grabber.WaitForQueued(1));
    m_waitersResult.Release();
    auto next = Waiter();
    EXPECT_GE(m_grabber.Account().canceled, 1U);
    ASSERT_TRUE(m_grabber.WaitForQueued(1)); // no more than one, as promised: the grabber would complain
    m_grabber.Deliver();
    EXPECT_EQ(next.get(), (Numbers{2, 3, 1, 3}));
}

TEST_F(GrabSessionTest, BufferThatComesHomeDuringTheWaitIsUsedForTheUpcomingImage) {
    m_grabber.SetScript("source=free");
    Start({GrabStrategy_UpcomingImage, 0, 1});
    ASSERT_TRUE(Retrieve());
    auto waiter = Waiter();
    m_result.Release();
    EXPECT_EQ(waiter.get(), (Numbers{2, 2, 0, 1}));
}

TEST_F(GrabSessionTest, UpcomingImageNeverBeganBeforeTheCall) {
    m_grabber.SetScript("source=3000;size=32x1");
    Start({GrabStrategy_UpcomingImage, 0, 3});
    int images = 0;
    for (unsigned call = 0; call < 900; ++call) {
        const std::uint64_t begun = m_grabber.Account().begun;
        images += Retrieve(call % 3) ? 1 : 0;
        EXPECT_TRUE(!m_result || (m_result->GrabSucceeded() && m_result->GetBlockID() >= begun));
    }
    EXPECT_GT(images, 0);
}

} // namespace
