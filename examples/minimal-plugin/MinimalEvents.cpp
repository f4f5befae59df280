// SPDX-License-Identifier: Apache-2.0
#include "MinimalEvents.h"

#include <Base/GCException.h>

#include <cstring>

namespace Minimal {
namespace {

constexpr std::size_t kMostPending = 64;
constexpr std::uint64_t kTestEventId = 0x9001; // as in kDescription

} // namespace

void MinimalEventGrabber::Open() {
    if (!m_isPermitted) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the event grabber: the device was not opened for Event.");
    }
    if (m_isOpen || !m_camera.SendEventsTo([this](std::uint64_t ticks) { Take(ticks); })) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the event grabber: it is open already, here or elsewhere.");
    }
    m_isOpen = true;
}

void MinimalEventGrabber::Close() {
    if (!m_isOpen) {
        return;
    }
    m_isOpen = false;
    m_camera.SendEventsNowhere();
    std::lock_guard lock(m_mutex);
    m_events.clear();
    m_eventsPending.Reset();
}

void MinimalEventGrabber::Take(std::uint64_t ticks) {
    std::lock_guard lock(m_mutex);
    if (m_events.size() == kMostPending) {
        m_events.pop_front();
    }
    m_events.push_back({kTestEventId, ticks});
    m_eventsPending.Signal();
}

bool MinimalEventGrabber::RetrieveEvent(Zelmo::EventResult& result) {
    std::lock_guard lock(m_mutex);
    if (m_events.empty()) {
        return false;
    }
    result = {};
    std::memcpy(result.buffer, &m_events.front(), sizeof(EventMessage));
    m_events.pop_front();
    if (m_events.empty()) {
        m_eventsPending.Reset();
    }
    return true;
}

void MinimalEventAdapter::DeliverMessage(const void* buffer, std::size_t) {
    const auto* const bytes = static_cast<const std::uint8_t*>(buffer);
    EventMessage message;
    std::memcpy(&message, bytes, sizeof message);
    m_adapter.DeliverMessage(bytes, sizeof message, message.id);
}

} // namespace Minimal
