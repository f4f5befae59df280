// SPDX-License-Identifier: Apache-2.0
#include <zelmo/WaitObject.h>

#include "ZelmoBase/core/ScopeGuard.h"
#include "ZelmoBase/core/SystemError.h"
#include "ZelmoBase/sync/Deadline.h"
#include "ZelmoBase/sync/TimedPoll.h"
#include "ZelmoBase/sync/WaitObjectPosix.h"
#include <zelmo/Log.h>
#include <zelmo/WaitableTimer.h>

#include <Base/GCException.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <span>
#include <thread>
#include <unistd.h>
#include <utility>

namespace Zelmo {
namespace {

constexpr char kOpenFilesHint[] = ". Reached open files limit: To change the limit permanently on a ubuntu system, "
                                  "edit /etc/security/limits.conf";

unsigned long catId() {
    static const unsigned long kId = hxlog::LogGetCatID("zelmo.base.waitobject");
    return kId;
}

/// What a failure to get descriptors adds to its message; also logged, since those who look for the cause of a camera
/// that does not open look there.
const char* OpenFilesHint(int error) {
    if (error != EMFILE) {
        return "";
    }
    hxlog::LogTrace(catId(), hxlog::LogLevel_Error, "%s", kOpenFilesHint);
    return kOpenFilesHint;
}

[[noreturn]] void ThrowCreateFailure(int error) {
    throw RUNTIME_EXCEPTION("Failed to create wait object: %s%s", SystemErrorText(error).c_str(), OpenFilesHint(error));
}

[[noreturn]] void ThrowDuplicateFailure(int error) {
    throw RUNTIME_EXCEPTION("WaitObject duplicate failed (0): %s%s", SystemErrorText(error).c_str(),
                            OpenFilesHint(error));
}

/// Repeats a system call that a signal handler interrupts.
template <typename Call>
auto RetryInterrupted(Call&& call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

// The functions on handles answer null or false with the cause in errno.

void ReleaseHandle(_WaitObjectPosix_t* handle) noexcept {
    if (handle == nullptr) {
        return;
    }
    const int error = errno;
    for (const int fd : {handle->readEnd, handle->writeEnd}) {
        if (fd >= 0) {
            close(fd);
        }
    }
    std::free(handle);
    errno = error;
}

_WaitObjectPosix_t* AllocateHandle() noexcept {
    auto* handle = static_cast<_WaitObjectPosix_t*>(std::malloc(sizeof(_WaitObjectPosix_t)));
    if (handle != nullptr) {
        *handle = {-1, -1, nullptr, nullptr};
    }
    return handle;
}

bool DuplicateEnd(int from, std::int32_t& to) noexcept {
    if (from >= 0) {
        to = dup(from);
        return to >= 0;
    }
    return true;
}

_WaitObjectPosix_t* DuplicateHandle(const _WaitObjectPosix_t* source) noexcept {
    _WaitObjectPosix_t* copy = AllocateHandle();
    if (copy == nullptr) {
        return nullptr;
    }
    copy->timer = source->timer;
    if (!DuplicateEnd(source->readEnd, copy->readEnd) || !DuplicateEnd(source->writeEnd, copy->writeEnd)) {
        ReleaseHandle(copy);
        return nullptr;
    }
    return copy;
}

_WaitObjectPosix_t* DuplicateOrThrow(const _WaitObjectPosix_t* source) {
    errno = 0; // a null source has no cause of its own
    _WaitObjectPosix_t* copy = source != nullptr ? DuplicateHandle(source) : nullptr;
    if (copy == nullptr) {
        ThrowDuplicateFailure(errno);
    }
    return copy;
}

bool SetNonBlocking(int fd) noexcept {
    return fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK) >= 0;
}

/// Puts the byte in, unless there is one.
bool SignalHandle(const _WaitObjectPosix_t* handle) noexcept {
    if (handle == nullptr) {
        errno = EINVAL;
        return false;
    }
    pollfd entry{handle->readEnd, POLLIN, 0};
    const int ready = RetryInterrupted([&entry] { return poll(&entry, 1, 0); });
    if (ready != 0) {
        return ready > 0;
    }
    const char byte = 0;
    return RetryInterrupted([&] { return write(handle->writeEnd, &byte, 1); }) == 1;
}

bool OpenPipe(_WaitObjectPosix_t* handle, bool signaled) noexcept {
    int ends[2];
    if (pipe(ends) != 0) {
        return false;
    }
    handle->readEnd = ends[0];
    handle->writeEnd = ends[1];
    return SetNonBlocking(handle->readEnd) && (!signaled || SignalHandle(handle));
}

/// One wait for readability. @return 0 when signaled, else the error number; ETIME when the time was up.
int PollReadable(const _WaitObjectPosix_t& handle, const std::optional<CDeadline>& deadline, bool alertable) noexcept {
    pollfd entry{handle.readEnd, POLLIN, 0};
    const std::span<TimerRecord* const> timer(&handle.timer, handle.timer != nullptr ? 1 : 0);
    for (;;) {
        const int ready = PollUntil({&entry, 1}, deadline, timer);
        if (ready > 0) {
            return 0; // hang-up and errors are news as well
        }
        if (ready == 0) {
            return ETIME;
        }
        if (errno != EINTR || alertable) {
            return errno;
        }
        if (deadline && !deadline->IsAhead()) {
            return ETIME;
        }
    }
}

} // namespace

WaitObject::WaitObject() noexcept = default;

WaitObject::WaitObject(const WaitObject& other)
    : m_handle(other.IsValid() ? DuplicateOrThrow(other.m_handle) : nullptr) {}

WaitObject::WaitObject(_WaitObjectPosix_t* handle, bool duplicate)
    : m_handle(duplicate ? DuplicateOrThrow(handle) : nullptr) {}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the copy is made before the old handle goes
WaitObject& WaitObject::operator=(const WaitObject& other) {
    if (other.IsValid()) {
        if (m_handle != nullptr && m_handle->owner != nullptr) { // a signal may be on its way to the handle
            throw LOGICAL_ERROR_EXCEPTION("Cannot assign to a waitable timer");
        }
        _WaitObjectPosix_t* copy = DuplicateOrThrow(other.m_handle);
        ReleaseHandle(std::exchange(m_handle, copy));
    }
    return *this;
}

WaitObject::~WaitObject() {
    Destroy();
}

void WaitObject::Destroy() noexcept {
    if (m_handle != nullptr && m_handle->owner != nullptr) {
        m_handle->owner->Destroy(); // takes the signal away first, and then comes back for the handle
        return;
    }
    ReleaseHandle(std::exchange(m_handle, nullptr));
}

bool WaitObject::IsValid() const noexcept {
    return m_handle != nullptr;
}

bool WaitObject::Wait(unsigned int timeoutMs) const {
    return WaitEx(timeoutMs, false) == WaitExResult_Signaled;
}

EWaitExResult WaitObject::WaitEx(unsigned int timeoutMs, bool alertable) const {
    int error = EINVAL;
    if (m_handle != nullptr) {
        std::optional<CDeadline> deadline;
        if (timeoutMs != WaitTimeoutInfinite) {
            deadline.emplace(timeoutMs);
        }
        error = PollReadable(*m_handle, deadline, alertable);
    }
    errno = error; // callers may look at it after any result
    switch (error) {
    case 0:
        return WaitExResult_Signaled;
    case ETIME:
    case ETIMEDOUT:
        return WaitExResult_Timeout;
    case EINTR:
        return WaitExResult_Alerted;
    default:
        throw RUNTIME_EXCEPTION("Wait operation failed): %s", SystemErrorText(error).c_str()); // as it stands
    }
}

int WaitObject::GetFd() const noexcept {
    return m_handle != nullptr ? m_handle->readEnd : -1;
}

int WaitObject::GetReadyMask() const noexcept {
    return POLLIN;
}

WaitObject::operator _WaitObjectPosix_t*() const noexcept {
    return m_handle;
}

_WaitObjectPosix_t** WaitObject::GetWaitObject() noexcept {
    return &m_handle;
}

void WaitObject::Sleep(unsigned long ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

WaitObjectEx::WaitObjectEx() noexcept = default;

WaitObjectEx::WaitObjectEx(int fd) {
    _WaitObjectPosix_t* handle = AllocateHandle();
    if (handle != nullptr) {
        handle->readEnd = dup(fd);
    }
    if (handle == nullptr || handle->readEnd < 0 || !SetNonBlocking(handle->readEnd)) {
        ReleaseHandle(handle);
        ThrowCreateFailure(errno);
    }
    m_handle = handle;
}

WaitObjectEx::WaitObjectEx(const WaitObjectEx& other) = default;

WaitObjectEx& WaitObjectEx::operator=(const WaitObjectEx& other) = default;

WaitObjectEx::~WaitObjectEx() = default;

WaitObjectEx WaitObjectEx::Create(bool signaled) {
    WaitObjectEx object;
    object.m_handle = AllocateHandle();
    if (object.m_handle == nullptr || !OpenPipe(object.m_handle, signaled)) {
        object.Destroy(); // keeps errno
        ThrowCreateFailure(errno);
    }
    return object;
}

void WaitObjectEx::Signal() {
    if (!SignalHandle(m_handle)) {
        throw RUNTIME_EXCEPTION("Failed to signal wait object: %s", SystemErrorText(errno).c_str());
    }
}

void WaitObjectEx::Reset() {
    const int error = std::exchange(errno, EINVAL);
    char byte;
    if (m_handle == nullptr ||
        (RetryInterrupted([&] { return read(m_handle->readEnd, &byte, 1); }) < 0 && errno != EAGAIN)) {
        throw RUNTIME_EXCEPTION("Failed to reset wait object: %s", SystemErrorText(errno).c_str());
    }
    errno = error; // that there was nothing to read is no news
}

} // namespace Zelmo
