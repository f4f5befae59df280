// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Mutex.h"

#include <zelmo/Device.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace PluginKit {

/// The devices that a transport layer has made, until they are given back.
/// Threads: any.
/// Locks:   its own, a leaf; no device is destroyed under it.
template <class Device>
class COwnedDevices {
public:
    Device* Add(std::unique_ptr<Device> device) {
        const CLockGuard lock(m_lock);
        return m_devices.emplace_back(std::move(device)).get();
    }

    /// What is not one of them is left alone.
    void Destroy(const Zelmo::IZelmoDevice* device) {
        std::unique_ptr<Device>
            ending; // outside of the lock: it waits for a removal callback, which may destroy devices
        const CLockGuard lock(m_lock);
        const auto found =
            std::find_if(m_devices.begin(), m_devices.end(), [&](const auto& own) { return own.get() == device; });
        if (found != m_devices.end()) {
            ending = std::move(*found);
            m_devices.erase(found);
        }
    }

private:
    CMutex m_lock;
    std::vector<std::unique_ptr<Device>> m_devices PLUGIN_GUARDED_BY(m_lock);
};

} // namespace PluginKit
