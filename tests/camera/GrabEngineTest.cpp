// SPDX-License-Identifier: Apache-2.0
#include "camera/GrabSupport.h"

#include <zelmo/IntegerParameter.h>

#include <algorithm>
#include <cstring>

using namespace Zelmo;
using Fakes::EOperation;
using Frames = std::vector<int>;

namespace {

const std::string kForeign = "The stream grabber delivered a buffer that is not queued.";

struct Plan {
    EGrabStrategy strategy = GrabStrategy_OneByOne;
    unsigned long buffers = 10, queued = 50, limit = 0;
    bool announceAll = false;
    unsigned long payload = 0;
    bool clear = false;
};

class GrabEngineTest : public GrabTest {
protected:
    void Start(const Plan& plan = {}) {
        m_engine.StartEngine(&m_grabber, plan.strategy, plan.buffers, plan.queued, plan.limit, plan.announceAll,
                             plan.payload, /*priority*/ 1, plan.clear);
    }
    CGrabEngine& Engine() override { return m_engine; }
    /// Takes all results and drops them, and counts what was skipped before.
    Frames Take() {
        Frames frames;
        CQueueEntry entry;
        for (m_skipped = 0; m_engine.TryTake(entry, m_lost); m_skipped += std::exchange(m_lost, 0), entry = {}) {
            frames.push_back(static_cast<int>(entry.blockId));
        }
        return frames;
    }
    std::string Stored() const { return m_engine.GetException().GetDescription(); }
    void RunPlainSession() {
        m_grabber.SetScript("");
        Start({.buffers = 3});
        m_grabber.Deliver(2);
        EXPECT_TRUE(Settles(2, 1)) << Stored();
        m_engine.StopEngine();
        EXPECT_TRUE(m_engine.GetStopObject().Wait(0));
        EXPECT_FALSE(m_engine.GetResultObject().Wait(0));
        EXPECT_EQ(Stored(), "No exception triggered by grab engine thread yet.");
    }

