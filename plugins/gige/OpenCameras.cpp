// SPDX-License-Identifier: Apache-2.0
#include "OpenCameras.h"

#include "common/AccessModes.h"

#include <Base/GCException.h>

namespace Gige {

void COpenCameras::Admit(const Zelmo::IZelmoDevice& device, const CFoundCamera& camera, Zelmo::AccessModeSet modes) {
    const PluginKit::CLockGuard lock(m_lock);
    const Zelmo::String_t name = device.GetDeviceInfo().GetFullName();
    for (const CHolder& other : m_holders) {
        if (other.mac == camera.info.mac && PluginKit::Exclude(other.modes, modes)) {
            throw ACCESS_EXCEPTION(
                "Cannot open device '%s' for %s: device object %p of this process has it open for %s.", name.c_str(),
                PluginKit::NamesOf(modes).c_str(), static_cast<const void*>(other.device),
                PluginKit::NamesOf(other.modes).c_str());
        }
        if (other.mac != camera.info.mac && other.address == camera.route.device.address) {
            throw RUNTIME_EXCEPTION("Cannot open device '%s': device '%s', which this process has open, has the same "
                                    "address %s.",
                                    name.c_str(), other.device->GetDeviceInfo().GetFullName().c_str(),
                                    PluginKit::AddressText(other.address).c_str());
        }
    }
    m_holders.push_back({&device, camera.info.mac, camera.route.device.address, modes});
}

void COpenCameras::Leave(const Zelmo::IZelmoDevice& device) noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    std::erase_if(m_holders, [&](const CHolder& holder) { return holder.device == &device; });
}

COpenCameras& OpenCameras() {
    static COpenCameras cameras;
    return cameras;
}

} // namespace Gige
