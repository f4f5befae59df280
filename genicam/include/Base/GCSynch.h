// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>
#include <Base/GCString.h>
#include <Base/GCThreadAnnotations.h>

#include <atomic>
#include <pthread.h>

namespace GenICam {

/// The protocol of every mutex here and above, found out once: PTHREAD_PRIO_INHERIT where the process may run threads
/// at real-time priority (the hard limit RLIMIT_RTPRIO, the capability CAP_SYS_NICE, or such a priority of its own), so
/// that a real-time thread does not wait behind threads of middling priority; else PTHREAD_PRIO_NONE, since there
/// inheritance buys nothing and costs a multiple under contention.
GENICAM_API int GetMutexProtocol() noexcept;

/// A recursive mutex: the thread that holds it may lock again and unlocks as often. Its protocol is GetMutexProtocol().
class GENICAM_API GENICAM_CAPABILITY("mutex") CLock {
public:
    CLock(); ///< @throws RuntimeException if the system has no mutex left.
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;
    ~CLock(); ///< Not while a thread holds it.

    void Lock() noexcept GENICAM_ACQUIRE();
    bool TryLock() noexcept GENICAM_TRY_ACQUIRE(true); ///< @return false at once when another thread holds it.
    void Unlock() noexcept GENICAM_RELEASE();          ///< Only by the thread that holds it.
    bool IsHeldByThisThread() const noexcept;

private:
    void CountHold() noexcept;

    pthread_mutex_t m_mutex;
    std::atomic<pthread_t> m_holder{0}; // 0 for none; of interest to that thread only
    unsigned long m_holds = 0;          // of that thread; guarded by the mutex
};

/// Holds a lock from construction to the end of the scope.
class GENICAM_SCOPED_CAPABILITY AutoLock {
public:
    explicit AutoLock(CLock& lock) noexcept GENICAM_ACQUIRE(lock) : m_lock(lock) { m_lock.Lock(); }
    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;
    ~AutoLock() GENICAM_RELEASE() { m_lock.Unlock(); }

private:
    CLock& m_lock;
};

/// The lock that counts its users on other systems; nothing is added on this one.
class GENICAM_API CLockEx : public CLock {};

/// Base of objects that carry a lock of their own: `LockableObject<T>::Lock guard(object);` holds it.
template <class Object>
class LockableObject {
public:
    class GENICAM_SCOPED_CAPABILITY Lock {
    public:
        explicit Lock(const LockableObject& object) noexcept GENICAM_ACQUIRE(object.m_lock) : m_lock(object.m_lock) {
            m_lock.Lock();
        }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        ~Lock() GENICAM_RELEASE() { m_lock.Unlock(); }

    private:
        CLock& m_lock;
    };

    CLock& GetLock() const noexcept GENICAM_RETURN_CAPABILITY(m_lock) { return m_lock; }

private:
    mutable CLock m_lock;
};

/// A lock that all processes of the machine know by its name, for files that they share. Every object keeps out all
/// others of that name, in the same process, too. It is a semaphore of one place: any thread may give back what another
/// one took, and taking again what this object holds waits like everybody else.
/// The system takes the lock away from a process that ends, however it ends; what that process guarded may then be half
/// done. A child made by fork() that runs no other program shares its parent's hold until both are gone.
/// Threads: any, at the same time. Who waits asks again every few milliseconds; there is no queue.
class GENICAM_API CGlobalLock {
public:
    /// Opens the lock without taking it: a file in /dev/shm that stays there. Names differ in case.
    /// @throws BadAllocException. Whether it worked says IsValid().
    explicit CGlobalLock(const gcstring& name);
    CGlobalLock(const CGlobalLock&) = delete;
    CGlobalLock& operator=(const CGlobalLock&) = delete;
    ~CGlobalLock(); ///< Gives the lock back if this object holds it.

    /// False for an empty name, one longer than a file name can be, and where the system gives no such file; the lock
    /// is then never got.
    bool IsValid() const noexcept { return m_file >= 0; }
    bool Lock(unsigned int timeoutMs) noexcept; ///< @return whether it was got within that time.
    bool TryLock() noexcept;                    ///< @return whether it was free and is now held.
    void Unlock() noexcept;                     ///< Nothing happens if this object does not hold it.

private:
    CLock m_lock;
    int m_file;
    bool m_isHeld GENICAM_GUARDED_BY(m_lock) = false;
};

/// Gives a global lock back at the end of the scope, or earlier.
class CGlobalLockUnlocker {
public:
    explicit CGlobalLockUnlocker(CGlobalLock& lock) noexcept : m_lock(&lock) {}
    CGlobalLockUnlocker(const CGlobalLockUnlocker&) = delete;
    CGlobalLockUnlocker& operator=(const CGlobalLockUnlocker&) = delete;
    ~CGlobalLockUnlocker() { UnlockEarly(); }

    void UnlockEarly() noexcept {
        if (m_lock) {
            m_lock->Unlock();
        }
        m_lock = nullptr;
    }

private:
    CGlobalLock* m_lock; // null when given back
};

} // namespace GenICam
