// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Mutex.h"
#include "discovery/FoundCamera.h"

#include <zelmo/Device.h>

#include <vector>

namespace Gige {

/// Which cameras this process has open: a camera tells hosts apart by their addresses and ports, so that it would not
/// always notice that the same process comes twice.
/// Threads: any.
class COpenCameras {
public:
    /// @throws GenICam::AccessException  when another device object has the camera in a way that excludes @p modes
    /// @throws GenICam::RuntimeException when another camera is open under the same address
    void Admit(const Zelmo::IZelmoDevice& device, const CFoundCamera& camera, Zelmo::AccessModeSet modes);
    void Leave(const Zelmo::IZelmoDevice& device) noexcept; ///< Harmless for one that is not in.

private:
    struct CHolder {
        const Zelmo::IZelmoDevice* device;
        std::array<std::uint8_t, 6> mac;
        std::uint32_t address;
        Zelmo::AccessModeSet modes;
    };

    PluginKit::CMutex m_lock;
    std::vector<CHolder> m_holders PLUGIN_GUARDED_BY(m_lock);
};

COpenCameras& OpenCameras(); ///< The one of the process.

} // namespace Gige
