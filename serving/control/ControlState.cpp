// SPDX-License-Identifier: Apache-2.0
#include "ControlState.h"

#include <gigevision/Registers.h>

namespace Serving {

namespace Ccp = GigEVision::Ccp;
using GigEVision::Status;

namespace {

constexpr std::uint32_t kPrivileges = Ccp::kExclusive | Ccp::kControl | Ccp::kSwitchover;

bool IsPrivilege(std::uint32_t value) {
    const std::uint32_t wanted = value & ~Ccp::kKey;
    return (wanted & ~kPrivileges) == 0 && wanted != Ccp::kSwitchover;
}

// What is exclusive cannot be taken over.
std::uint32_t PrivilegeOf(std::uint32_t value) {
    return (value & Ccp::kExclusive) != 0 ? value & (Ccp::kExclusive | Ccp::kControl) : value & kPrivileges;
}

} // namespace

CControlState::COutcome CControlState::Request(const CEndpoint& from, std::uint32_t value, std::int64_t nowNs) {
    const std::uint32_t wanted = PrivilegeOf(value);
    const bool isPrimary = IsPrimary(from);
    if (HasPrimary() && !isPrimary && !TakesOver(from, value)) {
        return {Status::AccessDenied};
    }
    if (!IsPrivilege(value)) {
        return {Status::InvalidParameter};
    }
    if (wanted == 0) {
        return {Status::Success, isPrimary ? EChange::Released : EChange::None};
    }
    const EChange change = isPrimary ? EChange::None : HasPrimary() ? EChange::TakenOver : EChange::Granted;
    m_privilege = wanted;
    m_primary = from;
    if (change != EChange::None) {
        Restart(nowNs);
    }
    return {Status::Success, change};
}

void CControlState::Release() {
    m_privilege = 0;
    m_primary = {};
    m_key = 0;
    m_isPaused = false;
}

bool CControlState::IsExclusive() const {
    return (m_privilege & Ccp::kExclusive) != 0;
}

bool CControlState::TakesOver(const CEndpoint& from, std::uint32_t value) const {
    return HasPrimary() && from != m_primary && (m_privilege & Ccp::kSwitchover) != 0 && value >> 16 == m_key &&
           IsPrivilege(value) && PrivilegeOf(value) != 0;
}

bool CControlState::SetTimeout(std::uint32_t timeoutMs) {
    if (timeoutMs < kMinTimeoutMs) {
        return false;
    }
    m_timeoutMs = timeoutMs;
    return true;
}

void CControlState::SwitchHeartbeat(bool isOn, std::int64_t nowNs) {
    if (isOn && !m_isOn) {
        Restart(nowNs);
    }
    m_isOn = isOn;
}

void CControlState::Pause(bool isPaused, std::int64_t nowNs) {
    if (m_isPaused && !isPaused) {
        Restart(nowNs);
    }
    m_isPaused = isPaused;
}

std::int64_t CControlState::DueNs() const {
    return HasPrimary() && m_isOn && !m_isPaused ? m_heardNs + m_timeoutMs * kNsPerMs : kNever;
}

} // namespace Serving
