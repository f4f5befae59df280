// SPDX-License-Identifier: Apache-2.0
#include <zelmo/ThreadPriority.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace Zelmo;

int MaximumPriority() {
    int priorityMin = -1;
    int priorityMax = -1;
    GetRTThreadPriorityCapabilities(priorityMin, priorityMax);
    EXPECT_EQ(priorityMin, 0); // stands for normal scheduling
    return priorityMax;
}

int Policy() {
    int policy = -1;
    sched_param parameters;
    EXPECT_EQ(pthread_getschedparam(pthread_self(), &policy, &parameters), 0);
    return policy;
}

class RTThreadPriorityLimitTest : public testing::TestWithParam<rlim_t> {};

TEST_P(RTThreadPriorityLimitTest, BindsUnprivilegedProcessesOnly) {
    rlimit limit;
    ASSERT_EQ(getrlimit(RLIMIT_RTPRIO, &limit), 0);
    limit.rlim_cur = GetParam();
    limit.rlim_max = std::max(limit.rlim_cur, limit.rlim_max);
    if (setrlimit(RLIMIT_RTPRIO, &limit) != 0) {
        GTEST_SKIP() << "the hard limit of RLIMIT_RTPRIO cannot be raised to " << GetParam();
    }
    if (getuid() == 0) {
        EXPECT_EQ(MaximumPriority(), 99);
        ASSERT_EQ(setresuid(65534, 65534, 65534), 0); // drops all capabilities
    }
    EXPECT_EQ(MaximumPriority(), GetParam() > 99 ? 99 : static_cast<int>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Limits, RTThreadPriorityLimitTest, testing::Values(0, 40, 99, 100, RLIM_INFINITY));

TEST(RTThreadPriorityTest, OutsideTheCapabilitiesNothingChanges) {
    EXPECT_EQ(SetRTThreadPriority(pthread_self(), -1), EINVAL);
    EXPECT_EQ(SetRTThreadPriority(pthread_self(), MaximumPriority() + 1), EINVAL);
    EXPECT_EQ(Policy(), SCHED_OTHER);
    EXPECT_EQ(GetRTThreadPriority(pthread_self()), 0);
}

TEST(RTThreadPriorityTest, PriorityIsRoundRobinAndZeroIsNormalScheduling) {
    if (MaximumPriority() == 0 || SetRTThreadPriority(pthread_self(), 1) != 0) {
        GTEST_SKIP() << "this process gets no real-time priority";
    }
    EXPECT_EQ(Policy(), SCHED_RR);
    EXPECT_EQ(GetRTThreadPriority(pthread_self()), 1);
    EXPECT_EQ(SetRTThreadPriority(pthread_self(), 0), 0);
    EXPECT_EQ(Policy(), SCHED_OTHER);
}

} // namespace
