// SPDX-License-Identifier: Apache-2.0
#include <Base/GCSynch.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <linux/capability.h>
#include <pthread.h>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace GenICam;

namespace {

bool AnotherThreadGets(CLock& lock) {
    bool got = false;
    std::thread([&] {
        if (lock.TryLock()) {
            got = true;
            lock.Unlock();
        }
    }).join();
    return got;
}

// taking a held lock again is what the analysis cannot follow
TEST(CLockTest, IsFreeOnlyAfterAsManyUnlocksAsLocks) GENICAM_NO_THREAD_SAFETY_ANALYSIS {
    CLock lock;
    lock.Lock();
    ASSERT_TRUE(lock.TryLock()) << "the holder may lock again";
    lock.Unlock();
    EXPECT_FALSE(AnotherThreadGets(lock));
    lock.Unlock();
    EXPECT_TRUE(AnotherThreadGets(lock));
}

TEST(CLockTest, GuardUnlocksWhenAnExceptionLeavesTheScope) {
    struct Object : LockableObject<Object> {
    } object;
    try {
        const Object::Lock guard(object);
        EXPECT_FALSE(AnotherThreadGets(object.GetLock()));
        throw 1;
    } catch (int) {
    }
    EXPECT_TRUE(AnotherThreadGets(object.GetLock()));
}

/// Runs the test of that name again, in a process that may not use real-time priority. @return whether it passes.
bool PassesWithoutRights(const std::string& test) {
    const pid_t child = fork();
    if (child == 0) {
        const rlimit none{0, 0};
        prctl(PR_CAPBSET_DROP,
              CAP_SYS_NICE); // what root gets back as it starts a program; others are refused, and have none
        if (setrlimit(RLIMIT_RTPRIO, &none) == 0 && setenv("ZELMO_TEST_WITHOUT_RIGHTS", "1", 1) == 0) {
            execl("/proc/self/exe", "test", ("--gtest_filter=" + test).c_str(), nullptr);
        }
        _exit(1);
    }
    int status = 1;
    waitpid(child, &status, 0);
    return status == 0;
}

TEST(MutexProtocolTest, InheritsPriorityOnlyWhereThreadsMayRunAtRealTimePriority) {
    if (std::getenv("ZELMO_TEST_WITHOUT_RIGHTS") != nullptr) {
        EXPECT_EQ(GetMutexProtocol(), PTHREAD_PRIO_NONE);
        return;
    }
    EXPECT_TRUE(PassesWithoutRights("MutexProtocolTest.*"));
    std::thread([] {
        const sched_param lowest{1};
        if (pthread_setschedparam(pthread_self(), SCHED_RR, &lowest) == 0) {
            EXPECT_EQ(GetMutexProtocol(), PTHREAD_PRIO_INHERIT);
        }
    }).join();
}

TEST(CGlobalLockTest, KeepsOutAllOthersOfItsNameUntilItsHolderGivesItBackOrEnds) {
    const gcstring name(("zelmo test/" + std::to_string(getpid())).c_str());
    CGlobalLock lock(name), rival(name);
    EXPECT_TRUE(lock.TryLock());
    EXPECT_TRUE(CGlobalLock(name + 'x').TryLock());
    rival.Unlock(); // it holds nothing
    EXPECT_FALSE(lock.TryLock() || rival.TryLock() || rival.Lock(20)) << "its holder is kept out, too";
    std::thread waiting([&] { EXPECT_TRUE(rival.Lock(10000)); });
    { const CGlobalLockUnlocker unlocker(lock); }
    waiting.join();
    EXPECT_FALSE(lock.TryLock());
    rival.Unlock();
    const pid_t child = fork();
    if (child == 0) {
        _exit((new CGlobalLock(name))->TryLock() ? 0 : 1); // it is never given back
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "another process gets it as well";
    EXPECT_TRUE(lock.Lock(10000)) << "its holder is gone";
    for (const auto& bad : {gcstring(), gcstring(300, 'x')}) {
        EXPECT_FALSE(CGlobalLock(bad).IsValid() || CGlobalLock(bad).Lock(0));
    }
    for (const char* end : {"", "x"}) {
        EXPECT_EQ(unlink(("/dev/shm/genicam-zelmo%20test%2F" + std::to_string(getpid()) + end).c_str()), 0);
    }
}

} // namespace
