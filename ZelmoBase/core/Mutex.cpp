// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/core/Mutex.h"

#include "ZelmoBase/core/ScopeGuard.h"
#include "ZelmoBase/core/SystemError.h"

#include <Base/GCException.h>
#include <Base/GCSynch.h>

namespace Zelmo {
namespace {

void Check(const char* step, int error) {
    if (error != 0) {
        throw RUNTIME_EXCEPTION("Cannot %s mutex: %s", step, SystemErrorText(error).c_str());
    }
}

} // namespace

CMutexBase::CMutexBase(int kind) {
    pthread_mutexattr_t attributes;
    Check("prepare", pthread_mutexattr_init(&attributes));
    ScopeGuard destroy([&attributes] { pthread_mutexattr_destroy(&attributes); });
    Check("choose the kind of", pthread_mutexattr_settype(&attributes, kind));
    Check("set the protocol of", pthread_mutexattr_setprotocol(&attributes, GenICam::GetMutexProtocol()));
    Check("create", pthread_mutex_init(&m_mutex, &attributes));
}

CMutexBase::~CMutexBase() {
    pthread_mutex_destroy(&m_mutex);
}

void CMutexBase::Acquire() {
    const int error = pthread_mutex_lock(&m_mutex);
    if (error != 0) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot lock mutex: %s", SystemErrorText(error).c_str());
    }
}

bool CMutexBase::TryAcquire() noexcept {
    return pthread_mutex_trylock(&m_mutex) == 0;
}

void CMutexBase::Release() noexcept {
    pthread_mutex_unlock(&m_mutex);
}

} // namespace Zelmo
