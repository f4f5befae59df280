// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Mutex.h"
#include "core/Camera.h"

#include <zelmo/Device.h>

#include <atomic>
#include <cstdint>
#include <utility>
#include <vector>

namespace PluginKit {
class CRemovalWatch;
}

namespace CamEmu {

/// How a camera looks to one device object: values of DeviceAccessStatus in CamEmuConnection.xml.
enum class EAccessStatus : std::uint32_t {
    ReadWrite = 1, ///< closed, and could be opened for Control
    ReadOnly,      ///< could be opened without Control
    NoAccess,      ///< removed
    Busy,          ///< could not be opened
    OpenReadWrite, ///< open through this device object
    OpenReadOnly
};

/// The emulated cable of a camera: who has the camera open through it, in this process, and whether it is plugged in.
/// Pulled, it stays out until nobody has the camera open any more, the time that the camera is to be away is over, and
/// somebody looks for cameras.
/// Threads: any.
/// Locks:   m_lock, taken before the camera's and the removal watches'.
class CCameraLink {
public:
    /// A device object that has the camera open.
    struct CHolder {
        const Zelmo::IZelmoDevice* device;
        Zelmo::AccessModeSet modes;
        PluginKit::CRemovalWatch* watch; ///< is told when the cable is pulled
    };

    explicit CCameraLink(CCamera& camera) : m_camera(camera) {}

    /// @throws GenICam::AccessException  when another holder excludes these modes; the text names it.
    /// @throws GenICam::RuntimeException while the cable is pulled.
    void Admit(const CHolder& holder);
    void Leave(const Zelmo::IZelmoDevice& device) noexcept; ///< Ignores who is no holder.

    /// Ok, InUse or NotReachable: whether Admit would let these modes pass.
    Zelmo::EDeviceAccessiblityInfo LookUp(Zelmo::AccessModeSet modes) const;
    EAccessStatus StatusFor(const Zelmo::IZelmoDevice& device) const;

    /// Runs @p operation, which reaches the camera through the cable. @return false, without doing so, when it is
    /// pulled. Once Pull has returned no operation is under way.
    template <class Operation>
    bool Access(Operation operation) {
        const PluginKit::CLockGuard lock(m_lock);
        if (m_isPulled) {
            return false;
        }
        operation(m_camera);
        return true;
    }

    /// Stops the acquisition and tells all holders. How long the camera stays away and what becomes of its settings
    /// is what its registers say now. May be called on the stream thread.
    void Pull();
    /// Plugs the cable in, unless somebody has the camera open or it is to be away for longer. @return whether it is
    /// in.
    bool Restore();
    bool IsPulled() const { return m_isPulled; }

private:
    const CHolder* FindObstacle(Zelmo::AccessModeSet modes) const PLUGIN_REQUIRES(m_lock);

    CCamera& m_camera;
    std::atomic<bool> m_isPulled = false; // written under m_lock
    mutable PluginKit::CMutex m_lock;
    std::vector<CHolder> m_holders PLUGIN_GUARDED_BY(m_lock);
    std::int64_t m_backAtNs PLUGIN_GUARDED_BY(m_lock) = 0; // CLOCK_MONOTONIC; while pulled, as the next
    bool m_comesBackReset PLUGIN_GUARDED_BY(m_lock) = false;
};

} // namespace CamEmu
