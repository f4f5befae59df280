// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/core/Mutex.h"

#include <zelmo/InstantCameraExtensions.h>

#include <Base/GCSynch.h>

#include <atomic>

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

    /// Whether the calling thread has it from a caller: false for sure, true perhaps where another lock stands in.
    bool MayBeHeldByThisThread() const noexcept { return m_override != nullptr || m_lock.IsHeldByThisThread(); }

private:
    friend class CCameraGuard;

    GenICam::CLock& m_lock;
    std::atomic<ILockOverride*> m_override{nullptr};
};

/// Holds the lock of a camera object from construction to the end of the scope.
class ZELMO_SCOPED_CAPABILITY CCameraGuard {
public:
    explicit CCameraGuard(CCameraLock& lock) ZELMO_ACQUIRE(lock) : m_lock(lock), m_override(lock.m_override) {
        if (m_override != nullptr) {
            m_override->Lock();
        } else {
            m_lock.m_lock.Lock();
        }
    }
    ~CCameraGuard() ZELMO_RELEASE() {
        if (m_override != nullptr) {
            m_override->Unlock();
        } else {
            m_lock.m_lock.Unlock();
        }
    }
    CCameraGuard(const CCameraGuard&) = delete;
    CCameraGuard& operator=(const CCameraGuard&) = delete;

private:
    CCameraLock& m_lock;
    ILockOverride* const m_override; // as it was taken
};

} // namespace Zelmo
