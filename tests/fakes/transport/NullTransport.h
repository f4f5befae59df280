// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "RegisterNodes.h"
#include <zelmo/PixelType.h>
#include <zelmo/StreamGrabber.h>
#include <zelmo/WaitObject.h>

#include <boost/circular_buffer.hpp>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <semaphore>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Fakes {

/// A stream grabber for benchmarks: completes buffers without drawing anything, allocates nothing for a frame or a
/// registration, trusts its caller. Its wait object is an eventfd that is written when the first result comes and read
/// when the last one is retrieved: a result that finds another one waiting costs no system call.
/// Threads: as the contract of IStreamGrabber tells; Complete on any. Locks: m_lock, a leaf; nobody is woken under it,
/// as a thread of higher priority would only run to wait for the lock.
class CNullStreamGrabber final : public Zelmo::IStreamGrabber, private IRegisters {
public:
    enum class EPace {
        AtOnce,  ///< QueueBuffer completes the buffer on its thread
        Told,    ///< Complete and, where that came too early, QueueBuffer complete as many as were told on their thread
        Free,    ///< a thread completes what is queued, one after the other
        Sleeping ///< the same, but it waits on a condition variable, where Free spins for a while
    };

    /// Images are Mono8; up to @p maxQueued buffers may be queued.
    explicit CNullStreamGrabber(EPace pace = EPace::AtOnce, std::int32_t width = 64, std::int32_t height = 64,
                                std::size_t maxQueued = 1024)
        : m_pace(pace), m_width(width), m_height(height), m_queued(maxQueued), m_results(maxQueued) {}
    ~CNullStreamGrabber() {
        StopStreaming();
        close(m_eventFd);
    }

    void Complete(std::uint64_t frames = 1) { ///< With EPace::Told; all that are there are signaled together.
        {
            const std::lock_guard lock(m_lock);
            m_told += frames;
        }
        CompleteQueued(frames);
    }

    /// What each buffer holds from its registration on: an image with its chunks.
    void SetContent(std::vector<std::uint8_t> content) { m_content = std::move(content); }

    void Open() override { m_isOpen = true; }
    void Close() override { m_isOpen = false; }
    bool IsOpen() const override { return m_isOpen; }
    Zelmo::StreamBufferHandle RegisterBuffer(void* buffer, std::size_t) override {
        std::copy(m_content.begin(), m_content.end(), static_cast<std::uint8_t*>(buffer));
        return buffer;
    }
    void* DeregisterBuffer(Zelmo::StreamBufferHandle handle) override { return handle; }
    void PrepareGrab() override {}
    bool IsStreaming() const override { return m_isStreaming; }
    void StartStreaming() override {
        m_isStreaming = true;
        if (m_pace == EPace::Free) {
            m_thread = std::thread([this] { Run(); });
        } else if (m_pace == EPace::Sleeping) {
            m_thread = std::thread([this] { RunSleeping(); });
        }
    }
    void StopStreaming() override {
        m_isStreaming = false;
        if (m_thread.joinable()) {
            m_free.release();
            {
                const std::lock_guard lock(m_lock);
                m_filled.notify_one();
            }
            m_thread.join();
        }
        while (m_free.try_acquire()) {
            ;
        }
    }
    void FinishGrab() override {}
    void QueueBuffer(Zelmo::StreamBufferHandle handle, void* context) override {
        {
            const std::lock_guard lock(m_lock);
            m_queued.push_back({handle, context, Zelmo::GrabStatus_Grabbed});
        }
        if (m_pace == EPace::Free) {
            m_free.release();
        } else if (m_pace == EPace::Sleeping) {
            m_filled.notify_one();
        } else {
            CompleteQueued(1);
        }
    }
    void FlushBuffers() override { CompleteQueued(m_queued.capacity(), Zelmo::GrabStatus_Canceled); }
    std::size_t GetNumQueuedBuffers() const override { return 0; } // not called
    bool RetrieveResult(Zelmo::GrabResult& result) override {
        const std::lock_guard lock(m_lock);
        const bool isFound = !m_results.empty();
        const CBuffer buffer = isFound ? m_results.front() : CBuffer{};
        m_results.erase_begin(isFound ? 1 : 0);
        eventfd_t ignored;
        if (m_results.empty()) {
            eventfd_read(m_eventFd, &ignored);
        }
        if (!isFound) {
            return false;
        }
        result = {buffer.context,
                  buffer.memory,
                  buffer.memory,
                  static_cast<std::uint64_t>(m_written[1]),
                  buffer.status,
                  m_content.empty() ? Zelmo::PayloadType_Image : Zelmo::PayloadType_ChunkData,
                  Zelmo::PixelType_Mono8,
                  /*timeStamp*/ 0,
                  m_width,
                  m_height,
                  /*offsets*/ 0,
                  0,
                  /*paddings*/ 0,
                  0,
                  GetPayloadSize(),
                  /*errorCode*/ 0,
                  /*errorDescription*/ {},
                  m_nextBlockId++};
        return true;
    }
    Zelmo::WaitObject& GetWaitObject() const override { return m_wait; }
    GenApi::INodeMap* GetNodeMap() override { return m_nodes.Map(); }

private:
    struct CBuffer {
        void* memory;
        void* context;
        Zelmo::EGrabStatus status;
    };

