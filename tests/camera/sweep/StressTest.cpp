// SPDX-License-Identifier: Apache-2.0
#include "SweepSession.h"

#include "ZelmoBase/core/ScopeGuard.h"
#include "fakes/transport/FrameAudit.h"
#include "fakes/transport/NullTransport.h"
#include "fakes/transport/ScriptedStreamGrabber.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace Zelmo;

namespace {

/// Counts the records that are alive.
class CountedResult : public CGrabResultData {
public:
    CountedResult() { ++alive; }
    ~CountedResult() override { --alive; }

    static inline std::atomic<int> alive{0};
};

/// The application's memory, which sometimes is none.
class ScarceMemory : public CountedMemory {
public:
    void AllocateBuffer(std::size_t sizeBytes, void** buffer, long& context) override {
        ++asked;
        if (asked == throwsAt) {
            throw std::runtime_error("no memory of the application's");
        }
        if (asked != nullAt) {
            CountedMemory::AllocateBuffer(sizeBytes, buffer, context);
        }
    }

    unsigned asked = 0, nullAt = 0, throwsAt = 0;
};

class Owner final : public SessionOwner {
public:
    CGrabResultData* CreateGrabResultData() override { return new CountedResult; }
};

class GrabStress : public testing::Test {
protected:
    GrabStress() { m_owner->session.GetEngine().SetBufferFactory(Share(m_memory)); }
    ~GrabStress() override {
        m_owner.reset();
        EXPECT_EQ(m_memory.alive, 0);
        EXPECT_EQ(CountedResult::alive, 0);
        EXPECT_TRUE(ProcessResources::AreBackTo(m_before));
    }

    static std::shared_ptr<IBufferFactory> Share(IBufferFactory& memory) {
        return ShareBufferFactory(&memory, Cleanup_None, nullptr);
    }
    CGrabSession& Session() { return m_owner->session; }
    CGrabResultPtr Take() {
        CGrabResultPtr result;
        EXPECT_TRUE(Session().Retrieve(10000, result, TimeoutHandling_ThrowException));
        return result;
    }

