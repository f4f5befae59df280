#pragma once

#include "ZelmoBase/core/Mutex.h"

#include <boost/circular_buffer.hpp>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

namespace Zelmo {

/// Hears when a pool has items to give and when it has none left. Called with the pool's mutex held, on any thread.
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

/// A pool of reusable items. Owned through shared pointers only: each item that is out holds one, so that it finds its
/// way home however late it comes, and a pool that was given up (maximum 0) destroys what comes.
///
/// Invariant: an item is free (in the free list), out (counted, owned by a shared pointer whose deleter gives it back)
/// or destroyed. free + out exceeds the maximum only by items that were out when the maximum was lowered.
///
/// @tparam Factory a value with `Item* Create()`, null for "none now"; `void Destroy(Item*)`, after which the item is
///                 gone even if it throws; and `static void Recycle(Item&)`, which empties an item that comes home,
///                 without the mutex held, and throws nothing.
/// Threads: any. Locks: the pool's own mutex, recursive since observers re-enter the pool; factory and observer are
/// called with it held.
template <typename Item, typename Factory>
class CReusableItemCache {
public:
    CReusableItemCache(std::uint64_t maximum, EReuse reuse, Factory factory)
        : m_maximum(maximum), m_factory(std::move(factory)), m_reuse(reuse), m_free(maximum) {}
    ~CReusableItemCache() { LogReusableItemFailure(DestroyFree(m_free.size())); }
    CReusableItemCache(const CReusableItemCache&) = delete;
    CReusableItemCache& operator=(const CReusableItemCache&) = delete;

    /// An item of @p cache, made now if no free one is left; null when the maximum is reached or the factory has none.
    /// @throws what the factory throws, and std::bad_alloc for the pointer's control block; nothing is lost then.
    static std::shared_ptr<Item> GetItem(const std::shared_ptr<CReusableItemCache>& cache) {
        Item* item = cache->TakeItem();
        // when the control block cannot be made, the pointer's constructor calls the deleter: the item goes home
        return item != nullptr ? std::shared_ptr<Item>(item, CDeallocator{cache}) : nullptr;
    }

    /// Free items beyond @p maximum are destroyed now, those that are out when they come home.
    /// @throws the first that the factory throws, once all of them are destroyed; std::bad_alloc for a larger free
    /// list.
    void SetMaxItems(std::uint64_t maximum) {
        CLockGuard lock(m_mutex);
        m_maximum = maximum;
        const std::uint64_t items = m_free.size() + m_out;
        const std::exception_ptr failure =
            items > maximum ? DestroyFree(std::min<std::uint64_t>(items - maximum, m_free.size())) : nullptr;
        m_free.set_capacity(maximum);
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
        } else if (m_maximum != 0) {
            TellAvailable();
        }
    }

    IReusableItemCacheObserver* GetObserver() const {
        CLockGuard lock(m_mutex);
        return m_observer;
    }

    /// Makes items up to the maximum, fewer when the factory has no more; then tells the observer.
    void PrefillFree() {
        CLockGuard lock(m_mutex);
        while (m_out + m_free.size() < m_maximum) {
            Item* item = m_factory.Create();
            if (item == nullptr) {
                break;
            }
            m_free.push_back(item);
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
        if (item != nullptr) {
            ++m_out;
        }
        if (item == nullptr || m_out >= m_maximum) {
            TellExhausted();
        }
        return item;
    }

    Item* TakeFreeOrMake() ZELMO_REQUIRES(m_mutex) {
        if (m_free.empty()) {
            return m_factory.Create();
        }
        Item* item = nullptr;
        if (m_reuse == EReuse::LastInFirstOut) {
            item = m_free.back();
            m_free.pop_back();
        } else {
            item = m_free.front();
            m_free.pop_front();
        }
        return item;
    }

    void GiveBack(Item* item) noexcept {
        Factory::Recycle(*item); // before the mutex: a result lets go of its buffer, which has a pool of its own
        CLockGuard lock(m_mutex);
        --m_out;
        if (m_out < m_maximum) {
            m_free.push_back(item);
            TellAvailable();
        } else {
            LogReusableItemFailure(Destroy(item));
        }
    }

    /// Destroys @p count free items, the last one first. @return the first failure, null for none.
    std::exception_ptr
    DestroyFree(std::uint64_t count) noexcept ZELMO_NO_THREAD_SAFETY_ANALYSIS { // also the destructor's
        std::exception_ptr first;
        for (; count > 0; --count) {
            Item* item = m_free.back();
            m_free.pop_back();
            const std::exception_ptr failure = Destroy(item);
            first = first != nullptr ? first : failure;
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

    void TellAvailable() ZELMO_REQUIRES(m_mutex) {
        if (m_observer != nullptr) {
            m_observer->OnItemAvailable();
        }
    }

    void TellExhausted() ZELMO_REQUIRES(m_mutex) {
        if (m_observer != nullptr) {
            m_observer->OnItemsExhausted();
        }
    }

    mutable CRecursiveMutex m_mutex;
    std::uint64_t m_maximum ZELMO_GUARDED_BY(m_mutex); // free and out together
    std::uint64_t m_out ZELMO_GUARDED_BY(m_mutex) = 0;
    Factory m_factory ZELMO_GUARDED_BY(m_mutex);
    IReusableItemCacheObserver* m_observer ZELMO_GUARDED_BY(m_mutex) = nullptr;
    const EReuse m_reuse;
    boost::circular_buffer<Item*> m_free ZELMO_GUARDED_BY(m_mutex); // capacity: the maximum
};

} // namespace Zelmo
