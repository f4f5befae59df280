// SPDX-License-Identifier: Apache-2.0
#include "EventQueue.h"

namespace CamEmu {

void CEventQueue::Open(std::size_t capacity) {
    boost::circular_buffer<CEvent> events(capacity);
    m_events.swap(events);
    m_overrun.reset();
    m_pushed = m_dropped = 0;
}

void CEventQueue::Clear() noexcept {
    m_events.clear();
    m_overrun.reset();
}

void CEventQueue::Push(const CEvent& event, bool tellsOverrun) noexcept {
    ++m_pushed;
    if (m_events.full()) {
        ++m_dropped;
        if (tellsOverrun && !m_overrun) {
            m_overrun = {EEvent::EventOverrun, m_events.front().frame, event.timestampNs};
        }
    }
    m_events.push_back(event); // over the oldest one, where it is full
}

bool CEventQueue::Pop(CEvent& event) noexcept {
    if (m_overrun) {
        event = *m_overrun;
        m_overrun.reset();
        return true;
    }
    if (m_events.empty()) {
        return false;
    }
    event = m_events.front();
    m_events.pop_front();
    return true;
}

} // namespace CamEmu
