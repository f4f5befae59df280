// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/core/Mutex.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <boost/circular_buffer.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

namespace Zelmo {

/// Hears when a pool has items to give and when it has none left. Called with the pool's mutex held, on any thread.
/// Should not throw: what is thrown is only logged.
class IReusableItemCacheObserver {
public:
    virtual void OnItemAvailable() = 0;
    virtual void OnItemsExhausted() = 0;
    virtual ~IReusableItemCacheObserver() = default;
};

/// Which of the free items is handed out next.
enum class EReuse {
    LastInFirstOut, ///< The one that came back last: its memory is warm.
    FirstInFirstOut ///< Each in turn.
};

/// Logs why an item could not be destroyed, where nobody is left to be told; null is no failure.
void LogReusableItemFailure(const std::exception_ptr& failure) noexcept;

/// Calls @p event on @p observer, if there is one, and logs what it throws: no item may be lost on its way by that.
void TellReusableItemObserver(IReusableItemCacheObserver* observer,
                              void (IReusableItemCacheObserver::*event)()) noexcept;

/// A pool of reusable items. Owned through shared pointers only: each item that is out holds one, so that it finds its
/// way home however late it comes, and a pool that was given up (maximum 0) destroys what comes.
///
/// Invariant: an item is free (in the free list), out (counted, owned by a shared pointer whose deleter gives it back)
/// or destroyed. free + out exceeds the maximum only by items that were out when the maximum was lowered. The free list
/// has room for all items there are, free and out: it grows before an item is made, so that the way home needs no
/// memory, and a maximum that nobody means to reach costs none.
///
/// @tparam Factory a value with `Item* Create()`, null for "none now"; `void Destroy(Item*)`, after which the item is
///                 gone even if it throws; and `static Rest Recycle(Item&)`, which empties an item that comes home,
///                 without the mutex held, and throws nothing. Its rest, a value, is what the item held on to: it goes
///                 when the item is back in, or was destroyed by, its pool, also without the mutex held.
/// Threads: any. Locks: the pool's own mutex, recursive since observers, and the application's code behind a factory,
/// re-enter the pool; factory and observer are called with it held.
template <typename Item, typename Factory>
class CReusableItemCache {
public:
    CReusableItemCache(std::uint64_t maximum, EReuse reuse, Factory factory)
        : m_maximum(maximum), m_factory(std::move(factory)), m_reuse(reuse) {}
    ~CReusableItemCache() { LogReusableItemFailure(DestroyFree(m_free.size())); }
    CReusableItemCache(const CReusableItemCache&) = delete;
    CReusableItemCache& operator=(const CReusableItemCache&) = delete;

    /// An item of @p cache, made now if no free one is left; null when the maximum is reached or the factory has none.
    /// @throws what the factory throws, and std::bad_alloc for a place in the free list and for the pointer's control
    ///         block; nothing is lost then.
    static std::shared_ptr<Item> GetItem(const std::shared_ptr<CReusableItemCache>& cache) {
        Item* item = cache->TakeItem();
        // when the control block cannot be made, the pointer's constructor calls the deleter: the item goes home
        return item != nullptr ? std::shared_ptr<Item>(item, CDeallocator{cache}) : nullptr;
    }

    /// Free items beyond @p maximum are destroyed now, those that are out when they come home.
    /// @throws the first that the factory throws, once all is done; any others are logged.
    void SetMaxItems(std::uint64_t maximum) {
        CLockGuard lock(m_mutex);
        m_maximum = maximum;
        const std::uint64_t items = m_free.size() + m_out;
        const std::exception_ptr failure =
            items > maximum ? DestroyFree(std::min<std::uint64_t>(items - maximum, m_free.size())) : nullptr;
        if (m_out >= maximum) {
            TellExhausted();
        }
        if (failure != nullptr) {
            std::rethrow_exception(failure);
        }
    }

    /// Replaces the observer, null for none, and tells the new one at once how things stand.
    void SetObserver(IReusableItemCacheObserver* observer) {
        CLockGuard lock(m_mutex);
        m_observer = observer;
        if (m_out >= m_maximum) {
            TellExhausted();
        } else {
            TellAvailable();
        }
    }

    IReusableItemCacheObserver* GetObserver() const {
        CLockGuard lock(m_mutex);
        return m_observer;
    }

    /// Makes items up to the maximum, fewer when the factory has no more; then tells the observer.
    /// @throws what the factory throws, std::bad_alloc; what was made before is free then, and nobody is told.
    void PrefillFree() {
        CLockGuard lock(m_mutex);
        while (m_out + m_free.size() < m_maximum) {
            Item* const item = Make();
            if (item == nullptr) {
                break;
            }
            PutBack(item);
        }
        TellAvailable();
    }

