// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Endpoint.h"

#include <gigevision/Status.h>

#include <cstdint>
#include <limits>

namespace Serving {

inline constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
inline constexpr std::int64_t kNsPerMs = 1'000'000;

/// Who has control of a camera, and how long without a sign of life. Times are nanoseconds of CLOCK_MONOTONIC.
/// Threads: one at a time; no effects of its own.
class CControlState {
public:
    static constexpr std::uint32_t kDefaultTimeoutMs = 3000, kMinTimeoutMs = 500;

    enum class EChange { None, Granted, Released, TakenOver };
    struct COutcome {
        GigEVision::Status status;
        EChange change = EChange::None;
    };

    /// @p from writes @p value to the control channel privilege.
    COutcome Request(const CEndpoint& from, std::uint32_t value, std::int64_t nowNs);
    void Release(); ///< Nobody has control, and the switchover key is forgotten.

    std::uint32_t Privilege() const { return m_privilege; } ///< As it is read.
    const CEndpoint& Primary() const { return m_primary; }  ///< Port 0: nobody.
    bool HasPrimary() const { return m_privilege != 0; }
    bool IsPrimary(const CEndpoint& from) const { return HasPrimary() && from == m_primary; }
    bool TakesOver(const CEndpoint& from, std::uint32_t value) const; ///< Whether that request takes it from another.
    bool MayRead(const CEndpoint& from) const { return !IsExclusive() || from == m_primary; }
    void SetSwitchoverKey(std::uint16_t key) { m_key = key; }

    /// The heartbeat: control is lost when the primary is silent for the time-out.
    bool SetTimeout(std::uint32_t timeoutMs); ///< @return false, with nothing changed, below the least.
    std::uint32_t TimeoutMs() const { return m_timeoutMs; }
    void Restart(std::int64_t nowNs) { m_heardNs = nowNs; }
    void SwitchHeartbeat(bool isOn, std::int64_t nowNs);
    void Pause(bool isPaused, std::int64_t nowNs); ///< While a command of the primary runs.
    std::int64_t DueNs() const;                    ///< When control is lost; kNever while it cannot be.

private:
    bool IsExclusive() const;

    std::uint32_t m_privilege = 0;
    std::uint16_t m_key = 0;
    CEndpoint m_primary;
    std::uint32_t m_timeoutMs = kDefaultTimeoutMs;
    std::int64_t m_heardNs = 0;
    bool m_isOn = true, m_isPaused = false;
};

} // namespace Serving
