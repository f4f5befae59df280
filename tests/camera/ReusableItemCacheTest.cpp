// SPDX-License-Identifier: Apache-2.0
#include "camera/Support.h"
#include "fakes/Failure.h"
#include "fakes/ScarceMemory.h"

#include <thread>
#include <vector>

using namespace Zelmo;

namespace {

struct Observer : IReusableItemCacheObserver {
    void OnItemAvailable() override {
        told += '+';
        available();
    }
    void OnItemsExhausted() override { told += '-'; }
    std::string Told() { return std::exchange(told, {}); }
    std::function<void()> available = [] {};
    std::string told;
};

class ReusableItemCacheTest : public BufferPoolTest {
protected:
    void SetUp() override { Renew(); }
    void TearDown() override { m_pool.reset(); }
    std::vector<std::shared_ptr<CBufferData>> Take(std::size_t count) {
        std::vector<std::shared_ptr<CBufferData>> items;
        while (items.size() < count) {
            items.push_back(m_pool->GetItem());
        }
        return items;
    }
    void ExpectNoneLost() { EXPECT_EQ(m_story.alive, m_pool->GetFreeCount() + m_pool->GetOutCount()); }

    Observer m_observer;
};

TEST_F(ReusableItemCacheTest, ObserverHearsHowThingsStandAndWhatChanges) {
    m_pool->SetObserver(&m_observer);
    EXPECT_EQ(m_pool->GetItem(), nullptr);
    m_pool->SetMaxItems(2);
    EXPECT_EQ(m_observer.Told(), "--"); // no room at all, nothing to get
    m_pool->SetObserver(&m_observer);
    EXPECT_EQ(m_observer.Told(), "+");
    auto items = Take(3);
    EXPECT_EQ(m_observer.Told(), "--"); // with the last one taken, and the one that could not be
    m_pool->SetMaxItems(1);
    items.resize(1);
    EXPECT_EQ(m_observer.Told(), "-"); // surplus: it died on the way home
    items.clear();
    m_pool->PrefillFree();
    EXPECT_EQ(m_observer.Told(), "++");
}

TEST_F(ReusableItemCacheTest, LowerMaximumDestroysFreeItemsNowAndOthersWhenTheyComeHome) {
    m_pool->SetMaxItems(4);
    auto items = Take(4);
    for (const std::size_t i : {2, 1, 3}) {
        items[i].reset();
    }
    m_pool->SetMaxItems(3); // 3, 2, 4 are free, 1 is out
    EXPECT_EQ(m_story.Told(), "free 4 ");
    EXPECT_EQ((items[1] = m_pool->GetItem())->context, 3); // each in turn
    m_pool->SetMaxItems(1);
    EXPECT_EQ(m_story.Told(), "free 2 ");
    EXPECT_EQ(m_pool->GetAvailableCount(), 0u);
    items[0].reset();
    EXPECT_EQ(m_story.Told(), "free 1 ");
    items[1].reset();
    items = Take(1);
    m_pool->SetMaxItems(3);
    items.push_back(m_pool->GetItem());
    EXPECT_EQ(items[0]->context, 3); // a higher one keeps what is out
    EXPECT_EQ(items[1]->context, 5);
    EXPECT_EQ(m_story.Told(), "");
}

TEST_F(ReusableItemCacheTest, FactoryThatHasNoMoreEndsThePrefillAndIsAskedAgain) {
    m_story.allocate = [this] { return m_story.allocated != 2; };
    ScarceMemory::FailAfter(0);
    m_pool->SetMaxItems(4294967295); // that nobody reaches, and that takes no memory therefore
    ScarceMemory::Relax();
    m_pool->PrefillFree();
    EXPECT_EQ(m_pool->GetFreeCount(), 2u);
    EXPECT_EQ(Take(3)[2], nullptr);
    m_story.allocate = [] { return true; };
    EXPECT_NE(Take(3)[2], nullptr);
}

TEST_F(ReusableItemCacheTest, LackOfMemoryAtAnyPlaceLosesNoItem) {
    for (std::size_t n = 0; n < 120; ++n) { // far beyond its end: the log allocates too, and does without
        ScarceMemory::FailAfter(n);
        try {
            m_pool->SetMaxItems(5);
            m_pool->PrefillFree();
            const auto items = Take(3);
            Renew();
            m_pool->PrefillFree();
        } catch (const std::exception&) { // for a buffer, a pointer or the pool's list
        }
        ScarceMemory::Relax();
        ExpectNoneLost();
        EXPECT_EQ(m_pool->GetMaxItems(), 5u);
        EXPECT_NE(Take(5)[4], nullptr);
        m_pool.emplace();
        EXPECT_EQ(m_story.alive, 0u);
        Renew();
    }
}

TEST_F(ReusableItemCacheTest, ItemsThatCannotBeDestroyedAreGoneAllTheSameAndReportedOnce) {
    m_story.failsToFree = true;
    m_pool->SetMaxItems(3);
    m_pool->PrefillFree();
    auto late = m_pool->GetItem();
    EXPECT_EQ(Fakes::FailureOf([&] { m_pool->SetMaxItems(0); }), "FreeBuffer failed"); // the first
    EXPECT_EQ(m_log.Errors("msg='FreeBuffer failed"), 1u);                             // the second
    m_pool.reset();
    late.reset(); // has nobody to tell
    EXPECT_EQ(m_log.Errors("msg='FreeBuffer failed"), 2u);
    EXPECT_EQ(m_story.Told(), "free 3 free 2 free 1 gone");
}

TEST_F(ReusableItemCacheTest, ReplacedPoolCountsAnewAndItsItemsStayUsableHoweverLate) {
    m_pool->SetMaxItems(2);
    m_pool->PrefillFree();
    auto left = Take(1)[0];
    m_pool->SetObserver(&m_observer);
    Renew();
    EXPECT_EQ(m_story.Told(), "free 2 ");
    auto items = Take(2);
    EXPECT_EQ(m_observer.Told(), "++-");
    CBufferData& queued = *left;
    queued.selfReference = std::move(left); // held by nothing else, as in a stream grabber
    m_pool.reset();
    EXPECT_EQ((left = std::move(queued.selfReference))->context, 1);
    std::jthread([&] { left.reset(); }).join();
    EXPECT_EQ(m_story.Told(), "free 1 gone");
    std::jthread([&] { items.clear(); }).join();
    EXPECT_EQ(m_story.Told(), "free 3 free 4 gone");
    EXPECT_EQ(m_observer.Told(), "-"); // the provider's end; nothing after that
}

TEST_F(ReusableItemCacheTest, CodeOfOthersMayUseThePoolAndMayThrow) {
    std::vector<std::shared_ptr<CBufferData>> held;
    m_story.allocate = [&] { // while an item is made, others of the pool come home, are taken and made
        held.clear();
        if (m_story.allocated < 4) {
            held = Take(2);
        }
        EXPECT_LT(m_story.alive, 2u); // there is room for the one being made
        return true;
    };
    m_pool->SetMaxItems(2);
    m_pool->PrefillFree();
    held = Take(2);
    EXPECT_EQ(m_story.alive, 2u);
    m_observer.available = [&, calls = 0]() mutable {
        if (++calls < 20) {
            Take(2); // comes here again with each of them
            throw 1;
        }
    };
    m_pool->SetObserver(&m_observer);
    held.clear();
    EXPECT_GT(m_log.Errors("Unknown exception"), 2u);
    ExpectNoneLost();
}

TEST_F(ReusableItemCacheTest, ThreadsTakeAndDropWhileTheMaximumAndThePoolChange) {
    for (int round = 0; round < 40; ++round) {
        std::vector<std::jthread> threads(3);
        for (std::jthread& thread : threads) {
            thread = std::jthread([&] {
                for (std::size_t n = 0; n < 200; ++n) {
                    Take(n % 3);
                }
            });
        }
        m_pool->SetObserver(&m_observer);
        for (std::uint64_t n = 0; n < 60; ++n) {
            m_pool->SetMaxItems(n % 7);
        }
        threads.clear();
        m_pool->SetObserver(nullptr);
        ExpectNoneLost();
        std::jthread dropper([left = Take(3)]() mutable { left.clear(); });
        std::jthread reader([&] { EXPECT_LE(m_pool->GetOutCount(), 3u); });
        Renew();
    }
}

} // namespace
