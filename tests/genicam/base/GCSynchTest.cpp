// SPDX-License-Identifier: Apache-2.0
#include <Base/GCSynch.h>

#include <gtest/gtest.h>

#include <string>
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