    std::uint64_t m_skipped = 0, m_lost = 0;
    CGrabEngine m_engine{m_camera, *this};
};

using Discipline = std::tuple<EGrabStrategy, std::uint64_t, std::uint64_t, unsigned, Frames>;
class GrabStrategyTest : public GrabEngineTest, public testing::WithParamInterface<Discipline> {};

TEST_P(GrabStrategyTest, KeepsTheLatestThatHavePlaceAndCountsTheOthersAsSkipped) {
    const auto& [strategy, size, capacity, delivered, kept] = GetParam();
    const bool limited = strategy == GrabStrategy_OneByOne;
    m_engine.SetOutputQueueSize(size);
    m_grabber.SetScript("Frame:2:fail;RetrieveResult:1:false"); // one that failed counts; one look in vain is none
    Start({strategy, 10, 50, /*limit*/ 4});
    EXPECT_EQ(m_engine.GetOutputQueueSize(), capacity);
    m_grabber.Deliver(delivered);
    EXPECT_TRUE(Settles(kept.size(), limited ? 0 : 10 - kept.size()));
    EXPECT_TRUE(m_engine.GetResultObject().Wait(10000));
    EXPECT_EQ(m_engine.GetNumEmptyBuffers(), (limited ? 6 : 0));
    EXPECT_EQ(Take(), kept);
    EXPECT_EQ(m_skipped, kept.empty() ? 0 : delivered - kept.size()); // told with a result only
    EXPECT_FALSE(m_engine.GetResultObject().Wait(0));
    EXPECT_EQ(m_grabber.Calls(EOperation::QueueBuffer), limited ? 4U : 10 + delivered);
    m_grabber.SignalWaitObject(); // for nothing
    EXPECT_TRUE(Eventually([this, n = delivered + 2] { return m_grabber.Calls(EOperation::RetrieveResult) == n; }));
    EXPECT_TRUE(Eventually([&] { return m_countReached == (limited ? 2 : 0); }));
    EXPECT_FALSE(m_engine.IsExceptionRaised());
    m_engine.StopEngine();
    EXPECT_EQ(m_engine.GetOutputQueueSize(), size);
}

INSTANTIATE_TEST_SUITE_P(All, GrabStrategyTest,
                         testing::Values(Discipline{GrabStrategy_OneByOne, 2, 10, 4, {0, 1, 2, 3}},
                                         Discipline{GrabStrategy_LatestImageOnly, 5, 1, 3, {2}},
                                         Discipline{GrabStrategy_LatestImages, 5, 5, 7, {2, 3, 4, 5, 6}},
                                         Discipline{GrabStrategy_LatestImages, ~0ULL, ~0ULL, 4, {0, 1, 2, 3}},
                                         Discipline{GrabStrategy_LatestImages, 0, 0, 3, {}}));

TEST_F(GrabEngineTest, QueueSizeChangesAtOnceAndLosesTheOldest) {
    Start({GrabStrategy_LatestImages});
    m_grabber.Deliver(5);
    ASSERT_TRUE(Settles(5, 5));
    m_engine.SetOutputQueueSize(2);
    m_engine.SetOutputQueueSize(3);
    m_grabber.Deliver();
    EXPECT_TRUE(Settles(3, 7));
    EXPECT_EQ(Take(), (Frames{3, 4, 5}));
    m_grabber.Deliver(2);
    ASSERT_TRUE(Settles(2, 8));
    ASSERT_EQ(m_skipped, 3);
    m_engine.SetOutputQueueSize(0);
    m_grabber.Deliver(3);
    EXPECT_TRUE(Settles(0, 10));
    EXPECT_TRUE(Take().empty()); // and the count of what is lost waits for the next one
    m_engine.SetOutputQueueSize(1);
    m_grabber.Deliver();
    EXPECT_TRUE(Settles(1, 9));
    EXPECT_EQ(Take(), Frames{11});
    EXPECT_EQ(m_skipped, 5U);
}

TEST_F(GrabEngineTest, CallsComeInTheirOrderAndTheThreadIsTold) {
    const auto callsOf = [this](const Plan& plan) {
        const std::size_t before = m_grabber.Order().size();
        Start(plan);
        EXPECT_EQ(CIntegerParameter(m_grabber.GetNodeMap(), "MaxBufferSize").GetValue(), 64 * 16);
        EXPECT_EQ(CIntegerParameter(m_grabber.GetNodeMap(), "MaxNumBuffer").GetValue(), 1);
        m_grabber.Deliver();
        EXPECT_TRUE(Settles(1, plan.buffers - 1));
        m_engine.StopEngine();
        return m_grabber.Order().substr(before);
    };
    EXPECT_EQ(callsOf({.buffers = 1}), "Open PrepareGrab StartStreaming RegisterBuffer QueueBuffer RetrieveResult "
                                       "StopStreaming FlushBuffers RetrieveResult FinishGrab Close");
    EXPECT_EQ(
        callsOf({.buffers = 2, .queued = 1}),
        " Open PrepareGrab StartStreaming RegisterBuffer QueueBuffer RetrieveResult DeregisterBuffer RegisterBuffer "
        "QueueBuffer StopStreaming FlushBuffers RetrieveResult DeregisterBuffer RetrieveResult FinishGrab Close");
    EXPECT_EQ(callsOf({.buffers = 2, .queued = 1, .announceAll = true}),
              " Open PrepareGrab RegisterBuffer StartStreaming QueueBuffer RetrieveResult QueueBuffer StopStreaming "
              "FlushBuffers RetrieveResult FinishGrab Close");
    for (const auto* const text : {"started", "set thread priority=1, id=", "stopped", "joined"}) {
        EXPECT_EQ(m_log.Count("zelmo.base.InstantCamera", GenICam::LogPriority_Notice,
                              std::string("Camera 0xca: Grab engine thread ") + text),
                  3U);
    }
}

TEST_F(GrabEngineTest, PayloadSizeOfTheDeviceStandsInAndBuffersAreCleared) {
    m_grabber.SetScript("PayloadSize:*:missing");
    Start({.buffers = 1, .payload = 5000, .clear = true});
    for (int round = 0; round < 2; ++round) {
        m_grabber.Deliver(); // of 1024 bytes
        CQueueEntry entry;
        ASSERT_TRUE(Settles(1, 0));
        ASSERT_TRUE(m_engine.TryTake(entry, m_skipped));
        auto* const bytes = static_cast<char*>(entry.buffer);
        EXPECT_EQ(std::count(bytes + 1024, bytes + 5000, 0), 5000 - 1024);
        std::memset(bytes, 0xA5, 5000);
    }
}

TEST_F(GrabEngineTest, RefusedStartSaysWhy) {
    m_engine.SetCameraName("S1");
    for (const auto& [script, text] : std::vector<std::pair<const char*, const char*>>{
             {"IsOpen:1:true", "The stream grabber of the attached device is already open. It might already being used "
                               "for grabbing."},
             {"GetNodeMap:*:false", "The payload size must not be 0."},
             {"MaxBufferSize:*:grid", "Cannot set stream grabber value 'MaxBufferSize'."},
             {"MaxNumBuffer:*:readonly", "Cannot set stream grabber value 'MaxNumBuffer'."}}) {
        m_grabber.SetScript(script);
        EXPECT_EQ(Fakes::FailureOf<GenICam::GenericException>([&] { Start(); }), text);
    }
    EXPECT_EQ(m_log.Errors("Camera S1: Setting stream grabber value 'MaxBufferSize' to 1024 failed, msg="), 1U);
    RunPlainSession();
    Start();
    EXPECT_EQ(Fakes::FailureOf([&] { Start(); }), "Grabbing has already been started.");
}

TEST_F(GrabEngineTest, StopLogsAFailedStepAndGoesOn) {
    UseApplicationMemory();
    const std::vector<std::pair<std::string, std::string>> steps{{"StopStreaming", "stopping streaming"},
                                                                 {"FlushBuffers", "flushing buffers"},
                                                                 {"RetrieveResult", "retrieving cancelled buffers"},
                                                                 {"FinishGrab", "finishing grab"},
                                                                 {"Close", "closing stream grabber"}};
    for (const auto& [operation, step] : steps) {
        for (const std::string kind : {"throw-runtime", "throw-std", "throw-int"}) {
            m_grabber.SetScript(operation + ":1:" + kind);
            Start({.buffers = 3});
            m_log.Clear();
            m_engine.StopEngine();
            const std::string known = "Exception caught while " + step + ", msg='" + operation + " was told to fail'";
            EXPECT_EQ(m_log.Errors(kind == "throw-int" ? "Unknown exception caught while " + step + "." : known), 1U);
            EXPECT_EQ(m_log.Errors(""), 1U);
            EXPECT_THAT(m_grabber.Order(), testing::EndsWith("Buffers RetrieveResult FinishGrab Close"));
            EXPECT_EQ(m_story.alive, 0U);
            if (m_grabber.IsOpen()) {
                m_grabber.Close();
            }
        }
    }
    m_grabber.SetScript("FlushBuffers:1:throw-runtime;IsOpen:3:throw-runtime"); // closed is closed
    Start({.buffers = 3});
    m_engine.StopEngine();
    EXPECT_EQ(m_story.alive, 0U);
    RunPlainSession();
    m_grabber.SetScript("RetrieveResult:2:again"); // what the first one has freed
    Start({.buffers = 3, .queued = 2});
    m_story.failsToFree = true;
    m_engine.StopEngine();
    EXPECT_EQ(m_log.Errors("retrieving cancelled buffers, msg='" + kForeign), 1U);
    EXPECT_EQ(m_log.Errors("Exception caught while releasing allocated buffers, msg='FreeBuffer failed'"), 1U);
}

TEST_F(GrabEngineTest, FailureIsStoredAndShownUntilTheStop) {
    const std::string genicam = "GenICam exception caught in grab engine thread, msg=", failed = " was told to fail";
    const std::string unread = "The stream grabber signals an available result but the retrieval fails.";
    UseApplicationMemory();
    for (const auto& [script, logged, stored] : std::vector<std::tuple<std::string, std::string, std::string>>{
             {"RetrieveResult:1:throw-access", genicam + "RetrieveResult" + failed, "RetrieveResult" + failed},
             {"RetrieveResult:2:throw-std", "Std exception caught in grab engine thread, msg=RetrieveResult" + failed,
              "Exception caught in grab engine thread, msg=RetrieveResult" + failed},
             {"RetrieveResult:1:throw-int", "Unknown exception caught in grab engine thread",
              "Unknown exception caught in grab engine thread."},
             {"RetrieveResult:1:false;RetrieveResult:2:false", genicam + unread, unread},
             {"RetrieveResult:1:stray", genicam + kForeign, kForeign},
             {"RetrieveResult:2:again", genicam + kForeign, kForeign},
             {"QueueBuffer:11:throw-runtime", "", "QueueBuffer" + failed},
             {"QueueBuffer:11:throw-std", "",
              "Exception caught while queuing returned buffer, msg=QueueBuffer" + failed},
             {"QueueBuffer:11:throw-int", "", "Unknown exception caught while queuing returned buffer."}}) {
        m_log.Clear();
        m_grabber.SetScript(script);
        Start({GrabStrategy_LatestImageOnly});
        m_grabber.Deliver(2);
        ASSERT_TRUE(m_engine.GetStopObject().Wait(10000));
        ASSERT_TRUE(m_engine.GetResultObject().Wait(10000));
        EXPECT_EQ(Stored(), stored);
        EXPECT_EQ(m_log.Errors(""), logged.empty() ? 0U : 1U);
        EXPECT_EQ(m_log.Errors("Camera 0xca: " + logged), m_log.Errors(""));
        Take();
        EXPECT_TRUE(m_engine.GetResultObject().Wait(0));
        m_engine.StopEngine();
        RunPlainSession();
    }
}

TEST_F(GrabEngineTest, FailureBetweenTheFirstBuffersAndTheThreadIsShown) {
    UseApplicationMemory();
    int calls = 0;
    m_story.allocate = [&calls] { // one buffer, then none, then worse
        if (++calls > 3) {
            throw RUNTIME_EXCEPTION("no memory left");
        }
        return calls == 1;
    };
    Start({.buffers = 3});
    EXPECT_TRUE(m_engine.GetStopObject().Wait(0));
    EXPECT_TRUE(m_engine.GetResultObject().Wait(0));
    EXPECT_EQ(Stored(), "no memory left");
}

TEST_F(GrabEngineTest, NumbersAndResultsMayBeTakenWhileSessionsComeAndGo) {
    std::atomic<bool> done{false};
    std::thread asking([&] {
        for (std::uint64_t size = 0; !done; size = (size + 1) % 4) {
            m_engine.SetOutputQueueSize(size);
            EXPECT_LE(m_engine.GetNumEmptyBuffers(), 6);
            EXPECT_LE(m_engine.GetNumReadyBuffers(), 6);
            Take();
        }
    });
    for (int round = 0; round < 60; ++round) {
        m_grabber.SetScript("source=free;size=32x1");
        Start({round % 2 == 0 ? GrabStrategy_LatestImages : GrabStrategy_OneByOne, 6, round % 3 == 0 ? 3UL : 6UL});
        EXPECT_TRUE(Eventually([&] { return m_grabber.Calls(EOperation::RetrieveResult) > 20; }));
        m_engine.StopEngine();
    }
    done = true;
    asking.join();
}

} // namespace
