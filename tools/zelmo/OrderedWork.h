// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>

namespace tool {

class WorkerPool;

/// Pieces of work that are done at the same time, but told of one after the other, in the order in which they were
/// added. Borrows the pool.
/// Threads: WaitForRoom, Add and Drain by one; work and tell are called on any, tell on one at a time.
class OrderedWork {
public:
    using Work = std::function<void()>;
    using Tell = std::function<void(std::exception_ptr)>;

    explicit OrderedWork(WorkerPool* pool) : m_pool(pool) {} ///< Null: Add does the work itself.

    void WaitForRoom(); ///< Until Add would begin with the work at once.

    /// @param work what is to be done; empty for nothing.
    /// @param tell called after it with what it threw, or with null; must not throw or add anything itself.
    void Add(Work work, Tell tell);

    /// How long WaitForRoom and Add have held their caller; on its thread.
    double GetHeldSeconds() const { return std::chrono::duration<double>(m_held).count(); }

    bool Drain(); ///< Waits until all is told. @return whether there was something to wait for.

private:
    struct Item {
        Work work;
        Tell tell;
        std::exception_ptr error;
        bool isDone = false;
    };

    void Do(Item& item) noexcept;

    WorkerPool* const m_pool;
    std::chrono::steady_clock::duration m_held{};
    std::mutex m_mutex; // held while something is told: that keeps the order
    std::condition_variable m_told;
    std::deque<std::shared_ptr<Item>> m_items; // not told yet, the oldest first
};

} // namespace tool
