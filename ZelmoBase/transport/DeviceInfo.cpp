// SPDX-License-Identifier: Apache-2.0
#include <zelmo/DeviceInfo.h>

#include "ZelmoBase/transport/GigEPropertyValueComparer.h"
#include <Base/GCException.h>

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <optional>

namespace Zelmo {
namespace {

// GigE Vision, registers "supported" and "current IP configuration": what is mandatory stands in these bits.
enum EIpConfigBit { IpConfig_PersistentIp = 8, IpConfig_Dhcp = 9, IpConfig_AutoIp = 10 };

bool TestIpConfig(const CDeviceInfo& info, const char* key, EIpConfigBit bit) {
    String_t value;
    if (!info.GetPropertyValue(key, value)) {
        throw INVALID_ARGUMENT_EXCEPTION("Device info object doesn't contain information about the IP configuration");
    }
    return (static_cast<unsigned int>(std::atoi(value.c_str())) >> bit & 1u) != 0;
}

constexpr char kCurrentIpConfig[] = "_PortableIpConfigCurrent";
constexpr char kIpConfigOptions[] = "_PortableIpConfigOptions";

/// The value of a serial number that is made of digits only and fits 64 bits.
std::optional<std::int64_t> NumericSerial(const String_t& serial) {
    const std::string_view text = serial.view();
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool digitsOnly = text.find_first_not_of("0123456789") == std::string_view::npos;
    return error == std::errc() && digitsOnly ? std::optional(number) : std::nullopt;
}

} // namespace

bool CDeviceInfo::IsSubset(const IProperties& other) const {
    static const GigEPropertyValueComparer kComparer;
    return CInfoBase::IsSubset(other, &kComparer);
}

bool CDeviceInfo::operator<(const CDeviceInfo& other) const {
    if (Property("DeviceClass") != other.Property("DeviceClass")) {
        return CInfoBase::operator<(other);
    }
    const String_t& serial = Property("SerialNumber");
    const String_t& otherSerial = other.Property("SerialNumber");
    const auto number = NumericSerial(serial);
    const auto otherNumber = NumericSerial(otherSerial);
    if (number && otherNumber) {
        return *number < *otherNumber;
    }
    if (!number && !otherNumber) {
        return serial < otherSerial;
    }
    return number.has_value();
}

bool CDeviceInfo::IsPersistentIpActive() const {
    return TestIpConfig(*this, kCurrentIpConfig, IpConfig_PersistentIp);
}

bool CDeviceInfo::IsDhcpActive() const {
    return TestIpConfig(*this, kCurrentIpConfig, IpConfig_Dhcp);
}

bool CDeviceInfo::IsAutoIpActive() const {
    return TestIpConfig(*this, kCurrentIpConfig, IpConfig_AutoIp);
}

bool CDeviceInfo::IsPersistentIpSupported() const {
    return TestIpConfig(*this, kIpConfigOptions, IpConfig_PersistentIp);
}

bool CDeviceInfo::IsDhcpSupported() const {
    return TestIpConfig(*this, kIpConfigOptions, IpConfig_Dhcp);
}

bool CDeviceInfo::IsAutoIpSupported() const {
    return TestIpConfig(*this, kIpConfigOptions, IpConfig_AutoIp);
}

CHarlixCamEmuDeviceInfo::CHarlixCamEmuDeviceInfo() {
    SetDeviceClass("HarlixCamEmu");
}

CHarlixGigEDeviceInfo::CHarlixGigEDeviceInfo() {
    SetPortNr("3956");
    SetDeviceClass("HarlixGigE");
}

CHarlixUsbDeviceInfo::CHarlixUsbDeviceInfo() {
    SetDeviceClass("HarlixUsb");
}

CHarlixMipexDeviceInfo::CHarlixMipexDeviceInfo() {
    SetDeviceClass("HarlixMipex");
}

} // namespace Zelmo
