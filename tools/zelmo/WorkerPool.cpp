// SPDX-License-Identifier: Apache-2.0
#include "WorkerPool.h"

#include <algorithm>

#include <pthread.h>

namespace tool {

WorkerPool::WorkerPool(unsigned threads) {
    try {
        for (unsigned i = 0; i < threads; ++i) {
            m_threads.emplace_back([this] { Work(); });
            pthread_setname_np(m_threads.back().native_handle(), "zelmo-encode");
        }
    } catch (...) {
        Stop();
        throw;
    }
    const Lock lock(m_mutex);
    m_room = threads;
}

WorkerPool::~WorkerPool() {
    Stop();
}

void WorkerPool::Stop() {
    {
        const Lock lock(m_mutex);
        m_isEnding = true;
    }
    m_workCame.notify_all();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

void WorkerPool::WaitForRoom() {
    Lock lock(m_mutex);
    m_roomCame.wait(lock, [this] { return m_room > 0; });
}

void WorkerPool::Run(std::function<void()> work) {
    {
        Lock lock(m_mutex);
        m_roomCame.wait(lock, [this] { return m_room > 0; });
        m_work.push_back(std::move(work));
        --m_room;
    }
    m_workCame.notify_one();
}

void WorkerPool::Work() {
    Lock lock(m_mutex);
    for (;;) {
        m_workCame.wait(lock, [this] { return m_isEnding || !m_work.empty(); });
        if (m_work.empty()) {
            return; // it is ending, and all that was handed over is done
        }
        std::function<void()> work = std::move(m_work.front());
        m_work.pop_front();
        lock.unlock();
        work();
        work = nullptr; // its memory goes before the room for other work comes
        lock.lock();
        ++m_room;
        // All, not one: somebody who only looks for room would swallow the notice for another one who takes it.
        m_roomCame.notify_all();
    }
}

unsigned GetUsefulWorkers() {
    constexpr unsigned kMostWorkers = 32; // PartialFiles has room for 64
    return std::clamp(std::thread::hardware_concurrency(), 1u, kMostWorkers);
}

} // namespace tool
