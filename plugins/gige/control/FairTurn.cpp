// SPDX-License-Identifier: Apache-2.0
#include "control/FairTurn.h"

#include <chrono>

namespace Gige {

using PluginKit::CLockGuard;

void CFairTurn::Take(EKind kind) {
    const CLockGuard guard(m_lock);
    if (kind == EKind::Heartbeat) {
        m_isHeartbeatWaiting = true;
        while (m_isTaken || IsCommandNext()) {
            m_lock.WaitFor(m_changed);
        }
        m_isHeartbeatWaiting = false;
    } else {
        const std::uint64_t ticket = m_nextTicket++;
        while (!IsTurnOf(ticket)) {
            m_lock.WaitFor(m_changed);
        }
        CallNext();
    }
    m_wasHeartbeat = kind == EKind::Heartbeat;
    m_isTaken = true;
}

bool CFairTurn::TakeUntil(std::int64_t untilNs) {
    const std::chrono::steady_clock::time_point due{std::chrono::nanoseconds(untilNs)};
    const CLockGuard guard(m_lock);
    const std::uint64_t ticket = m_nextTicket++;
    while (!IsTurnOf(ticket)) {
        if (std::chrono::steady_clock::now() >= due) {
            m_givenUp.insert(ticket);
            if (m_called == ticket) {
                CallNext();
            }
            m_changed.notify_all();
            return false;
        }
        m_lock.WaitUntil(m_changed, due);
    }
    CallNext();
    m_wasHeartbeat = false;
    m_isTaken = true;
    return true;
}

void CFairTurn::Leave() {
    const CLockGuard guard(m_lock);
    m_isTaken = false;
    m_changed.notify_all();
}

bool CFairTurn::IsTurnOf(std::uint64_t ticket) const {
    return !m_isTaken && m_called == ticket && (!m_isHeartbeatWaiting || IsCommandNext());
}

bool CFairTurn::IsCommandNext() const {
    return m_wasHeartbeat && m_nextTicket - m_called > m_givenUp.size();
}

void CFairTurn::CallNext() {
    do {
        m_givenUp.erase(m_called++);
    } while (m_givenUp.count(m_called) != 0);
}

} // namespace Gige
