// SPDX-License-Identifier: Apache-2.0

// What the system alone costs: the hops of a frame without any of our code.
//
// transport ─ event counter ─► engine ─ pipe ─► application, each hop with the system calls that ours makes:
//   transport    takes a free buffer; writes the event counter when no frame waited in it
//   engine       polls stop, buffer wanted and the event counter; reads the last one when no frame is left; tests
//                and writes the result pipe when the output queue was empty
//   application  gives the frame before back; where no frame waits, it clears and arms the timer, polls stop, result
//                and timer, and disarms the timer; reads the result pipe when no frame is left; walks through the
//                chunks, if there are any, and adds them up
// The upcoming image has one hop more: the application tests and writes the pipe of the wanted buffer, the engine
// reads it and hands a buffer to the transport. A full output queue sends a buffer back from the engine.

#include "Frames.h"

#include "bench/ChunkImage.h"

#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <csignal>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <semaphore>
#include <stdexcept>
#include <sys/eventfd.h>
#include <thread>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace camera_bench {
namespace {

class Pipe {
public:
    Pipe() {
        if (pipe2(m_ends.data(), O_NONBLOCK) != 0) {
            throw std::runtime_error("no pipe");
        }
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        close(m_ends[0]);
        close(m_ends[1]);
    }

    /// Tests before it writes, as a wait object does, but writes in any case: a reader may be about to take the byte.
    void Signal() const {
        pollfd entry{m_ends[0], POLLIN, 0};
        poll(&entry, 1, 0);
        const char byte = 0;
        [[maybe_unused]] const ssize_t written = write(m_ends[1], &byte, 1);
    }
    void Clear() const {
        char byte = 0;
        [[maybe_unused]] const ssize_t got = read(m_ends[0], &byte, 1);
    }
    int GetFd() const { return m_ends[0]; }

private:
    std::array<int, 2> m_ends{};
};

class EventCounter {
public:
    EventCounter() : m_fd(eventfd(0, EFD_NONBLOCK | EFD_SEMAPHORE)) {
        if (m_fd < 0) {
            throw std::runtime_error("no event counter");
        }
    }
    EventCounter(const EventCounter&) = delete;
    EventCounter& operator=(const EventCounter&) = delete;
    ~EventCounter() { close(m_fd); }

    void Signal() const { eventfd_write(m_fd, 1); }
    void Clear() const {
        eventfd_t value = 0;
        eventfd_read(m_fd, &value);
    }
    int GetFd() const { return m_fd; }

private:
    const int m_fd;
};

/// A number of frames, and a descriptor that is readable while it is above 0. One thread puts, one takes.
template <typename Signal>
class Waiting {
public:
    void Put() {
        if (m_count.fetch_add(1) == 0) {
            m_signal.Signal();
        }
    }
    void Take() { // once the descriptor is readable
        if (m_count.fetch_sub(1) == 1) {
            m_signal.Clear();
        }
    }
    unsigned GetCount() const { return m_count; }
    int GetFd() const { return m_signal.GetFd(); }

private:
    std::atomic<unsigned> m_count{0};
    Signal m_signal;
};

/// Armed for long, it never fires.
class Timer {
public:
    Timer() {
        sigevent event{};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = SIGALRM;
        if (timer_create(CLOCK_MONOTONIC, &event, &m_timer) != 0) {
            throw std::runtime_error("no timer");
        }
    }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer() { timer_delete(m_timer); }

    void Arm() {
        m_flag.Clear();
        SetSeconds(kTimeoutMs / 1000);
    }
    void Disarm() { SetSeconds(0); }
    int GetFd() const { return m_flag.GetFd(); }

private:
    void SetSeconds(time_t seconds) {
        itimerspec setting{};
        setting.it_value.tv_sec = seconds;
        timer_settime(m_timer, 0, &setting, nullptr);
    }

    timer_t m_timer{};
    Pipe m_flag;
};

/// Buffers for the transport.
class FreeBuffers {
public:
    explicit FreeBuffers(bool isSleeping) : m_isSleeping(isSleeping) {}

    void Give(unsigned count) {
        if (!m_isSleeping) {
            m_spinning.release(count);
            return;
        }
        {
            const std::lock_guard lock(m_lock);
            m_count += count;
        }
        m_changed.notify_one();
    }
    void Take() {
        if (!m_isSleeping) {
            m_spinning.acquire();
            return;
        }
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [this] { return m_count > 0; });
        --m_count;
    }

private:
    const bool m_isSleeping;
    std::counting_semaphore<> m_spinning{0};
    std::mutex m_lock;
    std::condition_variable m_changed;
    unsigned m_count = 0;
};

