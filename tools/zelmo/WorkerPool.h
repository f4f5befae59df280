// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tool {

/// Threads for work that several cameras hand over. It holds as much work as it has threads: what was handed over is
/// being done, and never waits together with its memory.
/// Threads: any; destroyed once nobody hands work over any more.
class WorkerPool {
public:
    explicit WorkerPool(unsigned threads);
    ~WorkerPool(); ///< Waits for what is being done.
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    void WaitForRoom();                   ///< Until a thread has nothing to do. Another caller may be faster then.
    void Run(std::function<void()> work); ///< Waits for room. @p work must not throw.

private:
    using Lock = std::unique_lock<std::mutex>;

    void Work();
    void Stop();

    std::mutex m_mutex; // guards all below but the threads
    std::condition_variable m_roomCame;
    std::condition_variable m_workCame;
    std::deque<std::function<void()>> m_work;
    std::size_t m_room = 0;
    bool m_isEnding = false;
    std::vector<std::thread> m_threads; // last: they touch all of the above
};

/// One for each core, but no more than files can be written at a time.
unsigned GetUsefulWorkers();

} // namespace tool
