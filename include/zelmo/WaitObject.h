// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

namespace Zelmo {

/// A timeout without limit. All timeouts are milliseconds.
inline constexpr unsigned int WaitTimeoutInfinite = 0xFFFFFFFFu;

/// How a wait ended.
enum EWaitExResult : int {
    WaitExResult_Timeout = 0,  ///< The time ran out.
    WaitExResult_Signaled = 1, ///< The object, or what was asked of a set, is signaled.
    WaitExResult_Alerted = -1  ///< A signal handler ran, and the caller had asked to be told.
};

struct _WaitObjectPosix_t;

/// A flag that threads and poll loops can wait for.
/// Once signaled it stays so until it is reset: waiting does not consume it, and one signal wakes every waiter. Copies
/// are the same flag, each with two descriptors of its own; destroying one does not touch the others.
/// Threads: any, at the same time, but for assigning to or destroying an object that another thread is using.
class ZELMO_API WaitObject {
public:
    WaitObject() noexcept; ///< Invalid; WaitObjectEx::Create makes an object that is a flag.
    /// The same flag; invalid if @p other is. @throws GenICam::RuntimeException when no descriptor is left.
    WaitObject(const WaitObject& other);
    /// A copy of @p handle when @p duplicate, else invalid: a handle is never taken over.
    /// @throws GenICam::RuntimeException when no descriptor is left or @p handle is null.
    WaitObject(_WaitObjectPosix_t* handle, bool duplicate);
    /// The same flag as @p other. An invalid @p other changes nothing; nor does a failure.
    /// @throws GenICam::RuntimeException when no descriptor is left.
    WaitObject& operator=(const WaitObject& other);
    virtual ~WaitObject();

    void Destroy() noexcept; ///< Gives the descriptors back; invalid afterwards.
    bool IsValid() const noexcept;

    /// Waits at most @p timeoutMs milliseconds; 0 only looks. A signal handler that runs meanwhile does not shorten the
    /// wait. @return true when signaled, false when the time was up.
    /// @throws GenICam::RuntimeException on an invalid object.
    bool Wait(unsigned int timeoutMs) const;
    /// The same; with @p alertable a signal handler that runs on this thread ends the wait.
    EWaitExResult WaitEx(unsigned int timeoutMs, bool alertable) const;

    /// Readable while signaled, for the application's own poll(); -1 if invalid. Do not read or close it.
    int GetFd() const noexcept;
    int GetReadyMask() const noexcept; ///< What to look for in `revents`: POLLIN.

    operator _WaitObjectPosix_t*() const noexcept; ///< Still owned by this object; null if invalid.
    _WaitObjectPosix_t** GetWaitObject() noexcept; ///< Where this object keeps its handle.

    static void Sleep(unsigned long ms); ///< Lets the calling thread sleep, in milliseconds.

protected:
    _WaitObjectPosix_t* m_handle = nullptr; // owned
};

/// A flag that can also be set and cleared.
class ZELMO_API WaitObjectEx : public WaitObject {
public:
    WaitObjectEx() noexcept; ///< Invalid.
    /// Makes a foreign descriptor waitable: signaled while it is readable. Works on a duplicate, which becomes
    /// non-blocking, and with it the descriptor given. Signal fails unless it is readable already.
    /// @throws GenICam::RuntimeException for a bad descriptor or when none is left.
    explicit WaitObjectEx(int fd);
    WaitObjectEx(const WaitObjectEx& other);
    WaitObjectEx& operator=(const WaitObjectEx& other);
    ~WaitObjectEx() override;

    /// A new flag. @throws GenICam::RuntimeException when no descriptor is left.
    static WaitObjectEx Create(bool signaled = false);

    /// Set and clear the flag; one that is so already stays so. Two threads that signal at the same instant may leave
    /// it set over one Reset. @throws GenICam::RuntimeException on an invalid object.
    void Signal();
    void Reset();
};

} // namespace Zelmo
