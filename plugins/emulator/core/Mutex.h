// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>

// Marks for clang's -Wthread-safety; nothing for other compilers.
#if defined(__clang__)
#define CAMEMU_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define CAMEMU_THREAD_ATTRIBUTE(x)
#endif
#define CAMEMU_GUARDED_BY(lock) CAMEMU_THREAD_ATTRIBUTE(guarded_by(lock))
#define CAMEMU_REQUIRES(...) CAMEMU_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define CAMEMU_ACQUIRE(...) CAMEMU_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define CAMEMU_RELEASE(...) CAMEMU_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define CAMEMU_UNCHECKED_LOCKS CAMEMU_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace CamEmu {

/// The standard library's mutex, which carries no marks, with them. Waiting on a condition takes the native one.
class CAMEMU_THREAD_ATTRIBUTE(capability("mutex")) CMutex {
public:
    void lock() CAMEMU_ACQUIRE() { m_mutex.lock(); }
    void unlock() CAMEMU_RELEASE() { m_mutex.unlock(); }

    /// Waits on @p condition until it is notified, or something else happened: to be called in a loop.
    template <class Condition>
    void WaitFor(Condition& condition) CAMEMU_REQUIRES(this) {
        std::unique_lock lock(m_mutex, std::adopt_lock); // held already, and held again when it has waited
        condition.wait(lock);
        lock.release();
    }

    template <class Condition, class TimePoint>
    void WaitUntil(Condition& condition, TimePoint due) CAMEMU_REQUIRES(this) {
        std::unique_lock lock(m_mutex, std::adopt_lock);
        condition.wait_until(lock, due);
        lock.release();
    }

private:
    std::mutex m_mutex;
};

/// Holds a mutex for a scope.
class CAMEMU_THREAD_ATTRIBUTE(scoped_lockable) CLockGuard {
public:
    explicit CLockGuard(CMutex& mutex) CAMEMU_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~CLockGuard() CAMEMU_RELEASE() { m_mutex.unlock(); }
    CLockGuard(const CLockGuard&) = delete;
    CLockGuard& operator=(const CLockGuard&) = delete;

private:
    CMutex& m_mutex;
};

/// Lets a mutex go for a scope in which it is held otherwise, however the scope ends.
class CAMEMU_THREAD_ATTRIBUTE(scoped_lockable) CLockGap {
public:
    explicit CLockGap(CMutex& mutex) CAMEMU_RELEASE(mutex) : m_mutex(mutex) { m_mutex.unlock(); }
    ~CLockGap() CAMEMU_RELEASE() { m_mutex.lock(); }
    CLockGap(const CLockGap&) = delete;
    CLockGap& operator=(const CLockGap&) = delete;

private:
    CMutex& m_mutex;
};

} // namespace CamEmu
