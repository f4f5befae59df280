// SPDX-License-Identifier: Apache-2.0
#include "GrabThread.h"

#include <pthread.h>

namespace tool {

GrabThread::GrabThread(std::unique_ptr<Retrieval> retrieval)
    : m_retrieval(std::move(retrieval)), m_endObject(Zelmo::WaitObjectEx::Create()) {}

GrabThread::~GrabThread() {
    Join();
}

void GrabThread::Start() {
    m_running = true;
    m_thread = std::thread([this] {
        m_retrieval->Grab();
        m_running = false;
        m_endObject.Signal();
    });
    pthread_setname_np(m_thread.native_handle(), "zelmo-camera");
}

void GrabThread::Join() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

} // namespace tool
