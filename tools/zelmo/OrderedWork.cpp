// SPDX-License-Identifier: Apache-2.0
#include "OrderedWork.h"

#include "WorkerPool.h"

#include <utility>

namespace tool {
namespace {

/// Adds the time of its life to a sum.
class Stopwatch {
public:
    explicit Stopwatch(std::chrono::steady_clock::duration& sum) : m_sum(sum) {}
    ~Stopwatch() { m_sum += std::chrono::steady_clock::now() - m_start; }
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

private:
    std::chrono::steady_clock::duration& m_sum;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

} // namespace

void OrderedWork::WaitForRoom() {
    if (m_pool == nullptr) {
        return; // there is always room
    }
    const Stopwatch watch(m_held);
    // What is done waits for its turn to be told without its memory. So many are behind one that does not get on.
    constexpr std::size_t kMostUntold = 256;
    {
        std::unique_lock lock(m_mutex);
        m_told.wait(lock, [this] { return m_items.size() < kMostUntold; });
    }
    m_pool->WaitForRoom();
}

void OrderedWork::Add(Work work, Tell tell) {
    const Stopwatch watch(m_held);
    const bool isForPool = m_pool != nullptr && work;
    const auto item = std::make_shared<Item>(Item{std::move(work), std::move(tell), nullptr});
    {
        const std::lock_guard lock(m_mutex);
        m_items.push_back(item);
    }
    if (!isForPool) {
        return Do(*item);
    }
    try {
        m_pool->Run([this, item] { Do(*item); });
    } catch (...) { // out of memory: no thread will have it
        item->work = [error = std::current_exception()] { std::rethrow_exception(error); };
        Do(*item);
    }
}

void OrderedWork::Do(Item& item) noexcept {
    try {
        if (item.work) {
            item.work();
        }
    } catch (...) {
        item.error = std::current_exception();
    }
    item.work = nullptr;
    const std::lock_guard lock(m_mutex);
    item.isDone = true;
    while (!m_items.empty() && m_items.front()->isDone) {
        const auto next = std::move(m_items.front());
        m_items.pop_front();
        next->tell(std::exchange(next->error, nullptr)); // not to end late, on the thread that did the work
    }
    m_told.notify_all();
}

bool OrderedWork::Drain() {
    std::unique_lock lock(m_mutex);
    const bool waits = !m_items.empty();
    m_told.wait(lock, [this] { return m_items.empty(); });
    return waits;
}

} // namespace tool
