// SPDX-License-Identifier: Apache-2.0
#include "Session.h"

#include "Acquisition.h"
#include "Bootstrap.h"
#include "DeviceState.h"
#include "Faults.h"
#include "MessageChannel.h"
#include "StreamRegisters.h"

namespace Serving {

namespace {

// Parameters of the fault HeartbeatFrozen.
constexpr std::uint32_t kNeverExpires = 0, kNothingRestarts = 1;

} // namespace

GigEVision::Status CSession::WritePrivilege(const CEndpoint& from, std::uint32_t value, std::int64_t nowNs) {
    if (m_state.control.TakesOver(from, value)) {
        m_messages.SendSwitchover(); // as long as its destination is allowed to the former primary
    }
    const CControlState::COutcome outcome = m_state.control.Request(from, value, nowNs);
    switch (outcome.change) {
    case CControlState::EChange::Released:
        End();
        break;
    case CControlState::EChange::TakenOver:
        CloseChannels();
        break;
    default:
        break;
    }
    return outcome.status;
}

void CSession::OnSignOfLife(const CEndpoint& from, std::int64_t nowNs) {
    const bool isStuck =
        m_faults.IsOn(EFault::HeartbeatFrozen) && m_faults.Parameter(EFault::HeartbeatFrozen) == kNothingRestarts;
    if (m_state.control.IsPrimary(from) && !(isStuck && m_faults.StrikesNext(EFault::HeartbeatFrozen))) {
        m_state.control.Restart(nowNs);
    }
}

void CSession::OnTime(std::int64_t nowNs) {
    if (nowNs < m_state.control.DueNs()) {
        return;
    }
    const bool isStuck =
        m_faults.IsOn(EFault::HeartbeatFrozen) && m_faults.Parameter(EFault::HeartbeatFrozen) == kNeverExpires;
    if (isStuck && m_faults.StrikesNext(EFault::HeartbeatFrozen)) {
        m_state.control.Restart(nowNs);
        return;
    }
    ++m_state.counts.heartbeatsExpired;
    End();
}

void CSession::End() noexcept {
    CloseChannels();
    m_state.control.Release();
}

void CSession::CloseChannels() noexcept {
    m_acquisition.Abort();
    m_stream.Close();
    m_messages.Close();
    m_bootstrap.ResetConfiguration();
}

} // namespace Serving
