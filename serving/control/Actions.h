// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gigevision/Gvcp.h>

#include "core/Trigger.h"

#include <array>
#include <cstdint>

namespace CamEmu {
class CCamera;
}

namespace Serving {

/// The action signals of a camera: keys by which it knows what is meant for it.
/// Borrows: the camera.
/// Threads: the control thread.
class CActions {
public:
    explicit CActions(CamEmu::CCamera& camera) : m_camera(camera) {}

    void SetDeviceKey(std::uint32_t key) { m_deviceKey = key; }
    /// Group key or mask at an address of the bootstrap registers; null for one behind the last signal.
    std::uint32_t* Find(std::uint32_t address);

    bool IsMeant(const GigEVision::ActionCommand& command) const; ///< By any signal.
    void Fire(const GigEVision::ActionCommand& command);

private:
    struct CSignal {
        std::uint32_t groupKey = 0, groupMask = 0;
    };

    bool IsMeant(const GigEVision::ActionCommand& command, const CSignal& signal) const;

    CamEmu::CCamera& m_camera;
    std::uint32_t m_deviceKey = 0;
    std::array<CSignal, CamEmu::kActions> m_signals;
};

} // namespace Serving
