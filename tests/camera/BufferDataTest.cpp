// SPDX-License-Identifier: Apache-2.0
#include "camera/Support.h"
#include "fakes/Failure.h"
#include "fakes/ScarceMemory.h"

#include <cstring>
#include <new>

using namespace Zelmo;
using EReset = CReusableBufferProvider::EReset;

namespace {

using BufferDataTest = BufferPoolTest;

TEST_F(BufferDataTest, BuffersComeFromTheHeapUnlessTheApplicationProvidesThem) {
    m_pool->SetMaxItems(1);
    for (const bool foreign : {false, true}) {
        m_pool->Reset(1000, foreign ? Share() : nullptr, EReset::IfNeeded);
        const auto item = m_pool->GetItem();
        EXPECT_EQ(item->context, foreign ? 1 : reinterpret_cast<long>(item->buffer));
        EXPECT_EQ(item->sizeBytes, 1000u);
        std::memset(item->buffer, 1, item->sizeBytes);
    }
    m_pool->Reset(1000, nullptr, EReset::IfNeeded); // the same size, no factory
    EXPECT_EQ(m_pool->GetFreeCount(), 1u);
    m_pool->Reset(0, nullptr, EReset::Forced);
    EXPECT_EQ(m_pool->GetItem(), nullptr);
    EXPECT_EQ(m_story.Told(), "free 1 gone");
    ScarceMemory::FailAfter(1); // the memory itself, behind the record
    EXPECT_EQ(Fakes::FailureOf<GenICam::BadAllocException>([] { CBufferDataFactory(64, nullptr).Create(); }),
              "Out of memory. std::bad_alloc");
}

TEST_F(BufferDataTest, FactoryIsGivenUpOnlyIfItWasGivenAndWhateverItThrows) {
    struct Failing : ApplicationMemory {
        using ApplicationMemory::ApplicationMemory;
        void DestroyBufferFactory() override { unknown ? throw 1 : throw RUNTIME_EXCEPTION("destroying"); }
        bool unknown = false;
    } failing(m_story);
    ShareBufferFactory(&failing, Cleanup_None, nullptr).reset();
    ShareBufferFactory(&failing, Cleanup_Delete, nullptr).reset();
    EXPECT_EQ(m_log.Errors("Camera (nil): Exception caught while DestroyBufferFactory is called 0x"), 1u);
    EXPECT_EQ(m_log.Errors(", msg=destroying"), 1u); // and not with Cleanup_None
    failing.unknown = true;
    ShareBufferFactory(&failing, Cleanup_Delete, nullptr).reset();
    EXPECT_EQ(m_log.Errors("Unknown exception caught  caught while DestroyBufferFactory is called  0x"), 1u);
    EXPECT_EQ(ShareBufferFactory(nullptr, Cleanup_Delete, nullptr), nullptr);
    int failures = 0;
    for (std::size_t n = 0; n < 30; ++n) {
        failures += ScarceMemory::Fails<std::bad_alloc>(n, [this] { Share(); }) ? 1 : 0;
        ScarceMemory::Relax();
        EXPECT_EQ(m_story.Told(), n > 0 ? "gone" : ""); // before that, there was no factory
    }
    EXPECT_EQ(failures, 2); // the factory and the pointer; the log does without memory
}

} // namespace
