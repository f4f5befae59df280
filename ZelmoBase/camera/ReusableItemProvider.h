// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/ReusableItemCache.h"
#include "ZelmoBase/core/Mutex.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

namespace Zelmo {

/// Hands out the items of a pool, and replaces the pool between sessions: items left over from the old one stay usable,
/// and are destroyed when they come home. The provider's end gives its pool up.
/// Threads: the counts from any at any time, but for the destructor; all else as the pool, but not while Replace runs.
/// An observer may use the provider freely: Replace takes the observer off the old pool before anything else.
template <typename Item, typename Factory>
class CReusableItemProvider {
public:
    using Cache = CReusableItemCache<Item, Factory>;

    CReusableItemProvider(EReuse reuse, Factory factory)
        : m_cache(std::make_shared<Cache>(0, reuse, std::move(factory))) {}

    virtual ~CReusableItemProvider() {
        DestroyItems(*m_cache);
        m_cache->SetObserver(nullptr);
    }
    CReusableItemProvider(const CReusableItemProvider&) = delete;
    CReusableItemProvider& operator=(const CReusableItemProvider&) = delete;

    std::shared_ptr<Item> GetItem() { return Cache::GetItem(m_cache); } ///< As the pool's.
    void SetMaxItems(std::uint64_t maximum) { m_cache->SetMaxItems(maximum); }
    void SetObserver(IReusableItemCacheObserver* observer) { m_cache->SetObserver(observer); }
    void PrefillFree() { m_cache->PrefillFree(); }
    std::uint64_t GetMaxItems() const { return Current()->GetMaxItems(); }
    std::uint64_t GetOutCount() const { return Current()->GetOutCount(); }
    std::uint64_t GetFreeCount() const { return Current()->GetFreeCount(); }
    std::uint64_t GetAvailableCount() const { return Current()->GetAvailableCount(); } ///< Maximum minus out.
    bool IsAnyAvailable() const noexcept { return m_cache->IsAnyAvailable(); }         ///< With the mutex held.
    CRecursiveMutex& GetMutex() const noexcept { return m_cache->GetMutex(); } ///< Another one after each Replace.

protected:
    /// Gives the pool up for a new one of the same maximum, order of reuse and observer. Why a free item could not be
    /// destroyed is logged.
    /// @throws std::bad_alloc; nothing has changed then.
    void Replace(Factory factory) {
        IReusableItemCacheObserver* const observer = m_cache->GetObserver();
        m_cache->SetObserver(nullptr);
        const ScopeGuard restore([this, observer] { m_cache->SetObserver(observer); }); // whichever pool it is by then
        auto cache = std::make_shared<Cache>(m_cache->GetMaxItems(), m_cache->GetReuse(), std::move(factory));
        DestroyItems(*m_cache);
        CLockGuard lock(m_cacheLock);
        m_cache.swap(cache);
    }

private:
    /// The items that are out follow when they come home.
    static void DestroyItems(Cache& cache) noexcept {
        try {
            cache.SetMaxItems(0);
        } catch (...) {
            LogReusableItemFailure(std::current_exception());
        }
    }

    std::shared_ptr<Cache> Current() const {
        CLockGuard lock(m_cacheLock);
        return m_cache;
    }

    mutable CMutex m_cacheLock;     // a leaf: held to copy or replace the next, but for uses that exclude Replace
    std::shared_ptr<Cache> m_cache; // never null
};

} // namespace Zelmo
