// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/WaitObject.h>

#include <mutex>
#include <time.h>

namespace Zelmo {

struct TimerRecord;

/// A flag that is signaled when a time is up: a timeout as one more member of a WaitObjects set.
/// Uses SIGALRM, whose handler stays installed from the first timer of the process on. A signal that is not for one of
/// our timers (the application's own alarm() or setitimer()) goes to the handler that was installed before, or is
/// ignored where there was none. Waits on the timer, on its copies and on sets with it end in time even where the
/// application blocks the signal or has taken it over; who waits on GetFd() with a poll() of its own depends on the
/// signal. It may interrupt system calls of any thread that does not block it. Threads: Create, Set, Cancel and Destroy
/// by one thread at a time; waiting from any.
class ZELMO_API CWaitableTimer : public WaitObjectEx {
public:
    CWaitableTimer(); ///< Invalid until Create.
    ~CWaitableTimer() override;
    CWaitableTimer(const CWaitableTimer&) = delete;
    /// Through the base, too: that raises GenICam::LogicalErrorException.
    CWaitableTimer& operator=(const CWaitableTimer&) = delete;

    /// Allocates the timer, once; it is not armed yet.
    /// @throws GenICam::RuntimeException      out of timers or descriptors; then the object stays invalid.
    /// @throws GenICam::BadAllocException     likewise.
    /// @throws GenICam::LogicalErrorException if it is valid already.
    void Create();

    /// Clears the flag and has it signaled once, in @p timeoutMs milliseconds; 0 and WaitTimeoutInfinite only clear it
    /// and leave the timer unarmed. @throws GenICam::RuntimeException before Create, or when the system refuses.
    void Set(unsigned int timeoutMs);

    /// Unarms the timer: it does not signal any more. A flag that was signaled before stays so until the next Set.
    /// Without effect before Create. @throws GenICam::RuntimeException when the system refuses.
    void Cancel();

    void Destroy() noexcept; ///< Gives the timer and the flag back; invalid afterwards.

    /// Count the users of the signal handler, which the first one installs. Create and Destroy call them.
    /// @throws GenICam::BadAllocException; nothing is counted then.
    void InitSignalAction();
    void DoneSignalAction();

private:
    std::mutex m_mutex;              // of InitSignalAction and DoneSignalAction
    timer_t m_timer{};               // meaningful while valid
    TimerRecord* m_record = nullptr; // what the signal handler knows of this timer
};

} // namespace Zelmo
