// SPDX-License-Identifier: Apache-2.0
#include <Base/GCSynch.h>

#include <Base/GCException.h>
#include <Base/GCUtilities.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace GenICam {

namespace {

int InitRecursive(pthread_mutex_t& mutex, int protocol) noexcept {
    pthread_mutexattr_t attributes;
    if (const int error = pthread_mutexattr_init(&attributes)) {
        return error;
    }
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutexattr_setprotocol(&attributes, protocol);
    const int error = pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return error;
}

/// Whether threads of this process may run at real-time priority, now or once it uses the rights that it has.
bool MayRunRealTime() noexcept {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
    if (syscall(SYS_capget, &header, data) == 0 && (data[0].permitted & (1U << CAP_SYS_NICE)) != 0) {
        return true;
    }
    rlimit limit{};
    if (getrlimit(RLIMIT_RTPRIO, &limit) == 0 && limit.rlim_max > 0) { // the process may raise the soft one to it
        return true;
    }
    const int policy = sched_getscheduler(0);
    return policy == SCHED_FIFO || policy == SCHED_RR;
}

constexpr std::string_view kGlobalLockPrefix = "/dev/shm/genicam-";

/// The file behind a global lock; the name is coded, so that two names never share one.
std::string GlobalLockPath(const gcstring& name) {
    std::string path(kGlobalLockPrefix);
    const gcstring coded = UrlEncode(name);
    for (const char byte : coded.view()) {
        if (byte == '/') {
            path += "%2F";
        } else {
            path += byte;
        }
    }
    return path;
}

/// Opens or makes the file, for reading only: that is enough to lock it, and other users' files can be read.
int OpenGlobalLock(const std::string& path) noexcept {
    constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK; // a planted pipe must not hold us up
    constexpr mode_t readable = 0444;
    for (;;) { // until nobody makes or removes it between our two attempts
        int file = open(path.c_str(), flags);
        if (file >= 0 || errno != ENOENT) {
            return file;
        }
        file = open(path.c_str(), flags | O_CREAT | O_EXCL, readable);
        if (file >= 0) {
            fchmod(file, readable); // whatever the mask of the process is
        }
        if (file >= 0 || errno != EEXIST) {
            return file;
        }
    }
}

} // namespace

int GetMutexProtocol() noexcept {
    static const int kProtocol = MayRunRealTime() ? PTHREAD_PRIO_INHERIT : PTHREAD_PRIO_NONE;
    return kProtocol;
}

CLock::CLock() {
    int error = InitRecursive(m_mutex, GetMutexProtocol());
    if (error == ENOTSUP) { // kernels without priority-inheriting futexes
        error = InitRecursive(m_mutex, PTHREAD_PRIO_NONE);
    }
    if (error) {
        throw RUNTIME_EXCEPTION("Cannot create a lock: %s", std::strerror(error));
    }
}

CLock::~CLock() {
    pthread_mutex_destroy(&m_mutex);
}

void CLock::CountHold() noexcept {
    ++m_holds;
    m_holder.store(pthread_self(), std::memory_order_relaxed);
}

void CLock::Lock() noexcept {
    pthread_mutex_lock(&m_mutex);
    CountHold();
}

bool CLock::TryLock() noexcept {
    if (pthread_mutex_trylock(&m_mutex) != 0) {
        return false;
    }
    CountHold();
    return true;
}

void CLock::Unlock() noexcept {
    if (--m_holds == 0) {
        m_holder.store(0, std::memory_order_relaxed);
    }
    pthread_mutex_unlock(&m_mutex);
}

/// Another thread may come and go meanwhile, but never writes the number of this one.
bool CLock::IsHeldByThisThread() const noexcept {
    return m_holder.load(std::memory_order_relaxed) == pthread_self();
}

// Each object opens the file itself and so has a lock of its own on it; the kernel drops it with the last descriptor.
CGlobalLock::CGlobalLock(const gcstring& name) : m_file(name.empty() ? -1 : OpenGlobalLock(GlobalLockPath(name))) {}

CGlobalLock::~CGlobalLock() {
    Unlock();
    if (IsValid()) {
        close(m_file);
    }
}

bool CGlobalLock::Lock(unsigned int timeoutMs) noexcept {
    using namespace std::chrono;
    const auto end = steady_clock::now() + milliseconds(timeoutMs);
    for (auto pause = 1ms; !TryLock(); pause = std::min(2 * pause, 10ms)) {
        const auto now = steady_clock::now();
        if (!IsValid() || now >= end) {
            return false;
        }
        std::this_thread::sleep_for(std::min<steady_clock::duration>(pause, end - now));
    }
    return true;
}

bool CGlobalLock::TryLock() noexcept {
    AutoLock lock(m_lock);
    if (m_isHeld || flock(m_file, LOCK_EX | LOCK_NB) != 0) {
        return false;
    }
    m_isHeld = true;
    return true;
}

void CGlobalLock::Unlock() noexcept {
    AutoLock lock(m_lock);
    if (m_isHeld) {
        flock(m_file, LOCK_UN);
    }
    m_isHeld = false;
}

} // namespace GenICam
