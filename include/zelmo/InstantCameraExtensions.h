// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

namespace Zelmo {

/// Stands in for the lock of a camera object, see IInstantCameraExtensions::SetLockOverride. Must be recursive.
class ZELMO_API ILockOverride {
public:
    virtual void Lock() = 0;
    virtual void Unlock() = 0;

protected:
    ~ILockOverride() = default;
};

/// What derived camera classes, and those that serve several cameras as one, need beside CInstantCamera. The order of
/// the operations does not change.
class ZELMO_API IInstantCameraExtensions {
public:
    /// Fetches the event messages that wait, a thousand at most, and delivers them: camera event handlers are called on
    /// this thread. While more of them wait it pauses for a millisecond behind that, for others who need the lock.
    /// Takes the camera lock while events are grabbed, else none. From inside of an event it does nothing. Threads:
    /// any.
    /// @throws GenICam::RuntimeException for a message that failed; what node callbacks throw. The grabbing goes on.
    virtual void ProcessCameraEvents() = 0;

    /// Has all operations of the camera object take @p lock instead of its own one; null: its own. Borrows it. Its own
    /// lock remains that of the parameters. Threads: none may be inside an operation of the camera object.
    virtual void SetLockOverride(ILockOverride* lock) = 0;

    virtual void SetExtensionFlag(bool flag) = 0; ///< Kept for derived classes; initially true.

    /// Joins the thread of a grab loop that has ended. Returns at once while the camera grabs, on that thread itself,
    /// inside a handler and while the calling thread holds the camera lock: the thread is then joined by a later start,
    /// at the latest by the camera object's destructor.
    virtual void JoinGrabLoopThread() = 0;

protected:
    ~IInstantCameraExtensions() = default;
};

} // namespace Zelmo
