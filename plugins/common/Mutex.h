// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>

// Marks for clang's -Wthread-safety; nothing for other compilers.
#if defined(__clang__)
#define PLUGIN_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define PLUGIN_THREAD_ATTRIBUTE(x)
#endif
#define PLUGIN_GUARDED_BY(lock) PLUGIN_THREAD_ATTRIBUTE(guarded_by(lock))
#define PLUGIN_REQUIRES(...) PLUGIN_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define PLUGIN_ACQUIRE(...) PLUGIN_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define PLUGIN_RELEASE(...) PLUGIN_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define PLUGIN_UNCHECKED_LOCKS PLUGIN_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace PluginKit {

/// The standard library's mutex, which carries no marks, with them. Waiting on a condition takes the native one.
class PLUGIN_THREAD_ATTRIBUTE(capability("mutex")) CMutex {
public:
    void lock() PLUGIN_ACQUIRE() { m_mutex.lock(); }
    void unlock() PLUGIN_RELEASE() { m_mutex.unlock(); }

    /// Waits on @p condition until it is notified, or something else happened: to be called in a loop.
    template <class Condition>
    void WaitFor(Condition& condition) PLUGIN_REQUIRES(this) {
        std::unique_lock lock(m_mutex, std::adopt_lock); // held already, and held again when it has waited
        condition.wait(lock);
        lock.release();
    }

    template <class Condition, class TimePoint>
    void WaitUntil(Condition& condition, TimePoint due) PLUGIN_REQUIRES(this) {
        std::unique_lock lock(m_mutex, std::adopt_lock);
        condition.wait_until(lock, due);
        lock.release();
    }

private:
    std::mutex m_mutex;
};

/// Holds a mutex for a scope.
class PLUGIN_THREAD_ATTRIBUTE(scoped_lockable) CLockGuard {
public:
    explicit CLockGuard(CMutex& mutex) PLUGIN_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~CLockGuard() PLUGIN_RELEASE() { m_mutex.unlock(); }
    CLockGuard(const CLockGuard&) = delete;
    CLockGuard& operator=(const CLockGuard&) = delete;

private:
    CMutex& m_mutex;
};

/// Lets a mutex go for a scope in which it is held otherwise, however the scope ends.
class PLUGIN_THREAD_ATTRIBUTE(scoped_lockable) CLockGap {
public:
    explicit CLockGap(CMutex& mutex) PLUGIN_RELEASE(mutex) : m_mutex(mutex) { m_mutex.unlock(); }
    ~CLockGap() PLUGIN_RELEASE() { m_mutex.lock(); }
    CLockGap(const CLockGap&) = delete;
    CLockGap& operator=(const CLockGap&) = delete;

private:
    CMutex& m_mutex;
};

} // namespace PluginKit
