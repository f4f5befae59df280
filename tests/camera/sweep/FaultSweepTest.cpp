// SPDX-License-Identifier: Apache-2.0
#include "SweepSession.h"

#include "fakes/LogRecorder.h"
#include "fakes/transport/ScriptedStreamGrabber.h"

#include <zelmo/Log.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

namespace {

using Fakes::EOperation;
using Zelmo::EGrabStrategy;

struct Swept {
    EOperation operation;
    std::vector<const char*> faults; // beside those that every operation can have
};

const Swept kSwept[]{
    {EOperation::Open, {}},
    {EOperation::Close, {}},
    {EOperation::IsOpen, {"true"}},
    {EOperation::RegisterBuffer, {}},
    {EOperation::DeregisterBuffer, {}},
    {EOperation::PrepareGrab, {}},
    {EOperation::StartStreaming, {}},
    {EOperation::StopStreaming, {}},
    {EOperation::FinishGrab, {}},
    {EOperation::QueueBuffer, {}},
    {EOperation::FlushBuffers, {}},
    {EOperation::RetrieveResult, {"false"}},
    {EOperation::GetNodeMap, {"false"}},
    {EOperation::GetWaitObject, {"false"}},
    {EOperation::PayloadSize, {"false"}},
    {EOperation::MaxBufferSize, {}},
    {EOperation::MaxNumBuffer, {}},
    {EOperation::Frame, {"fail", "gap", "lie-short", "lie-long", "lie-negative", "lie-huge", "lie-strange"}},
};
const std::vector<const char*> kThrows{"throw-generic", "throw-runtime",   "throw-access", "throw-badalloc",
                                       "throw-std",     "throw-std-alloc", "throw-int"};
const std::tuple<EGrabStrategy, unsigned long> kKinds[]{{Zelmo::GrabStrategy_OneByOne, 50},
                                                        {Zelmo::GrabStrategy_OneByOne, 3}, // registered while queued
                                                        {Zelmo::GrabStrategy_LatestImages, 50},
                                                        {Zelmo::GrabStrategy_UpcomingImage, 50}};

class FaultSweep : public testing::TestWithParam<std::tuple<Swept, std::tuple<EGrabStrategy, unsigned long>>> {
protected:
    FaultSweep() { hxlog::LogEnable(true); }

    static constexpr const char* kCategory = "zelmo.base.InstantCamera";
    Fakes::LogRecorder m_log{kCategory};
    Fakes::CScriptedStreamGrabber m_grabber;
};

/// One session with a fault, and a plain one behind it, for each call that may fail.
TEST_P(FaultSweep, WhateverFailsIsToldAndNothingIsLeftBehind) {
    const auto& [swept, kind] = GetParam();
    SweepSession session(std::apply(SettingsFor, kind));
    std::vector<const char*> faults = swept.faults;
    if (swept.operation != EOperation::Frame) {
        faults.insert(faults.end(), {"spurious", "stall=1"});
        faults.insert(faults.end(), kThrows.begin(), kThrows.end());
    }
    m_grabber.SetScript("source=free");
    ASSERT_EQ(session.Run(m_grabber).images, kImages);
    const ProcessResources before;
    int sessions = 0;
    for (const char* fault : faults) {
        // a buffer that cannot be queued after the last image would be told by the next retrieval, which never comes
        const bool isFeeding =
            swept.operation == EOperation::QueueBuffer || swept.operation == EOperation::RegisterBuffer;
        const bool isThrown = std::string_view(fault).starts_with("throw");
        bool struck = true;
        for (unsigned n = 1; struck; n += kSweepStep) {
            const std::string script =
                "source=free;" + std::string(Fakes::NameOf(swept.operation)) + ":" + std::to_string(n) + ":" + fault;
            SCOPED_TRACE(script);
            m_grabber.SetScript(script);
            m_log.Clear();
            const int aliveBefore = session.BuffersAlive();
            const Outcome outcome = session.Run(m_grabber);
            ++sessions;
            struck = m_grabber.Calls(swept.operation) >= n;
            ASSERT_TRUE(outcome.images == kImages || !outcome.failure.empty()) << outcome.images;
            if (!struck) {
                ASSERT_EQ(outcome.failure, "");
            } else if (isThrown && !(isFeeding && outcome.images == kImages)) {
                ASSERT_TRUE(!outcome.failure.empty() || m_log.Count(kCategory, GenICam::LogPriority_Error) > 0);
            }
            ASSERT_TRUE(session.IsIdle());
            ASSERT_TRUE(session.BuffersAlive() == aliveBefore || m_grabber.IsOpen());
            m_grabber.SetScript("source=free");
            if (m_grabber.IsOpen()) { // a failure to close is not the engine's to repair
                m_grabber.Close();
            }
            const Outcome next = session.Run(m_grabber);
            ASSERT_EQ(next.failure, "");
            ASSERT_EQ(next.images, kImages);
            ASSERT_TRUE(ProcessResources::AreBackTo(before));
            ASSERT_THAT(m_grabber.Violations(), testing::IsEmpty());
        }
    }
    RecordProperty("sessions", sessions);
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultSweep,
                         testing::Combine(testing::ValuesIn(kSwept), testing::ValuesIn(kKinds)));

} // namespace
