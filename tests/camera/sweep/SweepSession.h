// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/BufferFactoryDeallocator.h"

#include "camera/SessionOwner.h"
#include "fakes/Descriptors.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>

/// Under a sanitizer every 17th place of failure is enough.
#if defined(ZELMO_SANITIZED)
inline constexpr unsigned kSweepStep = 17;
#else
inline constexpr unsigned kSweepStep = 1;
#endif

inline constexpr unsigned kImages = 20;

/// Counts the buffers that are alive.
class CountedMemory : public Zelmo::IBufferFactory {
public:
    void AllocateBuffer(std::size_t sizeBytes, void** buffer, long& context) override {
        *buffer = ::operator new(sizeBytes);
        context = 1;
        ++alive;
    }
    void FreeBuffer(void* buffer, long) override {
        ::operator delete(buffer);
        --alive;
    }
    void DestroyBufferFactory() override {}

    std::atomic<int> alive{0};
};

/// What the application saw of one session.
struct Outcome {
    bool started = false;
    unsigned images = 0;
    std::string failure; // what start or retrieval raised
};

/// A session object as a camera would own it, over and over again used for: start, twenty images, stop.
class SweepSession final {
public:
    explicit SweepSession(const Zelmo::CGrabSettings& settings) : m_settings(settings) {
        m_session.GetEngine().SetBufferFactory(Zelmo::ShareBufferFactory(&m_memory, Zelmo::Cleanup_None, nullptr));
    }

    Outcome Run(Zelmo::IStreamGrabber& grabber) {
        Outcome outcome;
        try {
            m_owner.Start(grabber, m_settings);
            outcome.started = true;
            Zelmo::CGrabResultPtr result;
            while (outcome.images < kImages &&
                   m_session.Retrieve(10000, result, Zelmo::TimeoutHandling_ThrowException)) {
                ++outcome.images;
            }
        } catch (const std::exception& e) {
            outcome.failure = e.what();
        } catch (...) {
            outcome.failure = "something else";
        }
        m_session.Stop();
        return outcome;
    }

    bool IsIdle() const { return !m_session.IsGrabbing() && m_session.GetEngine().GetNumQueuedBuffers() == 0; }
    int BuffersAlive() const { return m_memory.alive; }

private:
    const Zelmo::CGrabSettings m_settings;
    CountedMemory m_memory;
    SessionOwner m_owner;
    Zelmo::CGrabSession& m_session = m_owner.session;
};

/// Descriptors and threads of the process; the same before and after.
struct ProcessResources {
    /// Whether nothing is left that was not there @p before, now or soon: a thread that was joined may be listed for a
    /// moment more, now as well as before.
    static bool AreBackTo(const ProcessResources& before) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        for (ProcessResources now; now.descriptors != before.descriptors || now.threads > before.threads; now = {}) {
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
            std::this_thread::yield();
        }
        return true;
    }

    int descriptors = Fakes::OpenDescriptors();
    long threads = std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});

    /// Once the process has had a second thread: sanitizers start one of their own with it.
    static ProcessResources WithThreads() {
        std::thread([] {}).join();
        return {};
    }
};

inline Zelmo::CGrabSettings SettingsFor(Zelmo::EGrabStrategy strategy, unsigned long maxNumQueuedBuffer) {
    Zelmo::CGrabSettings settings;
    settings.strategy = strategy;
    settings.buffers = 5;
    settings.maxNumQueuedBuffer = maxNumQueuedBuffer;
    settings.priority = 0;
    return settings;
}
