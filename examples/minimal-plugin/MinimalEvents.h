// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MinimalCamera.h"

#include <GenApi/EventAdapterGeneric.h>
#include <zelmo/EventGrabber.h>
#include <zelmo/WaitObject.h>

#include <deque>
#include <mutex>

namespace Minimal {

/// An event as it goes from the grabber to the adapter: in whatever form, as nobody else looks into it.
struct EventMessage {
    std::uint64_t id;
    std::uint64_t ticks; ///< Of the camera's clock, when it was raised.
};
static_assert(sizeof(EventMessage) <= Zelmo::EventResult::BufferSizeBytes);

/// Keeps the events of the camera until they are fetched; when there are too many, the oldest is dropped.
/// Threads: the application's, and in Take that which raises the event; m_mutex guards what both touch.
class MinimalEventGrabber final : public Zelmo::IEventGrabber {
public:
    explicit MinimalEventGrabber(MinimalCamera& camera) : m_camera(camera) {}

    void Permit(bool events) { m_isPermitted = events; } ///< Whether the device is open for Event.

    void Open() override;
    void Close() override;
    bool IsOpen() const override { return m_isOpen; }
    bool RetrieveEvent(Zelmo::EventResult& result) override;
    Zelmo::WaitObject& GetWaitObject() const override { return m_eventsPending; }
    GenApi::INodeMap* GetNodeMap() override { return nullptr; }

private:
    void Take(std::uint64_t ticks);

    MinimalCamera& m_camera;
    bool m_isPermitted = false;
    bool m_isOpen = false;
    mutable Zelmo::WaitObjectEx m_eventsPending = Zelmo::WaitObjectEx::Create();

    std::mutex m_mutex;
    std::deque<EventMessage> m_events;
};

/// Writes events into the node map of the camera.
class MinimalEventAdapter final : public Zelmo::IEventAdapter {
public:
    explicit MinimalEventAdapter(GenApi::INodeMap& nodeMap) : m_adapter(&nodeMap) {}

    void DeliverMessage(const void* buffer, std::size_t sizeBytes) override;

private:
    GenApi::CEventAdapterGeneric m_adapter;
};

} // namespace Minimal
