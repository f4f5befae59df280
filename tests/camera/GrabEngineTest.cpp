#include "ZelmoBase/sync/WaitObjectPosix.h"
#include "camera/GrabSupport.h"
#include "fakes/Failure.h"

#include <zelmo/IntegerParameter.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <unistd.h>
#include <vector>

using namespace Zelmo;
using Fakes::EOperation;
using Frames = std::vector<int>;

namespace {

struct Plan {
    EGrabStrategy strategy = GrabStrategy_OneByOne;
    unsigned long buffers = 10;
    unsigned long queued = 50;
    unsigned long limit = 0;
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
    bool Settles(std::size_t ready, std::size_t waiting) { return GrabTest::Settles(m_engine, ready, waiting); }

    /// Takes all results and drops them, and counts what was skipped before.
    Frames Take() {
        Frames frames;
        CQueueEntry entry;
        for (m_skipped = 0; m_engine.TryTake(entry, m_lost); entry = {}) {
            m_skipped += m_lost;
            frames.push_back(static_cast<int>(entry.blockId));
        }
        m_skipped += m_lost;
        return frames;
    }
    bool Fails() { return m_engine.GetStopObject().Wait(10000) && m_engine.GetResultObject().Wait(10000); }
    std::string Stored() const { return m_engine.GetException().GetDescription(); }
    void RunPlainSession() {
        m_grabber.SetScript("");
        Start({.buffers = 3});
        m_grabber.Deliver(2);
        EXPECT_TRUE(Settles(2, 1)) << Stored();
        m_engine.StopEngine();
        EXPECT_TRUE(m_engine.GetStopObject().Wait(0) && !m_engine.GetResultObject().Wait(0));
        EXPECT_EQ(Stored(), "No exception triggered by grab engine thread yet.");
    }

