// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/WaitObject.h>

#include <atomic>
#include <memory>
#include <thread>

namespace tool {

/// Who retrieves the images of one camera or several.
class Retrieval {
public:
    virtual ~Retrieval() = default;

    /// On the thread: grabs until the number of images, the time, a stop or a failure ends it. The cameras know then
    /// what came of it.
    virtual void Grab() noexcept = 0;

    /// On any other: makes Grab return soon if somebody wants that, or no camera has more to give.
    virtual void StopIfOver() = 0;
};

/// A thread that retrieves images.
/// Threads: started and joined by one; IsRunning any.
class GrabThread {
public:
    explicit GrabThread(std::unique_ptr<Retrieval> retrieval);
    ~GrabThread(); ///< Joins.
    GrabThread(const GrabThread&) = delete;
    GrabThread& operator=(const GrabThread&) = delete;

    void Start();
    /// The thread is inside RetrieveResult, so whoever starts it calls this again and again while it runs: a session
    /// that only just starts is not stopped yet.
    void StopIfOver() { m_retrieval->StopIfOver(); }
    void Join();

    bool IsRunning() const noexcept { return m_running; }
    int GetEndFd() const noexcept { return m_endObject.GetFd(); } ///< Readable when it has ended; for poll().

private:
    const std::unique_ptr<Retrieval> m_retrieval;
    std::atomic<bool> m_running{false};
    Zelmo::WaitObjectEx m_endObject;
    std::thread m_thread; // last: it touches all of the above
};

} // namespace tool