    std::uint64_t GetMaxItems() const {
        CLockGuard lock(m_mutex);
        return m_maximum;
    }
    std::uint64_t GetOutCount() const {
        CLockGuard lock(m_mutex);
        return m_out;
    }
    std::uint64_t GetFreeCount() const {
        CLockGuard lock(m_mutex);
        return m_free.size();
    }
    /// How many more may be taken now: those that are free and those that may still be made.
    std::uint64_t GetAvailableCount() const {
        CLockGuard lock(m_mutex);
        return m_maximum - std::min(m_maximum, m_out);
    }
    /// Whether more may be taken now. For observers, and for whoever else holds the mutex.
    bool IsAnyAvailable() const noexcept ZELMO_NO_THREAD_SAFETY_ANALYSIS { return m_out < m_maximum; }

    EReuse GetReuse() const noexcept { return m_reuse; }
    CRecursiveMutex& GetMutex() const noexcept { return m_mutex; }

private:
    /// The deleter of every pointer handed out. The pool goes after the item, and without its mutex held.
    struct CDeallocator {
        std::shared_ptr<CReusableItemCache> cache;
        void operator()(Item* item) const noexcept { cache->GiveBack(item); }
    };

    Item* TakeItem() {
        CLockGuard lock(m_mutex);
        Item* item = m_out < m_maximum ? TakeFreeOrMake() : nullptr;
        if (item == nullptr || m_out >= m_maximum) {
            TellExhausted();
        }
        return item;
    }

    Item* TakeFreeOrMake() ZELMO_REQUIRES(m_mutex) {
        if (m_free.empty()) {
            return Make();
        }
        Item* item = nullptr;
        if (m_reuse == EReuse::LastInFirstOut) {
            item = m_free.back();
            m_free.pop_back();
        } else {
            item = m_free.front();
            m_free.pop_front();
        }
        ++m_out;
        return item;
    }

    /// Counts the item as out before there is one, since the factory may take and drop items of this pool meanwhile.
    Item* Make() ZELMO_REQUIRES(m_mutex) {
        ReserveFree(m_free.size() + m_out + 1);
        ++m_out;
        ScopeGuard uncount([this]() ZELMO_NO_THREAD_SAFETY_ANALYSIS { --m_out; });
        Item* const item = m_factory.Create();
        if (item != nullptr) {
            uncount.Dismiss();
        }
        return item;
    }

    void ReserveFree(std::size_t count) ZELMO_REQUIRES(m_mutex) {
        if (m_free.capacity() < count) {
            m_free.set_capacity(std::max(count, 2 * m_free.capacity()));
        }
    }

    void GiveBack(Item* item) noexcept {
        // A result's buffer goes last: as soon as it is home it may be filled and wait to be retrieved again, and then
        // there must be a free record for it. It also has a pool of its own, so this pool's mutex is free by then.
        [[maybe_unused]] const auto rest = Factory::Recycle(*item);
        CLockGuard lock(m_mutex);
        if (PutBack(item)) {
            TellAvailable();
        }
    }

    /// Takes an item that is out back. @return whether it is free now; else it was destroyed.
    bool PutBack(Item* item) noexcept ZELMO_REQUIRES(m_mutex) {
        --m_out;
        if (m_out < m_maximum) {
            m_free.push_back(item);
            return true;
        }
        LogReusableItemFailure(Destroy(item));
        return false;
    }

    /// Destroys @p count free items, the last one first. @return the first failure, null for none; others are logged.
    std::exception_ptr
    DestroyFree(std::uint64_t count) noexcept ZELMO_NO_THREAD_SAFETY_ANALYSIS { // also the destructor's
        std::exception_ptr first;
        for (; count > 0 && !m_free.empty(); --count) { // the factory's code may take items meanwhile
            Item* item = m_free.back();
            m_free.pop_back();
            std::exception_ptr failure = Destroy(item);
            if (first == nullptr) {
                first = std::move(failure);
            } else {
                LogReusableItemFailure(failure);
            }
        }
        return first;
    }

    std::exception_ptr Destroy(Item* item) noexcept ZELMO_NO_THREAD_SAFETY_ANALYSIS {
        try {
            m_factory.Destroy(item);
            return nullptr;
        } catch (...) {
            return std::current_exception();
        }
    }

    void TellAvailable() noexcept ZELMO_REQUIRES(m_mutex) {
        TellReusableItemObserver(m_observer, &IReusableItemCacheObserver::OnItemAvailable);
    }

    void TellExhausted() noexcept ZELMO_REQUIRES(m_mutex) {
        TellReusableItemObserver(m_observer, &IReusableItemCacheObserver::OnItemsExhausted);
    }

    mutable CRecursiveMutex m_mutex;
    std::uint64_t m_maximum ZELMO_GUARDED_BY(m_mutex); // free and out together
    std::uint64_t m_out ZELMO_GUARDED_BY(m_mutex) = 0;
    Factory m_factory ZELMO_GUARDED_BY(m_mutex);
    IReusableItemCacheObserver* m_observer ZELMO_GUARDED_BY(m_mutex) = nullptr;
    const EReuse m_reuse;
    boost::circular_buffer<Item*> m_free ZELMO_GUARDED_BY(m_mutex); // capacity: at least free and out
};

} // namespace Zelmo
