#pragma once

#include "ZelmoBase/camera/ReusableItemCache.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace Zelmo {

/// Hands out the items of a pool, and replaces the pool between sessions: items left over from the old one stay usable,
/// and are destroyed when they come home. The provider's end gives its pool up.
/// Threads: Replace and the destructor exclude all else; the rest as the pool.
template <typename Item, typename Factory>
class CReusableItemProvider {
public:
    using Cache = CReusableItemCache<Item, Factory>;

    CReusableItemProvider(EReuse reuse, Factory factory)
        : m_cache(std::make_shared<Cache>(0, reuse, std::move(factory))) {}

    virtual ~CReusableItemProvider() {
        try {
            m_cache->SetMaxItems(0);
        } catch (...) {
            LogReusableItemFailure(std::current_exception());
        }
        m_cache->SetObserver(nullptr);
    }
    CReusableItemProvider(const CReusableItemProvider&) = delete;
    CReusableItemProvider& operator=(const CReusableItemProvider&) = delete;

    std::shared_ptr<Item> GetItem() { return Cache::GetItem(m_cache); } ///< As the pool's.
    void SetMaxItems(std::uint64_t maximum) { m_cache->SetMaxItems(maximum); }
    void SetObserver(IReusableItemCacheObserver* observer) { m_cache->SetObserver(observer); }
    void PrefillFree() { m_cache->PrefillFree(); }
    std::uint64_t GetMaxItems() const { return m_cache->GetMaxItems(); }
    std::uint64_t GetOutCount() const { return m_cache->GetOutCount(); }
    std::uint64_t GetFreeCount() const { return m_cache->GetFreeCount(); }
    CRecursiveMutex& GetMutex() const noexcept { return m_cache->GetMutex(); } ///< Another one after each Replace.

protected:
    /// Gives the pool up for a new one of the same maximum, order of reuse and observer.
    /// @throws what destroying free items throws, std::bad_alloc; the old pool, emptied, with maximum 0, is kept then.
    void Replace(Factory factory) {
        IReusableItemCacheObserver* const observer = m_cache->GetObserver();
        m_cache->SetObserver(nullptr);
        const std::uint64_t maximum = m_cache->GetMaxItems();
        m_cache->SetMaxItems(0);
        m_cache = std::make_shared<Cache>(maximum, m_cache->GetReuse(), std::move(factory));
        m_cache->SetObserver(observer);
    }

private:
    std::shared_ptr<Cache> m_cache; // never null
};

} // namespace Zelmo
