// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/WaitObject.h>

namespace Zelmo {

/// The most members that a set can have.
inline constexpr unsigned int WaitObjectsMaxCount = 1024;

/// An ordered set of wait objects, to wait for all of them or for any.
/// A member is a copy, two descriptors each, of the object that was added, which may go afterwards. Its position, given
/// by Add, never changes. Threads: Add, RemoveAll and copying exclude each other. Any number of threads may wait at the
/// same time, but the set must not change during a wait.
class ZELMO_API WaitObjects {
public:
    WaitObjects();
    /// A set of the same flags at the same positions. @throws GenICam::RuntimeException when no descriptor is left; an
    /// assignment leaves its target as it was then.
    WaitObjects(const WaitObjects& other);
    WaitObjects& operator=(const WaitObjects& other);
    ~WaitObjects();

    /// @return the position of the new member, counted from 0.
    /// @throws GenICam::RuntimeException for a full set, an invalid object, or when no descriptor is left;
    /// GenICam::BadAllocException, with the set as it was.
    unsigned int Add(const WaitObject& object);
    void RemoveAll(); ///< The next Add returns 0 again.

    /// Waits at most @p timeoutMs milliseconds until each member has been seen signaled at some moment of the wait, not
    /// necessarily all at the same one. @return true when that happened in time.
    /// @throws GenICam::RuntimeException when the system refuses the wait.
    bool WaitForAll(unsigned int timeoutMs) const;
    /// Waits at most @p timeoutMs milliseconds until a member is signaled, and stores the lowest position of those that
    /// are in @p index, unless null: members added early go first, by intent. @return true when that happened in time.
    bool WaitForAny(unsigned int timeoutMs, unsigned int* index = nullptr) const;

    /// The same; with @p alertable a signal handler that runs on this thread ends the wait.
    EWaitExResult WaitForAllEx(unsigned int timeoutMs, bool alertable) const;
    EWaitExResult WaitForAnyEx(unsigned int timeoutMs, bool alertable, unsigned int* index = nullptr) const;

private:
    struct Body;
    Body* m_body;
};

} // namespace Zelmo
