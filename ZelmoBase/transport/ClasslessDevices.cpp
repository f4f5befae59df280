// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/transport/ClasslessDevices.h"

#include "ZelmoBase/transport/TlFactoryLog.h"

namespace Zelmo {
namespace {

/// What a user recognises the device by; an entry that lacks its class may lack its full name as well.
String_t NameOf(const CDeviceInfo& device) {
    return device.IsFullNameAvailable()       ? device.GetFullName()
           : device.IsFriendlyNameAvailable() ? device.GetFriendlyName()
                                              : device.GetSerialNumber();
}

} // namespace

bool CClasslessDevices::IsClassless(const CDeviceInfo& device) {
    return !device.IsDeviceClassAvailable() || device.GetDeviceClass().empty();
}

void CClasslessDevices::Report(const DeviceInfoList& devices, const CTlInfo& transportLayer) {
    for (const CDeviceInfo& device : devices) {
        // Once for each: a program that looks for devices every second would fill the log.
        if (IsClassless(device) && m_layers.try_emplace(NameOf(device), transportLayer.GetFullName()).second) {
            hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Warn, "%s", Describe(device).c_str());
        }
    }
}

std::string CClasslessDevices::Describe(const CDeviceInfo& device) const {
    const String_t name = NameOf(device);
    const auto found = m_layers.find(name);
    const std::string layer = found == m_layers.end() ? "N/A" : found->second.c_str();
    return std::string("Device '") + name.c_str() + "' of transport layer '" + layer +
           "' cannot be used: it has no device class";
}

} // namespace Zelmo
