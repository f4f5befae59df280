#include <Base/GCSynch.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

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

TEST(CLockTest, AutoLockUnlocksWhenAnExceptionLeavesTheScope) {
    CLock lock;
    try {
        AutoLock guard(lock);
        EXPECT_FALSE(AnotherThreadGets(lock));
        throw 1;
    } catch (int) {
    }
    EXPECT_TRUE(AnotherThreadGets(lock));
}

class Counter : public LockableObject<Counter> {
public:
    void Increment() {
        Lock guard(*this);
        ++m_value;
    }
    int Value() const {
        Lock guard(*this);
        return m_value;
    }

private:
    int m_value = 0;
};

TEST(LockableObjectTest, LocksOutOtherThreads) {
    Counter counter;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 5000; ++n)
                counter.Increment();
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(counter.Value(), 20000);
}

} // namespace