    std::uint64_t m_skipped = 0, m_lost = 0;
    CGrabEngine m_engine{m_camera, *this};
};

struct Discipline {
    EGrabStrategy strategy;
    std::uint64_t outputQueueSize, capacity;
    unsigned delivered;
    Frames kept;
};

class GrabStrategyTest : public GrabEngineTest, public testing::WithParamInterface<Discipline> {};

TEST_P(GrabStrategyTest, KeepsTheLatestThatHavePlaceAndCountsTheOthersAsSkipped) {
    const auto& [strategy, size, capacity, delivered, kept] = GetParam();
    const bool limited = strategy == GrabStrategy_OneByOne;
    m_engine.SetOutputQueueSize(size);
    m_grabber.SetScript("Frame:2:fail"); // which counts like any other
    Start({strategy, 10, 50, /*limit*/ 4});
    EXPECT_EQ(m_engine.GetOutputQueueSize(), capacity);
    m_grabber.Deliver(delivered);
    EXPECT_TRUE(Settles(kept.size(), limited ? 0 : 10 - kept.size()));
    EXPECT_EQ(m_engine.GetNumEmptyBuffers(), limited ? 6U : 0U);
    EXPECT_EQ(m_countReached, limited ? 1 : 0);
    EXPECT_TRUE(m_engine.GetResultObject().Wait(10000));
    EXPECT_EQ(Take(), kept);
    EXPECT_EQ(m_skipped, delivered - kept.size());
    EXPECT_FALSE(m_engine.GetResultObject().Wait(0));
    EXPECT_EQ(m_grabber.Calls(EOperation::QueueBuffer), limited ? 4U : 10 + delivered);
    m_grabber.SignalWaitObject(); // for nothing
    EXPECT_TRUE(Eventually([&] { return m_grabber.Calls(EOperation::RetrieveResult) == delivered + 1; }));
    EXPECT_TRUE(Eventually([&] { return m_countReached == (limited ? 2 : 0); }));
    EXPECT_FALSE(m_engine.IsExceptionRaised());
    m_engine.StopEngine();
    EXPECT_EQ(m_engine.GetOutputQueueSize(), size);
}

INSTANTIATE_TEST_SUITE_P(All, GrabStrategyTest,
                         testing::Values(Discipline{GrabStrategy_OneByOne, 2, 10, 4, {0, 1, 2, 3}},
                                         Discipline{GrabStrategy_LatestImageOnly, 5, 1, 3, {2}},
                                         Discipline{GrabStrategy_LatestImages, 5, 5, 7, {2, 3, 4, 5, 6}},
                                         Discipline{GrabStrategy_LatestImages, 0, 0, 3, {}}));

TEST_F(GrabEngineTest, QueueSizeChangesAtOnceAndLosesTheOldest) {
    Start({GrabStrategy_LatestImages});
    m_grabber.Deliver(5);
    ASSERT_TRUE(Settles(5, 5));
    m_engine.SetOutputQueueSize(2);
    EXPECT_TRUE(Settles(2, 8));
    m_engine.SetOutputQueueSize(3);
    m_grabber.Deliver();
    EXPECT_TRUE(Settles(3, 7));
    EXPECT_EQ(Take(), (Frames{3, 4, 5}));
    EXPECT_EQ(m_skipped, 3U);
    m_grabber.Deliver(2);
    ASSERT_TRUE(Settles(2, 8));
    m_engine.SetOutputQueueSize(0);
    m_grabber.Deliver(3);
    EXPECT_TRUE(Settles(0, 10));
    EXPECT_EQ(Take(), Frames());
    EXPECT_EQ(m_skipped, 5U);
    EXPECT_THROW(m_engine.SetOutputQueueSize(~0ULL), std::length_error);
    EXPECT_EQ(m_engine.GetOutputQueueSize(), 0U);
}

struct Calls {
    Plan plan;
    const char* started;
    const char* stopped;
};

class GrabCallsTest : public GrabEngineTest, public testing::WithParamInterface<Calls> {};

TEST_P(GrabCallsTest, ComeInTheirOrder) {
    const auto& [plan, started, stopped] = GetParam();
    Start(plan);
    EXPECT_EQ(CIntegerParameter(m_grabber.GetNodeMap(), "MaxBufferSize").GetValue(), 64 * 16);
    EXPECT_EQ(CIntegerParameter(m_grabber.GetNodeMap(), "MaxNumBuffer").GetValue(), 1);
    EXPECT_EQ(m_grabber.Order(), started);
    m_grabber.Deliver();
    EXPECT_TRUE(Settles(1, plan.buffers - 1));
    m_engine.StopEngine();
    EXPECT_EQ(m_grabber.Order(), std::string(started) + " RetrieveResult" + stopped + " FinishGrab Close");
}

INSTANTIATE_TEST_SUITE_P(
    All, GrabCallsTest,
    testing::Values(Calls{{.buffers = 1, .queued = 50},
                          "Open PrepareGrab StartStreaming RegisterBuffer QueueBuffer",
                          " StopStreaming FlushBuffers RetrieveResult"},
                    Calls{{.buffers = 2, .queued = 1},
                          "Open PrepareGrab StartStreaming RegisterBuffer QueueBuffer",
                          " DeregisterBuffer RegisterBuffer QueueBuffer StopStreaming FlushBuffers RetrieveResult "
                          "DeregisterBuffer RetrieveResult"},
                    Calls{{.buffers = 2, .queued = 1, .announceAll = true},
                          "Open PrepareGrab RegisterBuffer StartStreaming QueueBuffer",
                          " QueueBuffer StopStreaming FlushBuffers RetrieveResult"}));

TEST_F(GrabEngineTest, ThreadSaysWhatItDoes) {
    Start();
    m_engine.StopEngine();
    std::string lines;
    for (const auto& line : m_log.Lines())
        lines += line.message.substr(0, line.message.find("id=")) + '\n';
    EXPECT_EQ(lines, "Camera 0xca: Grab engine thread started\n"
                     "Camera 0xca: Grab engine thread set thread priority=1, \n"
                     "Camera 0xca: Grab engine thread stopped\nCamera 0xca: Grab engine thread joined\n");
}

TEST_F(GrabEngineTest, PayloadSizeOfTheDeviceStandsInAndBuffersAreCleared) {
    m_grabber.SetScript("PayloadSize:*:missing");
    Start({.buffers = 1, .payload = 5000, .clear = true});
    for (int round = 0; round < 2; ++round) {
        m_grabber.Deliver(); // of 1024 bytes
        ASSERT_TRUE(Settles(1, 0));
        CQueueEntry entry;
        ASSERT_TRUE(m_engine.TryTake(entry, m_skipped));
        auto* const bytes = static_cast<char*>(entry.buffer);
        EXPECT_EQ(entry.bufferSize, 5000U);
        EXPECT_EQ(std::count(bytes + 1024, bytes + 5000, 0), 5000 - 1024);
        std::memset(bytes, 0xA5, 5000);
    }
}

TEST_F(GrabEngineTest, RefusedStartSaysWhyAndIsUndone) {
    const std::string size = "Cannot set stream grabber value 'MaxBufferSize'.";
    const std::string number = "Cannot set stream grabber value 'MaxNumBuffer'.";
    for (const auto& [script, text] : std::vector<std::pair<const char*, std::string>>{
             {"GetNodeMap:*:false", "The payload size must not be 0."},
             {"PayloadSize:1:false", "The payload size must not be 0."},
             {"PayloadSize:*:unreadable", "The payload size must not be 0."},
             {"MaxBufferSize:*:missing", size},
             {"MaxBufferSize:*:grid", size},
             {"MaxBufferSize:1:throw-std", size},
             {"MaxNumBuffer:*:readonly", number},
             {"MaxNumBuffer:*:limit", number},
             {"PrepareGrab:1:throw-access", "PrepareGrab was told to fail"}}) {
        SCOPED_TRACE(script);
        m_grabber.SetScript(script);
        EXPECT_EQ(Fakes::FailureOf<GenICam::GenericException>([&] { Start({.buffers = 3}); }), text);
        EXPECT_THAT(m_grabber.Order(), testing::EndsWith("StopStreaming FlushBuffers RetrieveResult FinishGrab Close"));
        RunPlainSession();
    }
    m_grabber.SetScript("IsOpen:1:true");
    EXPECT_EQ(Fakes::FailureOf([&] { Start(); }), "The stream grabber of the attached device is already open. It might "
                                                  "already being used for grabbing.");
    EXPECT_EQ(m_grabber.Calls(EOperation::StopStreaming), 0U);
    Start();
    EXPECT_EQ(Fakes::FailureOf([&] { Start(); }), "Grabbing has already been started.");
    EXPECT_TRUE(m_grabber.IsStreaming());
    m_engine.StopEngine();
    const auto withoutGrabber = [&] {
        m_engine.StartEngine(nullptr, GrabStrategy_OneByOne, 1, 1, 0, false, 0, 0, false);
    };
    EXPECT_EQ(Fakes::FailureOf(withoutGrabber), "The pointer to the stream grabber must not be NULL.");
}

TEST_F(GrabEngineTest, StopLogsAFailedStepAndGoesOn) {
    for (const auto& [operation, step] :
         std::vector<std::pair<std::string, std::string>>{{"StopStreaming", "stopping streaming"},
                                                          {"FlushBuffers", "flushing buffers"},
                                                          {"RetrieveResult", "retrieving cancelled buffers"},
                                                          {"FinishGrab", "finishing grab"},
                                                          {"Close", "closing stream grabber"}})
        for (const std::string kind : {"throw-runtime", "throw-std", "throw-int"}) {
            m_engine.SetBufferFactory(Memory());
            m_grabber.SetScript(operation + ":1:" + kind);
            Start({.buffers = 3});
            m_log.Clear();
            m_engine.StopEngine();
            const std::string known = "Exception caught while " + step + ", msg='" + operation + " was told to fail'";
            EXPECT_EQ(m_log.Errors(kind == "throw-int" ? "Unknown exception caught while " + step + "." : known), 1U);
            EXPECT_EQ(m_log.Errors(""), 1U);
            EXPECT_THAT(m_grabber.Order(),
                        testing::EndsWith("StopStreaming FlushBuffers RetrieveResult FinishGrab Close"));
            if (m_grabber.IsOpen())
                m_grabber.Close();
            EXPECT_EQ(m_story.alive, 0U);
            RunPlainSession();
        }
    for (const char* const foreign : {"RetrieveResult:1:stray", "RetrieveResult:2:again"}) {
        m_grabber.SetScript(foreign);
        Start({.buffers = 3});
        m_log.Clear();
        m_engine.StopEngine();
        EXPECT_EQ(
            m_log.Errors("Exception caught while retrieving cancelled buffers, msg='The stream grabber delivered a "
                         "buffer that is not queued.'"),
            1U);
    }
    Start({.buffers = 3, .queued = 1});
    m_story.failsToFree = true;
    m_engine.StopEngine();
    EXPECT_EQ(m_log.Errors("Exception caught while releasing allocated buffers, msg='FreeBuffer failed'"), 1U);
}

struct Failing {
    const char* script;
    std::string logged;
    std::string stored;
};

class GrabFailureTest : public GrabEngineTest, public testing::WithParamInterface<Failing> {};

TEST_P(GrabFailureTest, IsStoredAndShownUntilTheStop) {
    m_engine.SetBufferFactory(Memory());
    m_grabber.SetScript(GetParam().script);
    Start({GrabStrategy_LatestImageOnly});
    m_grabber.Deliver(2);
    ASSERT_TRUE(Fails());
    EXPECT_EQ(Stored(), GetParam().stored);
    EXPECT_EQ(m_log.Errors(""), GetParam().logged.empty() ? 0U : 1U);
    EXPECT_EQ(m_log.Errors("Camera 0xca: " + GetParam().logged), m_log.Errors(""));
    EXPECT_TRUE(m_engine.IsGrabbing() && m_engine.IsExceptionRaised());
    Take();
    EXPECT_TRUE(m_engine.GetResultObject().Wait(0));
    m_engine.StopEngine();
    RunPlainSession();
}

const std::string genicam = "GenICam exception caught in grab engine thread, msg=";
const std::string unread = "The stream grabber signals an available result but the retrieval fails.";
const std::string foreign = "The stream grabber delivered a buffer that is not queued.";
INSTANTIATE_TEST_SUITE_P(
    All, GrabFailureTest,
    testing::Values(Failing{"RetrieveResult:1:throw-access", genicam + "RetrieveResult was told to fail",
                            "RetrieveResult was told to fail"},
                    Failing{"RetrieveResult:2:throw-std",
                            "Std exception caught in grab engine thread, msg=RetrieveResult was told to fail",
                            "Exception caught in grab engine thread, msg=RetrieveResult was told to fail"},
                    Failing{"RetrieveResult:1:throw-int", "Unknown exception caught in grab engine thread",
                            "Unknown exception caught in grab engine thread."},
                    Failing{"RetrieveResult:1:false", genicam + unread, unread},
                    Failing{"RetrieveResult:1:stray", genicam + foreign, foreign},
                    Failing{"RetrieveResult:2:again", genicam + foreign, foreign},
                    Failing{"GetWaitObject:1:false", genicam + "WaitObject is not valid", "WaitObject is not valid"},
                    Failing{"QueueBuffer:11:throw-runtime", "", "QueueBuffer was told to fail"},
                    Failing{"QueueBuffer:11:throw-std", "",
                            "Exception caught while queuing returned buffer, msg=QueueBuffer was told to fail"},
                    Failing{"QueueBuffer:11:throw-int", "",
                            "Unknown exception caught while queuing returned buffer."}));

// Threads that signal at the same moment leave a signal too many.
TEST_F(GrabEngineTest, StartForgetsAllSignalsOfTheStopBefore) {
    RunPlainSession();
    const _WaitObjectPosix_t* const stop = m_engine.GetStopObject();
    ASSERT_EQ(write(stop->writeEnd, "", 1), 1);
    RunPlainSession();
}

TEST_F(GrabEngineTest, NumbersAndResultsMayBeTakenWhileSessionsComeAndGo) {
    m_engine.SetBufferFactory(Memory());
    std::atomic<bool> done{false};
    std::thread taking([&] {
        while (!done)
            Take();
    });
    std::thread asking([&] {
        for (std::uint64_t size = 0; !done; size = (size + 1) % 4) {
            m_engine.SetOutputQueueSize(size);
            EXPECT_LE(m_engine.GetNumEmptyBuffers(), 6U);
            EXPECT_LE(m_engine.GetNumReadyBuffers(), 6U);
        }
    });
    for (int round = 0; round < 60; ++round) {
        m_grabber.SetScript("source=free;size=32x1");
        Start({round % 2 == 0 ? GrabStrategy_LatestImages : GrabStrategy_OneByOne, 6, round % 3 == 0 ? 3UL : 6UL});
        EXPECT_TRUE(Eventually([&] { return m_grabber.Calls(EOperation::RetrieveResult) > 20; }));
        EXPECT_FALSE(m_engine.IsExceptionRaised()) << Stored();
        m_engine.StopEngine();
    }
    done = true;
    taking.join();
    asking.join();
    m_engine.SetOutputQueueSize(2);
    Start({GrabStrategy_LatestImages});
    EXPECT_EQ(m_engine.GetOutputQueueSize(), 2U);
}

} // namespace
