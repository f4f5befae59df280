#include "ZelmoBase/camera/GrabSession.h"
#include "camera/GrabSupport.h"
#include "emulator/ScarceMemory.h"
#include "fakes/Failure.h"
#include "fakes/transport/FrameAudit.h"

#include <future>
#include <vector>

using namespace Zelmo;
using Fakes::FailureOf;
using Numbers = std::vector<std::int64_t>;

namespace {

constexpr unsigned patience = 10000; // ms

class GrabSessionTest : public GrabTest, public IGrabSessionOwner {
protected:
    void Start(const CGrabSettings& settings = {}) { m_session->Start(&m_grabber, settings); }
    bool Retrieve(unsigned timeoutMs = patience) {
        return m_session->Retrieve(timeoutMs, m_result, TimeoutHandling_Return);
    }
    std::string Timeout(unsigned timeoutMs) {
        CGrabResultPtr none;
        return FailureOf<GenICam::TimeoutException>(
            [&] { m_session->Retrieve(timeoutMs, none, TimeoutHandling_ThrowException); });
    }
    bool Settles(std::size_t ready, std::size_t waiting) {
        return GrabTest::Settles(m_session->GetEngine(), ready, waiting);
    }
    /// Image number, id, skipped images and block id of the next result; nothing without one.
    Numbers Next() {
        if (!Retrieve())
            return {};
        return {m_result->GetImageNumber(), m_result->GetID(), m_result->GetNumberOfSkippedImages(),
                static_cast<std::int64_t>(m_result->GetBlockID())};
    }
    /// What a thread gets that is inside Retrieve by the end of this call.
    std::future<Numbers> Waiter() {
        auto next = std::async(std::launch::async, [this] {
            for (;;) {
                try {
                    return Next();
                } catch (const GenICam::RuntimeException&) { // it met the look from below
                }
            }
        });
        const auto look = [this] { m_session->Retrieve(0, m_none, TimeoutHandling_Return); };
        EXPECT_TRUE(Eventually([&] { return FailureOf(look) == "There is already a thread waiting for a result."; }));
        return next;
    }

    CGrabResultData* CreateGrabResultData() override { return new CGrabResultData; }
    void OnGrabError(const char* message) override { m_events += message; }
    void StopGrabbing() override {
        m_events += " stop";
        m_session->Stop();
        throw 1; // as an application's own may
    }

