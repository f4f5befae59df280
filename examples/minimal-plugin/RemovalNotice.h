// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Device.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Minimal {

/// Tells the clients of open devices that the camera is gone, each once, on a thread of its own that starts with the
/// first client. One object serves all devices of the transport layer and ends with it: so a client may close and even
/// destroy its device inside the callback, and no code of the plug-in runs any more when it is unloaded.
/// Threads: any. m_mutex guards all state; it is not held in a callback.
class RemovalNotice {
public:
    RemovalNotice() = default;
    ~RemovalNotice();

    Zelmo::DeviceCallbackHandle Add(Zelmo::IZelmoDevice& device, const Zelmo::DeviceRemovalCallback& callback);

    /// Wait for the callback while it runs, so that its client may go then; the callback itself may call them, too.
    void Remove(Zelmo::DeviceCallbackHandle handle);
    void RemoveAllOf(const Zelmo::IZelmoDevice& device);

    void CameraIsGone();
    void CameraIsBack();

private:
    struct Client {
        Zelmo::DeviceCallbackHandle handle;
        Zelmo::IZelmoDevice* device;
        Zelmo::DeviceRemovalCallback callback;
        bool isTold = false;
    };
    using ClientPtr = std::shared_ptr<Client>;

    void RemoveIf(const std::function<bool(const Client&)>& isMeant);
    ClientPtr NextToTell() const;
    void Run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stop = false;
    bool m_isGone = false;
    Zelmo::DeviceCallbackHandle m_lastHandle = 0;
    std::vector<ClientPtr> m_clients;
    ClientPtr m_running; // the one whose callback runs
    std::thread m_thread;
};

} // namespace Minimal
