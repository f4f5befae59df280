// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/core/Thread.h"

#include <zelmo/Log.h>

#include <Base/GCException.h>

#include <pthread.h>
#include <system_error>

namespace Zelmo {
namespace {

unsigned long catId() {
    static const unsigned long kId = hxlog::LogGetCatID("zelmo.base");
    return kId;
}

} // namespace

CThread::~CThread() {
    CLockGuard lock(m_lock);
    if (m_thread.joinable()) {
        hxlog::LogTrace(catId(), hxlog::LogLevel_Error, "Thread %#lx was not joined before its owner went: detached",
                        m_nativeHandle);
        m_thread.detach();
    }
}

void CThread::Start(const char* name, std::function<void()> body) {
    CLockGuard lock(m_lock);
    if (m_id != std::thread::id()) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot start thread: the one before is not joined");
    }
    try {
        m_thread = std::thread(std::move(body));
    } catch (const std::system_error& e) {
        throw RUNTIME_EXCEPTION("Cannot start thread: %s", e.what());
    }
    m_id = m_thread.get_id();
    m_nativeHandle = m_thread.native_handle();
    pthread_setname_np(m_nativeHandle, name); // where it fails, the thread has the name of the process
}

void CThread::Join() {
    CUniqueLock lock(m_lock);
    if (m_id == std::this_thread::get_id()) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot join thread: it is the calling one");
    }
    if (m_thread.joinable()) {
        std::thread thread = std::move(m_thread);
        lock.unlock();
        thread.join();
        lock.lock();
        m_id = std::thread::id();
        m_nativeHandle = 0;
        ++m_joinCount;
        m_joined.notify_all();
    } else if (m_id != std::thread::id()) {
        // somebody else is joining it
        for (const unsigned long before = m_joinCount; m_joinCount == before;) {
            m_joined.wait(lock);
        }
    }
}

bool CThread::IsJoinable() const {
    CLockGuard lock(m_lock);
    return m_id != std::thread::id();
}

unsigned long CThread::GetNativeHandle() const {
    CLockGuard lock(m_lock);
    return m_nativeHandle;
}

} // namespace Zelmo
