// SPDX-License-Identifier: Apache-2.0
#include "EventSource.h"

namespace CamEmu {

void CEventSource::SetNotifications(std::uint32_t wanted) {
    m_wanted = wanted;
}

bool CEventSource::Connect(IEventSink& sink) {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_sink) {
        return false;
    }
    m_sink = &sink;
    m_isHeard = true;
    return true;
}

void CEventSource::Disconnect(const IEventSink& sink) noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_sink == &sink) {
        m_isHeard = false;
        m_sink = nullptr;
    }
}

void CEventSource::Send(const CEvent& event) noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_sink) {
        m_sink->OnEvent(event);
    }
}

} // namespace CamEmu
