// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCThreadAnnotations.h>

#include <pthread.h>

// Marks for clang's -Wthread-safety; nothing for other compilers.
#define ZELMO_CAPABILITY(name) GENICAM_CAPABILITY(name)
#define ZELMO_SCOPED_CAPABILITY GENICAM_SCOPED_CAPABILITY
#define ZELMO_GUARDED_BY(lock) GENICAM_GUARDED_BY(lock)
#define ZELMO_REQUIRES(...) GENICAM_REQUIRES(__VA_ARGS__)
#define ZELMO_ACQUIRE(...) GENICAM_ACQUIRE(__VA_ARGS__)
#define ZELMO_RELEASE(...) GENICAM_RELEASE(__VA_ARGS__)
#define ZELMO_TRY_ACQUIRE(...) GENICAM_TRY_ACQUIRE(__VA_ARGS__)
#define ZELMO_NO_THREAD_SAFETY_ANALYSIS GENICAM_NO_THREAD_SAFETY_ANALYSIS

namespace Zelmo {

/// The mutex below both kinds: a pthread mutex, with priority inheritance by the rule of GenICam::GetMutexProtocol.
/// Lower-case names, so that std::unique_lock and std::condition_variable_any take it as well.
class CMutexBase {
public:
    CMutexBase(const CMutexBase&) = delete;
    CMutexBase& operator=(const CMutexBase&) = delete;

protected:
    explicit CMutexBase(int kind); ///< @p kind PTHREAD_MUTEX_…; @throws GenICam::RuntimeException out of resources.
    ~CMutexBase();
    void Acquire(); ///< @throws GenICam::LogicalErrorException if the calling thread holds a plain mutex already.
    bool TryAcquire() noexcept;
    void Release() noexcept;

private:
    pthread_mutex_t m_mutex;
};

/// A plain mutex. Locking it twice on one thread raises GenICam::LogicalErrorException instead of hanging.
class ZELMO_CAPABILITY("mutex") CMutex : private CMutexBase {
public:
    CMutex() : CMutexBase(PTHREAD_MUTEX_ERRORCHECK) {}
    void lock() ZELMO_ACQUIRE() { Acquire(); }
    bool try_lock() noexcept ZELMO_TRY_ACQUIRE(true) { return TryAcquire(); }
    void unlock() noexcept ZELMO_RELEASE() { Release(); }
};

/// A mutex that its holder may lock again; it is free after as many unlocks.
class ZELMO_CAPABILITY("mutex") CRecursiveMutex : private CMutexBase {
public:
    CRecursiveMutex() : CMutexBase(PTHREAD_MUTEX_RECURSIVE) {}
    void lock() ZELMO_ACQUIRE() { Acquire(); }
    bool try_lock() noexcept ZELMO_TRY_ACQUIRE(true) { return TryAcquire(); }
    void unlock() noexcept ZELMO_RELEASE() { Release(); }
};

/// Holds a mutex for a scope. (std::lock_guard carries no annotations.)
template <typename Mutex>
class ZELMO_SCOPED_CAPABILITY CLockGuard {
public:
    explicit CLockGuard(Mutex& mutex) ZELMO_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~CLockGuard() ZELMO_RELEASE() { m_mutex.unlock(); }
    CLockGuard(const CLockGuard&) = delete;
    CLockGuard& operator=(const CLockGuard&) = delete;

private:
    Mutex& m_mutex;
};

/// Holds a mutex for a scope, but can let it go for a while: for waiting on a condition, or for calls to the outside.
template <typename Mutex>
class ZELMO_SCOPED_CAPABILITY CUniqueLock {
public:
    explicit CUniqueLock(Mutex& mutex) ZELMO_ACQUIRE(mutex) : m_mutex(mutex) { lock(); }
    ~CUniqueLock() ZELMO_RELEASE() {
        if (m_held) {
            m_mutex.unlock();
        }
    }
    CUniqueLock(const CUniqueLock&) = delete;
    CUniqueLock& operator=(const CUniqueLock&) = delete;

    void lock() ZELMO_ACQUIRE() {
        m_mutex.lock();
        m_held = true;
    }
    void unlock() noexcept ZELMO_RELEASE() {
        m_held = false;
        m_mutex.unlock();
    }

private:
    Mutex& m_mutex;
    bool m_held = false;
};

} // namespace Zelmo
