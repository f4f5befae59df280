// SPDX-License-Identifier: Apache-2.0
#include <zelmo/WaitObjects.h>

#include "Support.h"
#include "fakes/Descriptors.h"
#include "fakes/Interrupter.h"
#include "fakes/ScarceMemory.h"

#include <Base/GCException.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using namespace Zelmo;

class WaitObjectsTest : public testing::Test {
protected:
    void Fill(unsigned int count) {
        for (unsigned int i = 0; i < count; ++i) {
            m_objects.push_back(WaitObjectEx::Create());
            ASSERT_EQ(m_set.Add(m_objects.back()), i);
        }
    }

    std::vector<WaitObjectEx> m_objects;
    WaitObjects m_set;
};

TEST_F(WaitObjectsTest, LackOfMemoryLeavesASetAsItWas) {
    Fill(1);
    const auto fails = [](auto operation) { return ScarceMemory::Fails<GenICam::BadAllocException>(0, operation); };
    const WaitObjectEx another = WaitObjectEx::Create();
    EXPECT_TRUE(fails([&] { m_set.Add(another); }));
    EXPECT_TRUE(fails([&] { const WaitObjects copy(m_set); }));
    EXPECT_TRUE(fails([] { const WaitObjects empty; }));
    EXPECT_EQ(m_set.Add(another), 1u);
}

TEST_F(WaitObjectsTest, AnyGivesTheLowestSignaledPosition) {
    Fill(3);
    unsigned int index = 99;
    EXPECT_FALSE(m_set.WaitForAny(0, &index));
    EXPECT_EQ(index, 99u);
    m_objects[2].Signal();
    EXPECT_TRUE(m_set.WaitForAny(WaitTimeoutInfinite, &index));
    EXPECT_EQ(index, 2u);
    m_objects[0].Signal();
    EXPECT_TRUE(m_set.WaitForAny(0, &index));
    EXPECT_EQ(index, 0u);
    EXPECT_TRUE(m_set.WaitForAny(0)); // nothing was consumed
}

TEST_F(WaitObjectsTest, AllNeedsEachMemberInTime) {
    Fill(3);
    m_objects[0].Signal();
    m_objects[1].Signal();
    EXPECT_FALSE(m_set.WaitForAll(0));
    EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ(m_set.WaitForAllEx(30, false), WaitExResult_Timeout); }), 29);
    m_objects[2].Signal();
    EXPECT_TRUE(m_set.WaitForAll(0));
    EXPECT_EQ(m_set.WaitForAllEx(WaitTimeoutInfinite, true), WaitExResult_Signaled);
    EXPECT_TRUE(m_objects[0].Wait(0));
}

TEST_F(WaitObjectsTest, AllCountsWhatWasSeenOnceThoughItIsResetAgain) {
    Fill(2);
    m_objects[0].Signal();
    BlockingCall wait([&] { EXPECT_TRUE(m_set.WaitForAll(kGenerousMs)); });
    wait.AwaitBlocked(); // for the second member: the first one has been seen
    m_objects[0].Reset();
    m_objects[1].Signal();
}

TEST_F(WaitObjectsTest, MembersOutliveTheirOriginalsAndPositionsRestartAfterRemoveAll) {
    const int before = Fakes::OpenDescriptors();
    {
        WaitObjectEx original = WaitObjectEx::Create(true);
        EXPECT_EQ(m_set.Add(original), 0u);
    }
    EXPECT_EQ(Fakes::OpenDescriptors(), before + 2);
    EXPECT_TRUE(m_set.WaitForAny(0));
    m_set.RemoveAll();
    EXPECT_EQ(Fakes::OpenDescriptors(), before);
    EXPECT_FALSE(m_set.WaitForAny(0));
    EXPECT_EQ(FailureOf([&] { m_set.Add(WaitObject()); }), "WaitObject is not valid");
    EXPECT_EQ(m_set.Add(WaitObjectEx::Create()), 0u);
}

TEST_F(WaitObjectsTest, CopyIsASetOfItsOwn) {
    Fill(2);
    WaitObjects copy(m_set);
    WaitObjects assigned;
    assigned.Add(WaitObjectEx::Create(true));
    assigned = m_set;
    EXPECT_FALSE(assigned.WaitForAny(0));
    m_set.RemoveAll();
    m_objects[1].Signal();
    unsigned int index = 99;
    EXPECT_TRUE(copy.WaitForAny(0, &index));
    EXPECT_EQ(index, 1u);
    EXPECT_TRUE(assigned.WaitForAny(0));
    EXPECT_EQ(copy.Add(m_objects[0]), 2u);
}

