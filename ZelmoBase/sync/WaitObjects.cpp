// SPDX-License-Identifier: Apache-2.0
#include <zelmo/WaitObjects.h>

#include "ZelmoBase/core/Mutex.h"
#include "ZelmoBase/core/SystemError.h"
#include "ZelmoBase/sync/Deadline.h"
#include "ZelmoBase/sync/TimedPoll.h"
#include "ZelmoBase/sync/WaitObjectPosix.h"

#include <Base/GCAllocating.h>
#include <Base/GCException.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <poll.h>
#include <span>
#include <utility>
#include <vector>

namespace Zelmo {

namespace {

/// A copy of a wait object that can change its place in a set without the use of descriptors.
class CMember : public WaitObject {
public:
    explicit CMember(const WaitObject& object) : WaitObject(object) {}
    CMember(const CMember&) = default;
    CMember(CMember&& other) noexcept { std::swap(m_handle, other.m_handle); }
    CMember& operator=(const CMember&) = default;
};

} // namespace

struct WaitObjects::Body {
    mutable CMutex lock;                                 // not taken by waits
    std::vector<CMember> members ZELMO_GUARDED_BY(lock); // in the order of Add
};

namespace {

[[noreturn]] void ThrowWaitFailure(int error) {
    throw RUNTIME_EXCEPTION("WaitExWaitMultipleObjectsWithTimeout() failed: %s", SystemErrorText(error).c_str());
}

enum class EWanted { Any, All };

/// One wait on a snapshot of a set. The entries live on the caller's stack.
class CMultipleWait {
public:
    CMultipleWait(std::span<pollfd> entries, EWanted wanted, unsigned int* index)
        : m_entries(entries), m_remaining(entries.size()), m_wanted(wanted), m_index(index) {}

    EWaitExResult Run(const std::optional<CDeadline>& deadline, bool alertable, std::span<TimerRecord* const> timers) {
        do {
            const int ready = PollUntil(m_entries, deadline, timers);
            if (ready < 0 && (errno != EINTR || alertable)) {
                if (errno != EINTR) {
                    ThrowWaitFailure(errno);
                }
                return WaitExResult_Alerted;
            }
            if (ready == 0) {
                if (!deadline) {
                    ThrowWaitFailure(ETIME);
                }
                return WaitExResult_Timeout;
            }
            if (ready > 0 && TakeReadyEntries()) {
                return WaitExResult_Signaled;
            }
        } while (m_remaining > 0 && (!deadline || deadline->IsAhead()));
        return m_remaining == 0 ? WaitExResult_Signaled : WaitExResult_Timeout;
    }

private:
    /// @return true when any member is wanted: one is ready.
    bool TakeReadyEntries() {
        for (size_t position = 0; position < m_entries.size(); ++position) {
            pollfd& entry = m_entries[position];
            if (entry.revents == 0) {
                continue;
            }
            if (m_wanted == EWanted::Any) {
                if (m_index != nullptr) {
                    *m_index = static_cast<unsigned int>(position);
                }
                return true;
            }
            entry.revents = 0;
            entry.fd = -1; // seen: poll ignores it from now on
            --m_remaining;
        }
        return false;
    }

    std::span<pollfd> m_entries;
    size_t m_remaining; // members not seen signaled yet
    EWanted m_wanted;
    unsigned int* m_index; // may be null
};

/// Without the set's lock: the caller does not change the set during a wait.
EWaitExResult WaitFor(EWanted wanted, const std::vector<CMember>& members, unsigned int timeoutMs, bool alertable,
                      unsigned int* index) {
    pollfd entries[WaitObjectsMaxCount]; // a wait allocates nothing
    TimerRecord* timers[WaitObjectsMaxCount];
    size_t count = 0;
    size_t timerCount = 0;
    for (const CMember& member : members) {
        const _WaitObjectPosix_t& handle = *member;
        entries[count++] = {handle.readEnd, POLLIN, 0};
        if (handle.timer != nullptr) {
            timers[timerCount++] = handle.timer;
        }
    }
    std::optional<CDeadline> deadline;
    if (timeoutMs != WaitTimeoutInfinite) {
        deadline.emplace(timeoutMs);
    }
    return CMultipleWait({entries, count}, wanted, index).Run(deadline, alertable, {timers, timerCount});
}

} // namespace

WaitObjects::WaitObjects() : m_body(GenICam::Allocating([] { return new Body; })) {}

WaitObjects::WaitObjects(const WaitObjects& other) : m_body(nullptr) {
    auto body = GenICam::Allocating([] { return std::make_unique<Body>(); });
    CLockGuard guard(other.m_body->lock);
    GenICam::Allocating(
        [&]() ZELMO_NO_THREAD_SAFETY_ANALYSIS { body->members = other.m_body->members; }); // nobody else has the body
    m_body = body.release();
}

WaitObjects& WaitObjects::operator=(const WaitObjects& other) {
    WaitObjects copy(other);
    std::swap(m_body, copy.m_body);
    return *this;
}

WaitObjects::~WaitObjects() {
    delete m_body;
}

unsigned int WaitObjects::Add(const WaitObject& object) {
    CLockGuard guard(m_body->lock);
    const size_t position = m_body->members.size();
    if (position >= WaitObjectsMaxCount) {
        throw RUNTIME_EXCEPTION("Exceeding maximum number of waitobjects (%d)", static_cast<int>(WaitObjectsMaxCount));
    }
    if (!object.IsValid()) {
        throw RUNTIME_EXCEPTION("WaitObject is not valid");
    }
    GenICam::Allocating( // called here and now, under the lock
        [&]() ZELMO_NO_THREAD_SAFETY_ANALYSIS { m_body->members.emplace_back(object); });
    return static_cast<unsigned int>(position);
}

void WaitObjects::RemoveAll() {
    CLockGuard guard(m_body->lock);
    m_body->members.clear();
}

bool WaitObjects::WaitForAll(unsigned int timeoutMs) const {
    return WaitForAllEx(timeoutMs, false) == WaitExResult_Signaled;
}

bool WaitObjects::WaitForAny(unsigned int timeoutMs, unsigned int* index) const {
    return WaitForAnyEx(timeoutMs, false, index) == WaitExResult_Signaled;
}

EWaitExResult WaitObjects::WaitForAllEx(unsigned int timeoutMs, bool alertable) const ZELMO_NO_THREAD_SAFETY_ANALYSIS {
    return WaitFor(EWanted::All, m_body->members, timeoutMs, alertable, nullptr);
}

EWaitExResult WaitObjects::WaitForAnyEx(unsigned int timeoutMs, bool alertable,
                                        unsigned int* index) const ZELMO_NO_THREAD_SAFETY_ANALYSIS {
    return WaitFor(EWanted::Any, m_body->members, timeoutMs, alertable, index);
}

} // namespace Zelmo
