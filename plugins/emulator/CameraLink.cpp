// SPDX-License-Identifier: Apache-2.0
#include "CameraLink.h"

#include "common/AccessModes.h"
#include "common/RemovalWatch.h"
#include "core/RegisterMap.h"

#include <Base/GCException.h>

#include <algorithm>
#include <limits>
#include <string>

namespace CamEmu {

namespace {

std::int64_t EndOfRemovalNs(std::int32_t durationMs) {
    if (durationMs == CRemovalSettings::kForGood) {
        return std::numeric_limits<std::int64_t>::max();
    }
    return MonotonicNs() + std::int64_t{durationMs} * 1'000'000;
}

} // namespace

void CCameraLink::Admit(const CHolder& holder) {
    const PluginKit::CLockGuard lock(m_lock);
    const Zelmo::String_t name = holder.device->GetDeviceInfo().GetFullName();
    if (m_isPulled) {
        throw RUNTIME_EXCEPTION("Cannot open device '%s': it was removed, and is not back yet.", name.c_str());
    }
    if (const CHolder* const other = FindObstacle(holder.modes)) {
        throw ACCESS_EXCEPTION("Cannot open device '%s' for %s: device object %p of this process has it open for %s.",
                               name.c_str(), PluginKit::NamesOf(holder.modes).c_str(),
                               static_cast<const void*>(other->device), PluginKit::NamesOf(other->modes).c_str());
    }
    m_holders.push_back(holder);
}

void CCameraLink::Leave(const Zelmo::IZelmoDevice& device) noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    std::erase_if(m_holders, [&](const CHolder& holder) { return holder.device == &device; });
}

Zelmo::EDeviceAccessiblityInfo CCameraLink::LookUp(Zelmo::AccessModeSet modes) const {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_isPulled) {
        return Zelmo::DeviceAccessibility_NotReachable;
    }
    return FindObstacle(modes) ? Zelmo::DeviceAccessibility_InUse : Zelmo::DeviceAccessibility_Ok;
}

EAccessStatus CCameraLink::StatusFor(const Zelmo::IZelmoDevice& device) const {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_isPulled) {
        return EAccessStatus::NoAccess;
    }
    const auto own = std::find_if(m_holders.begin(), m_holders.end(),
                                  [&](const CHolder& holder) { return holder.device == &device; });
    if (own != m_holders.end()) {
        return own->modes.test(Zelmo::Control) ? EAccessStatus::OpenReadWrite : EAccessStatus::OpenReadOnly;
    }
    if (!FindObstacle(Zelmo::Control)) {
        return EAccessStatus::ReadWrite;
    }
    return FindObstacle({}) ? EAccessStatus::Busy : EAccessStatus::ReadOnly;
}

void CCameraLink::Pull() {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_isPulled) {
        return;
    }
    const CRemovalSettings settings = m_camera.RemovalSettings();
    m_backAtNs = EndOfRemovalNs(settings.durationMs);
    m_comesBackReset = settings.resets;
    m_isPulled = true;
    m_camera.Stream().StopAcquisition();
    for (const CHolder& holder : m_holders) {
        holder.watch->LinkLost();
    }
}

bool CCameraLink::Restore() {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_isPulled && m_holders.empty() && MonotonicNs() >= m_backAtNs) {
        if (m_comesBackReset) {
            m_camera.Reset();
        }
        m_isPulled = false;
    }
    return !m_isPulled;
}

const CCameraLink::CHolder* CCameraLink::FindObstacle(Zelmo::AccessModeSet modes) const {
    const auto found = std::find_if(m_holders.begin(), m_holders.end(),
                                    [&](const CHolder& holder) { return PluginKit::Exclude(holder.modes, modes); });
    return found == m_holders.end() ? nullptr : &*found;
}

} // namespace CamEmu