TEST_F(WaitObjectsTest, WithoutDescriptorsSetsStayAsTheyWere) {
    Fill(3);
    m_objects[1].Signal();
    WaitObjects target;
    target.Add(m_objects[1]);
    const int before = Fakes::OpenDescriptors();
    {
        Fakes::DescriptorLimit limit(5);
        EXPECT_NE(FailureOf([&] { target = m_set; }).find("WaitObject duplicate failed (0): "), std::string::npos);
        EXPECT_NE(FailureOf([&] { WaitObjects copy(m_set); }).find("Too many open files"), std::string::npos);
        EXPECT_EQ(Fakes::OpenDescriptors(), before);
        EXPECT_EQ(m_set.Add(m_objects[0]), 3u);
        EXPECT_EQ(m_set.Add(m_objects[0]), 4u); // growing moves the members, which takes no descriptors
        EXPECT_NE(FailureOf([&] { m_set.Add(m_objects[0]); }).find("Too many open files"), std::string::npos);
    }
    EXPECT_EQ(m_set.Add(m_objects[0]), 5u);
    unsigned int index = 99;
    EXPECT_TRUE(target.WaitForAny(0, &index));
    EXPECT_EQ(index, 0u);
}

TEST_F(WaitObjectsTest, TakesExactly1024MembersAndTellsWhenTheSystemTakesFewer) {
    if (!Fakes::AllowDescriptors(3 * WaitObjectsMaxCount)) {
        GTEST_SKIP() << "the hard limit of descriptors is too low";
    }
    WaitObjectEx clear = WaitObjectEx::Create();
    WaitObjectEx last = WaitObjectEx::Create();
    for (unsigned int i = 0; i < WaitObjectsMaxCount - 1; ++i) {
        m_set.Add(clear);
    }
    EXPECT_EQ(m_set.Add(last), 1023u);
    EXPECT_EQ(FailureOf([&] { m_set.Add(last); }), "Exceeding maximum number of waitobjects (1024)");
    EXPECT_EQ(FailureOf([&] { m_set.Add(WaitObject()); }), "Exceeding maximum number of waitobjects (1024)");
    last.Signal();
    unsigned int index = 0;
    EXPECT_TRUE(m_set.WaitForAny(0, &index));
    EXPECT_EQ(index, 1023u);
    EXPECT_FALSE(m_set.WaitForAll(0));
    clear.Signal();
    EXPECT_TRUE(m_set.WaitForAll(0));
    const Fakes::DescriptorLimit restore(0);
    rlimit limit;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = 10; // poll takes no more entries than that
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(FailureOf([&] { m_set.WaitForAny(0); }),
              "WaitExWaitMultipleObjectsWithTimeout() failed: Invalid argument");
}

TEST_F(WaitObjectsTest, InterruptionEndsAlertableWaitsOnly) {
    Fill(2);
    Fakes::Interrupter interrupter;
    EXPECT_EQ(m_set.WaitForAnyEx(WaitTimeoutInfinite, true), WaitExResult_Alerted);
    EXPECT_EQ(m_set.WaitForAllEx(kGenerousMs, true), WaitExResult_Alerted);
    EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ(m_set.WaitForAnyEx(50, false), WaitExResult_Timeout); }), 49);
    std::jthread signaler([copy = m_objects[1], waiter = gettid()]() mutable {
        AwaitBlocked(waiter);
        copy.Signal();
    });
    unsigned int index = 99;
    EXPECT_EQ(m_set.WaitForAnyEx(WaitTimeoutInfinite, false, &index), WaitExResult_Signaled);
    EXPECT_EQ(index, 1u);
}

TEST_F(WaitObjectsTest, EmptySetSleepsAndEndsWithAnInterruption) {
    EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ(m_set.WaitForAllEx(30, false), WaitExResult_Timeout); }), 29);
    Fakes::Interrupter interrupter;
    EXPECT_EQ(m_set.WaitForAnyEx(WaitTimeoutInfinite, true), WaitExResult_Alerted);
    EXPECT_EQ(m_set.WaitForAnyEx(WaitTimeoutInfinite, false), WaitExResult_Signaled);
    EXPECT_EQ(m_set.WaitForAllEx(kGenerousMs, false), WaitExResult_Signaled);
}

} // namespace
