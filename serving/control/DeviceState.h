// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ControlState.h"
#include "Device.h"

#include <gigevision/Registers.h>

#include <cstdint>

namespace Serving {

/// What the parts of a camera's control side look at together.
/// Threads: the control thread.
struct CDeviceState {
    explicit CDeviceState(const CDeviceSettings& served) : settings(served), addressing(served.addressing) {}

    bool HasExtendedIds() const { return (gvsp & GigEVision::GvspConfiguration::kExtendedIds) != 0; }
    bool IsConfigured(std::uint32_t mask) const { return (gvcp & mask) != 0; }
    /// Whether streams and messages may go there. Nowhere is allowed.
    bool MaySendTo(std::uint32_t address) const {
        return address == 0 || settings.allowRedirect || IsMulticast(address) || address == control.Primary().address;
    }

    const CDeviceSettings settings;
    CAddressing addressing; ///< as it is now
    CControlState control;
    std::uint32_t gvcp = 0, gvsp = 0; ///< registers: GVCP and GVSP configuration
    CControlCounts counts;
};

} // namespace Serving
