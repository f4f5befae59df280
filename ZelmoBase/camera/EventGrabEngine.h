// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/EventGrabber.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace Zelmo {

class CCameraEventConnection;
class IZelmoDevice;

/// Fetches event messages from a device and gives them to the device's event adapter, which writes them into the node
/// map: node callbacks run inside, and the handlers of the nodes right behind. The adapter lives from opening to
/// closing, the rest from the start to the stop of grabbing. Threads: with the camera lock held, but for IsRunning and
/// Postpone, which are for any.
class CEventGrabEngine {
public:
    void CreateAdapter(IZelmoDevice& device); ///< None where the device makes none. @throws what the device throws.
    void DropAdapter() noexcept;              ///< Stops first, where events are still grabbed.

    /// Opens the grabber. Without one, or without an adapter, nothing happens.
    /// @throws what the grabber throws; it is closed then.
    void Start(IEventGrabber* grabber);
    void Stop() noexcept; ///< Closes it; what is pending is lost.

    /// Fetches and delivers what is pending, but no more than a thousand, and none while the calling thread delivers
    /// one already. @return whether the grabber says that there is more. @throws as RetrieveEvent.
    bool ProcessEvents();

    bool IsRunning() const noexcept { return m_grabber != nullptr; }
    const WaitObject& GetWaitObject() const { return m_grabber.load()->GetWaitObject(); } ///< While it runs.
    /// Takes a notification of a node that changes while the calling thread delivers a message: it is made when the
    /// adapter has returned, so that a handler may close and destroy the device. @return false when it delivers none.
    /// @throws std::bad_alloc
    bool Postpone(const std::shared_ptr<CCameraEventConnection>& connection) const;

private:
    /// @return false when there was none. @throws GenICam::RuntimeException for a message that failed; what the adapter
    /// throws.
    bool RetrieveEvent();
    void Deliver(); ///< @throws what the adapter throws, once the handlers are notified of what it has changed.
    bool IsDelivering() const noexcept; ///< On the calling thread: the adapter calls a callback of a node.
    void ResetResult() noexcept;

    std::atomic<IEventGrabber*> m_grabber{nullptr}; // the device's; null while no events are grabbed
    std::shared_ptr<IEventAdapter> m_adapter;       // goes back to the device
    EventResult m_result;
    mutable std::vector<std::shared_ptr<CCameraEventConnection>> m_postponed; // of the delivering thread
    std::atomic<std::thread::id> m_deliveringThread{};
};

} // namespace Zelmo
