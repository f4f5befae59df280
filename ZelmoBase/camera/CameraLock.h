// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/core/Mutex.h"

#include <zelmo/InstantCameraExtensions.h>

#include <Base/GCSynch.h>

#include <atomic>
#include <thread>

namespace Zelmo {

/// The lock of a camera object: that of its own node map, unless another one stands in for it. Recursive; taken by
/// CCameraGuard only.
class ZELMO_CAPABILITY("mutex") CCameraLock {
public:
    explicit CCameraLock(GenICam::CLock& lock) noexcept : m_lock(lock) {}
    CCameraLock(const CCameraLock&) = delete;
    CCameraLock& operator=(const CCameraLock&) = delete;

    GenICam::CLock& GetLock() const noexcept { return m_lock; }
    /// While no thread holds it. Borrows @p lock; null for none.
    void SetOverride(ILockOverride* lock) noexcept { m_override = lock; }

    bool IsHeldByThisThread() const noexcept {
        return m_override != nullptr ? m_overrideHolder == std::this_thread::get_id() : m_lock.IsHeldByThisThread();
    }

private:
    friend class CCameraGuard;

    ILockOverride* Take() ZELMO_NO_THREAD_SAFETY_ANALYSIS {
        ILockOverride* const taken = m_override;
        if (taken == nullptr) {
            m_lock.Lock();
        } else {
            taken->Lock();
            ++m_overrideHolds;
            m_overrideHolder = std::this_thread::get_id();
        }
        return taken;
    }
    void GiveBack(ILockOverride* taken) ZELMO_NO_THREAD_SAFETY_ANALYSIS {
        if (taken == nullptr) {
            m_lock.Unlock();
        } else {
            if (--m_overrideHolds == 0) {
                m_overrideHolder = std::thread::id();
            }
            taken->Unlock();
        }
    }

    GenICam::CLock& m_lock;
    std::atomic<ILockOverride*> m_override{nullptr};
    std::atomic<std::thread::id> m_overrideHolder{}; // of interest to that thread only
    unsigned long m_overrideHolds = 0;               // guarded by the override
};

/// Holds the lock of a camera object from construction to the end of the scope.
class ZELMO_SCOPED_CAPABILITY CCameraGuard {
public:
    explicit CCameraGuard(CCameraLock& lock) ZELMO_ACQUIRE(lock) ZELMO_NO_THREAD_SAFETY_ANALYSIS
        : m_lock(lock),
          m_taken(lock.Take()) {}
    ~CCameraGuard() ZELMO_RELEASE() ZELMO_NO_THREAD_SAFETY_ANALYSIS { m_lock.GiveBack(m_taken); }
    CCameraGuard(const CCameraGuard&) = delete;
    CCameraGuard& operator=(const CCameraGuard&) = delete;

private:
    CCameraLock& m_lock;
    ILockOverride* const m_taken; // null: the lock itself
};

} // namespace Zelmo
