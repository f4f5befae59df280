// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Descriptor.h"
#include "common/Mutex.h"

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

namespace Gige {

class CConnection;
class CMessageChannel;

/// The thread of one open device: keeps the heartbeat, takes the camera's messages in, and tells when the camera is
/// lost, once from Start to Stop.
/// Borrows: the connection, which it listens to as long as it lives.
/// Threads: Start and Stop one at a time, and not on the thread itself; the rest any.
/// Locks:   m_lock, a leaf; none is held in the callback.
class CServiceThread {
public:
    /// @p onLost is called on the thread.
    CServiceThread(CConnection& connection, std::function<void()> onLost);
    ~CServiceThread();
    CServiceThread(const CServiceThread&) = delete;
    CServiceThread& operator=(const CServiceThread&) = delete;

    void Start();                                          ///< With the connection open. @throws std::system_error
    void Stop() noexcept;                                  ///< Waits for the heartbeat that is under way.
    void Hurry() noexcept;                                 ///< The next heartbeat is due now.
    void Listen(std::shared_ptr<CMessageChannel> channel); ///< Null: to none any more; the thread lets go of it soon.

private:
    void Run() noexcept;
    void Beat(bool& isTold) noexcept;
    void Wait(std::int64_t untilNs) noexcept;
    void Wake() noexcept;
    std::shared_ptr<CMessageChannel> Channel() const;

    CConnection& m_connection;
    const std::function<void()> m_onLost;
    const PluginKit::CDescriptor m_wake; // an eventfd, readable when something has changed
    std::atomic<bool> m_isEnding = false;
    std::thread m_thread;
    mutable PluginKit::CMutex m_lock;
    std::shared_ptr<CMessageChannel> m_channel PLUGIN_GUARDED_BY(m_lock);
};

} // namespace Gige
