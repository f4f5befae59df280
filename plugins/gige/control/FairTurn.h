// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Mutex.h"

#include <condition_variable>
#include <cstdint>
#include <set>

namespace Gige {

/// Who may use the control socket: one at a time, first come, first served; but the heartbeat goes next, and behind it
/// a command that waits. A mutex would let a thread that reads in a loop keep all others waiting, and so would the
/// heartbeat that goes on trying while a camera is silent.
/// Threads: any; the heartbeat is one thread's.
/// Locks:   its own, a leaf, not held during the turn.
class CFairTurn {
public:
    enum class EKind : std::uint8_t { Command, Heartbeat };

    void Take(EKind kind);
    bool TakeUntil(std::int64_t untilNs); ///< For a command. @return false: not by @p untilNs of CLOCK_MONOTONIC.
    void Leave();

private:
    bool IsTurnOf(std::uint64_t ticket) const PLUGIN_REQUIRES(m_lock);
    bool IsCommandNext() const PLUGIN_REQUIRES(m_lock);
    void CallNext() PLUGIN_REQUIRES(m_lock);

    PluginKit::CMutex m_lock;
    std::condition_variable m_changed;
    std::uint64_t m_nextTicket PLUGIN_GUARDED_BY(m_lock) = 0;    // of whoever comes
    std::uint64_t m_called PLUGIN_GUARDED_BY(m_lock) = 0;        // of whoever is next
    std::set<std::uint64_t> m_givenUp PLUGIN_GUARDED_BY(m_lock); // not called yet
    bool m_isTaken PLUGIN_GUARDED_BY(m_lock) = false;
    bool m_isHeartbeatWaiting PLUGIN_GUARDED_BY(m_lock) = false;
    bool m_wasHeartbeat PLUGIN_GUARDED_BY(m_lock) = false; // the last one that had it
};

/// Has the turn for a scope.
class CTurnGuard {
public:
    explicit CTurnGuard(CFairTurn& turn, CFairTurn::EKind kind = CFairTurn::EKind::Command) : m_turn(turn) {
        m_turn.Take(kind);
    }
    CTurnGuard(CFairTurn& turn, std::int64_t untilNs) : m_turn(turn), m_isTaken(turn.TakeUntil(untilNs)) {}
    ~CTurnGuard() {
        if (m_isTaken) {
            m_turn.Leave();
        }
    }
    CTurnGuard(const CTurnGuard&) = delete;
    CTurnGuard& operator=(const CTurnGuard&) = delete;
    bool IsTaken() const { return m_isTaken; }

private:
    CFairTurn& m_turn;
    const bool m_isTaken = true;
};

} // namespace Gige