class BareFrames final : public IFrames {
public:
    explicit BareFrames(const Flow& flow)
        : m_isUpcoming(flow.strategy == Zelmo::GrabStrategy_UpcomingImage), m_capacity(GetQueueCapacity(flow)),
          m_image(chunk_image::Make(static_cast<std::size_t>(flow.width) * flow.height, flow.chunks)),
          m_free(flow.pace == EPace::Sleeping) {
        if (!m_isUpcoming) {
            m_free.Give(flow.buffers);
        }
        m_engine = std::thread([this] { RunEngine(); });
        if (flow.pace != EPace::Told) {
            m_transport = std::thread([this] { RunTransport(); });
        }
    }
    ~BareFrames() override {
        m_isStopping = true;
        m_stop.Signal();
        m_free.Give(1);
        m_engine.join();
        if (m_transport.joinable()) {
            m_transport.join();
        }
    }

    std::uint64_t Take() override;
    void Complete(unsigned frames) override {
        for (; frames > 0; --frames) {
            m_completed.Put();
        }
    }
    std::uint64_t GetReady() const override {
        const std::lock_guard lock(m_readyLock);
        return m_ready.GetCount();
    }

private:
    void RunTransport();
    void RunEngine();
    void MoveFrame();
    void WaitForFrame();

    const bool m_isUpcoming;
    const unsigned m_capacity; // of the output queue
    const std::vector<std::uint8_t> m_image;
    std::atomic<bool> m_isStopping{false};
    std::atomic<std::uint64_t> m_moved{0}; // frames, by the engine
    bool m_holdsFrame = false;
    Pipe m_stop;
    Pipe m_wanted;
    Timer m_timer;
    FreeBuffers m_free;
    Waiting<EventCounter> m_completed;
    mutable std::mutex m_readyLock; // the application looks at the count before the descriptor
    Waiting<Pipe> m_ready;
    std::thread m_engine;
    std::thread m_transport;
};

void BareFrames::RunTransport() {
    for (m_free.Take(); !m_isStopping; m_free.Take()) {
        m_completed.Put();
    }
}

void BareFrames::RunEngine() {
    const sched_param parameters{kEnginePriority};
    pthread_setschedparam(pthread_self(), SCHED_RR, &parameters); // where the system refuses, ours has none either
    for (;;) {
        pollfd entries[] = {
            {m_stop.GetFd(), POLLIN, 0}, {m_wanted.GetFd(), POLLIN, 0}, {m_completed.GetFd(), POLLIN, 0}};
        poll(entries, std::size(entries), -1);
        if (entries[0].revents != 0) {
            return;
        }
        if (entries[1].revents != 0) {
            m_wanted.Clear();
            m_free.Give(1);
        } else {
            MoveFrame();
        }
    }
}

void BareFrames::MoveFrame() {
    m_completed.Take();
    m_moved.fetch_add(1, std::memory_order_relaxed);
    const std::lock_guard lock(m_readyLock);
    if (m_ready.GetCount() < m_capacity) {
        m_ready.Put();
    } else if (!m_isUpcoming) {
        m_free.Give(1);
    }
}

std::uint64_t BareFrames::Take() {
    if (m_holdsFrame && !m_isUpcoming) {
        m_free.Give(1);
    }
    if (m_isUpcoming) {
        m_wanted.Signal();
    }
    if (GetReady() == 0) {
        WaitForFrame();
    }
    {
        const std::lock_guard lock(m_readyLock);
        m_ready.Take();
    }
    m_holdsFrame = true;
    benchmark::DoNotOptimize(chunk_image::Sum(m_image));
    return m_moved.load(std::memory_order_relaxed);
}

void BareFrames::WaitForFrame() {
    m_timer.Arm();
    pollfd entries[] = {{m_stop.GetFd(), POLLIN, 0}, {m_ready.GetFd(), POLLIN, 0}, {m_timer.GetFd(), POLLIN, 0}};
    poll(entries, std::size(entries), -1);
    if (entries[1].revents == 0) {
        throw std::runtime_error("no frame came");
    }
    m_timer.Disarm();
}

} // namespace

std::unique_ptr<IFrames> StartBareFrames(const Flow& flow) {
    return std::make_unique<BareFrames>(flow);
}

} // namespace camera_bench
