// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Device.h>

#include <memory>
#include <string>
#include <thread>

namespace CamEmu {

/// Tells the clients of a device object that its camera was removed, each once for every time the device is opened, on
/// a thread of its own. A client that comes late, but before the device is closed, is told at once.
/// Owns:    copies of the callbacks; the watch thread, from Start to Stop.
/// Threads: any; Start and Stop one at a time. All of it, destroying included, may also happen inside a callback: the
///          thread then outlives the watch, and touches nothing but the state that they share.
/// Locks:   the state's, a leaf; not held in a callback.
class CRemovalWatch {
public:
    /// @p device is what callbacks get; @p name is for the log.
    CRemovalWatch(Zelmo::IZelmoDevice& device, std::string name);
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

    static void Run(const std::shared_ptr<CState>& state, std::uint64_t session) noexcept;

    const std::shared_ptr<CState> m_state;
    std::thread m_thread;
};

} // namespace CamEmu
