// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Mutex.h"

#include <zelmo/Device.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace PluginKit {

/// Threads that could not be waited for where they were told to end: at the end of this object they are.
/// Threads: any.
class CEndedThreads {
public:
    CEndedThreads() = default;
    ~CEndedThreads();
    CEndedThreads(const CEndedThreads&) = delete;
    CEndedThreads& operator=(const CEndedThreads&) = delete;

    /// @p isOver says whether the thread has nothing left to do; those of which it does are joined here already.
    void Add(std::thread thread, std::shared_ptr<const std::atomic<bool>> isOver);

private:
    struct CEnding {
        std::thread thread;
        std::shared_ptr<const std::atomic<bool>> isOver;
    };

    CMutex m_lock;
    std::vector<CEnding> m_threads PLUGIN_GUARDED_BY(m_lock);
};

/// Tells the clients of a device object that its camera was removed, each once for every time the device is opened, on
/// a thread of its own. A client that comes late, but before the device is closed, is told at once.
/// Owns:    copies of the callbacks; the watch thread, from Start to Stop.
/// Threads: any; Start and Stop one at a time. All of it, destroying included, may also happen inside a callback: the
///          thread then outlives the watch, touches nothing but the state that they share, and is handed over.
/// Locks:   the state's, a leaf; not held in a callback.
class CRemovalWatch {
public:
    /// @p device is what callbacks get; @p name and @p logCategory are for the log.
    CRemovalWatch(Zelmo::IZelmoDevice& device, std::string name, unsigned long logCategory, CEndedThreads& ended);
    ~CRemovalWatch();
    CRemovalWatch(const CRemovalWatch&) = delete;
    CRemovalWatch& operator=(const CRemovalWatch&) = delete;

    Zelmo::DeviceCallbackHandle Add(const Zelmo::DeviceRemovalCallback& callback);
    /// Waits for the callback while it runs, unless it is the one that calls. Unknown handles are ignored.
    void Remove(Zelmo::DeviceCallbackHandle handle);

    void Start();             ///< The device is about to be opened. @throws std::system_error without a thread left.
    void Stop() noexcept;     ///< Waits for a callback that runs; those that did not begin are left out.
    void LinkLost() noexcept; ///< Between Start and Stop.
    bool IsLost() const;      ///< Whether LinkLost came since the last Start.

private:
    struct CState;

    static void Run(CState& state, std::uint64_t session) noexcept;

    const std::shared_ptr<CState> m_state;
    CEndedThreads& m_ended;
    std::shared_ptr<std::atomic<bool>> m_isOver; // whether the thread has left the callbacks for good
    std::thread m_thread;
};

} // namespace PluginKit