    std::string m_events;
    GenICam::CLock m_cameraLock;
    std::unique_ptr<CGrabSession> m_session = std::make_unique<CGrabSession>(m_camera, m_cameraLock, *this, *this);
    CGrabResultPtr m_result, m_none;
};

TEST_F(GrabSessionTest, ResultsCarryTheirNumbersAndGoWithTheNextCall) {
    CGrabSettings settings{GrabStrategy_LatestImageOnly};
    settings.cameraContext = 42;
    m_session->GetEngine().SetBufferFactory(Memory());
    for (const std::int64_t before : {0, 5}) {
        Start(settings);
        m_grabber.Deliver(4);
        ASSERT_TRUE(Settles(1, 9));
        EXPECT_EQ(Next(), (Numbers{1, before + 4, 3, before + 3}));
        m_grabber.Deliver();
        EXPECT_EQ(Next(), (Numbers{2, before + 5, 0, before + 4}));
        EXPECT_EQ(m_result->GetCameraContext(), 42);
        m_session->Stop();
        EXPECT_EQ(m_story.alive, 1U);
        EXPECT_FALSE(m_session->Retrieve(patience, m_result, TimeoutHandling_ThrowException));
        EXPECT_FALSE(m_result.IsValid());
        EXPECT_EQ(m_story.alive, 0U);
    }
}

TEST_F(GrabSessionTest, CountedSessionEndsWithItsLastImage) {
    for (const auto& [strategy, buffers] :
         {std::pair(GrabStrategy_OneByOne, 3U), {GrabStrategy_LatestImageOnly, 10U}}) {
        m_session->GetEngine().SetBufferFactory(Memory());
        Start({strategy, 3});
        EXPECT_EQ(m_story.alive, buffers);
        for (m_events.clear(); m_events.empty() && m_grabber.Deliver() == 1;) {
            try {
                EXPECT_TRUE(Retrieve());
            } catch (int) { // the owner's, which has stopped
            }
        }
        EXPECT_EQ(m_result->GetImageNumber(), 3);
        EXPECT_EQ(m_events, " stop");
        EXPECT_FALSE(m_session->IsGrabbing() || Retrieve());
    }
}

TEST_F(GrabSessionTest, TimeoutIsToldAsAskedFor) {
    Start({GrabStrategy_OneByOne, 0, 1});
    m_log.Clear();
    EXPECT_FALSE(Retrieve(0));
    EXPECT_EQ(Timeout(0), "Grab timed out.");
    EXPECT_TRUE(m_log.Lines().empty());
    EXPECT_FALSE(Retrieve(7));
    EXPECT_EQ(m_log.Count("zelmo.base.InstantCamera", GenICam::LogPriority_Info,
                          "Camera 0xca: Grab timed out. timeout=7 queued_buffers=1"),
              1U);
    m_grabber.Deliver();
    EXPECT_TRUE(Retrieve());
    EXPECT_EQ(Timeout(1), "Grab timed out. No buffers are available for grabbing.");
}

TEST_F(GrabSessionTest, WaiterIsServedAndLeavesAStoppedSessionWithoutTheCameraLock) {
    Start();
    auto waiter = Waiter();
    m_grabber.Deliver();
    EXPECT_EQ(waiter.get(), (Numbers{1, 1, 0, 0}));
    waiter = Waiter();
    GenICam::AutoLock lock(m_cameraLock); // as a handler has it that joins the waiter
    m_session->Stop();
    EXPECT_EQ(waiter.wait_for(std::chrono::milliseconds(patience)), std::future_status::ready);
    EXPECT_EQ(waiter.get(), Numbers());
}

TEST_F(GrabSessionTest, SessionStartedAnewServesTheWaiterOrLetsItGo) {
    for (int round = 0; round < 50; ++round) {
        Start();
        auto waiter = Waiter();
        m_session->Stop();
        Start();
        m_grabber.Deliver();
        const Numbers numbers = waiter.get();
        EXPECT_TRUE(numbers.empty() || numbers.front() == 1);
        EXPECT_TRUE(Settles(numbers.empty() ? 1 : 0, 9));
        m_session->Stop();
    }
}

TEST_F(GrabSessionTest, HeldResultsExhaustTheRecordsButCostNoImage) {
    CGrabSettings settings;
    settings.maxNumGrabResults = 1;
    Start(settings);
    m_grabber.Deliver(2);
    EXPECT_EQ(Next(), (Numbers{1, 1, 0, 0}));
    EXPECT_EQ(
        FailureOf([&] { m_session->Retrieve(0, m_none, TimeoutHandling_Return); }),
        "Cannot retrieve grab result. The maximum number of available grab results (1) has been reached. Check the "
        "MaxNumGrabResults setting of the camera object.");
    EXPECT_EQ(Next(), (Numbers{2, 2, 0, 1}));
}

TEST_F(GrabSessionTest, LackOfMemoryCostsNoImage) {
    Start();
    m_grabber.Deliver();
    ASSERT_TRUE(Settles(1, 9));
    std::size_t count = 0;
    for (bool fails = true; fails; ++count) {
        m_result.~CGrabResultPtr(); // a new one allocates its body
        new (&m_result) CGrabResultPtr;
        fails = ScarceMemory::Fails<std::bad_alloc>(count, [&] { Retrieve(0); });
        EXPECT_EQ(m_result.IsValid(), !fails);
    }
    EXPECT_GT(count, 1U);
    EXPECT_EQ(m_result->GetImageNumber(), 1);
}

TEST_F(GrabSessionTest, FailedEngineIsForwardedOnceAndBeforeItsResults) {
    const std::string text = "Exception caught in grab engine thread, msg=RetrieveResult was told to fail";
    for (const bool isWaiting : {false, true}) {
        m_grabber.SetScript("RetrieveResult:2:throw-std");
        Start();
        m_log.Clear();
        m_events.clear();
        if (!isWaiting) {
            m_grabber.Deliver(2);
            ASSERT_TRUE(m_session->GetEngine().GetStopObject().Wait(patience));
            EXPECT_EQ(m_session->GetEngine().GetNumReadyBuffers(), 1U);
        } else {
            m_grabber.Deliver();
            EXPECT_TRUE(Retrieve());
        }
        std::thread late([&] { m_grabber.Deliver(); });
        EXPECT_EQ(FailureOf<GenICam::GenericException>([&] { Retrieve(); }), text);
        late.join();
        EXPECT_EQ(m_events, text + " stop");
        EXPECT_EQ(m_log.Errors("Camera 0xca: OnGrabError msg=" + text), 1U);
        EXPECT_EQ(m_log.Errors("Unknown exception caught while calling StopGrabbing."), 1U);
        EXPECT_FALSE(Retrieve());
    }
}

TEST_F(GrabSessionTest, ResultOutlivesItsSessionAndEndsOnAnyThread) {
    m_session->GetEngine().SetBufferFactory(Memory());
    Start();
    m_grabber.Deliver();
    ASSERT_TRUE(Retrieve());
    m_session->Stop();
    Start({GrabStrategy_OneByOne, 0, 2});
    EXPECT_EQ(m_session->GetEngine().GetNumEmptyBuffers(), 0U);
    m_session.reset();
    Fakes::CFrameAudit audit;
    audit.Take(m_result->GetBuffer(), m_result->GetPayloadSize());
    EXPECT_EQ(audit.Report(1).distinct, 1U);
    EXPECT_EQ(m_story.alive, 1U);
    std::thread([&] { m_result.Release(); }).join();
    EXPECT_THAT(m_story.events, testing::EndsWith("free 1 gone"));
}

TEST_F(GrabSessionTest, UpcomingImageIsAskedForByTheCallAndTakenBackByItsTimeout) {
    Start({GrabStrategy_UpcomingImage, 0, 1});
    m_grabber.Deliver(2); // lost: no call has asked
    EXPECT_FALSE(Retrieve(20));
    EXPECT_EQ(Timeout(1), "Grab timed out.");
    EXPECT_EQ(m_session->GetEngine().GetNumQueuedBuffers(), 0U);
    m_grabber.Deliver();
    EXPECT_FALSE(Retrieve(0));
    auto waiter = Waiter();
    ASSERT_TRUE(m_grabber.WaitForQueued(1));
    m_grabber.Deliver(2);
    EXPECT_EQ(waiter.get(), (Numbers{1, 1, 0, 3})); // what came back unfilled has no id
    const auto flushed = m_grabber.Calls(Fakes::EOperation::FlushBuffers);
    EXPECT_EQ(Timeout(1), "Grab timed out."); // no buffer is free: there is nothing to take back
    EXPECT_EQ(m_grabber.Calls(Fakes::EOperation::FlushBuffers), flushed);
}

TEST_F(GrabSessionTest, UpcomingImageNeverBeganBeforeTheCall) {
    m_grabber.SetScript("source=3000;size=32x1");
    Start({GrabStrategy_UpcomingImage, 0, 3});
    int images = 0;
    for (unsigned call = 0; call < 1500; ++call) {
        const std::uint64_t begun = m_grabber.Account().begun;
        if (Retrieve(call % 3)) {
            ++images;
            EXPECT_GE(m_result->GetBlockID(), begun);
            EXPECT_TRUE(m_result->GrabSucceeded());
        }
    }
    EXPECT_GT(images, 0);
}

} // namespace
