#include <Base/GCSynch.h>

#include <Base/GCException.h>

#include <cerrno>
#include <cstring>

namespace GenICam {

namespace {

int InitRecursive(pthread_mutex_t& mutex, int protocol) noexcept {
    pthread_mutexattr_t attributes;
    if (const int error = pthread_mutexattr_init(&attributes))
        return error;
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutexattr_setprotocol(&attributes, protocol);
    const int error = pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return error;
}

} // namespace

CLock::CLock() {
    int error = InitRecursive(m_mutex, PTHREAD_PRIO_INHERIT);
    if (error == ENOTSUP) // kernels without priority-inheriting futexes
        error = InitRecursive(m_mutex, PTHREAD_PRIO_NONE);
    if (error)
        throw RUNTIME_EXCEPTION("Cannot create a lock: %s", std::strerror(error));
}

CLock::~CLock() {
    pthread_mutex_destroy(&m_mutex);
}

void CLock::Lock() noexcept {
    pthread_mutex_lock(&m_mutex);
}

bool CLock::TryLock() noexcept {
    return pthread_mutex_trylock(&m_mutex) == 0;
}

void CLock::Unlock() noexcept {
    pthread_mutex_unlock(&m_mutex);
}

} // namespace GenICam
