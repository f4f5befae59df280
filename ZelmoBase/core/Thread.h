// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/core/Mutex.h"

#include <condition_variable>
#include <functional>
#include <thread>

namespace Zelmo {

/// Owns one thread at a time.
/// Whoever starts a thread joins it. An object that goes with its thread unjoined detaches it and says so in the log;
/// the body therefore owns what it touches, or the owner's class comment says who joins.
/// Threads: all operations from any thread, at the same time; the destructor after all of them.
class CThread {
public:
    CThread() = default;
    ~CThread();
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    /// Runs @p body on a new thread called @p name, as debuggers and `top -H` show it, of at most 15 bytes; what the
    /// body throws ends the process.
    /// @throws GenICam::LogicalErrorException while the thread before is not joined.
    /// @throws GenICam::RuntimeException      if the system has no thread left.
    void Start(const char* name, std::function<void()> body);

    /// Returns when the thread has ended; at once when there is none. Several callers may wait, it is joined once.
    /// @throws GenICam::LogicalErrorException on the thread itself.
    void Join();

    bool IsJoinable() const; ///< Whether a thread was started and is not joined yet, ended or not.

    /// The pthread_t of the thread, as the functions of zelmo/ThreadPriority.h take it; 0 without one.
    /// Valid until the thread is joined.
    unsigned long GetNativeHandle() const;

private:
    mutable CMutex m_lock; // never held while joining
    std::condition_variable_any m_joined;
    std::thread m_thread ZELMO_GUARDED_BY(m_lock);
    std::thread::id m_id ZELMO_GUARDED_BY(m_lock); // of the unjoined thread, also while it is being joined
    unsigned long m_nativeHandle ZELMO_GUARDED_BY(m_lock) = 0;
    unsigned long m_joinCount ZELMO_GUARDED_BY(m_lock) = 0; // threads joined so far
};

} // namespace Zelmo
