#pragma once

#include <Base/GCLinkage.h>
#include <Base/GCThreadAnnotations.h>

#include <pthread.h>

namespace GenICam {

/// A recursive mutex with priority inheritance: the thread that holds it may lock again and unlocks as often.
/// Priority inheritance keeps a real-time thread from waiting behind threads of middling priority.
class GENICAM_API GENICAM_CAPABILITY("mutex") CLock {
public:
    CLock(); ///< @throws RuntimeException if the system has no mutex left.
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;
    ~CLock(); ///< Not while a thread holds it.

    void Lock() noexcept GENICAM_ACQUIRE();
    bool TryLock() noexcept GENICAM_TRY_ACQUIRE(true); ///< @return false at once when another thread holds it.
    void Unlock() noexcept GENICAM_RELEASE();          ///< Only by the thread that holds it.

private:
    pthread_mutex_t m_mutex;
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

} // namespace GenICam
