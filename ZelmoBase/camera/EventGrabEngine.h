// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/core/ScopeGuard.h"

#include <zelmo/EventGrabber.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <utility>

namespace Zelmo {

class IZelmoDevice;

/// Fetches event messages from a device and gives them to the device's event adapter, which writes them into the node
/// map: node callbacks run inside, the handlers of the nodes among them. As long as a message is delivered, adapter,
/// node map and message have to stay: whoever ends more than the grabbing waits for the end of the delivery.
/// The adapter lives from opening to closing, the rest from the start to the stop of grabbing. Threads: with the camera
/// lock held, but for IsRunning, IsDelivering and TellHandler, which are for any.
class CEventGrabEngine {
public:
    /// @p onDelivered is called behind each delivery, whatever came of it; it throws nothing.
    explicit CEventGrabEngine(std::function<void()> onDelivered) : m_onDelivered(std::move(onDelivered)) {}

    void CreateAdapter(IZelmoDevice& device); ///< None where the device makes none. @throws what the device throws.
    void DropAdapter() noexcept;              ///< Stops first, where events are still grabbed.

    /// Opens the grabber. Without one, or without an adapter, nothing happens.
    /// @throws what the grabber throws; it is closed then.
    void Start(IEventGrabber* grabber);
    void Stop() noexcept; ///< Closes it; what is pending is lost.

    /// Fetches and delivers what is pending, but no more than a thousand, and nothing from inside of a delivery.
    /// @return whether the grabber says that there is more. @throws as RetrieveEvent.
    bool ProcessEvents();

    bool IsRunning() const noexcept { return m_grabber != nullptr; }
    const WaitObject& GetWaitObject() const { return m_grabber.load()->GetWaitObject(); }           ///< While it runs.
    bool IsDelivering() const noexcept { return m_deliveringThread == std::this_thread::get_id(); } ///< This thread.

    /// For a node that has changed: calls if the calling thread delivers a message, and is not inside of such a call:
    /// what a handler writes is no event.
    template <typename Call>
    void TellHandler(Call&& call) const {
        if (IsDelivering() && !m_isHandlerCalled) {
            m_isHandlerCalled = true;
            const ScopeGuard end([this]() noexcept { m_isHandlerCalled = false; });
            call();
        }
    }

private:
    /// @return false when there was none. @throws GenICam::RuntimeException for a message that failed; what the adapter
    /// throws.
    bool RetrieveEvent();
    void Deliver();

    std::atomic<IEventGrabber*> m_grabber{nullptr}; // the device's; null while no events are grabbed
    std::shared_ptr<IEventAdapter> m_adapter;       // goes back to the device
    std::uint64_t m_run = 0;                        // number of the last start
    EventResult m_result;
    const std::function<void()> m_onDelivered;
    std::atomic<std::thread::id> m_deliveringThread{};
    mutable bool m_isHandlerCalled = false; // of the delivering thread
};

} // namespace Zelmo
