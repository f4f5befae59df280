// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/DeviceInfo.h>

#include <string>
#include <unordered_map>

namespace Zelmo {

/// The devices that were enumerated without a device class, each with its transport layer: nobody can say who makes
/// them. Threads: all under the factory lock.
class CClasslessDevices {
public:
    static bool IsClassless(const CDeviceInfo& device);

    /// Writes those of @p devices down, and warns of each that is new.
    void Report(const DeviceInfoList& devices, const CTlInfo& transportLayer);

    /// Why a device that was found cannot be used.
    std::string Describe(const CDeviceInfo& device) const;

private:
    std::unordered_map<String_t, String_t> m_layers; // by the device's name
};

} // namespace Zelmo