    ScarceMemory m_memory;
    const ProcessResources m_before = ProcessResources::WithThreads();
    std::unique_ptr<Owner> m_owner = std::make_unique<Owner>();
};

TEST_F(GrabStress, TenThousandStartsAndStopsWithResultsHeldOverThem) {
    Fakes::CNullStreamGrabber grabber(Fakes::CNullStreamGrabber::EPace::AtOnce);
    std::deque<CGrabResultPtr> held;
    for (int round = 0; round < 10000; ++round) {
        m_owner->Start(grabber, SettingsFor(static_cast<EGrabStrategy>(round % 4), round % 3 == 0 ? 2 : 50));
        held.push_back(Take());
        ASSERT_TRUE(held.back()->GrabSucceeded());
        Session().Stop();
        ASSERT_NE(held.front()->GetBuffer(), nullptr);
        if (held.size() > 8) {
            held.pop_front();
        }
    }
    EXPECT_EQ(m_memory.alive, static_cast<int>(held.size()));
    EXPECT_EQ(CountedResult::alive, static_cast<int>(held.size()));
}

/// Four threads let go of results while the session runs, stops and starts: no frame is lost on the way, and where
/// there is an image there is a record for it.
TEST_F(GrabStress, ResultsDroppedByManyThreadsWhileGrabbingAndStopping) {
    Fakes::CScriptedStreamGrabber grabber("source=free");
    Fakes::CFrameAudit audit;
    std::mutex lock;
    std::condition_variable changed;
    std::deque<CGrabResultPtr> results;
    bool done = false;
    std::uint64_t good = 0, skipped = 0;
    {
        std::vector<std::jthread> droppers;
        for (int i = 0; i < 4; ++i) {
            droppers.emplace_back([&] {
                std::unique_lock guard(lock);
                while (!done || !results.empty()) {
                    changed.wait(guard, [&] { return done || !results.empty(); });
                    if (!results.empty()) {
                        CGrabResultPtr result = results.front();
                        results.pop_front();
                        guard.unlock();
                        audit.Take(result->GetBuffer(), result->GetPayloadSize());
                        result.Release();
                        guard.lock();
                    }
                }
            });
        }
        const ScopeGuard end([&] {
            const std::lock_guard guard(lock);
            done = true;
            changed.notify_all();
        });
        for (int round = 0; round < 200; ++round) {
            auto settings = SettingsFor(round % 2 == 0 ? GrabStrategy_OneByOne : GrabStrategy_LatestImages, 50);
            settings.buffers = 10;
            grabber.SetScript("source=queue;frames=30");
            m_owner->Start(grabber, settings);
            for (std::uint64_t taken = 0; taken < 30;) {
                const CGrabResultPtr result = Take();
                ++good;
                skipped += static_cast<std::uint64_t>(result->GetNumberOfSkippedImages());
                taken += 1 + static_cast<std::uint64_t>(result->GetNumberOfSkippedImages());
                const std::lock_guard guard(lock);
                results.push_back(result);
                changed.notify_one();
            }
            Session().Stop(); // with results in the droppers' hands
        }
    }
    const Fakes::CFrameAccount account = grabber.Account();
    EXPECT_EQ(account.begun, account.lost + good + skipped);
    const Fakes::CAuditReport report = audit.Report(account.begun);
    EXPECT_EQ(report.distinct, good);
    EXPECT_EQ(report.doubled + report.torn + report.foreign, 0u);
    EXPECT_THAT(grabber.Violations(), testing::IsEmpty());
}

TEST_F(GrabStress, AllGivenUpWithResultsAlive) {
    for (int round = 0; round < 300; ++round) {
        std::vector<CGrabResultPtr> held;
        {
            Fakes::CNullStreamGrabber grabber(Fakes::CNullStreamGrabber::EPace::Free);
            m_owner->Start(grabber, SettingsFor(GrabStrategy_OneByOne, 50));
            for (int i = 0; i < 4; ++i) {
                held.push_back(Take());
            }
            m_owner = std::make_unique<Owner>(); // the old one goes, while it grabs
            m_owner->session.GetEngine().SetBufferFactory(Share(m_memory));
        }
        std::vector<std::jthread> threads;
        for (CGrabResultPtr& result : held) {
            threads.emplace_back([&result] {
                EXPECT_TRUE(result.IsUnique());
                EXPECT_NE(result->GetBuffer(), nullptr);
                result.Release();
            });
        }
        threads.clear();
        ASSERT_EQ(m_memory.alive + CountedResult::alive, 0);
    }
}

TEST_F(GrabStress, MemoryOfTheApplicationThatEndsAtTheNthBuffer) {
    Fakes::CNullStreamGrabber grabber(Fakes::CNullStreamGrabber::EPace::Free);
    for (unsigned n = 1; n <= 6; ++n) {
        m_memory.asked = 0;
        m_memory.nullAt = n;
        m_memory.throwsAt = 0;
        m_owner->Start(grabber, SettingsFor(GrabStrategy_OneByOne, 50)); // goes on with fewer buffers
        for (int i = 0; i < 20; ++i) {
            EXPECT_TRUE(Take()->GrabSucceeded());
        }
        Session().Stop();
        ASSERT_EQ(m_memory.alive, 0);
        m_memory.asked = 0;
        m_memory.nullAt = 0;
        m_memory.throwsAt = n;
        if (n <= 5) {
            EXPECT_THROW(m_owner->Start(grabber, SettingsFor(GrabStrategy_OneByOne, 50)), std::runtime_error);
        }
        ASSERT_FALSE(Session().IsGrabbing());
        ASSERT_EQ(m_memory.alive, 0);
    }
}

TEST_F(GrabStress, HeldResultsThatExhaustTheRecordsLeaveTheSessionGoing) {
    Fakes::CNullStreamGrabber grabber(Fakes::CNullStreamGrabber::EPace::Free);
    m_owner->Start(grabber, SettingsFor(GrabStrategy_OneByOne, 50), 3);
    for (int round = 0; round < 500; ++round) {
        std::vector<CGrabResultPtr> held{Take(), Take(), Take()};
        CGrabResultPtr none;
        EXPECT_THROW(Session().Retrieve(10000, none, TimeoutHandling_Return), GenICam::RuntimeException);
        EXPECT_EQ(held.back()->GetImageNumber(), 3 * (round + 1)); // nothing was lost to the failures
    }
    Session().Stop();
}

} // namespace
