// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/BufferData.h"
#include "ZelmoBase/camera/BufferFactoryDeallocator.h"
#include "fakes/LogRecorder.h"

#include <zelmo/Log.h>

#include <Base/GCException.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

/// Records what is logged for cameras.
class CameraLog : public Fakes::LogRecorder {
public:
    CameraLog() : LogRecorder("zelmo.base.InstantCamera") { hxlog::LogEnable(true); }

    std::size_t Errors(const std::string& text) const {
        return Count("zelmo.base.InstantCamera", GenICam::LogPriority_Error, text);
    }
};

/// What becomes of the buffers of an application.
struct BufferStory {
    std::string events; // as words
    long allocated = 0;
    std::uint64_t alive = 0;
    std::function<bool()> allocate = [] { return true; }; // may throw; false: there is no memory now
    bool failsToFree = false;                             // but does free

    std::string Told() { return std::exchange(events, {}); }
};

/// An application's buffer factory. Counts its buffers in their contexts, from 1 on.
class ApplicationMemory : public Zelmo::IBufferFactory {
public:
    explicit ApplicationMemory(BufferStory& story) : m_story(story) {}

    void AllocateBuffer(std::size_t sizeBytes, void** buffer, long& context) override {
        EXPECT_EQ(*buffer, nullptr);
        EXPECT_EQ(context, 0);
        if (m_story.allocate()) {
            *buffer = std::malloc(sizeBytes);
            context = ++m_story.allocated;
            ++m_story.alive;
        }
    }
    void FreeBuffer(void* buffer, long context) override {
        std::free(buffer);
        --m_story.alive;
        m_story.events += "free " + std::to_string(context) + " ";
        if (m_story.failsToFree) {
            throw RUNTIME_EXCEPTION("FreeBuffer failed");
        }
    }
    void DestroyBufferFactory() override {
        m_story.events += "gone";
        delete this;
    }

private:
    BufferStory& m_story;
};

/// A test with a pool of an application's buffers.
class BufferPoolTest : public testing::Test {
protected:
    void Renew() { m_pool->Reset(64, Share(), Zelmo::CReusableBufferProvider::EReset::Forced); }
    std::shared_ptr<Zelmo::IBufferFactory> Share() {
        return ShareBufferFactory(new ApplicationMemory(m_story), Zelmo::Cleanup_Delete, nullptr);
    }

    CameraLog m_log;
    BufferStory m_story;
    std::optional<Zelmo::CReusableBufferProvider> m_pool{std::in_place};
};