    std::int64_t ReadRegister(int number) override { return number == 0 ? GetPayloadSize() : m_written[number]; }
    void WriteRegister(int number, std::int64_t value) override { m_written[number] = value; }
    std::int64_t GetPayloadSize() const {
        return m_content.empty() ? std::int64_t{m_width} * m_height : static_cast<std::int64_t>(m_content.size());
    }

    void CompleteQueued(std::uint64_t atMost, Zelmo::EGrabStatus status = Zelmo::GrabStatus_Grabbed) {
        const bool isTold = m_pace == EPace::Told && status == Zelmo::GrabStatus_Grabbed;
        std::unique_lock lock(m_lock);
        const bool wasEmpty = m_results.empty();
        for (; atMost > 0 && !m_queued.empty() && (!isTold || m_told > 0); --atMost) {
            m_results.push_back(m_queued.front());
            m_results.back().status = status;
            m_queued.pop_front();
            m_told -= isTold ? 1 : 0;
        }
        const bool isFirst = wasEmpty && !m_results.empty();
        lock.unlock();
        if (isFirst) {
            eventfd_write(m_eventFd, 1);
        }
    }
    void Run() {
        for (m_free.acquire(); m_isStreaming; m_free.acquire()) {
            CompleteQueued(1);
        }
    }

    void RunSleeping() {
        std::unique_lock lock(m_lock);
        while (m_isStreaming) {
            if (m_queued.empty()) {
                m_filled.wait(lock);
                continue;
            }
            const bool isFirst = m_results.empty();
            m_results.push_back(m_queued.front());
            m_queued.pop_front();
            lock.unlock();
            if (isFirst) {
                eventfd_write(m_eventFd, 1);
            }
            lock.lock();
        }
    }

    const EPace m_pace;
    const std::int32_t m_width, m_height;
    std::vector<std::uint8_t> m_content;
    const int m_eventFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    mutable Zelmo::WaitObjectEx m_wait{m_eventFd};
    std::int64_t m_written[3] = {};
    CRegisterNodes m_nodes{
        {{"Integer", "PayloadSize", 0, ""}, {"Integer", "MaxBufferSize", 1, ""}, {"Integer", "MaxNumBuffer", 2, ""}},
        *this};
    bool m_isOpen = false;
    std::atomic<bool> m_isStreaming{false};
    std::counting_semaphore<> m_free{0}; // queued buffers, for the thread

    std::mutex m_lock; // guards all below but the thread
    std::uint64_t m_told = 0, m_nextBlockId = 0;
    boost::circular_buffer<CBuffer> m_queued, m_results;
    std::condition_variable m_filled;
    std::thread m_thread;
};

} // namespace Fakes
